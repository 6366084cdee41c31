// The --frames parser: any text either gives frames from 0 up, at most a million of them, or is
// refused with a reason and no frames.
#include "fuzz_support.h"
#include "sparkhost/lib/FrameRange.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<int> frames;
    std::string error;
    bool ok = sparkhost::parseFrameRange(text, &frames, &error);
    fuzz::check(ok != frames.empty(), "frames come back exactly when the range is accepted");
    fuzz::check(ok || !error.empty(), "a refused range says why");
    fuzz::check(frames.size() <= 1000000, "at most a million frames");
    for (int f : frames) fuzz::check(f >= 0, "frames count from 0");
    return 0;
}
