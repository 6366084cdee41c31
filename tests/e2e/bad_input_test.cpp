// Every class of bad input is refused before a frame is written: a message naming the option or
// the file (and line), exit code 2, and an output folder left empty.
#include <algorithm>

#include "harness.h"

namespace {

struct BadCase {
    const char* what;
    std::vector<std::string> args;  // after "render PLUGIN"; $D is the test folder
    std::string plugin;             // empty: the copy fixture
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
    {
        std::ofstream(dir + "/broken.setup") << "# sparkhost setup\nSparkFloat8 = 0.5\nthis line means nothing\n";
        std::ofstream(dir + "/shot.setup") << "shot-start soon\n";
        std::ofstream(dir + "/bad.keys") << "Gain 1 1\nGain five 2\n";
        std::ofstream(dir + "/text.spark") << "not a plug-in\n";
    }
    std::string error;
    ASSERT_TRUE(sparkhost::writeImage(dir + "/plate.png", sparkhost::FrameBuffer(8, 8, sparkhost::kDepth8), &error));
    const std::string bin = VESK_BINARY_DIR;
    const std::vector<BadCase> cases = {
        {"option", {"--depth", "10"}, "", "--depth"},
        {"option", {"--layers", "0"}, "", "--layers"},
        {"setup line", {"--setup", "$D/broken.setup"}, "", "$D/broken.setup:3: expected 'record = value'"},
        {"setup shot start", {"--setup", "$D/shot.setup"}, "", "$D/shot.setup:1: 'shot-start' needs one frame number"},
        {"keys line", {"--keys", "$D/bad.keys"}, "", "$D/bad.keys: line 2: the frame is not a whole number"},
        {"clip", {"--clip", "1=$D/none.####.png"}, "", "missing input file '$D/none.0001.png'"},
        {"frame range", {"--frames", "5-x"}, "", "bad frame range '5-x'"},
        {"size memory", {"--size", "100000x100000"}, "", "--size 100000x100000: frame size 100000x100000 needs about "},
        {"output type", {"-o", "$D/out/o.####.nosuchformat"}, "", "-o: no image writer for '$D/out/o.####.nosuchformat'"},
        {"output over clip", {"--frames", "1", "--clip", "1=$D/plate.png", "-o", "$D/plate.png"}, "", "would overwrite clip 1's files"},
        {"not a plug-in", {}, "$D/text.spark", "'$D/text.spark' is not a Spark plug-in: not an ELF shared object"},
        {"missing entry points", {}, bin + "/fixture_incomplete.spark", "is not a Spark plug-in: it does not export"},
        {"foreign imports", {}, bin + "/fixture_foreign.spark",
         "needs host functions sparkhost does not provide: sparkTimecodeGet, sparkProxyEnable"},
    };
    for (const auto& c : cases) {
        std::string plugin = c.plugin.empty() ? harness::copyFixture() : expand(c.plugin, dir);
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
        EXPECT_EQ(r.code, 2) << c.what << "\n" << r.err;
        EXPECT_NE(r.err.find(expand(c.message, dir)), std::string::npos) << c.what << "\n" << r.err;
        EXPECT_EQ(std::system(("test -z \"$(ls -A '" + out + "')\"").c_str()), 0) << c.what << " left files";
    }
}
