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

namespace {

const std::string kExamples = std::string(VESK_SOURCE_DIR) + "/examples/";
const char* const kWithoutFma = "GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA,-AVX512F";

// The scenes of the examples, each a few frames into its shot (the swarm has moved), at both
// depths, and the swarm of the tests above.
std::vector<std::vector<std::string>> exampleScenes(const std::string& dir) {
    const std::string plate = "1=" + kExamples + "plates/plate.png";
    auto scene = [&](const std::string& name, std::vector<std::string> extra) {
        std::vector<std::string> args = {"render", harness::vesk(), "--frames", "1-6", "--clip", plate,
                                         "-o", dir + "/" + name + ".####.png"};
        return with(args, extra);
    };
    return {scene("hunt", {"--setup", kExamples + "food-hunt.setup"}),
            scene("hunt12", {"--setup", kExamples + "food-hunt.setup", "--depth", "12"}),
            scene("predator", {"--setup", kExamples + "predator.setup", "--keys", kExamples + "predator-path.keys"}),
            scene("blobs", {"--setup", kExamples + "blobs-from-matte.setup", "--clip",
                            "4=" + kExamples + "plates/birth-matte.png"}),
            scene("sprites", {"--setup", kExamples + "sprites.setup", "--clip", "2=" + kExamples + "plates/texture.png",
                              "--clip", "3=" + kExamples + "plates/texture-matte.png"}),
            scene("food", {"--press", "Simple Food Hunt", "--keys", kExamples + "food-path.keys"}),
            swarmJob("1-6", dir + "/swarm.####.png")};
}

// True when the dynamic loader, under the environment given, counts the processor as one with
// AVX2 and FMA (the x86-64-v3 level).
bool loaderSeesFma(const std::string& env) {
    std::string command = env + " /lib64/ld-linux-x86-64.so.2 --help 2>/dev/null | grep -q 'x86-64-v3 (supported'";
    return std::system(command.c_str()) == 0;
}

}  // namespace

// glibc picks other implementations of exp, log, sin, sincos and acos on processors without FMA,
// and they differ in the last bit for a few inputs in ten thousand. The plug-in rounds every such
// result to float, so a render on such a processor gives the same bytes.
TEST(RenderContract, ProcessorsWithoutFmaRenderTheSameBytes) {
    if (!loaderSeesFma("")) GTEST_SKIP() << "this processor has no FMA: both renders would take the same path";
    ASSERT_FALSE(loaderSeesFma(kWithoutFma)) << "the loader does not take the tunable";
    std::string with_fma = harness::freshDir("fma"), without_fma = harness::freshDir("no_fma");
    auto a = exampleScenes(with_fma), b = exampleScenes(without_fma);
    for (size_t i = 0; i < a.size(); ++i) {
        harness::Outcome r = harness::runSparkhost(a[i]);
        ASSERT_EQ(r.code, 0) << r.err;
        r = harness::runSparkhost(b[i], "", {kWithoutFma});
        ASSERT_EQ(r.code, 0) << r.err;
    }
    for (const char* name : {"hunt", "hunt12", "predator", "blobs", "sprites", "food", "swarm"})
        for (int f = 1; f <= 6; ++f) {
            ASSERT_FALSE(frameBytes(with_fma, name, f).empty()) << name << ", frame " << f;
            EXPECT_TRUE(frameBytes(with_fma, name, f) == frameBytes(without_fma, name, f)) << name << ", frame " << f;
        }
}
