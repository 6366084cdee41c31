// Simulation buttons placed at frames: an event at frame F gives the frames of the button
// pressed when the swarm reaches F, whatever else the panel says, and events travel in setups.
#include "harness.h"

using harness::with;

namespace {

// A swarm whose frames change from step to step, on the built-in plate (the same picture at every
// frame, so only the simulation tells frames apart).
std::vector<std::string> swarmJob(const std::string& frames, const std::string& output) {
    return {"render", harness::vesk(), "--frames", frames, "--size", "96x54", "--set", "Render Mode=Render",
            "--set", "Vesk Size=40", "--set", "Vesk Gathering=on", "--set", "Random Colours=60",
            "--set", "PreRoll=5", "-o", output};
}

void render(const std::vector<std::string>& args) {
    harness::Outcome r = harness::runSparkhost(args);
    ASSERT_EQ(r.code, 0) << r.err;
}

}  // namespace

TEST(ShotEvents, AnEventGivesTheFramesOfItsButtonPressedAtItsFrame) {
    std::string dir = harness::freshDir("shot_events");
    auto frame = [&](const std::string& name, int f) {
        return harness::readFile(harness::framePath(dir + "/" + name + ".####.png", f));
    };
    auto job = [&](const std::string& frames, const std::string& name, const std::vector<std::string>& extra) {
        render(with(swarmJob(frames, dir + "/" + name + ".####.png"), extra));
    };
    job("1-8", "plain", {});
    job("1-8", "restart", {"--event", "5:Restart"});
    // A restart empties the swarm and resets its draws: frame 5 is the first frame of a new swarm.
    job("5-8", "fresh", {});
    job("1-8", "rpr", {"--event", "5:Restart+PreRoll"});
    job("5-8", "freshpr", {"--press", "Restart+PreRoll"});
    // Advance is one more step at its frame, with Auto Preview on or off: the frame processed twice.
    job("1-8", "advance", {"--event", "5:Advance"});
    job("1-8", "advoff", {"--set", "Auto Preview=off", "--event", "5:Advance"});
    job("1-5,5-8", "twice", {"--no-overlap", "--ifffs-order"});
    // Events of one frame act in the order placed: a step then a restart leaves only the restart.
    job("1-8", "steprestart", {"--event", "5:Advance", "--event", "5:Restart"});
    job("1-8", "restartstep", {"--event", "5:Restart", "--event", "5:Advance"});
    // An event at the first frame is the press before the render.
    job("1-3", "preroll", {"--event", "1:PreRoll"});
    job("1-3", "pressed", {"--press", "PreRoll"});

    for (int f = 1; f <= 8; ++f) {
        ASSERT_FALSE(frame("plain", f).empty()) << f;
        if (f < 5) {
            for (const char* n : {"restart", "rpr", "advance", "advoff", "steprestart"})
                EXPECT_TRUE(frame(n, f) == frame("plain", f)) << n << " changed frame " << f << ", before its event";
            continue;
        }
        EXPECT_TRUE(frame("restart", f) == frame("fresh", f)) << "frame " << f;
        EXPECT_TRUE(frame("rpr", f) == frame("freshpr", f)) << "frame " << f;
        EXPECT_TRUE(frame("advance", f) == frame("twice", f)) << "frame " << f;
        EXPECT_TRUE(frame("advoff", f) == frame("twice", f)) << "frame " << f;
        EXPECT_FALSE(frame("advance", f) == frame("plain", f)) << "frame " << f;
        EXPECT_TRUE(frame("steprestart", f) == frame("restart", f)) << "frame " << f;
        EXPECT_FALSE(frame("restartstep", f) == frame("restart", f)) << "frame " << f;
    }
    for (int f = 1; f <= 3; ++f) EXPECT_TRUE(frame("preroll", f) == frame("pressed", f)) << "frame " << f;
    EXPECT_FALSE(frame("preroll", 1) == frame("plain", 1));
}

TEST(ShotEvents, SetupsCarryEventsAndRefuseBadOnesByLine) {
    std::string dir = harness::freshDir("shot_event_setups");
    auto frame = [&](const std::string& name, int f) {
        return harness::readFile(harness::framePath(dir + "/" + name + ".####.png", f));
    };
    render(with(swarmJob("1-6", dir + "/direct.####.png"),
                {"--event", "4:Advance", "--event", "3:Restart", "--event", "4:PreRoll", "--save-setup",
                 dir + "/shot.setup"}));
    std::string setup = harness::readFile(dir + "/shot.setup");
    // By frame; the two events of frame 4 in the order given.
    size_t restart = setup.find("\nevent 3 SparkPush6  # Restart\n");
    size_t advance = setup.find("\nevent 4 SparkPush10  # Advance\n");
    size_t preroll = setup.find("\nevent 4 SparkPush8  # PreRoll\n");
    ASSERT_NE(restart, std::string::npos) << setup;
    ASSERT_NE(advance, std::string::npos) << setup;
    ASSERT_NE(preroll, std::string::npos) << setup;
    EXPECT_LT(restart, advance);
    EXPECT_LT(advance, preroll);
    // The setup alone renders the same frames, and saves the same events again.
    render({"render", harness::vesk(), "--frames", "1-6", "--size", "96x54", "--setup", dir + "/shot.setup",
            "--save-setup", dir + "/again.setup", "-o", dir + "/bysetup.####.png"});
    EXPECT_EQ(harness::readFile(dir + "/again.setup"), setup);
    for (int f = 1; f <= 6; ++f) {
        ASSERT_FALSE(frame("direct", f).empty());
        EXPECT_TRUE(frame("bysetup", f) == frame("direct", f)) << "frame " << f;
    }

    // Bad events: refused before any frame, named by file and line or by option.
    std::string out = dir + "/out";
    ASSERT_EQ(::mkdir(out.c_str(), 0755), 0);
    std::ofstream(dir + "/push.setup") << "# sparkhost setup\nevent 3 SparkPush100\n";
    std::ofstream(dir + "/nosuch.setup") << "\nevent 3 SparkPush999  # Restart\n";
    std::ofstream(dir + "/half.setup") << "event 2.5 SparkPush6\n";
    std::ofstream(dir + "/bare.setup") << "event 7\n";
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--setup", dir + "/push.setup"}, dir + "/push.setup:2: \"Simple Food Hunt\" is not a button that acts on the simulation"},
        {{"--setup", dir + "/nosuch.setup"}, dir + "/nosuch.setup:2: the event's button \"SparkPush999\" is not a button of this plug-in"},
        {{"--setup", dir + "/half.setup"}, dir + "/half.setup:1: the event's frame \"2.5\" is not a whole frame number"},
        {{"--setup", dir + "/bare.setup"}, dir + "/bare.setup:1: an event needs a frame and a button's record"},
        {{"--event", "2.5:Restart"}, "bad --event \"2.5:Restart\": the event's frame \"2.5\" is not a whole frame number"},
        {{"--event", "3:Simple Food Hunt"}, "\"Simple Food Hunt\" is not a button that acts on the simulation; the buttons that can be events are \"Restart\""},
        {{"--event", "3:Nosuch"}, "bad --event \"3:Nosuch\""},
        {{"--event", "Restart"}, "bad --event \"Restart\": write FRAME:BUTTON"},
    };
    for (const auto& c : cases) {
        harness::Outcome r = harness::runSparkhost(
            with({"render", harness::vesk(), "--frames", "1-3", "--size", "32x18", "-o", out + "/o.####.png"}, c.first));
        EXPECT_EQ(r.code, 2) << c.second << "\n" << r.err;
        EXPECT_TRUE(harness::contains(r.err, c.second)) << r.err;
        EXPECT_TRUE(harness::isEmptyDir(out)) << c.second;
    }
}
