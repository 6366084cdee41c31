// Helpers of the end-to-end tests: run sparkhost as a person does (a subprocess with its exit
// code and both output streams), load a plug-in in-process with a configured host, and make or
// read small image files.
#ifndef TESTS_E2E_HARNESS_H
#define TESTS_E2E_HARNESS_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Pauses.h"
#include "sparkhost/lib/Plugin.h"

namespace harness {

inline std::string vesk() { return VESK_PLUGIN_PATH; }
inline std::string sparkhostPath() { return SPARKHOST_PATH; }
// The host's own pass-through plug-in (tests/e2e/fixtures).
inline std::string copyFixture() { return std::string(VESK_BINARY_DIR) + "/fixture_copy.spark"; }

inline std::string readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

inline bool exists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

// A new empty folder for one test, inside the test program's own temporary folder.
inline std::string freshDir(const std::string& name) {
    std::string dir = testing::TempDir() + name;
    std::string clear = "rm -rf '" + dir + "'";
    if (std::system(clear.c_str()) != 0) ADD_FAILURE() << "cannot clear " << dir;
    ::mkdir(dir.c_str(), 0755);
    return dir;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// True when the folder holds no entry at all (no frame, no temporary file).
inline bool isEmptyDir(const std::string& dir) {
    return std::system(("test -z \"$(ls -A '" + dir + "')\"").c_str()) == 0;
}

// A frame file's path from a name.####.ext pattern.
inline std::string framePath(std::string pattern, int frame) {
    char number[16];
    std::snprintf(number, sizeof number, "%04d", frame);
    size_t hashes = pattern.find("####");
    if (hashes != std::string::npos) pattern.replace(hashes, 4, number);
    return pattern;
}

inline std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& extra) {
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

inline void writeFrame(const std::string& path, const sparkhost::FrameBuffer& frame) {
    std::string error;
    ASSERT_TRUE(sparkhost::writeImage(path, frame, &error)) << error;
}

inline sparkhost::FrameBuffer readFrame(const std::string& path, int depthCode = sparkhost::kDepth8) {
    sparkhost::FrameBuffer frame;
    std::string error;
    EXPECT_TRUE(sparkhost::readImage(path, depthCode, &frame, &error)) << path << ": " << error;
    return frame;
}

struct Run {
    int code = -1;
    std::string out;
    std::string err;
};
// Inside a TEST body an unqualified Run means the test's own Run(); this name has no such clash.
using Outcome = Run;

// Starts sparkhost with the arguments in workDir (when given), standard input closed, its two
// output streams sent to the files named (or to /dev/null when empty) and the environment
// variables of extraEnv ("NAME=value") added to this process's.
inline pid_t startSparkhost(const std::vector<std::string>& args, const std::string& workDir = "",
                            const std::string& outPath = "", const std::string& errPath = "",
                            const std::vector<std::string>& extraEnv = {}) {
    // Everything the child needs is made before the fork: a child of a threaded process may only
    // make async-signal-safe calls until it runs the program.
    std::vector<std::string> all = {sparkhostPath()};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    auto replaced = [&](const char* e) {
        for (auto& x : extraEnv)
            if (std::strncmp(x.c_str(), e, x.find('=') + 1) == 0) return true;
        return false;
    };
    for (char** e = environ; *e; ++e)
        if (!replaced(*e)) envp.push_back(*e);
    for (auto& e : extraEnv) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    const char* chdirTo = workDir.empty() ? nullptr : workDir.c_str();
    const char* outFile = outPath.empty() ? "/dev/null" : outPath.c_str();
    const char* errFile = errPath.empty() ? "/dev/null" : errPath.c_str();
    pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(::open("/dev/null", O_RDONLY), 0);
        ::dup2(::open(outFile, O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
        ::dup2(::open(errFile, O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
        if (chdirTo && ::chdir(chdirTo) != 0) ::_exit(126);
        ::execve(argv[0], argv.data(), envp.data());
        ::_exit(127);
    }
    return pid;
}

// Runs sparkhost and waits for it.
inline Run runSparkhost(const std::vector<std::string>& args, const std::string& workDir = "",
                        const std::vector<std::string>& extraEnv = {}) {
    std::string base = testing::TempDir() + "/sparkhost_" + std::to_string(::getpid());
    Run run;
    int status = 0;
    ::waitpid(startSparkhost(args, workDir, base + ".out", base + ".err", extraEnv), &status, 0);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.out = readFile(base + ".out");
    run.err = readFile(base + ".err");
    std::remove((base + ".out").c_str());
    std::remove((base + ".err").c_str());
    return run;
}

// A plug-in loaded in this process with a host configured for one test. The host echoes
// nothing; its messages are read back from host.messages().
struct InProcess {
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};

    InProcess(int width, int height, int bits, int processors = 2) {
        host.setEcho(false);
        host.setFrameSize(width, height);
        host.setBitDepth(bits);
        host.setProcessors(processors);
    }
    bool load(const std::string& path = vesk()) {
        std::string error;
        bool ok = plugin.load(path, &error);
        if (!ok) ADD_FAILURE() << error;
        return ok;
    }
    // Loads and initialises, with the plug-in's console output captured.
    std::string loadAndInitialise(const std::string& path = vesk()) {
        if (!load(path)) return "";
        testing::internal::CaptureStdout();
        plugin.initialise();
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    // Sets a control's record without calling its callback, as a setup does.
    void setRecord(const std::string& reference, const std::string& value) {
        std::string error;
        const sparkhost::Control* c =
            plugin.panel().resolve(reference, sparkhost::ControlUse::Value, &host, &error);
        ASSERT_NE(c, nullptr) << error;
        ASSERT_TRUE(plugin.panel().setValue(*c, value, &error)) << error;
    }
    // The same for several controls, each written "reference=value".
    void setRecords(std::initializer_list<const char*> assignments) {
        for (const std::string a : assignments) setRecord(a.substr(0, a.find('=')), a.substr(a.find('=') + 1));
    }
};

// Fills a frame with values that differ from pixel to pixel and channel to channel, low bits of
// 12-bit words included, from a fixed seed.
inline void fillPattern(sparkhost::FrameBuffer& frame, unsigned seed) {
    unsigned s = seed * 2654435761u + 12345u;
    unsigned mask = frame.depthCode() == sparkhost::kDepth8 ? 0xFFu : 0xFFFFu;
    for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x)
            for (int c = 0; c < 3; ++c) {
                s = s * 1103515245u + 12345u;
                frame.setRaw(x, y, c, (s >> 8) & mask);
            }
}

}  // namespace harness

#endif
