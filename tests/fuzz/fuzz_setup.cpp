// Setup files (--setup) read into the real panel's records. An accepted setup is saved again and
// that file must read back to the same record values; the curves are then applied at a few frames.
#include "fuzz_support.h"
#include "sparkhost/lib/Setup.h"

namespace {

std::vector<std::string> values(const sparkhost::Panel& panel) {
    std::vector<std::string> out;
    for (const auto& c : panel.controls()) out.push_back(panel.rawValue(c));
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Loaded& l = fuzz::loaded(false);
    sparkhost::Panel& panel = l.plugin.panel();
    const std::string& path = fuzz::scratchFile(data, size);
    std::string error;
    if (sparkhost::readSetup(panel, l.host, path, &error)) {
        std::vector<std::string> read = values(panel);
        const std::string saved = path + ".saved";
        fuzz::check(sparkhost::writeSetup(panel, l.host, saved, &error), "an accepted setup can be saved");
        fuzz::restoreRecords(panel);
        fuzz::check(sparkhost::readSetup(panel, l.host, saved, &error), "a saved setup reads back");
        fuzz::check(values(panel) == read, "a saved setup reads back to the same values");
        for (double frame : {0.0, 1.0, 37.0, 999999999.0}) panel.applyCurves(l.host, frame);
    } else {
        fuzz::check(error.compare(0, path.size(), path) == 0, "a refused setup names its file");
    }
    l.host.clearCurves();
    l.host.clearEvents();
    l.host.setShotStart(-1);
    l.host.clearMessages();
    fuzz::restoreRecords(panel);
    return 0;
}
