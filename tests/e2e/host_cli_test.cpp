// sparkhost as a person runs it: frames through files, keys, setups, the panel listing, help, and
// a clear message with a non-zero exit for every bad input. Most runs use the host's own copy
// fixture, which passes clip 1 through with a gain; the control errors use the real plug-in.
#include <cmath>

#include "harness.h"
#include "sparkhost/lib/DefaultPlate.h"

using harness::Outcome;
using harness::runSparkhost;
using sparkhost::FrameBuffer;

namespace {

void writeFrame(const std::string& path, const FrameBuffer& frame) {
    std::string error;
    ASSERT_TRUE(sparkhost::writeImage(path, frame, &error)) << error;
}

FrameBuffer readFrame(const std::string& path, int depthCode) {
    FrameBuffer frame;
    std::string error;
    EXPECT_TRUE(sparkhost::readImage(path, depthCode, &frame, &error)) << error;
    return frame;
}

FrameBuffer patternFrame(int w, int h, int depthCode, unsigned seed) {
    FrameBuffer f(w, h, depthCode);
    harness::fillPattern(f, seed);
    // Files carry no host low bits: keep only what a file can hold.
    if (depthCode != sparkhost::kDepth8)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < 3; ++c) f.setRaw(x, y, c, f.raw(x, y, c) & 0xFFF0u);
    return f;
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace

TEST(HostCli, SequencesPassThroughAtBothDepths) {
    std::string dir = harness::freshDir("cli_sequences");
    std::vector<FrameBuffer> eight, deep;
    for (int f = 1; f <= 3; ++f) {
        eight.push_back(patternFrame(9, 5, sparkhost::kDepth8, unsigned(f)));
        deep.push_back(patternFrame(9, 5, sparkhost::kDepth12, unsigned(f + 10)));
        char name[64];
        std::snprintf(name, sizeof name, "/in8.%04d.png", f);
        writeFrame(dir + name, eight.back());
        std::snprintf(name, sizeof name, "/in16.%04d.png", f);
        writeFrame(dir + name, deep.back());
    }
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-3", "--clip", "1=" + dir + "/in8.####.png",
                          "-o", dir + "/out8.%04d.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "rendered 3 frames")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-3x2", "--depth", "12", "--threads", "3",
                      "--clip", "1=" + dir + "/in16.%04d.png", "-o", dir + "/out16.####.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    for (int f = 1; f <= 3; ++f) {
        char name[64];
        std::snprintf(name, sizeof name, "/out8.%04d.png", f);
        EXPECT_TRUE(readFrame(dir + name, sparkhost::kDepth8).samePixels(eight[size_t(f - 1)])) << name;
        std::snprintf(name, sizeof name, "/out16.%04d.png", f);
        // A step of 2 renders frames 1 and 3 only.
        if (f == 2) {
            EXPECT_FALSE(harness::exists(dir + name));
            continue;
        }
        EXPECT_TRUE(readFrame(dir + name, sparkhost::kDepth12).samePixels(deep[size_t(f - 1)])) << name;
    }
}

TEST(HostCli, AStillStandsForEveryFrameAndKeysAnimateTheGain) {
    std::string dir = harness::freshDir("cli_keys");
    FrameBuffer still(4, 4, sparkhost::kDepth8);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < 3; ++c) still.setValue(x, y, c, unsigned(10 + 20 * x + 3 * y + c));
    writeFrame(dir + "/still.png", still);
    {
        std::ofstream keys(dir + "/keys.txt");
        keys << "# gain ramp\nGain 1 1\nGain 5 3\n";
    }
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-5", "--clip", "1=" + dir + "/still.png",
                          "--keys", dir + "/keys.txt", "-o", dir + "/k.####.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    // Frame f has gain 1 + (f - 1) / 2: 1, 1.5, 2, 2.5, 3, each value rounded and held at 255.
    for (int f = 1; f <= 5; ++f) {
        double gain = 1.0 + (f - 1) / 2.0;
        char name[64];
        std::snprintf(name, sizeof name, "/k.%04d.png", f);
        FrameBuffer out = readFrame(dir + name, sparkhost::kDepth8);
        for (int x = 0; x < 4; ++x) {
            long want = std::lround(still.value(x, 2, 1) * gain);
            EXPECT_EQ(out.value(x, 2, 1), unsigned(std::min(want, 255L))) << "frame " << f << " x " << x;
        }
    }
}

TEST(HostCli, SetupsSaveEveryValueAndLoadBack) {
    std::string dir = harness::freshDir("cli_setup");
    FrameBuffer in = patternFrame(6, 6, sparkhost::kDepth8, 5);
    writeFrame(dir + "/in.png", in);
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--clip", "1=" + dir + "/in.png", "--set", "Gain=0.5",
                          "--set", "Channel=Green", "--save-setup", dir + "/look.setup", "-o", dir + "/a.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    std::string setup = harness::readFile(dir + "/look.setup");
    EXPECT_TRUE(contains(setup, "SparkFloat8 = 0.5")) << setup;
    EXPECT_TRUE(contains(setup, "SparkPup10 = 2")) << setup;   // Green is the third entry
    r = runSparkhost({"render", harness::copyFixture(), "--clip", "1=" + dir + "/in.png", "--setup",
                      dir + "/look.setup", "-o", dir + "/b.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    FrameBuffer a = readFrame(dir + "/a.png", sparkhost::kDepth8), b = readFrame(dir + "/b.png", sparkhost::kDepth8);
    EXPECT_TRUE(a.samePixels(b));
    // Only green is kept, at half its value.
    EXPECT_EQ(b.value(3, 3, 0), 0u);
    EXPECT_EQ(b.value(3, 3, 1), unsigned(std::lround(in.value(3, 3, 1) * 0.5)));
    EXPECT_EQ(b.value(3, 3, 2), 0u);
}

TEST(HostCli, WithoutAClipTheBuiltInPlateIsRendered) {
    std::string dir = harness::freshDir("cli_plate");
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--size", "64x36", "-o", dir + "/p.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    FrameBuffer out = readFrame(dir + "/p.png", sparkhost::kDepth8);
    FrameBuffer plate(64, 36, sparkhost::kDepth8);
    sparkhost::makeDefaultPlate(&plate);
    EXPECT_TRUE(out.samePixels(plate));
}

TEST(HostCli, InfoListsPagesControlsStatesAndChannels) {
    Outcome r = runSparkhost({"info", harness::vesk()});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.out, "Page 1 \"Vesk\"")) << r.out;
    EXPECT_TRUE(contains(r.out, "Page 4 \"Presets\""));
    EXPECT_TRUE(contains(r.out, "Vesk Size: 20"));
    EXPECT_TRUE(contains(r.out, "range 1 to 5000 step 1"));
    EXPECT_TRUE(contains(r.out, "entries: Blob, Rectangle, Triangle"));
    // The texturing-cycle controls start greyed.
    EXPECT_TRUE(contains(r.out, "Frames in Cycle: 5")) << r.out;
    size_t cycle = r.out.find("Frames in Cycle: 5");
    EXPECT_TRUE(contains(r.out.substr(cycle, r.out.find('\n', cycle) - cycle), "[greyed]"));
    EXPECT_TRUE(contains(r.out, "Channel folders\n  Style\n"));
    EXPECT_TRUE(contains(r.out, "user 93"));
    // The plug-in's console lines stay out of the listing.
    EXPECT_FALSE(contains(r.out, "INTERACTIVE BUILD"));
    EXPECT_TRUE(contains(r.err, "INTERACTIVE BUILD"));
}

TEST(HostCli, HelpShowsExamples) {
    Outcome r = runSparkhost({"--help"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(contains(r.out, "Examples:"));
    r = runSparkhost({"render", "--help"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(contains(r.out, "--frames"));
    EXPECT_TRUE(contains(r.out, "--keys"));
    EXPECT_TRUE(contains(r.out, "Examples:"));
    r = runSparkhost({});
    EXPECT_NE(r.code, 0);
}

TEST(HostCli, BadInputFilesAreNamed) {
    std::string dir = harness::freshDir("cli_bad_files");
    FrameBuffer small(8, 8, sparkhost::kDepth8);
    writeFrame(dir + "/seq.0001.png", small);
    writeFrame(dir + "/seq.0002.png", small);
    writeFrame(dir + "/big.png", FrameBuffer(10, 8, sparkhost::kDepth8));

    Outcome r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-4", "--clip", "1=" + dir + "/seq.####.png",
                          "-o", dir + "/o.####.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "missing input file '" + dir + "/seq.0003.png' (and 1 more frames)")) << r.err;
    EXPECT_FALSE(harness::exists(dir + "/o.0001.png"));   // nothing rendered before the check

    r = runSparkhost({"render", harness::copyFixture(), "--clip", "1=" + dir + "/seq.0001.png", "--clip",
                      "2=" + dir + "/big.png", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "clip 2: '" + dir + "/big.png' is 10x8 but the frame size is 8x8")) << r.err;

    r = runSparkhost({"render", harness::copyFixture(), "--size", "16x16", "--clip", "1=" + dir + "/seq.0001.png",
                      "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "is 8x8 but the frame size is 16x16")) << r.err;

    // The fixture takes two clips.
    r = runSparkhost({"render", harness::copyFixture(), "--clip", "1=" + dir + "/seq.0001.png", "--clip",
                      "4=" + dir + "/seq.0001.png", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "clip 4 is given but the plug-in takes 2 clips")) << r.err;

    r = runSparkhost({"render", dir + "/nothing.spark", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "cannot load plug-in '" + dir + "/nothing.spark'")) << r.err;

    r = runSparkhost({"render", std::string(VESK_BINARY_DIR) + "/fixture_incomplete.spark", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "is not a Spark plug-in")) << r.err;

    r = runSparkhost({"render", harness::copyFixture(), "--setup", dir + "/none.setup", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "cannot read setup file")) << r.err;
}

TEST(HostCli, BadOutputsAreRefusedBeforeRendering) {
    std::string dir = harness::freshDir("cli_bad_output");
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--size", "8x8", "-o", "/sys/sparkhost.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "output folder '/sys' is not writable")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--size", "8x8", "-o", dir + "/missing/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "output folder '" + dir + "/missing' does not exist")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--size", "8x8", "--frames", "1-2", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "has no frame number")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--size", "8x8", "--frames", "9-2", "-o", dir + "/o.####.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "bad frame range '9-2'")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--size", "8by8", "-o", dir + "/o.png"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "bad size '8by8'")) << r.err;
    // Nothing was rendered: no frame and no temporary file was left behind.
    EXPECT_EQ(std::system(("test -z \"$(ls -A '" + dir + "')\"").c_str()), 0);
}

TEST(HostCli, ControlErrorsNameTheClosestControls) {
    std::string dir = harness::freshDir("cli_controls");
    std::vector<std::string> base = {"render", harness::vesk(), "--size", "32x16", "-o", dir + "/o.png"};
    auto with = [&](std::vector<std::string> extra) {
        std::vector<std::string> all = base;
        all.insert(all.end(), extra.begin(), extra.end());
        return runSparkhost(all);
    };
    Outcome r = with({"--set", "Vesk Sise=30"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "unknown control 'Vesk Sise'; closest: \"Vesk Size\" (11)")) << r.err;
    r = with({"--set", "Vesk Size=6000"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "\"Vesk Size\" (SparkInt11): value 6000 is outside its range 1 to 5000")) << r.err;
    r = with({"--set", "Shape=Six Point Star"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "no entry 'Six Point Star'")) << r.err;
    EXPECT_TRUE(contains(r.err, "\"Five Point Star\"")) << r.err;
    r = with({"--press", "Vesk Size"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "is not a button")) << r.err;
    r = with({"--set", "Seed"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "write NAME=VALUE")) << r.err;
    {
        std::ofstream keys(dir + "/keys.txt");
        keys << "Speed 1 20\nSpeed 10 250\n";
    }
    r = with({"--keys", dir + "/keys.txt"});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(contains(r.err, "keys.txt:2: value 250 of \"Speed\" (79) is outside its range 0 to 100")) << r.err;
    // Good names by label, number, record and list entry text all go through.
    r = with({"--set", "Vesk Size=30", "--set", "12=200", "--set", "SparkFloat79=25", "--set",
              "Shape=Five Point Star", "--set", "Render Mode=Render", "--press", "Restart"});
    EXPECT_EQ(r.code, 0) << r.err;
}
