// sparkhost's commands on OpenFX bundles, as a person runs them: info, render with edits by label
// and clips by name, the host modes, and the refusals of what is not a usable effect.
#include "ofx_support.h"

using namespace ofxtest;

namespace {

// A plate sparkhost reads: written by sparkhost itself from its default plate through the
// invert fixture twice would be circular, so a tiny PPM file is made here.
std::string writePlate(const std::string& dir) {
    std::string path = dir + "/plate.ppm";
    std::ofstream f(path, std::ios::binary);
    f << "P6\n8 6\n255\n";
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            for (int c = 0; c < 3; ++c) f.put(char(plateValue(0, 1, x, y, c, 255)));
    return path;
}

}  // namespace

TEST(OfxHostCli, InfoListsTheEffectsParametersOnItsPages) {
    RunResult r = runSparkhost({"info", bundle("Recorder")});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "OpenFX image effect org.vesk.fixtures.Recorder 1.2 \"Recorder\", general context"))
        << r.out;
    EXPECT_TRUE(contains(r.out, "Page 1 \"Main\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "Mode: Hard")) << r.out;
    EXPECT_TRUE(contains(r.out, "entries: Soft, Hard, Off")) << r.out;
    EXPECT_TRUE(contains(r.out, "range 0 to 2")) << r.out;
    EXPECT_TRUE(contains(r.out, "Hidden Box                checkbox  default off           [hidden]")) << r.out;
}

TEST(OfxHostCli, RenderTakesClipsByNameAndEditsByLabel) {
    std::string dir = freshDir("cli_render");
    std::string plate = writePlate(dir);
    RunResult r = runSparkhost({"render", bundle("Recorder"), "--frames", "1-2", "--clip", "source=" + plate, "--set",
                       "Gain=0.5", "-o", dir + "/out.####.ppm"});
    ASSERT_EQ(r.code, 0) << r.err;
    std::string out = readFile(dir + "/out.0002.ppm");
    ASSERT_FALSE(out.empty());
    // Half of each value of the plate, rounded to nearest: the effect's gain of 0.5.
    const size_t header = std::string("P6\n8 6\n255\n").size();
    ASSERT_EQ(out.size(), header + 8 * 6 * 3);
    unsigned v = plateValue(0, 1, 3, 2, 1, 255);
    EXPECT_EQ(static_cast<unsigned char>(out[header + (2 * 8 + 3) * 3 + 1]), (v + 1) / 2);
    RunResult bad = runSparkhost({"render", bundle("Recorder"), "--clip", "Backdrop=" + plate, "-o", dir + "/x.####.ppm"});
    EXPECT_EQ(bad.code, 2);
    EXPECT_TRUE(contains(bad.err, "no clip named 'Backdrop' (its clips: 1 Source, 2 Matte)")) << bad.err;
}

TEST(OfxHostCli, HostModesWriteTheSameFramesForAWellBehavedEffect) {
    std::string dir = freshDir("cli_modes");
    std::string plate = writePlate(dir);
    std::vector<std::string> outputs;
    for (const char* mode : {"in-order", "reverse", "shuffle=3,instance-per-frame", "threads=3"}) {
        std::string out = dir + "/" + std::to_string(outputs.size());
        RunResult r = runSparkhost({"render", bundle("Invert"), "--frames", "1-6", "--clip", "1=" + plate,
                           "--ofx-host-mode", mode, "-o", out + ".####.ppm"});
        ASSERT_EQ(r.code, 0) << mode << ": " << r.err;
        std::string all;
        for (int f = 1; f <= 6; ++f) all += readFile(out + ".000" + std::to_string(f) + ".ppm");
        outputs.push_back(all);
    }
    for (size_t i = 1; i < outputs.size(); ++i) EXPECT_EQ(outputs[i], outputs[0]) << "mode " << i;
    // The badly written effect is caught: a fresh instance per frame changes its frames.
    RunResult leak1 = runSparkhost({"render", bundle("Invert"), "--frames", "1-3", "--clip", "1=" + plate, "--set",
                           "Leak State=on", "-o", dir + "/a.####.ppm"});
    RunResult leak2 = runSparkhost({"render", bundle("Invert"), "--frames", "1-3", "--clip", "1=" + plate, "--set",
                           "Leak State=on", "--ofx-host-mode", "instance-per-frame", "-o", dir + "/b.####.ppm"});
    ASSERT_EQ(leak1.code, 0) << leak1.err;
    ASSERT_EQ(leak2.code, 0) << leak2.err;
    EXPECT_NE(readFile(dir + "/a.0003.ppm"), readFile(dir + "/b.0003.ppm"));
    RunResult spark = runSparkhost({"render", std::string(VESK_BINARY_DIR) + "/fixture_copy.spark", "--ofx-host-mode",
                           "reverse", "-o", dir + "/c.####.ppm"});
    EXPECT_EQ(spark.code, 2);
    EXPECT_TRUE(contains(spark.err, "--ofx-host-mode is for OpenFX plug-ins")) << spark.err;
}

TEST(OfxHostCli, WhatIsNotAUsableEffectIsRefusedBeforeAnyFrame) {
    std::string dir = freshDir("cli_bad");
    std::string out = dir + "/out.####.ppm";
    // A bundle without its binary; a binary that is not a shared object; one without entry points.
    ::mkdir((dir + "/Empty.ofx.bundle").c_str(), 0755);
    std::string textBundle = dir + "/Text.ofx.bundle/Contents/Linux-x86-64";
    ASSERT_EQ(std::system(("mkdir -p '" + textBundle + "' && echo hello > '" + textBundle + "/Text.ofx'").c_str()), 0);
    struct Case {
        std::vector<std::string> args;
        std::string env, message;
    };
    std::vector<Case> cases = {
        {{"render", dir + "/Empty.ofx.bundle", "-o", out}, "", "is not an OpenFX bundle: it has no Contents/Linux-x86-64/Empty.ofx"},
        {{"render", dir + "/Text.ofx.bundle", "-o", out}, "", "cannot load OpenFX plug-in"},
        {{"render", bundle("NoEntry"), "-o", out}, "", "is not an OpenFX plug-in: it does not export OfxGetNumberOfPlugins"},
        {{"render", dir + "/missing.ofx.bundle", "-o", out}, "", "missing.ofx.bundle"},
        {{"render", OFX_FIXTURE_DIR, "-o", out}, "", "holds several OpenFX effects (org.vesk.fixtures.Invert, org.vesk.fixtures.Recorder): choose one with --plugin ID"},
        {{"render", OFX_FIXTURE_DIR, "--plugin", "org.example.None", "-o", out}, "", "has no OpenFX effect 'org.example.None'"},
        {{"render", bundle("Recorder"), "-o", out}, "OFX_FIXTURE_FAIL=OfxActionLoad", "refused to load (Load action: failed)"},
        {{"render", bundle("Recorder"), "-o", out}, "OFX_FIXTURE_FAIL=OfxActionDescribe", "failed to describe itself (Describe action: failed)"},
        {{"render", bundle("Recorder"), "-o", out}, "OFX_FIXTURE_FAIL=OfxImageEffectActionDescribeInContext", "in the general context (DescribeInContext action: failed)"},
        {{"render", bundle("Recorder"), "-o", out}, "OFX_FIXTURE_FAIL=OfxActionCreateInstance", "failed to create an instance (CreateInstance action: failed)"},
        {{"info", bundle("Recorder")}, "OFX_FIXTURE_FAIL=OfxActionCreateInstance", "failed to create an instance"},
        {{"render", bundle("Invert"), "--ofx-host-mode", "sideways", "-o", out}, "", "bad --ofx-host-mode 'sideways'"},
    };
    for (const auto& c : cases) {
        RunResult r = runSparkhost(c.args, c.env);
        EXPECT_EQ(r.code, 2) << c.message << "\n" << r.err;
        EXPECT_TRUE(contains(r.err, c.message)) << r.err;
    }
    EXPECT_FALSE(std::ifstream(dir + "/out.0001.ppm").good());
    // The effect's folder of bundles with the effect chosen.
    RunResult chosen = runSparkhost({"render", OFX_FIXTURE_DIR, "--plugin", "org.vesk.fixtures.Invert", "-o", out});
    EXPECT_EQ(chosen.code, 0) << chosen.err;
    // A render that fails names the action and the frame.
    RunResult failing = runSparkhost({"render", bundle("Recorder"), "-o", dir + "/f.####.ppm"},
                            "OFX_FIXTURE_FAIL=OfxImageEffectActionRender");
    EXPECT_NE(failing.code, 0);
    EXPECT_TRUE(contains(failing.err, "failed to render frame 1 (Render action: failed)")) << failing.err;
}
