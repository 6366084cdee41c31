// A render never writes over a file it reads, however the two paths are spelled, and never into
// frames another render is writing: each refusal is exit 2 before any frame, with every input
// left byte for byte as it was.
#include <csignal>
#include <map>
#include <thread>

#include "harness.h"

namespace {

struct Refusal {
    std::vector<std::string> args;  // after "render PLUGIN"; run in the test folder
    const char* message;
};

std::map<std::string, std::string> snapshot(const std::string& dir, const std::vector<std::string>& names) {
    std::map<std::string, std::string> bytes;
    for (const auto& name : names) bytes[name] = harness::readFile(dir + "/" + name);
    return bytes;
}

}  // namespace

TEST(OverwriteGuard, NoFrameOrSavedSetupReplacesAFileTheRenderReads) {
    std::string dir = harness::freshDir("overwrite_guard");
    for (const char* sub : {"/plates", "/out"}) ASSERT_EQ(::mkdir((dir + sub).c_str(), 0755), 0);
    ASSERT_EQ(::symlink("plates", (dir + "/link").c_str()), 0);
    for (int frame = 1; frame <= 3; ++frame) {
        sparkhost::FrameBuffer plate(8, 8, sparkhost::kDepth8);
        harness::fillPattern(plate, unsigned(frame));
        harness::writeFrame(harness::framePath(dir + "/plates/p.####.png", frame), plate);
    }
    // Inputs whose names an image sequence can also take.
    std::ofstream(dir + "/k.0001.png") << "Gain 1 1\nGain 3 2\n";
    std::ofstream(dir + "/s.0001.png") << "# sparkhost setup\nSparkFloat8 = 0.5\n";
    std::ofstream(dir + "/k.keys") << "Gain 1 1\n";
    std::ofstream(dir + "/s.setup") << "# sparkhost setup\nSparkFloat8 = 0.5\n";
    ASSERT_EQ(std::system(("cp '" + harness::copyFixture() + "' '" + dir + "/plug.0001.png'").c_str()), 0);
    const std::vector<std::string> inputs = {"plates/p.0001.png", "plates/p.0002.png", "plates/p.0003.png",
                                             "k.0001.png", "s.0001.png", "k.keys", "s.setup", "plug.0001.png"};
    const auto before = snapshot(dir, inputs);

    const std::string abs = dir + "/plates/p.####.png";
    const std::vector<Refusal> refusals = {
        // Frames over the plates: an absolute path, "./", a symbolic link to the folder, "%04d".
        {{"--clip", "1=plates/p.####.png", "-o", abs}, "would overwrite clip 1's file 'plates/p.0001.png'"},
        {{"--clip", "1=plates/p.####.png", "-o", "./plates/p.####.png"}, "clip 1's file 'plates/p.0001.png'"},
        {{"--clip", "1=" + abs, "-o", "link/p.%04d.png"}, "(frame 1 'link/p.0001.png' is the same file)"},
        // Only the middle frame of the range is a plate (clip 1 a still).
        {{"--clip", "1=plates/p.0002.png", "-o", "link/p.####.png"},
         "clip 1's file 'plates/p.0002.png' (frame 2 'link/p.0002.png' is the same file)"},
        {{"--frames", "1", "--keys", "k.0001.png", "-o", "./k.####.png"}, "would overwrite the keys file 'k.0001.png'"},
        {{"--frames", "1", "--setup", "s.0001.png", "-o", dir + "/s.####.png"}, "would overwrite the setup file 's.0001.png'"},
        {{"--frames", "1", "-o", "plug.####.png"}, "would overwrite the plug-in"},
        // The setup saved after the render.
        {{"--clip", "1=plates/p.####.png", "--save-setup", "link/p.0002.png", "-o", "out/f.####.png"},
         "--save-setup 'link/p.0002.png' would overwrite clip 1's file 'plates/p.0002.png'"},
        {{"--save-setup", "./out/f.0003.png", "-o", "out/f.####.png"},
         "--save-setup './out/f.0003.png' would overwrite frame 3 of the render ('out/f.0003.png')"},
        {{"--keys", "k.keys", "--save-setup", dir + "/k.keys", "-o", "out/f.####.png"},
         "would overwrite the keys file 'k.keys'"},
        {{"--save-setup", "out", "-o", "out/f.####.png"}, "--save-setup 'out' is a folder"},
    };
    for (const auto& r : refusals) {
        std::vector<std::string> args = {"render", r.message == std::string("would overwrite the plug-in")
                                                       ? dir + "/plug.0001.png" : harness::copyFixture()};
        args.insert(args.end(), r.args.begin(), r.args.end());
        if (std::find(r.args.begin(), r.args.end(), "--frames") == r.args.end())
            args.insert(args.end(), {"--frames", "1-3"});
        harness::Outcome run = harness::runSparkhost(args, dir);
        EXPECT_EQ(run.code, 2) << r.message << "\n" << run.err;
        EXPECT_TRUE(harness::contains(run.err, r.message)) << run.err;
        EXPECT_TRUE(harness::isEmptyDir(dir + "/out")) << r.message;
        EXPECT_EQ(snapshot(dir, inputs), before) << r.message;
    }
    // A setup saved over the one loaded updates it, and frames of one folder reached by two paths
    // that are different files are fine.
    harness::Outcome update = harness::runSparkhost(
        {"render", harness::copyFixture(), "--frames", "1-3", "--clip", "1=link/p.####.png", "--setup", "s.setup",
         "--save-setup", "./s.setup", "--set", "Gain=2", "-o", "plates/f.####.png"},
        dir);
    EXPECT_EQ(update.code, 0) << update.err;
    EXPECT_TRUE(harness::contains(harness::readFile(dir + "/s.setup"), "SparkFloat8 = 2"));
    EXPECT_TRUE(harness::exists(dir + "/plates/f.0003.png"));
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

TEST(OutputLock, ASecondRenderOfTheSameFramesIsRefusedNamingTheFirst) {
    std::string dir = harness::freshDir("output_lock");
    ASSERT_EQ(::mkdir((dir + "/out").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("out", (dir + "/via").c_str()), 0);
    // A render long enough to be caught at work.
    pid_t first = harness::startSparkhost({"render", harness::copyFixture(), "--frames", "1-5000", "--size",
                                           "1280x720", "-o", dir + "/out/f.####.png"});
    // It holds its frames before it renders the first.
    for (int i = 0; i < 600 && !harness::exists(dir + "/out/f.0001.png"); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(harness::exists(dir + "/out/f.0001.png"));

    // The same frames by another spelling of the same output.
    harness::Outcome second = harness::runSparkhost(
        {"render", harness::copyFixture(), "--frames", "4990-5010", "--size", "64x64", "-o", "via/f.%04d.png"}, dir);
    EXPECT_EQ(second.code, 2) << second.err;
    EXPECT_TRUE(harness::contains(second.err, "is being written by another render (process " +
                                                  std::to_string(first) + ", frames 4990-5000)"))
        << second.err;
    EXPECT_FALSE(harness::exists(dir + "/out/f.5010.png"));
    // Other frames of the same output, as the chunks of a farm render write them, go on.
    harness::Outcome chunk = harness::runSparkhost(
        {"render", harness::copyFixture(), "--frames", "6001-6002", "--size", "64x64", "-o", "via/f.####.png"}, dir);
    EXPECT_EQ(chunk.code, 0) << chunk.err;
    int status = 0;
    EXPECT_EQ(::waitpid(first, &status, WNOHANG), 0) << "the first render ended before the second was tried";

    // Once the first has ended, however it ended, its frames are free again.
    ::kill(first, SIGTERM);
    ::waitpid(first, &status, 0);
    harness::Outcome after = harness::runSparkhost(
        {"render", harness::copyFixture(), "--frames", "1-2", "--size", "64x64", "-o", "out/f.####.png"}, dir);
    EXPECT_EQ(after.code, 0) << after.err;
    EXPECT_FALSE(harness::exists(dir + "/out/.f.####.png.sparkhost-lock")) << "the lock file is left behind";
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}
