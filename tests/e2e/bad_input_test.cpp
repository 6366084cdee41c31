// Every class of bad input is refused before a frame is written: a message naming the option, the
// control or the file (and line), exit code 2, and an output folder left empty.
#include <algorithm>

#include "harness.h"

namespace {

struct BadCase {
    std::vector<std::string> args;  // after "render PLUGIN"; $D is the test folder
    std::string plugin;             // empty: the copy fixture; "vesk": the real plug-in
    const char* message;            // $D is the test folder
};

std::string expand(std::string text, const std::string& dir) {
    for (size_t at; (at = text.find("$D")) != std::string::npos;) text.replace(at, 2, dir);
    return text;
}

}  // namespace

TEST(BadInput, EveryClassIsRefusedNamingItsSourceWithNothingWritten) {
    std::string dir = harness::freshDir("bad_input");
    std::string out = dir + "/out";
    ASSERT_EQ(::mkdir(out.c_str(), 0755), 0);
    std::ofstream(dir + "/broken.setup") << "# sparkhost setup\nSparkFloat8 = 0.5\nthis line means nothing\n";
    std::ofstream(dir + "/shot.setup") << "shot-start soon\n";
    std::ofstream(dir + "/bad.keys") << "Gain 1 1\nGain five 2\n";
    std::ofstream(dir + "/speed.keys") << "Speed 1 20\nSpeed 10 250\n";
    std::ofstream(dir + "/text.spark") << "not a plug-in\n";
    sparkhost::FrameBuffer small(8, 8, sparkhost::kDepth8);
    for (const char* name : {"/plate.png", "/seq.0001.png", "/seq.0002.png"}) harness::writeFrame(dir + name, small);
    harness::writeFrame(dir + "/big.png", sparkhost::FrameBuffer(10, 8, sparkhost::kDepth8));
    const std::string bin = VESK_BINARY_DIR;
    const std::vector<BadCase> cases = {
        // Options, ranges and sizes.
        {{"--depth", "10"}, "", "--depth"},
        {{"--layers", "0"}, "", "--layers"},
        {{"--frames", "5-x"}, "", "bad frame range '5-x'"},
        {{"--size", "8by8"}, "", "bad size '8by8'"},
        {{"--size", "100000x100000"}, "", "--size 100000x100000: frame size 100000x100000 needs about "},
        {{"--frames", "3-4", "--shot-start", "5"}, "vesk", "the shot starts at frame 5, after the first frame rendered (3)"},
        // Setups and keys, by file and line.
        {{"--setup", "$D/none.setup"}, "", "cannot read setup file '$D/none.setup'"},
        {{"--setup", "$D/broken.setup"}, "", "$D/broken.setup:3: expected 'record = value'"},
        {{"--setup", "$D/shot.setup"}, "", "$D/shot.setup:1: 'shot-start' needs one frame number"},
        {{"--keys", "$D/bad.keys"}, "", "$D/bad.keys: line 2: 'five' is no frame number"},
        {{"--keys", "$D/speed.keys"}, "vesk", "speed.keys:2: value 250 of \"Speed\" (79) is outside its range 0 to 100"},
        // Clips.
        {{"--frames", "1-4", "--clip", "1=$D/seq.####.png"}, "", "missing input file '$D/seq.0003.png' (and 1 more frames)"},
        {{"--clip", "1=$D/plate.png", "--clip", "2=$D/big.png"}, "", "clip 2: '$D/big.png' is 10x8 but the frame size is 8x8"},
        {{"--clip", "4=$D/plate.png"}, "", "clip 4 is given but the plug-in takes 2 clips"},
        {{"--clip", "1=$D/plate.png", "--input-colorspace", "1=ACEScg"}, "", "--input-colorspace 1: unknown colour space 'ACEScg'"},
        {{"--input-colorspace", "3=sRGB"}, "", "--input-colorspace 3=sRGB: clip 3 is not given"},
        {{"--input-colorspace", "7=sRGB"}, "", "bad --input-colorspace '7=sRGB'"},
        {{"--working-colorspace", "Nowhere"}, "", "--working-colorspace: unknown colour space 'Nowhere'"},
        {{"--output-colorspace", "Nowhere"}, "", "--output-colorspace: unknown colour space 'Nowhere'"},
        // Outputs.
        {{"-o", "$D/out/o.####.nosuchformat"}, "", "-o: no image writer for '$D/out/o.####.nosuchformat'"},
        {{"-o", "$D/out/o.png"}, "", "has no frame number"},
        {{"-o", "$D/out/missing/o.####.png"}, "", "output folder '$D/out/missing' does not exist"},
        {{"-o", "/sys/o.####.png"}, "", "output folder '/sys' is not writable"},
        {{"--frames", "1", "--clip", "1=$D/plate.png", "-o", "$D/plate.png"}, "", "would overwrite clip 1's file '$D/plate.png'"},
        // Plug-ins.
        {{}, "$D/nothing.spark", "cannot load plug-in '$D/nothing.spark'"},
        {{}, "$D/text.spark", "'$D/text.spark' is not a Spark plug-in: not an ELF shared object"},
        {{}, bin + "/fixture_foreign.spark", "needs host functions sparkhost does not provide: sparkTimecodeGet, sparkProxyEnable"},
        // Controls, named with the closest names where the name is unknown.
        {{"--set", "Vesk Sise=30"}, "vesk", "unknown control 'Vesk Sise'; closest: \"Vesk Size\" (11)"},
        {{"--set", "Vesk Size=6000"}, "vesk", "\"Vesk Size\" (SparkInt11): value 6000 is outside its range 1 to 5000"},
        {{"--set", "Shape=Six Point Star"}, "vesk", "no entry 'Six Point Star'"},
        {{"--press", "Vesk Size"}, "vesk", "is not a button"},
        {{"--set", "Seed"}, "vesk", "write NAME=VALUE"},
    };
    for (const auto& c : cases) {
        std::string plugin = c.plugin.empty() ? harness::copyFixture()
                             : c.plugin == "vesk" ? harness::vesk() : expand(c.plugin, dir);
        std::vector<std::string> args = {"render", plugin};
        for (const auto& a : c.args) args.push_back(expand(a, dir));
        // What a case does not give itself: a small size, two frames, the empty output folder.
        auto gives = [&](const std::string& flag) {
            return std::find(c.args.begin(), c.args.end(), flag) != c.args.end();
        };
        if (!gives("--size")) args.insert(args.end(), {"--size", "8x8"});
        if (!gives("--frames")) args.insert(args.end(), {"--frames", "1-2"});
        if (!gives("-o")) args.insert(args.end(), {"-o", out + "/o.####.png"});
        harness::Outcome r = harness::runSparkhost(args);
        EXPECT_EQ(r.code, 2) << c.message << "\n" << r.err;
        EXPECT_TRUE(harness::contains(r.err, expand(c.message, dir))) << r.err;
        EXPECT_TRUE(harness::isEmptyDir(out)) << c.message << ": files left";
        EXPECT_EQ(std::system(("rm -rf '" + out + "'/*").c_str()), 0);  // so that one fault shows once
    }
}
