// Keyframe files (--keys): an accepted file gives keys with whole frames and finite values, which
// go onto curves that are then read at a few frames; a refused file keeps no key and names the
// line. (Control names are resolved by the panel, fuzzed with --set values.)
#include <cmath>

#include "fuzz_support.h"
#include "sparkhost/lib/Curve.h"
#include "sparkhost/lib/Keyframes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<sparkhost::KeyLine> keys;
    std::string error;
    bool ok = sparkhost::parseKeyframes(text, &keys, &error);
    fuzz::check(ok || (keys.empty() && error.compare(0, 5, "line ") == 0),
                "a refused file keeps no key and names the line");
    sparkhost::Curve curves[3];
    for (const auto& key : keys) {
        fuzz::check(std::isfinite(key.value), "key values are numbers");
        curves[key.control.size() % 3].setKey(key.frame, key.value);
    }
    for (const auto& curve : curves)
        for (double frame : {-1e9, 0.0, 1.0, 37.5, 999999999.0})
            fuzz::check(curve.empty() || std::isfinite(curve.valueAt(frame)), "a curve gives numbers");
    return 0;
}
