// File patterns of clips and outputs: an accepted sequence names a different file for every
// frame, in the folder as written; a still names itself at every frame.
#include "fuzz_support.h"
#include "sparkhost/lib/SequencePattern.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    sparkhost::SequencePattern pattern;
    std::string error;
    if (!pattern.parse(text, &error)) {
        fuzz::check(!error.empty(), "a refused pattern says why");
        return 0;
    }
    if (!pattern.isSequence()) {
        fuzz::check(pattern.path(7) == text, "a still is the same file at every frame");
        return 0;
    }
    const int frames[] = {0, 1, 2, 10, 99999, 999999999};
    size_t folder = text.rfind('/');
    folder = folder == std::string::npos ? 0 : folder + 1;
    for (int a : frames) {
        std::string path = pattern.path(a);
        fuzz::check(path.compare(0, folder, text, 0, folder) == 0, "the folder stays as written");
        for (int b : frames)
            if (a < b) fuzz::check(path != pattern.path(b), "every frame has a file of its own");
    }
    return 0;
}
