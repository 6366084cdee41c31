// One rule for a value on every path: what a person gives (--set, keys, setups) is a finite number,
// whole for an integer control, within the range; a value the plug-in stores itself outside the
// range (the "Simple Food Hunt" preset's Seed 1650, outside 1 to 999) survives a saved setup.
#include <cmath>

#include "harness.h"

using harness::with;

namespace {

std::vector<std::string> job(const std::string& output) {
    return {"render", harness::vesk(), "--frames", "1-3", "--size", "64x36", "-o", output};
}

}  // namespace

TEST(ValueRule, APresetsOwnValueRoundTripsThroughASetup) {
    std::string dir = harness::freshDir("value_rule_preset");
    harness::Outcome pressed = harness::runSparkhost(
        with(job(dir + "/pressed.####.png"), {"--press", "Simple Food Hunt", "--save-setup", dir + "/hunt.setup"}));
    ASSERT_EQ(pressed.code, 0) << pressed.err;
    std::string setup = harness::readFile(dir + "/hunt.setup");
    EXPECT_TRUE(harness::contains(setup, "\nstored SparkInt12 = 1650  # Seed")) << setup;
    harness::Outcome loaded = harness::runSparkhost(
        with(job(dir + "/loaded.####.png"), {"--setup", dir + "/hunt.setup", "--save-setup", dir + "/again.setup"}));
    ASSERT_EQ(loaded.code, 0) << loaded.err;
    EXPECT_EQ(harness::readFile(dir + "/again.setup"), setup);
    for (int f = 1; f <= 3; ++f) {
        std::string a = harness::readFile(harness::framePath(dir + "/pressed.####.png", f));
        ASSERT_FALSE(a.empty());
        EXPECT_TRUE(a == harness::readFile(harness::framePath(dir + "/loaded.####.png", f))) << "frame " << f;
    }
    // The shipped example holds the preset's Seed and loads as it is.
    harness::Outcome example =
        harness::runSparkhost(with(job(dir + "/example.####.png"), {"--setup", std::string(VESK_SOURCE_DIR) + "/examples/food-hunt.setup"}));
    EXPECT_EQ(example.code, 0) << example.err;
}

TEST(ValueRule, EveryPathRefusesWhatAPersonCannotGive) {
    std::string dir = harness::freshDir("value_rule_refusals");
    std::string out = dir + "/out";
    ASSERT_EQ(::mkdir(out.c_str(), 0755), 0);
    auto file = [&](const std::string& name, const std::string& text) {
        std::ofstream(dir + "/" + name) << text;
        return dir + "/" + name;
    };
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        // Typed: the preset's own value is out of range for a person.
        {{"--set", "Seed=1650"}, "\"Seed\" (SparkInt12): value 1650 is outside its range 1 to 999"},
        {{"--set", "Birth X=nan"}, "\"Birth X\" (SparkFloat13): 'nan' is not a number"},
        {{"--set", "Vesk Size=inf"}, "\"Vesk Size\" (SparkInt11): 'inf' is not a number"},
        {{"--set", "Vesk Size=20.5"}, "\"Vesk Size\" (SparkInt11): '20.5' is not a whole number"},
        // Setups, by file, line and range.
        {{"--setup", file("seed.setup", "# a hand-made setup\nSparkInt12 = 1650  # Seed\n")},
         "seed.setup:2: \"Seed\" (SparkInt12): value 1650 is outside its range 1 to 999"},
        {{"--setup", file("size.setup", "SparkInt11 = 99999\n")},
         "size.setup:1: \"Vesk Size\" (SparkInt11): value 99999 is outside its range 1 to 5000"},
        {{"--setup", file("low.setup", "SparkInt11 = -7\n")},
         "low.setup:1: \"Vesk Size\" (SparkInt11): value -7 is outside its range 1 to 5000"},
        {{"--setup", file("list.setup", "SparkPup42 = 99\n")},
         "list.setup:1: \"Shape\" (SparkPup42): entry 99 is outside its entries 0 to 8"},
        {{"--setup", file("nan.setup", "SparkFloat13 = nan\n")}, "nan.setup:1: SparkFloat13: not a number: 'nan'"},
        {{"--setup", file("inf.setup", "SparkFloat13 = -inf\n")}, "inf.setup:1: SparkFloat13: not a number: '-inf'"},
        {{"--setup", file("frac.setup", "SparkInt11 = 20.5\n")}, "frac.setup:1: SparkInt11: not a whole number: '20.5'"},
        {{"--setup", file("keyfrac.setup", "key SparkInt11 1 20.5\n")},
         "keyfrac.setup:1: \"Vesk Size\" (SparkInt11): key value 20.5 is not a whole number"},
        {{"--setup", file("keyrange.setup", "key SparkFloat13 1 300\n")},
         "keyrange.setup:1: \"Birth X\" (SparkFloat13): key value 300 is outside its range -150 to 250"},
        {{"--setup", file("keynan.setup", "key SparkFloat13 1 nan\n")}, "keynan.setup:1: the key's value 'nan' is not a number"},
        {{"--setup", file("keytwice.setup", "key SparkFloat13 4 10\nkey SparkFloat13 4 20\n")},
         "keytwice.setup:2: \"Birth X\" (SparkFloat13) has a second key at frame 4"},
        // Keys files, as setups.
        {{"--keys", file("frac.keys", "Vesk Size 1 20.5\n")}, "frac.keys:1: value 20.5 of \"Vesk Size\" (11) is not a whole number"},
        {{"--keys", file("twice.keys", "Birth X 1 10\nBirth X 5 20\nBirth X 1 30\n")},
         "twice.keys:3: a second key of \"Birth X\" at frame 1 (the first is on line 1)"},
        {{"--keys", file("nan.keys", "Birth X 1 nan\n")}, "line 1: the value is not a number"},
    };
    for (const auto& c : cases) {
        harness::Outcome r = harness::runSparkhost(with(job(out + "/o.####.png"), c.first));
        EXPECT_EQ(r.code, 2) << c.second << "\n" << r.err;
        EXPECT_TRUE(harness::contains(r.err, c.second)) << r.err;
        EXPECT_TRUE(harness::isEmptyDir(out)) << c.second;
    }
}

// A float plate whose pixels 1, 4 and 6 hold NaN (pixel 4 in red only) comes out black there, with
// and without colour management, and each render counts the three pixels once.
TEST(ValueRule, NaNInAFloatPlateIsBlackOnEveryPath) {
    std::string dir = harness::freshDir("value_rule_nan");
    const float nan = std::nanf("");
    sparkhost::FloatImage plate;
    plate.width = 4;
    plate.height = 2;
    for (int p = 0; p < 8; ++p) {
        bool all = p == 1 || p == 6;
        plate.rgb.push_back(all || p == 4 ? nan : 0.5f);
        plate.rgb.push_back(all ? nan : 0.0f);
        plate.rgb.push_back(all ? nan : 0.0f);
    }
    std::string error;
    ASSERT_TRUE(sparkhost::writeImageFloat(dir + "/plate.exr", plate, true, &error)) << error;
    for (const char* mode : {"managed", "off"}) {
        std::vector<std::string> args = {"render", harness::copyFixture(), "--frames", "1-2", "--clip",
                                         "1=" + dir + "/plate.exr", "-o", dir + "/" + mode + ".####.png"};
        if (std::string(mode) == "off") args.push_back("--no-colour-management");
        harness::Outcome r = harness::runSparkhost(args);
        ASSERT_EQ(r.code, 0) << r.err;
        const std::string note = "3 pixels not a number (NaN), taken as black";
        size_t at = r.err.find(note);
        EXPECT_NE(at, std::string::npos) << mode << ": " << r.err;
        EXPECT_EQ(r.err.find(note, at + 1), std::string::npos) << mode << ": reported twice: " << r.err;
        sparkhost::FrameBuffer out = harness::readFrame(harness::framePath(dir + "/" + mode + ".####.png", 1));
        ASSERT_EQ(out.width(), 4);
        const uint8_t* px = out.data();
        for (int p : {1, 6})
            for (int c = 0; c < 3; ++c) EXPECT_EQ(px[3 * p + c], 0) << mode << ", pixel " << p << ", channel " << c;
        EXPECT_EQ(px[3 * 4], 0) << mode << ": the NaN red of pixel 4";
        EXPECT_GT(px[3 * 0], 0) << mode << ": a red of 0.5 is not black";
    }
}
