// The file named for frame N holds frame N of the shot, whatever frames are asked and in what
// order; what a render will read is checked before its first frame.
#include "harness.h"

using harness::with;

namespace {

// A swarm whose frames change from step to step, on the built-in plate (the same picture at every
// frame, so only the simulation tells frames apart).
std::vector<std::string> swarmJob(const std::string& frames, const std::string& output) {
    return {"render", harness::vesk(), "--frames", frames, "--size", "96x54", "--set", "Render Mode=Render",
            "--set", "Vesk Size=40", "--set", "Vesk Gathering=on", "--set", "Random Colours=60", "-o", output};
}

}  // namespace

TEST(ShotFrames, EveryFileHoldsTheFrameOfTheShotItIsNamedFor) {
    std::string dir = harness::freshDir("shot_frames");
    auto frame = [&](const std::string& name, int f) {
        return harness::readFile(harness::framePath(dir + "/" + name + ".####.png", f));
    };
    auto job = [&](const std::string& name, const std::string& frames, const std::vector<std::string>& extra) {
        harness::Outcome r = harness::runSparkhost(with(swarmJob(frames, dir + "/" + name + ".####.png"), extra));
        EXPECT_EQ(r.code, 0) << name << ": " << r.err;
        return r.err;
    };
    job("whole", "1-12", {});
    // Asked frames and the frames the whole render wrote into the same files.
    const std::vector<std::tuple<std::string, std::string, std::vector<std::string>, std::vector<int>>> cases = {
        {"step", "1-12x3", {}, {1, 4, 7, 10}},
        {"list", "9,3,6", {"--shot-start", "1"}, {3, 6, 9}},
        {"backwards", "8-5", {"--shot-start", "1"}, {5, 6, 7, 8}},
        {"backstep", "12-1x5", {}, {2, 7, 12}},  // 12, 7, 2: the shot starts at 2
        {"mixed", "11,1-3x2", {}, {1, 3, 11}},
    };
    for (const auto& [name, frames, extra, expected] : cases) job(name, frames, extra);
    std::string twice = job("overlap", "2-5,4-7", {"--shot-start", "1"});
    for (int f = 1; f <= 12; ++f) ASSERT_FALSE(frame("whole", f).empty()) << f;
    for (const auto& [name, frames, extra, expected] : cases) {
        for (int f = 1; f <= 12; ++f) {
            bool asked = std::find(expected.begin(), expected.end(), f) != expected.end();
            EXPECT_EQ(harness::exists(harness::framePath(dir + "/" + name + ".####.png", f)), asked) << name << " " << f;
        }
    }
    for (int f : {1, 4, 7, 10}) EXPECT_TRUE(frame("step", f) == frame("whole", f)) << "step, frame " << f;
    for (int f : {3, 6, 9}) EXPECT_TRUE(frame("list", f) == frame("whole", f)) << "list, frame " << f;
    for (int f = 5; f <= 8; ++f) EXPECT_TRUE(frame("backwards", f) == frame("whole", f)) << "backwards, frame " << f;
    for (int f : {1, 3, 11}) EXPECT_TRUE(frame("mixed", f) == frame("whole", f)) << "mixed, frame " << f;
    for (int f = 2; f <= 7; ++f) EXPECT_TRUE(frame("overlap", f) == frame("whole", f)) << "overlap, frame " << f;
    // A shot that starts at frame 2 is a fresh swarm there: the whole render's frames 1, 6, 11.
    for (int f : {2, 7, 12}) EXPECT_TRUE(frame("backstep", f) == frame("whole", f - 1)) << "backstep, frame " << f;
    EXPECT_TRUE(harness::contains(twice, "frame 4 is asked more than once; it is written once")) << twice;
    EXPECT_TRUE(harness::contains(twice, "frame 5 is asked more than once; it is written once")) << twice;
    EXPECT_TRUE(harness::contains(twice, "rendered 6 frames")) << twice;

    // IFFFS order: each frame asked is the next step, so file 7 of 1-12x3 holds the third step.
    job("ifffs", "1-12x3", {"--ifffs-order"});
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(frame("ifffs", 1 + 3 * i) == frame("whole", 1 + i)) << "ifffs step " << i;
}

TEST(ShotFrames, ClipFilesOfEveryFrameProcessedAreCheckedFirst) {
    std::string dir = harness::freshDir("shot_frame_clips");
    std::string out = dir + "/out";
    ASSERT_EQ(::mkdir(out.c_str(), 0755), 0);
    sparkhost::FrameBuffer small(8, 8, sparkhost::kDepth8);
    for (int f = 1; f <= 6; ++f)
        harness::writeFrame(harness::framePath(dir + "/grow.####.png", f),
                            f == 4 ? sparkhost::FrameBuffer(10, 8, sparkhost::kDepth8) : small);
    for (int f = 3; f <= 6; ++f) harness::writeFrame(harness::framePath(dir + "/late.####.png", f), small);
    auto run = [&](const std::vector<std::string>& extra) {
        return harness::runSparkhost(
            with({"render", harness::copyFixture(), "--size", "8x8", "-o", out + "/o.####.png"}, extra));
    };
    harness::Outcome grown = run({"--frames", "1-6", "--clip", "1=" + dir + "/grow.####.png"});
    EXPECT_EQ(grown.code, 2) << grown.err;
    EXPECT_TRUE(harness::contains(grown.err, "clip 1: '" + dir + "/grow.0004.png' is 10x8 but the frame size is 8x8"))
        << grown.err;
    // A chunk whose catch-up reads frames 1 and 2, which are missing, refuses as the whole render.
    harness::Outcome whole = run({"--frames", "1-6", "--clip", "1=" + dir + "/late.####.png"});
    harness::Outcome chunk = run({"--frames", "5-6", "--shot-start", "1", "--clip", "1=" + dir + "/late.####.png"});
    const std::string missing = "clip 1: missing input file '" + dir + "/late.0001.png' (and 1 more frames)";
    EXPECT_EQ(whole.code, 2);
    EXPECT_EQ(chunk.code, 2);
    EXPECT_TRUE(harness::contains(whole.err, missing)) << whole.err;
    EXPECT_TRUE(harness::contains(chunk.err, missing)) << chunk.err;
    EXPECT_TRUE(harness::isEmptyDir(out));
}
