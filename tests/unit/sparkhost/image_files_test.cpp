// Frames through image files: 8-bit and 12-bit depths survive a write and a read, and a write
// leaves nothing but the finished file.
#include <gtest/gtest.h>

#include <cstdio>
#include <dirent.h>
#include <string>
#include <sys/stat.h>

#include "sparkhost/lib/DefaultPlate.h"
#include "sparkhost/lib/ImageFiles.h"

using namespace sparkhost;

namespace {

std::string freshFolder(const char* name) {
    std::string dir = testing::TempDir() + "/" + name;
    mkdir(dir.c_str(), 0755);
    return dir;
}

int filesIn(const std::string& dir) {
    int n = 0;
    DIR* d = opendir(dir.c_str());
    while (dirent* e = readdir(d))
        if (e->d_name[0] != '.' || (e->d_name[1] != '\0' && e->d_name[1] != '.')) ++n;
    closedir(d);
    return n;
}

}  // namespace

TEST(ImageFiles, BothDepthsRoundTripExactlyAndLeaveOnlyTheFinishedFile) {
    std::string dir = freshFolder("sparkhost_roundtrip");
    FrameBuffer eight(7, 5, kDepth8), twelve(7, 5, kDepth12);
    const unsigned deep[] = {0, 1, 2047, 2048, 4094, 4095};
    int i = 0;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c) {
                eight.setValue(x, y, c, unsigned((x * 37 + y * 11 + c * 90) % 256));
                twelve.setValue(x, y, c, deep[(i++) % 6]);
            }
    std::string error;
    // 12-bit frames go through 16-bit files and must keep all twelve bits.
    const std::pair<std::string, const FrameBuffer*> files[] = {
        {"/e.png", &eight}, {"/t.png", &twelve}, {"/t.tif", &twelve}};
    for (const auto& [name, frame] : files) {
        ASSERT_TRUE(writeImage(dir + name, *frame, &error)) << error;
        FrameBuffer back;
        ASSERT_TRUE(readImage(dir + name, frame->depthCode(), &back, &error)) << error;
        EXPECT_TRUE(back.samePixels(*frame)) << name;
    }
    EXPECT_EQ(filesIn(dir), 3);   // no temporary names left behind
    int w = 0, h = 0;
    ASSERT_TRUE(imageSize(dir + "/e.png", &w, &h, &error));
    EXPECT_TRUE(w == 7 && h == 5);
    // The 16-bit file read at 8 bits: 4095 is full white, 2048 of 4095 rounds to 128.
    FrameBuffer scaled;
    ASSERT_TRUE(readImage(dir + "/t.png", kDepth8, &scaled, &error));
    EXPECT_EQ(scaled.value(1, 0, 2), 255u);   // sample 5: 4095
    EXPECT_EQ(scaled.value(1, 0, 0), 128u);   // sample 3: 2048
}

TEST(ImageFiles, GreyFilesFillAllThreeChannels) {
    std::string dir = freshFolder("sparkhost_grey");
    FrameBuffer rgb(3, 1, kDepth8);
    for (int c = 0; c < 3; ++c) rgb.setValue(2, 0, c, 77);
    std::string error;
    ASSERT_TRUE(writeImage(dir + "/g.pgm", rgb, &error)) << error;
    FrameBuffer back;
    ASSERT_TRUE(readImage(dir + "/g.pgm", kDepth8, &back, &error)) << error;
    EXPECT_EQ(back.value(2, 0, 1), 77u);
}

TEST(DefaultPlate, TheDeepPlateIsTheSamePictureAtFinerSteps) {
    FrameBuffer a(64, 36, kDepth8), deep(64, 36, kDepth12);
    makeDefaultPlate(&a);
    makeDefaultPlate(&deep);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(double(deep.value(10, 10, c)) / 4095.0, double(a.value(10, 10, c)) / 255.0, 0.003);
}
