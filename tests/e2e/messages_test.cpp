// Messages that say what is wrong in the words and numbers the person typed, refusals of values
// that used to be taken silently, `render --check`, the farm script's use of it, and the plug-in's
// console output kept apart from sparkhost's results.
#include <algorithm>

#include "harness.h"

namespace {

size_t count(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

}  // namespace

TEST(Messages, EachFaultIsNamedAsTypedAndRefusedBeforeAnyFrame) {
    std::string dir = harness::freshDir("messages");
    std::string out = dir + "/out";
    ASSERT_EQ(::mkdir(out.c_str(), 0755), 0);
    harness::writeFrame(dir + "/plate.png", sparkhost::FrameBuffer(8, 8, sparkhost::kDepth8));
    std::ofstream(dir + "/short.keys") << "Food X 1\n";
    std::ofstream(dir + "/binary.keys") << "Food X 1 \x01\xfe\xff 3\n";
    struct Case {
        std::vector<std::string> args;
        bool vesk;
        std::string message;
    };
    const std::vector<Case> cases = {
        {{"--clip", "1=" + dir + "/plate.png@nosuch"}, false, "--clip 1: unknown colour space 'nosuch'"},
        {{"--shot-start", "-1"}, false, "--shot-start: '-1' is not a frame number"},
        {{"--pixel-aspect", "0"}, false, "--pixel-aspect: '0' is not a positive number"},
        {{"--pixel-aspect", "nan"}, false, "--pixel-aspect: 'nan' is not a positive number"},
        {{"--frames", "1-1000000000"}, false, "'1-1000000000' goes beyond the last frame number, 999999999"},
        {{"--set", "Birth X=250.0001"}, true, "value 250.0001 is outside its range -150 to 250"},
        {{"--keys", dir + "/short.keys"}, true, "short.keys: line 1: 'X' is no frame number (a key is 'control frame value')"},
        {{"--keys", dir + "/binary.keys"}, true, "'Food X 1 \\x01\\xfe\\xff 3'"},
        {{"--press", "Vesk Size"}, true, "(SparkInt11, an integer) is not a button"},
        {{"--compression", "bogus"}, false, "--compression 'bogus' is not one the png writer takes"},
        {{"--compression", "zip:10"}, false, "--compression 'zip:10' is not one the png writer takes"},
        {{"--set", "=3"}, false, "bad --set '=3': the control's name is missing"},
        {{"--size", ""}, false, "--size: needs a value"},
        {{"--depth", ""}, false, "--depth: '' is no host depth: give 8 or 12"},
        {{"--setup", ""}, false, "--setup: needs a value"},
        {{"--keys", ""}, false, "--keys: needs a value"},
        {{"--save-setup", ""}, false, "--save-setup: needs a value"},
        {{"--working-colorspace", ""}, false, "--working-colorspace: needs a value"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args = {"render", c.vesk ? harness::vesk() : harness::copyFixture(), "--size", "8x8"};
        if (std::find(c.args.begin(), c.args.end(), "--size") != c.args.end()) args.pop_back(), args.pop_back();
        args.insert(args.end(), c.args.begin(), c.args.end());
        args.insert(args.end(), {"-o", out + "/o.####.png"});
        harness::Outcome r = harness::runSparkhost(args);
        EXPECT_EQ(r.code, 2) << c.message << "\n" << r.err;
        EXPECT_TRUE(harness::contains(r.err, c.message)) << c.message << "\n" << r.err;
        // No number printed to its last of 309 digits, no raw control byte echoed.
        EXPECT_FALSE(harness::contains(r.err, "17976931348623")) << r.err;
        EXPECT_FALSE(harness::contains(r.err, "\x01")) << c.message;
        EXPECT_TRUE(harness::isEmptyDir(out)) << c.message;
    }
    harness::Outcome bogus = harness::runSparkhost({"bogus"});
    EXPECT_EQ(bogus.code, 2);
    EXPECT_TRUE(harness::contains(bogus.err, "unknown command 'bogus'")) << bogus.err;
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

TEST(Messages, CheckRendersNothingAndThePluginSpeaksOnceOnStandardError) {
    std::string dir = harness::freshDir("check");
    const std::vector<std::string> render = {"render", harness::vesk(), "--frames", "1-3", "--size", "32x32"};
    harness::Outcome ok = harness::runSparkhost(harness::with(render, {"--check", "-o", dir + "/f.####.png"}));
    EXPECT_EQ(ok.code, 0) << ok.err;
    EXPECT_TRUE(harness::isEmptyDir(dir));
    harness::Outcome bad =
        harness::runSparkhost(harness::with(render, {"--check", "--set", "Nope=3", "-o", dir + "/f.####.png"}));
    EXPECT_EQ(bad.code, 2);
    EXPECT_TRUE(harness::contains(bad.err, "unknown control 'Nope'")) << bad.err;

    // A render: standard output is left empty for results; the banner is on standard error, once,
    // each line marked as the plug-in's; --quiet leaves it out.
    harness::Outcome loud = harness::runSparkhost(harness::with(render, {"-o", dir + "/f.####.png"}));
    EXPECT_EQ(loud.code, 0) << loud.err;
    EXPECT_EQ(loud.out, "");
    EXPECT_EQ(count(loud.err, "INTERACTIVE BUILD"), 1u) << loud.err;
    EXPECT_TRUE(harness::contains(loud.err, "vesk.spark: INTERACTIVE BUILD")) << loud.err;
    harness::Outcome quiet = harness::runSparkhost(harness::with(render, {"--quiet", "-o", dir + "/q.####.png"}));
    EXPECT_EQ(quiet.code, 0) << quiet.err;
    EXPECT_FALSE(harness::contains(quiet.err, "vesk.spark:")) << quiet.err;
    EXPECT_TRUE(harness::contains(quiet.err, "sparkhost: rendered 3 frames")) << quiet.err;

    // A message the plug-in shows (a birth matte with no white in it) reaches the terminal once.
    harness::writeFrame(dir + "/black.png", sparkhost::FrameBuffer(32, 32, sparkhost::kDepth8));
    harness::Outcome told = harness::runSparkhost(
        {"render", harness::vesk(), "--frames", "1", "--size", "32x32", "--clip", "4=" + dir + "/black.png", "--set",
         "Use Birth Matte=1", "-o", dir + "/m.####.png"});
    EXPECT_EQ(told.code, 0) << told.err;
    EXPECT_EQ(count(told.err, "Tried many times to create a particle"), 1u) << told.err;

    // The farm script checks the render before it queues anything, and a submit that does not wait
    // ends with exit 0. A stand-in sbatch records what it is given.
    std::string bin = dir + "/bin";
    ASSERT_EQ(::mkdir(bin.c_str(), 0755), 0);
    std::ofstream(bin + "/sbatch") << "#!/bin/sh\necho \"$@\" >> '" << dir << "/sbatch.log'\necho 4711\n";
    ASSERT_EQ(::chmod((bin + "/sbatch").c_str(), 0755), 0);
    std::string farm = "cd '" + dir + "' && PATH='" + bin + "':$PATH " + VESK_SOURCE_DIR +
                       "/scripts/farm-slurm.sh submit SHOT --frames 1-4 --chunk 2 --sparkhost " +
                       harness::sparkhostPath() + " -- " + harness::vesk() + " --size 32x32 -o farm.####.png";
    int refused = std::system((farm.substr(0, farm.find(" SHOT ")) + " BAD" + farm.substr(farm.find(" SHOT ") + 5) +
                               " --set Nope=3 > /dev/null 2>&1").c_str());
    EXPECT_EQ(WEXITSTATUS(refused), 2);
    EXPECT_FALSE(harness::exists(dir + "/sbatch.log")) << "a refused render was submitted";
    EXPECT_FALSE(harness::exists(dir + "/BAD/shot.env"));
    int submitted = std::system((farm + " > /dev/null 2>&1").c_str());
    EXPECT_EQ(WEXITSTATUS(submitted), 0);
    EXPECT_TRUE(harness::contains(harness::readFile(dir + "/sbatch.log"), "--array 0-1"));
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}
