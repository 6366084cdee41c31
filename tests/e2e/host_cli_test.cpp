// sparkhost as a person runs it: frames through files at both depths, a still under keys, the
// built-in plate, the panel listing and help. The frame runs use the host's own copy fixture, which
// passes clip 1 through with a gain. Bad input has its own table (bad_input_test).
#include <cmath>

#include "harness.h"
#include "sparkhost/lib/DefaultPlate.h"

using harness::contains;
using harness::Outcome;
using harness::runSparkhost;
using sparkhost::FrameBuffer;

TEST(HostCli, SequencesPassThroughAtBothDepths) {
    std::string dir = harness::freshDir("cli_sequences");
    std::vector<FrameBuffer> eight, deep;
    for (int f = 1; f <= 3; ++f) {
        eight.emplace_back(9, 5, sparkhost::kDepth8);
        deep.emplace_back(9, 5, sparkhost::kDepth12);
        harness::fillPattern(eight.back(), unsigned(f));
        harness::fillPattern(deep.back(), unsigned(f + 10));
        for (int y = 0; y < 5; ++y)  // files carry no host low bits: keep only what a file holds
            for (int x = 0; x < 9; ++x)
                for (int c = 0; c < 3; ++c) deep.back().setRaw(x, y, c, deep.back().raw(x, y, c) & 0xFFF0u);
        harness::writeFrame(harness::framePath(dir + "/in8.####.png", f), eight.back());
        harness::writeFrame(harness::framePath(dir + "/in16.####.png", f), deep.back());
    }
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-3", "--clip",
                              "1=" + dir + "/in8.####.png", "-o", dir + "/out8.%04d.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "rendered 3 frames")) << r.err;
    r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-3x2", "--depth", "12", "--threads", "3",
                      "--clip", "1=" + dir + "/in16.%04d.png", "-o", dir + "/out16.####.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    for (int f = 1; f <= 3; ++f) {
        EXPECT_TRUE(harness::readFrame(harness::framePath(dir + "/out8.####.png", f)).samePixels(eight[size_t(f - 1)]));
        std::string out16 = harness::framePath(dir + "/out16.####.png", f);
        if (f == 2) {  // a step of 2 renders frames 1 and 3 only
            EXPECT_FALSE(harness::exists(out16));
        } else {
            EXPECT_TRUE(harness::readFrame(out16, sparkhost::kDepth12).samePixels(deep[size_t(f - 1)])) << out16;
        }
    }
}

TEST(HostCli, AStillStandsForEveryFrameAndKeysAnimateTheGain) {
    std::string dir = harness::freshDir("cli_keys");
    FrameBuffer still(4, 4, sparkhost::kDepth8);
    for (int x = 0; x < 4; ++x) still.setValue(x, 2, 1, unsigned(17 + 40 * x));  // 17 × 1.5 rounds, 137 × 2 clamps
    harness::writeFrame(dir + "/still.png", still);
    std::ofstream(dir + "/keys.txt") << "# gain ramp\nGain 1 1\nGain 5 3\n";
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--frames", "1-5", "--clip", "1=" + dir + "/still.png",
                              "--keys", dir + "/keys.txt", "-o", dir + "/k.####.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    // Frame f has gain 1 + (f - 1) / 2: 1, 1.5, 2, 2.5, 3, each value rounded and held at 255.
    for (int f = 1; f <= 5; ++f) {
        FrameBuffer out = harness::readFrame(harness::framePath(dir + "/k.####.png", f));
        for (int x = 0; x < 4; ++x) {
            long want = std::lround(still.value(x, 2, 1) * (1.0 + (f - 1) / 2.0));
            EXPECT_EQ(out.value(x, 2, 1), unsigned(std::min(want, 255L))) << "frame " << f << " x " << x;
        }
    }
}

TEST(HostCli, WithoutAClipTheBuiltInPlateIsRendered) {
    std::string dir = harness::freshDir("cli_plate");
    Outcome r = runSparkhost({"render", harness::copyFixture(), "--size", "64x36", "-o", dir + "/p.png"});
    ASSERT_EQ(r.code, 0) << r.err;
    FrameBuffer plate(64, 36, sparkhost::kDepth8);
    sparkhost::makeDefaultPlate(&plate);
    EXPECT_TRUE(harness::readFrame(dir + "/p.png").samePixels(plate));
}

TEST(HostCli, InfoListsPagesControlsStatesAndChannels) {
    Outcome r = runSparkhost({"info", harness::vesk()});
    ASSERT_EQ(r.code, 0) << r.err;
    for (const char* part : {"Page 1 \"Vesk\"", "Page 4 \"Presets\"", "Vesk Size: 20", "range 1 to 5000 step 1",
                             "entries: Blob, Rectangle, Triangle", "Channel folders\n  Style\n", "user 93"})
        EXPECT_TRUE(contains(r.out, part)) << part << "\n" << r.out;
    // The texturing-cycle controls start hidden (disabled by the plug-in), as the window shows them.
    size_t cycle = r.out.find("Frames in Cycle: 5");
    ASSERT_NE(cycle, std::string::npos);
    EXPECT_TRUE(contains(r.out.substr(cycle, r.out.find('\n', cycle) - cycle), "[hidden]"));
    // The plug-in's console lines stay out of the listing.
    EXPECT_FALSE(contains(r.out, "INTERACTIVE BUILD"));
    EXPECT_TRUE(contains(r.err, "INTERACTIVE BUILD"));
}

TEST(HostCli, HelpShowsExamples) {
    Outcome r = runSparkhost({"render", "--help"});
    EXPECT_EQ(r.code, 0);
    for (const char* part : {"--frames", "--keys", "Examples:"}) EXPECT_TRUE(contains(r.out, part)) << part;
    EXPECT_TRUE(contains(runSparkhost({"--help"}).out, "Examples:"));
    EXPECT_NE(runSparkhost({}).code, 0);
}
