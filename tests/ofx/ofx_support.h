// Helpers of the OFX host tests: the fixture bundles, a host configured for them with a plate
// drawn in code, the fixtures' action log, and running sparkhost as a person does.
#ifndef TESTS_OFX_OFX_SUPPORT_H
#define TESTS_OFX_OFX_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/ofx/HostMode.h"

namespace ofxtest {

inline std::string bundle(const std::string& name) {
    return std::string(OFX_FIXTURE_DIR) + "/" + name + ".ofx.bundle";
}

inline std::string freshDir(const std::string& name) {
    std::string dir = testing::TempDir() + "/ofx_" + name + "_" + std::to_string(::getpid());
    std::string clear = "rm -rf '" + dir + "'";
    if (std::system(clear.c_str()) != 0) ADD_FAILURE() << "cannot clear " << dir;
    ::mkdir(dir.c_str(), 0755);
    return dir;
}

inline std::string readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

inline std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

// The plate every input clip shows: channel values that differ per pixel, frame and clip, so
// that a wrong row order, channel or frame shows.
inline unsigned plateValue(int clip, int frame, int x, int y, int c, unsigned max) {
    return unsigned((x * 37 + y * 11 + c * 53 + frame * 7 + clip * 29) % int(max + 1));
}

struct OfxHostFixture {
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
    explicit OfxHostFixture(int bits = 8, int width = 24, int height = 16) {
        host.setEcho(false);
        host.setFrameSize(width, height);
        host.setBitDepth(bits);
        host.setClipProvider([](int clip, int frame, sparkhost::FrameBuffer& out) {
            if (clip != 0) return false;
            for (int y = 0; y < out.height(); ++y)
                for (int x = 0; x < out.width(); ++x)
                    for (int c = 0; c < 3; ++c) out.setValue(x, y, c, plateValue(clip, frame, x, y, c, out.maxValue()));
            return true;
        });
    }
    bool open(const std::string& path, const std::string& mode = "") {
        plugin.setHostMode(mode);
        std::string error;
        if (!plugin.load(path, &error)) {
            ADD_FAILURE() << error;
            return false;
        }
        plugin.initialise();
        EXPECT_EQ(plugin.initialiseError(), "");
        return true;
    }
    // Renders frames in the order given; each result copied out.
    std::vector<sparkhost::FrameBuffer> render(const std::vector<int>& frames) {
        std::vector<sparkhost::FrameBuffer> out;
        plugin.planFrames(frames.front(), frames.back());
        plugin.startRender();
        for (int f : frames) {
            unsigned long* result = plugin.renderFrame(f);
            EXPECT_NE(result, nullptr) << plugin.takeError();
            out.push_back(host.buffer(sparkhost::kOutputBuffer));
        }
        return out;
    }
};

// The fixtures write their actions to this file while a test holds it.
struct ActionLog {
    std::string path;
    ActionLog() {
        path = testing::TempDir() + "/ofx_actions_" + std::to_string(::getpid()) + ".log";
        std::remove(path.c_str());
        ::setenv("OFX_FIXTURE_LOG", path.c_str(), 1);
    }
    ~ActionLog() {
        ::unsetenv("OFX_FIXTURE_LOG");
        std::remove(path.c_str());
    }
    std::vector<std::string> entries() const { return lines(readFile(path)); }
    void clear() const { std::remove(path.c_str()); }
};

struct RunResult {
    int code = -1;
    std::string out, err;
};

// Runs sparkhost with arguments (each one word) and extra environment settings.
inline RunResult runSparkhost(const std::vector<std::string>& args, const std::string& env = "") {
    std::string dir = testing::TempDir();
    std::string outPath = dir + "/ofx_run_out_" + std::to_string(::getpid());
    std::string errPath = dir + "/ofx_run_err_" + std::to_string(::getpid());
    std::string command = env + " '" + std::string(SPARKHOST_PATH) + "'";
    for (const auto& a : args) command += " '" + a + "'";
    command += " >'" + outPath + "' 2>'" + errPath + "'";
    RunResult r;
    int status = std::system(command.c_str());
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = readFile(outPath);
    r.err = readFile(errPath);
    std::remove(outPath.c_str());
    std::remove(errPath.c_str());
    return r;
}

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

}  // namespace ofxtest

#endif
