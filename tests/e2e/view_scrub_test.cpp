// Scrubbing the timeline in replayed time: the frame shown follows the handle while it is
// dragged, forward and back, and the frame under the handle at its release is the frame
// `render` writes there.
#include "view_harness.h"

namespace {

using namespace viewharness;

// Frames shown during a drag go the way of the drag, more than a handful of them, and the last
// one is the frame the handle was released at.
void expectFollowed(const std::string& text, int from, int to) {
    int after = -1;
    const std::vector<int> shown = scrubbed(text, &after);
    EXPECT_EQ(after, to) << text;
    ASSERT_GE(shown.size(), size_t(std::abs(to - from) / 4)) << "the picture stood still: " << text;
    for (size_t i = 1; i < shown.size(); ++i)
        EXPECT_TRUE(to > from ? shown[i] > shown[i - 1] : shown[i] < shown[i - 1]) << text;
    EXPECT_TRUE(to > from ? shown.front() > from : shown.front() < from) << text;
}

TEST(ViewScrub, FollowsThePointerForwardAndBackAndEndsOnTheRenderedFrame) {
    const std::string dir = harness::freshDir("view_scrub");
    const std::string script = "set \"Render Mode\" Render\n"
                               "frame 1\n"
                               "scrub 1 68 1500\n"
                               "save-frame " + dir + "/view.0068.png\n"
                               "frame 47\n"
                               "scrub 47 42 800\n"
                               "save-frame " + dir + "/view.0042.png\n"
                               "frame 8\n"
                               "mode ifffs\n"
                               "scrub 8 40 800\n";
    const Outcome view = runView(dir, script, {"--frames", "1-100", "--size", "320x180"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    expectFollowed(said(view, "scrub 1 68 1500"), 1, 68);
    expectFollowed(said(view, "scrub 47 42 800"), 47, 42);
    expectFollowed(said(view, "scrub 8 40 800"), 8, 40);

    const Outcome render = harness::runSparkhost({"render", harness::vesk(), "--frames", "1-68", "--size", "320x180",
                                                  "--set", "Render Mode=Render", "-o", dir + "/render.####.png"});
    ASSERT_EQ(render.code, 0) << render.err;
    std::string error;
    EXPECT_TRUE(samePicture(dir + "/view.0068.png", dir + "/render.0068.png", &error)) << error;
    EXPECT_TRUE(samePicture(dir + "/view.0042.png", dir + "/render.0042.png", &error)) << error;
}

}  // namespace
