// Frame ranges, file patterns, keyframe lines and name matching: what a person types.
#include <gtest/gtest.h>

#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/SequencePattern.h"

using namespace sparkhost;

TEST(FrameRange, CompositorFormsAndRefusals) {
    // A step keeps the first frame and never passes the last one.
    const std::pair<const char*, std::vector<int>> good[] = {
        {"12", {12}}, {"1-5", {1, 2, 3, 4, 5}}, {"1-10x3", {1, 4, 7, 10}}, {"1-9x4", {1, 5, 9}},
        {" 0-2, 7 ,20-24x2", {0, 1, 2, 7, 20, 22, 24}}, {"5-5", {5}},
        // Backwards, the step counting down from the first frame.
        {"10-7", {10, 9, 8, 7}}, {"10-1x4", {10, 6, 2}}};
    std::vector<int> f;
    std::string error;
    for (const auto& [text, frames] : good) {
        ASSERT_TRUE(parseFrameRange(text, &f, &error)) << text << ": " << error;
        EXPECT_EQ(f, frames) << text;
    }
    for (const char* bad : {"", "a", "1-10x0", "1-10x", "-5", "1-", "1,,2", "3x2", "1.5", "1-10y2"}) {
        EXPECT_FALSE(parseFrameRange(bad, &f, &error)) << bad;
        EXPECT_TRUE(f.empty()) << bad;
        EXPECT_NE(error.find("bad frame range"), std::string::npos) << bad;
    }
}

TEST(SequencePattern, FramesFillTheNumberedPartOnly) {
    // Hashes and printf forms give the same files; frames wider than the padding keep every
    // digit; a '#' in a folder name belongs to the folder; a still names one file for every frame.
    const struct {
        const char* pattern;
        int frame;
        const char* path;
    } cases[] = {{"out/swarm.####.exr", 7, "out/swarm.0007.exr"},
                 {"out/swarm.%04d.exr", 7, "out/swarm.0007.exr"},
                 {"out/swarm.####.exr", 123456, "out/swarm.123456.exr"},
                 {"plate.%d.png", 42, "plate.42.png"},
                 {"a#.tif", 3, "a3.tif"},
                 {"take#2/frame.##.png", 5, "take#2/frame.05.png"},
                 {"backdrop.png", 500, "backdrop.png"}};
    std::string error;
    for (const auto& c : cases) {
        SequencePattern p;
        ASSERT_TRUE(p.parse(c.pattern, &error)) << c.pattern;
        EXPECT_EQ(p.path(c.frame), c.path);
        EXPECT_EQ(p.isSequence(), std::string(c.pattern) != "backdrop.png") << c.pattern;
    }
    SequencePattern p;
    for (const char* ambiguous : {"a.##.b.##.png", "a.####.%04d.png", "a.%4d.png", "a.%s.png", ""})
        EXPECT_FALSE(p.parse(ambiguous, &error)) << ambiguous;
    // Padding past 20 digits would give every frame the same truncated name.
    ASSERT_TRUE(p.parse("a.%020d.png", &error));
    EXPECT_EQ(p.path(12), "a.00000000000000000012.png");
    for (const std::string& wide : std::vector<std::string>{
             "a.%021d.png", "a.%0924d.png", "a.%099999999999999999999d.png", "a." + std::string(21, '#') + ".png"})
        EXPECT_FALSE(p.parse(wide, &error)) << wide;
}

TEST(Keyframes, ControlNamesMayHoldBlanksAndBadLinesNameTheirLine) {
    std::vector<KeyLine> keys;
    std::string error;
    ASSERT_TRUE(parseKeyframes("# size ramp\nVesk Size 1 20\n\n  Vesk Size   100   300.5 \nSparkFloat13 -4 -1e2\n",
                               &keys, &error))
        << error;
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_TRUE(keys[1].control == "Vesk Size" && keys[1].frame == 100 && keys[1].line == 4);
    EXPECT_FLOAT_EQ(keys[1].value, 300.5f);
    EXPECT_TRUE(keys[2].frame == -4 && keys[2].value == -100.0f);
    EXPECT_FALSE(parseKeyframes("Gain 1 2\nGain 1.5 2\n", &keys, &error));
    EXPECT_NE(error.find("line 2"), std::string::npos) << error;
    EXPECT_FALSE(parseKeyframes("Gain 3 much\n", &keys, &error));
    EXPECT_FALSE(parseKeyframes("Gain 3\n", &keys, &error));
    // Values past single precision and frames past int would silently become other keys.
    EXPECT_FALSE(parseKeyframes("Gain 3 4e38\n", &keys, &error));
    EXPECT_FALSE(parseKeyframes("Gain 4294967297 1\n", &keys, &error));
    EXPECT_TRUE(keys.empty());
}

TEST(Names, ClosestByEditDistanceFirstListedWinsATie) {
    EXPECT_EQ(editDistance("kitten", "sitting"), 3);
    EXPECT_EQ(editDistance("gain", "gian"), 2);   // a swap is two edits
    EXPECT_EQ(normaliseName("  Vesk   SIZE  "), "vesk size");
    std::vector<std::string> names = {"Seed", "Vesk Size", "Speed", "Shape Width", "Vesk Grouping"};
    EXPECT_EQ(closestNames("vesk sise", names, 2).at(0), "Vesk Size");
    EXPECT_EQ(closestNames("sped", names, 2), (std::vector<std::string>{"Seed", "Speed"}));
}

TEST(Names, SameNameComparesAsIfNormalised) {
    struct Case { const char* name; const char* wanted; bool same; };
    for (const Case& c : std::vector<Case>{{"  Vesk \t SIZE  ", "vesk size", true},
                                           {"SparkInt11", "sparkint11", true},
                                           {"SparkInt1", "sparkint11", false},
                                           {"SparkInt11", "sparkint1", false},
                                           {"VeskSize", "vesk size", false},
                                           {"Vesk Size", "vesksize", false},
                                           {" \t ", "", true},
                                           {"x", "", false}}) {
        EXPECT_EQ(sameName(c.name, c.wanted), c.same) << c.name << " / " << c.wanted;
        EXPECT_EQ(normaliseName(c.name) == c.wanted, c.same) << c.name << " / " << c.wanted;
    }
}

TEST(Labels, FormatsAreFilledOnlyWhenTheyFitTheRecord) {
    EXPECT_EQ(formatLabel("Vesk Size: %d", ControlKind::Int, 300, nullptr), "Vesk Size: 300");
    EXPECT_EQ(formatLabel("Level: %5.1f%%", ControlKind::Float, 12.25, nullptr), "Level:  12.2%");
    EXPECT_EQ(formatLabel("%s", ControlKind::String, 0, "1: Background Clip"), "1: Background Clip");
    // A conversion the record cannot feed is shown as written instead of being filled.
    for (const char* unfit : {"Name: %s", "Two: %d %d", "Long: %ld", "Star: %*d"})
        EXPECT_EQ(formatLabel(unfit, ControlKind::Int, 3, nullptr), unfit);
}
