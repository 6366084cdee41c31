// `sparkhost render --overlay` and `--drag`, run as a person runs them.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "harness.h"

namespace {

// The value a saved setup holds for one record ("SparkFloat13 = 25  # Birth X").
double SetupValue(const std::string& setup, const std::string& record) {
    std::istringstream lines(setup);
    std::string line;
    while (std::getline(lines, line)) {
        double v;
        if (line.rfind(record + " =", 0) == 0 && std::sscanf(line.c_str() + record.size() + 2, "%lf", &v) == 1)
            return v;
    }
    return -12345;
}

// A filled square of white around (x, y): the handle itself, not an outline crossing there.
bool WhiteHandle(const sparkhost::FrameBuffer& f, int x, int y) {
    for (int dy = -2; dy <= 2; ++dy)
        for (int dx = -2; dx <= 2; ++dx)
            for (int c = 0; c < 3; ++c)
                if (f.value(x + dx, y + dy, c) < 250) return false;
    return true;
}

TEST(OverlayCli, OverlayPicturesFollowADragOfTheBirthPoint) {
    const std::string dir = harness::freshDir("overlay_cli");
    std::string error;
    ASSERT_TRUE(sparkhost::writeImage(dir + "/black.png", sparkhost::FrameBuffer(320, 180, 24), &error)) << error;
    // From the birth handle at (84 %, 84 %) to (80, 45), a quarter of the way across and down.
    harness::Outcome run = harness::runSparkhost(
        {"render", harness::vesk(), "--frames", "1-2", "--clip", "1=" + dir + "/black.png", "--set",
         "Birth Radius=10", "--overlay", "--drag", "268.8,151.2:80,45", "--save-setup",
         dir + "/after.setup", "-o", dir + "/view.####.png"});
    ASSERT_EQ(run.code, 0) << run.err;
    const std::string setup = harness::readFile(dir + "/after.setup");
    EXPECT_NEAR(SetupValue(setup, "SparkFloat13"), 25.0, 1e-3);
    EXPECT_NEAR(SetupValue(setup, "SparkFloat14"), 25.0, 1e-3);
    for (const char* name : {"/view.0001.png", "/view.0002.png"}) {
        sparkhost::FrameBuffer picture;
        ASSERT_TRUE(sparkhost::readImage(dir + name, 24, &picture, &error)) << error;
        ASSERT_EQ(picture.width(), 320);
        EXPECT_TRUE(WhiteHandle(picture, 80, 45)) << name;
        // The birth area's height handle, yellow, 16 pixels (half of 10 % of 320) above it.
        EXPECT_EQ(picture.value(80, 29, 1), 255u);
        EXPECT_EQ(picture.value(80, 29, 2), 0u);
        // The food crosshair stays green at (20 %, 15 %).
        EXPECT_EQ(picture.value(64, 27, 0), 0u);
        EXPECT_EQ(picture.value(64, 27, 1), 255u);
    }
}

TEST(OverlayCli, BadDragIsRefusedWithTheFormToUse) {
    const std::string dir = harness::freshDir("overlay_cli_bad");
    harness::Outcome run = harness::runSparkhost(
        {"render", harness::vesk(), "--size", "64x36", "--drag", "10,10", "-o", dir + "/v.png"});
    EXPECT_NE(run.code, 0);
    EXPECT_NE(run.err.find("X0,Y0:X1,Y1"), std::string::npos) << run.err;
}

}  // namespace
