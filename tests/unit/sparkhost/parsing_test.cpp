// Frame ranges, file patterns, keyframe lines and name matching: what a person types.
#include <gtest/gtest.h>

#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/SequencePattern.h"

using namespace sparkhost;

TEST(FrameRange, CompositorForms) {
    std::vector<int> f;
    std::string error;
    ASSERT_TRUE(parseFrameRange("12", &f, &error)) << error;
    EXPECT_EQ(f, std::vector<int>({12}));
    ASSERT_TRUE(parseFrameRange("1-5", &f, &error));
    EXPECT_EQ(f, std::vector<int>({1, 2, 3, 4, 5}));
    // A step keeps the first frame and never passes the last one.
    ASSERT_TRUE(parseFrameRange("1-10x3", &f, &error));
    EXPECT_EQ(f, std::vector<int>({1, 4, 7, 10}));
    ASSERT_TRUE(parseFrameRange("1-9x4", &f, &error));
    EXPECT_EQ(f, std::vector<int>({1, 5, 9}));
    ASSERT_TRUE(parseFrameRange(" 0-2, 7 ,20-24x2", &f, &error));
    EXPECT_EQ(f, std::vector<int>({0, 1, 2, 7, 20, 22, 24}));
    ASSERT_TRUE(parseFrameRange("5-5", &f, &error));
    EXPECT_EQ(f, std::vector<int>({5}));
}

TEST(FrameRange, RefusesWhatIsNotARange) {
    std::vector<int> f;
    std::string error;
    for (const char* bad : {"", "a", "10-1", "1-10x0", "1-10x", "-5", "1-", "1,,2", "3x2", "1.5", "1-10y2"}) {
        EXPECT_FALSE(parseFrameRange(bad, &f, &error)) << bad;
        EXPECT_TRUE(f.empty()) << bad;
        EXPECT_NE(error.find("bad frame range"), std::string::npos) << bad;
    }
}

TEST(SequencePattern, HashesAndPrintfFormsGiveTheSameFiles) {
    SequencePattern hashes, printf4, plain;
    std::string error;
    ASSERT_TRUE(hashes.parse("out/swarm.####.exr", &error));
    ASSERT_TRUE(printf4.parse("out/swarm.%04d.exr", &error));
    EXPECT_TRUE(hashes.isSequence());
    for (int frame : {0, 7, 123, 9999}) EXPECT_EQ(hashes.path(frame), printf4.path(frame));
    EXPECT_EQ(hashes.path(7), "out/swarm.0007.exr");
    // Frames wider than the padding keep every digit.
    EXPECT_EQ(hashes.path(123456), "out/swarm.123456.exr");
    ASSERT_TRUE(plain.parse("plate.%d.png", &error));
    EXPECT_EQ(plain.path(42), "plate.42.png");
    SequencePattern one;
    ASSERT_TRUE(one.parse("a#.tif", &error));
    EXPECT_EQ(one.path(3), "a3.tif");
}

TEST(SequencePattern, StillsAndFoldersWithHashes) {
    SequencePattern still, folder;
    std::string error;
    ASSERT_TRUE(still.parse("backdrop.png", &error));
    EXPECT_FALSE(still.isSequence());
    EXPECT_EQ(still.path(1), "backdrop.png");
    EXPECT_EQ(still.path(500), "backdrop.png");
    // A '#' in a folder name is part of the folder, not a frame number.
    ASSERT_TRUE(folder.parse("take#2/frame.##.png", &error));
    EXPECT_EQ(folder.path(5), "take#2/frame.05.png");
}

TEST(SequencePattern, RefusesAmbiguousPatterns) {
    SequencePattern p;
    std::string error;
    EXPECT_FALSE(p.parse("a.##.b.##.png", &error));
    EXPECT_FALSE(p.parse("a.####.%04d.png", &error));
    EXPECT_FALSE(p.parse("a.%4d.png", &error));
    EXPECT_FALSE(p.parse("a.%s.png", &error));
    EXPECT_FALSE(p.parse("", &error));
}

TEST(Keyframes, ControlNamesMayHoldBlanks) {
    std::vector<KeyLine> keys;
    std::string error;
    ASSERT_TRUE(parseKeyframes("# size ramp\nVesk Size 1 20\n\n  Vesk Size   100   300.5 \nSparkFloat13 -4 -1e2\n",
                               &keys, &error))
        << error;
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0].control, "Vesk Size");
    EXPECT_EQ(keys[0].frame, 1);
    EXPECT_FLOAT_EQ(keys[0].value, 20.0f);
    EXPECT_EQ(keys[0].line, 2);
    EXPECT_EQ(keys[1].control, "Vesk Size");
    EXPECT_EQ(keys[1].frame, 100);
    EXPECT_FLOAT_EQ(keys[1].value, 300.5f);
    EXPECT_EQ(keys[1].line, 4);
    EXPECT_EQ(keys[2].frame, -4);
    EXPECT_FLOAT_EQ(keys[2].value, -100.0f);
}

TEST(Keyframes, BadLinesNameTheirLine) {
    std::vector<KeyLine> keys;
    std::string error;
    EXPECT_FALSE(parseKeyframes("Gain 1 2\nGain 1.5 2\n", &keys, &error));
    EXPECT_NE(error.find("line 2"), std::string::npos) << error;
    EXPECT_FALSE(parseKeyframes("Gain 3 much\n", &keys, &error));
    EXPECT_FALSE(parseKeyframes("Gain 3\n", &keys, &error));
    EXPECT_TRUE(keys.empty());
}

TEST(Names, EditDistanceAndClosest) {
    EXPECT_EQ(editDistance("", "abc"), 3);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3);
    EXPECT_EQ(editDistance("gain", "gian"), 2);
    EXPECT_EQ(editDistance("same", "same"), 0);
    EXPECT_EQ(normaliseName("  Vesk   SIZE  "), "vesk size");
    std::vector<std::string> names = {"Seed", "Vesk Size", "Speed", "Shape Width", "Vesk Grouping"};
    auto closest = closestNames("vesk sise", names, 2);
    ASSERT_EQ(closest.size(), 2u);
    EXPECT_EQ(closest[0], "Vesk Size");
    closest = closestNames("sped", names, 2);
    EXPECT_EQ(closest[0], "Seed");   // one edit away, as Speed is: the first listed wins
    EXPECT_EQ(closest[1], "Speed");
}

TEST(Labels, FormatsAreFilledOnlyWhenTheyFitTheRecord) {
    EXPECT_EQ(formatLabel("Vesk Size: %d", ControlKind::Int, 300, nullptr), "Vesk Size: 300");
    EXPECT_EQ(formatLabel("Birth X: %.2f", ControlKind::Float, 84.0, nullptr), "Birth X: 84.00");
    EXPECT_EQ(formatLabel("Level: %5.1f%%", ControlKind::Float, 12.25, nullptr), "Level:  12.2%");
    EXPECT_EQ(formatLabel("100%% plain", ControlKind::Boolean, 0, nullptr), "100% plain");
    EXPECT_EQ(formatLabel("%s", ControlKind::String, 0, "1: Background Clip"), "1: Background Clip");
    // A conversion the record cannot feed is shown as written instead of being filled.
    EXPECT_EQ(formatLabel("Name: %s", ControlKind::Int, 3, nullptr), "Name: %s");
    EXPECT_EQ(formatLabel("Two: %d %d", ControlKind::Int, 3, nullptr), "Two: %d %d");
    EXPECT_EQ(formatLabel("Long: %ld", ControlKind::Int, 3, nullptr), "Long: %ld");
    EXPECT_EQ(formatLabel("Star: %*d", ControlKind::Int, 3, nullptr), "Star: %*d");
}
