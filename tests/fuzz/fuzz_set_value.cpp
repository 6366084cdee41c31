// --set NAME=VALUE on the real panel: the value parsed for the control's kind. The name is looked
// up without the suggestions of an error message (their edit distances would make every input
// slow); a name that finds nothing picks a control by its first byte, so that every input reaches
// the value parser. An accepted number lies within the control's range; a refused value leaves
// the record exactly as it was.
#include <algorithm>
#include <vector>

#include "fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Loaded& l = fuzz::loaded(false);
    sparkhost::Panel& panel = l.plugin.panel();
    std::string text(reinterpret_cast<const char*>(data), size);
    size_t eq = text.find('=');
    if (eq == std::string::npos) return 0;
    std::string error;
    const sparkhost::Control* c =
        panel.resolve(text.substr(0, eq), sparkhost::ControlUse::Value, &l.host, nullptr);
    if (!c) c = &panel.controls()[size_t(data[0]) % panel.controls().size()];
    const auto* record = static_cast<const unsigned char*>(c->address);
    std::vector<unsigned char> before(record, record + c->initial.size());
    if (panel.setValue(*c, text.substr(eq + 1), &error)) {
        double lo, hi, step;
        if (panel.range(*c, &lo, &hi, &step)) {
            double v = panel.numericValue(*c);
            fuzz::check(v >= lo && v <= hi, "an accepted value lies within the control's range");
        }
    } else {
        fuzz::check(!error.empty(), "a refused value says why");
        fuzz::check(std::equal(before.begin(), before.end(), record), "a refused value changes nothing");
    }
    fuzz::restoreRecords(panel);
    return 0;
}
