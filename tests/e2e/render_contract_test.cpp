// What a render promises across machines and chunks: the same bytes for any --threads, a frame
// set by --layers alone, and a chunk of a shot equal to the same frames of one long render.
#include "harness.h"

using harness::with;

namespace {

// A swarm big enough to fill four layers, whose frames change from step to step.
std::vector<std::string> swarmJob(const std::string& frames, const std::string& output) {
    return {"render", harness::vesk(), "--frames", frames, "--size", "96x54", "--set", "Render Mode=Render",
            "--set", "Vesk Size=60", "--set", "Shape=Five Point Star", "--set", "Vesk Gathering=on",
            "--set", "Random Colours=60", "-o", output};
}

void render(const std::vector<std::string>& args) {
    harness::Outcome r = harness::runSparkhost(args);
    ASSERT_EQ(r.code, 0) << r.err;
}

std::string frameBytes(const std::string& dir, const std::string& name, int frame) {
    return harness::readFile(harness::framePath(dir + "/" + name + ".####.png", frame));
}

}  // namespace

TEST(RenderContract, ThreadsNeverChangeTheFramesLayersDo) {
    std::string dir = harness::freshDir("contract_threads");
    auto frame = [&](const std::string& name, int f) { return frameBytes(dir, name, f); };
    // One thread, fewer threads than jobs (even and ragged splits), and more threads than jobs.
    for (const char* t : {"1", "2", "3", "8"}) render(with(swarmJob("1-3", dir + "/t" + t + ".####.png"), {"--threads", t}));
    render(with(swarmJob("1-3", dir + "/l2.####.png"), {"--layers", "2", "--threads", "2"}));
    for (int f = 1; f <= 3; ++f) {
        ASSERT_FALSE(frame("t1", f).empty());
        for (const char* t : {"t2", "t3", "t8"}) EXPECT_TRUE(frame(t, f) == frame("t1", f)) << t << ", frame " << f;
    }
    // Two layers stack the flock differently (each empty layer also takes 1/32768 off the plate).
    EXPECT_FALSE(frame("l2", 3) == frame("t1", 3));
}

TEST(RenderContract, AChunkOfAShotMatchesTheLongRender) {
    std::string dir = harness::freshDir("contract_chunks");
    auto frame = [&](const std::string& name, int f) { return frameBytes(dir, name, f); };
    render(with(swarmJob("1-12", dir + "/whole.####.png"), {"--save-setup", dir + "/shot.setup", "--shot-start", "1"}));
    EXPECT_TRUE(harness::contains(harness::readFile(dir + "/shot.setup"), "\nshot-start 1\n"));
    render(with(swarmJob("7-12", dir + "/chunk.####.png"), {"--shot-start", "1"}));
    // The setup carries the shot start: a chunk needs nothing else.
    render({"render", harness::vesk(), "--frames", "10-12", "--size", "96x54", "--setup", dir + "/shot.setup", "-o",
            dir + "/bysetup.####.png"});
    render(swarmJob("7", dir + "/cold.####.png"));
    for (int f = 7; f <= 12; ++f) {
        ASSERT_FALSE(frame("whole", f).empty());
        EXPECT_TRUE(frame("chunk", f) == frame("whole", f)) << "frame " << f;
        EXPECT_TRUE(f < 10 || frame("bysetup", f) == frame("whole", f)) << "frame " << f;
    }
    // Without the shot start the chunk starts a fresh swarm at frame 7.
    EXPECT_FALSE(frame("cold", 7) == frame("whole", 7));
}
