// The amplitude key file import of the loaded plug-in: the input is the file the host's browser
// hands back when "Import Amplitude File" is pressed. Keys may land only on the amplitude channel,
// and the channel must then give a number at any frame.
#include <cmath>

#include "fuzz_support.h"
#include "sparkhost/lib/Pauses.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Loaded& l = fuzz::loaded(true);
    static const sparkhost::Control* button =
        l.plugin.panel().resolve("Import Amplitude File", sparkhost::ControlUse::Press, &l.host, nullptr);
    fuzz::check(button != nullptr, "the plug-in has its import button");
    l.host.setBrowserAnswer(fuzz::scratchFile(data, size));
    l.plugin.callCallback(*button);
    for (const auto& entry : l.host.curves())
        fuzz::check(entry.first == std::make_pair(0, 93), "keys land only on the amplitude channel");
    for (double frame : {0.0, 1.0, 37.0, 999999999.0}) {
        l.plugin.panel().applyCurves(l.host, frame);
        double value = 0.0;
        l.plugin.panel().channelValue(0, 93, &value);
        fuzz::check(std::isfinite(value), "the amplitude channel holds a number");
    }
    l.host.clearCurves();
    l.host.clearMessages();
    sparkhost::resetPauses();
    fuzz::restoreRecords(l.plugin.panel());
    return 0;
}
