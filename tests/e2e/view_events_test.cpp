// Simulation buttons in replayed time: pressing one places an event at the current frame, the
// timeline marks it, the frames after it change as `render` with the same event gives them,
// and removing it gives the frames back.
#include "view_harness.h"

namespace {

using namespace viewharness;

TEST(ViewEvents, ButtonsPlaceEventsThatRenderReplaysAndRemovalUndoes) {
    const std::string dir = harness::freshDir("view_events");
    const std::string script = "set \"Render Mode\" Render\n"
                               "frame 12\n"
                               "save-frame " + dir + "/plain.0012.png\n"
                               "press Restart\n"
                               "save-frame " + dir + "/view.0012.png\n"
                               "frame 20\n"
                               "press Advance\n"
                               "marks\n"
                               "frame 25\n"
                               "save-frame " + dir + "/view.0025.png\n"
                               "save-setup " + dir + "/events.setup\n"
                               "remove-event 12 Restart\n"
                               "remove-event 20 Advance\n"
                               "marks\n"
                               "save-frame " + dir + "/removed.0025.png\n";
    const Outcome view = runView(dir, script, {"--frames", "1-30", "--size", "160x90"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    const std::string placed = view.out.substr(view.out.find("press Advance"));
    EXPECT_TRUE(harness::contains(placed, "marks: keys; events 12 Restart, 20 Advance")) << view.out;
    const std::string setup = harness::readFile(dir + "/events.setup");
    EXPECT_TRUE(harness::contains(setup, "event 12 SparkPush6")) << setup;
    EXPECT_TRUE(harness::contains(setup, "event 20 SparkPush10")) << setup;
    EXPECT_TRUE(harness::contains(view.out.substr(view.out.rfind("marks:")), "marks: keys; events (")) << view.out;

    // A restart at 12 makes frame 12 the first frame of a new swarm: frame 12 changes.
    std::string error;
    EXPECT_FALSE(samePicture(dir + "/plain.0012.png", dir + "/view.0012.png", &error)) << error;
    const Outcome withEvents = harness::runSparkhost({"render", harness::vesk(), "--frames", "1-25", "--size", "160x90",
                                                      "--set", "Render Mode=Render", "--event", "12:Restart", "--event",
                                                      "20:Advance", "-o", dir + "/events.####.png"});
    ASSERT_EQ(withEvents.code, 0) << withEvents.err;
    EXPECT_TRUE(samePicture(dir + "/view.0012.png", dir + "/events.0012.png", &error)) << error;
    EXPECT_TRUE(samePicture(dir + "/view.0025.png", dir + "/events.0025.png", &error)) << error;
    const Outcome plain = harness::runSparkhost({"render", harness::vesk(), "--frames", "25", "--shot-start", "1", "--size", "160x90",
                                                 "--set", "Render Mode=Render", "-o", dir + "/plain.####.png"});
    ASSERT_EQ(plain.code, 0) << plain.err;
    EXPECT_TRUE(samePicture(dir + "/removed.0025.png", dir + "/plain.0025.png", &error)) << error;
    EXPECT_FALSE(samePicture(dir + "/view.0025.png", dir + "/plain.0025.png", &error)) << error;
}

}  // namespace
