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

TEST(ImageFiles, EightBitPngRoundTripsExactly) {
    std::string dir = freshFolder("sparkhost_png8");
    FrameBuffer frame(7, 5, kDepth8);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c) frame.setValue(x, y, c, unsigned((x * 37 + y * 11 + c * 90) % 256));
    std::string error;
    ASSERT_TRUE(writeImage(dir + "/f.png", frame, &error)) << error;
    FrameBuffer back;
    ASSERT_TRUE(readImage(dir + "/f.png", kDepth8, &back, &error)) << error;
    EXPECT_TRUE(back.samePixels(frame));
    EXPECT_EQ(filesIn(dir), 1);   // the temporary name is gone
    int w = 0, h = 0;
    ASSERT_TRUE(imageSize(dir + "/f.png", &w, &h, &error));
    EXPECT_EQ(w, 7);
    EXPECT_EQ(h, 5);
}

TEST(ImageFiles, TwelveBitFramesKeepTwelveBitsThroughSixteenBitFiles) {
    std::string dir = freshFolder("sparkhost_png16");
    FrameBuffer frame(4, 3, kDepth12);
    unsigned values[] = {0, 1, 2047, 2048, 4094, 4095};
    int i = 0;
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x)
            for (int c = 0; c < 3; ++c) frame.setValue(x, y, c, values[(i++) % 6]);
    std::string error;
    ASSERT_TRUE(writeImage(dir + "/f.png", frame, &error)) << error;
    ASSERT_TRUE(writeImage(dir + "/f.tif", frame, &error)) << error;
    for (const char* name : {"/f.png", "/f.tif"}) {
        FrameBuffer back;
        ASSERT_TRUE(readImage(dir + name, kDepth12, &back, &error)) << error;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x)
                for (int c = 0; c < 3; ++c) ASSERT_EQ(back.value(x, y, c), frame.value(x, y, c)) << name;
    }
    // The same 16-bit file read at 8 bits: 4095 is full white, 2048 rounds to 128.
    FrameBuffer eight;
    ASSERT_TRUE(readImage(dir + "/f.png", kDepth8, &eight, &error));
    EXPECT_EQ(eight.value(1, 0, 2), 255u);   // sample 5: 4095
    EXPECT_EQ(eight.value(1, 0, 0), 128u);   // sample 3: 2048 of 4095
}

TEST(ImageFiles, GreyFilesFillAllThreeChannels) {
    std::string dir = freshFolder("sparkhost_grey");
    FrameBuffer rgb(3, 1, kDepth8);
    rgb.setValue(2, 0, 0, 77);
    rgb.setValue(2, 0, 1, 77);
    rgb.setValue(2, 0, 2, 77);
    std::string error;
    ASSERT_TRUE(writeImage(dir + "/g.pgm", rgb, &error)) << error;
    FrameBuffer back;
    ASSERT_TRUE(readImage(dir + "/g.pgm", kDepth8, &back, &error)) << error;
    EXPECT_EQ(back.value(2, 0, 1), 77u);
}

TEST(ImageFiles, FailuresNameTheFile) {
    FrameBuffer frame(2, 2, kDepth8);
    std::string error;
    EXPECT_FALSE(writeImage("/no/such/folder/f.png", frame, &error));
    EXPECT_NE(error.find("/no/such/folder/f.png"), std::string::npos);
    FrameBuffer back;
    EXPECT_FALSE(readImage("/no/such/file.png", kDepth8, &back, &error));
    EXPECT_NE(error.find("/no/such/file.png"), std::string::npos);
}

TEST(DefaultPlate, SameEveryTimeAndAtBothDepths) {
    FrameBuffer a(64, 36, kDepth8), b(64, 36, kDepth8), deep(64, 36, kDepth12);
    makeDefaultPlate(&a);
    makeDefaultPlate(&b);
    makeDefaultPlate(&deep);
    EXPECT_TRUE(a.samePixels(b));
    // A sky: the top row is bluer than it is red, the horizon warmer, and it is not flat.
    EXPECT_GT(a.value(2, 0, 2), a.value(2, 0, 0));
    EXPECT_GT(a.value(2, 20, 0), a.value(2, 0, 0));
    // The deep plate is the same picture at finer steps.
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(double(deep.value(10, 10, c)) / 4095.0, double(a.value(10, 10, c)) / 255.0, 0.003);
}
