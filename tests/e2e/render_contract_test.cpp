// What a render promises across machines and chunks: the same bytes for any --threads, a frame
// set by --layers alone, and a chunk of a shot equal to the same frames of one long render.
#include "harness.h"

namespace {

// A swarm big enough to fill four layers, whose frames change from step to step.
std::vector<std::string> swarmJob(const std::string& frames, const std::string& output) {
    return {"render", harness::vesk(), "--frames", frames, "--size", "96x54", "--set", "Render Mode=Render",
            "--set", "Vesk Size=60", "--set", "Shape=Five Point Star", "--set", "Vesk Gathering=on",
            "--set", "Random Colours=60", "-o", output};
}

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& extra) {
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

std::string frameFile(const std::string& stem, int frame) {
    char number[16];
    std::snprintf(number, sizeof number, ".%04d.png", frame);
    return harness::readFile(stem + number);
}

}  // namespace

TEST(RenderContract, ThreadsNeverChangeTheFramesLayersDo) {
    std::string dir = harness::freshDir("contract_threads");
    auto render = [&](const std::string& name, const std::vector<std::string>& extra) {
        harness::Outcome r = harness::runSparkhost(with(swarmJob("1-3", dir + "/" + name + ".####.png"), extra));
        ASSERT_EQ(r.code, 0) << r.err;
    };
    render("t1", {"--threads", "1"});
    for (const char* t : {"2", "3", "8"}) render(std::string("t") + t, {"--threads", t});
    render("l2", {"--layers", "2", "--threads", "2"});
    for (int f = 1; f <= 3; ++f) {
        std::string one = frameFile(dir + "/t1", f);
        ASSERT_FALSE(one.empty());
        for (const char* t : {"2", "3", "8"})
            EXPECT_EQ(frameFile(dir + "/t" + std::string(t), f), one) << "--threads " << t << ", frame " << f;
    }
    // Two layers stack the flock differently (each empty layer also takes 1/32768 off the plate).
    EXPECT_NE(frameFile(dir + "/l2", 3), frameFile(dir + "/t1", 3));
}

TEST(RenderContract, AChunkOfAShotMatchesTheLongRender) {
    std::string dir = harness::freshDir("contract_chunks");
    harness::Outcome r = harness::runSparkhost(
        with(swarmJob("1-12", dir + "/whole.####.png"), {"--save-setup", dir + "/shot.setup", "--shot-start", "1"}));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(harness::readFile(dir + "/shot.setup").find("\nshot-start 1\n"), std::string::npos);
    r = harness::runSparkhost(with(swarmJob("7-12", dir + "/chunk.####.png"), {"--shot-start", "1"}));
    ASSERT_EQ(r.code, 0) << r.err;
    // The setup carries the shot start: a chunk needs nothing else.
    r = harness::runSparkhost({"render", harness::vesk(), "--frames", "10-12", "--size", "96x54", "--setup",
                               dir + "/shot.setup", "-o", dir + "/bysetup.####.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    r = harness::runSparkhost(swarmJob("7-12", dir + "/cold.####.png"));
    ASSERT_EQ(r.code, 0) << r.err;
    for (int f = 7; f <= 12; ++f) {
        std::string whole = frameFile(dir + "/whole", f);
        ASSERT_FALSE(whole.empty());
        EXPECT_EQ(frameFile(dir + "/chunk", f), whole) << "frame " << f;
        if (f >= 10) {
            EXPECT_EQ(frameFile(dir + "/bysetup", f), whole) << "frame " << f;
        }
    }
    // Without the shot start the chunk starts a fresh swarm at frame 7.
    EXPECT_NE(frameFile(dir + "/cold", 7), frameFile(dir + "/whole", 7));
}

TEST(RenderContract, AShotStartAfterTheRangeIsRefused) {
    std::string dir = harness::freshDir("contract_late_start");
    harness::Outcome r = harness::runSparkhost(with(swarmJob("3-4", dir + "/o.####.png"), {"--shot-start", "5"}));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("the shot starts at frame 5, after the first frame rendered (3)"), std::string::npos) << r.err;
    EXPECT_FALSE(harness::exists(dir + "/o.0003.png"));
}
