// Decoded sequence frames kept for a viewer's replays: each file decoded once while the budget
// lasts, the earliest frames kept once it is spent, the same pixels as a fresh decode.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <sys/stat.h>

#include "sparkhost/lib/ClipSet.h"

using namespace sparkhost;

TEST(ClipSet, KeptFramesAreDecodedOnceWithinTheBudget) {
    const std::string dir = testing::TempDir() + "/sparkhost_kept";
    mkdir(dir.c_str(), 0755);
    for (int f = 1; f <= 3; ++f) std::ofstream(dir + "/c." + std::to_string(f) + ".png") << "x";
    const size_t frameBytes = FrameBuffer(4, 3, kDepth8).bytes();

    struct Case {
        size_t budgetFrames;
        int decodes;  // for two passes over frames 1 to 3
    };
    for (const Case& c : {Case{0, 6}, Case{2, 4}, Case{10, 3}}) {
        SCOPED_TRACE(c.budgetFrames);
        ClipSet clips;
        std::string error;
        ASSERT_TRUE(clips.setClip(1, dir + "/c.#.png", &error)) << error;
        int decodes = 0;
        clips.setReader([&](int, const std::string& path, int depthCode, FrameBuffer* out, std::string*) {
            ++decodes;
            out->resize(4, 3, depthCode);
            out->data()[0] = uint8_t(path[path.size() - 5]);  // the frame's digit marks its pixels
            return true;
        });
        clips.keepFrames(c.budgetFrames * frameBytes);
        for (int pass = 0; pass < 2; ++pass)
            for (int f = 1; f <= 3; ++f) {
                FrameBuffer frame(4, 3, kDepth8);
                ASSERT_TRUE(clips.read(1, f, frame));
                EXPECT_EQ(frame.data()[0], '0' + f);
            }
        EXPECT_EQ(decodes, c.decodes);
        ASSERT_TRUE(clips.setClip(1, dir + "/c.#.png", &error));  // a new pattern drops its frames
        EXPECT_EQ(clips.keptBytes(), 0u);
    }
}
