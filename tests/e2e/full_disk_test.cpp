// A render that runs out of room for its files: in every output format the frame that does not fit
// stops the render with a message naming that file and the cause, exit 1 (never a crash), its
// temporary file removed and every earlier frame complete on disk.
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <set>
#include <signal.h>
#include <sys/resource.h>

#include "harness.h"

namespace {

// Runs sparkhost with every file it writes limited to `limitBytes`, the way a full file system
// refuses a write: with the size-limit signal ignored, the write that would pass the limit fails
// with EFBIG.
harness::Outcome runWithFileLimit(const std::vector<std::string>& args, rlim_t limitBytes, const std::string& dir) {
    std::vector<std::string> all = {harness::sparkhostPath()};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    std::string outPath = dir + "/run.out", errPath = dir + "/run.err";
    pid_t pid = ::fork();
    if (pid == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        ::dup2(::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
        ::dup2(::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        struct rlimit limit = {limitBytes, limitBytes};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    harness::Outcome run;
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.err = harness::readFile(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return run;
}

std::set<std::string> entries(const std::string& dir) {
    std::set<std::string> names;
    if (DIR* d = ::opendir(dir.c_str())) {
        while (dirent* e = ::readdir(d))
            if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) names.insert(e->d_name);
        ::closedir(d);
    }
    return names;
}

}  // namespace

TEST(FullDisk, EveryFormatStopsAtTheFrameThatDoesNotFitAndKeepsTheFramesBefore) {
    std::string dir = harness::freshDir("full_disk");
    // Frames 1 and 2 are black and compress to a few hundred bytes in every compressing format;
    // frames 3 to 6 are noise, far larger than the limit in any format.
    const int side = 128;
    const rlim_t limit = 16 * 1024;
    for (int frame = 1; frame <= 6; ++frame) {
        sparkhost::FrameBuffer plate(side, side, sparkhost::kDepth8);
        if (frame >= 3) harness::fillPattern(plate, unsigned(frame));
        harness::writeFrame(harness::framePath(dir + "/plate.####.png", frame), plate);
    }
    struct Case {
        std::string ext;
        std::vector<std::string> extra;
        int fits;  // frames that fit under the limit
    };
    // DPX is stored uncompressed (64 KB a frame here), so its first frame already does not fit.
    const std::vector<Case> cases = {{"png", {}, 2},  {"jpg", {}, 2}, {"exr", {}, 2},
                                     {"tif", {}, 2},  {"dpx", {}, 0}, {"png", {"--no-overlap"}, 2},
                                     {"jpg", {"--no-overlap"}, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ext + (c.extra.empty() ? "" : " " + c.extra[0]));
        std::string ref = dir + "/ref", out = dir + "/out";
        ASSERT_EQ(std::system(("rm -rf '" + ref + "' '" + out + "'").c_str()), 0);
        ::mkdir(ref.c_str(), 0755);
        ::mkdir(out.c_str(), 0755);
        std::vector<std::string> args = {"render", harness::copyFixture(), "--frames", "1-6",
                                         "--clip", "1=" + dir + "/plate.####.png"};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        harness::Outcome whole = harness::runSparkhost(harness::with(args, {"-o", ref + "/f.####." + c.ext}));
        ASSERT_EQ(whole.code, 0) << whole.err;

        harness::Outcome full = runWithFileLimit(harness::with(args, {"-o", out + "/f.####." + c.ext}), limit, dir);
        EXPECT_EQ(full.code, 1) << full.err;
        std::string failed = harness::framePath(out + "/f.####." + c.ext, c.fits + 1);
        EXPECT_TRUE(harness::contains(full.err, "'" + failed + "': " + std::strerror(EFBIG))) << full.err;
        // Only the frames that fit, each as a whole render wrote it; no temporary file.
        std::set<std::string> expected;
        for (int frame = 1; frame <= c.fits; ++frame) expected.insert(harness::framePath("f.####." + c.ext, frame));
        EXPECT_EQ(entries(out), expected);
        for (int frame = 1; frame <= c.fits; ++frame) {
            std::string name = harness::framePath("/f.####." + c.ext, frame);
            EXPECT_TRUE(harness::readFrame(out + name).samePixels(harness::readFrame(ref + name))) << name;
        }
    }
    // JPEG's encoder ended the whole process from a writer thread; run it again to be sure.
    for (int run = 0; run < 3; ++run) {
        ASSERT_EQ(std::system(("rm -rf '" + dir + "/out'/.??* '" + dir + "/out'/*").c_str()), 0);
        harness::Outcome full = runWithFileLimit({"render", harness::copyFixture(), "--frames", "1-6", "--clip",
                                                  "1=" + dir + "/plate.####.png", "-o", dir + "/out/f.####.jpg"},
                                                 limit, dir);
        EXPECT_EQ(full.code, 1) << full.err;
    }
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}
