// Keyframe files (--keys): parsed, each key's control resolved on the real panel and range-checked
// as the render command does, the curves then written into the records at a few frames.
#include <cmath>

#include "fuzz_support.h"
#include "sparkhost/lib/Keyframes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Loaded& l = fuzz::loaded(false);
    sparkhost::Panel& panel = l.plugin.panel();
    std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<sparkhost::KeyLine> keys;
    std::string error;
    bool ok = sparkhost::parseKeyframes(text, &keys, &error);
    fuzz::check(ok || (keys.empty() && error.compare(0, 5, "line ") == 0),
                "a refused file keeps no key and names the line");
    for (const auto& key : keys) {
        fuzz::check(std::isfinite(key.value), "key values are numbers");
        const sparkhost::Control* c = panel.resolve(key.control, sparkhost::ControlUse::Animate, &l.host, &error);
        if (!c) continue;
        double lo, hi, step;
        panel.range(*c, &lo, &hi, &step);
        if (key.value < lo || key.value > hi) continue;
        l.host.curve(sparkhost::Panel::channelType(*c), c->number).setKey(key.frame, key.value);
    }
    for (double frame : {0.0, 1.0, 37.0, 999999999.0}) panel.applyCurves(l.host, frame);
    l.host.clearCurves();
    fuzz::restoreRecords(panel);
    return 0;
}
