// Images between sparkhost's frames and an OFX effect, and the host modes that render frames the
// way other OFX hosts do.
#include "ofx_support.h"

using namespace ofxtest;

namespace {

void expectInverted(const sparkhost::FrameBuffer& out, int frame) {
    unsigned max = out.maxValue();
    int wrong = 0;
    for (int y = 0; y < out.height(); ++y)
        for (int x = 0; x < out.width(); ++x)
            for (int c = 0; c < 3; ++c)
                if (out.value(x, y, c) != max - plateValue(0, frame, x, y, c, max) && ++wrong < 4)
                    ADD_FAILURE() << "frame " << frame << " pixel " << x << "," << y << " channel " << c << ": "
                                  << out.value(x, y, c) << ", not " << max - plateValue(0, frame, x, y, c, max);
}

}  // namespace

// White minus the plate, exactly, at both depths: rows, channels and the 12-bit values survive the
// way into 8-bit and 16-bit images and back.
TEST(OfxHostImages, InvertIsExactAtEightAndTwelveBits) {
    for (int bits : {8, 12}) {
        OfxHostFixture f(bits, 33, 17);
        ASSERT_TRUE(f.open(bundle("Invert")));
        auto frames = f.render({4, 5});
        expectInverted(frames[0], 4);
        expectInverted(frames[1], 5);
    }
}

TEST(OfxHostImages, RecorderSeesSixteenBitImagesForTwelveBitRenders) {
    ActionLog log;
    OfxHostFixture f(12, 10, 6);
    ASSERT_TRUE(f.open(bundle("Recorder")));
    f.render({1});
    bool seen = false;
    for (const auto& l : log.entries())
        if (contains(l, "render t=1") && contains(l, "depth=OfxBitDepthShort rowbytes=80")) seen = true;
    EXPECT_TRUE(seen) << readFile(log.path);
}

// The gain is read at the frame rendered, from the host's curve: keys at 1 (0) and 11 (2) give 1
// at frame 6, so frame 6 is the plate and frame 1 black.
TEST(OfxHostImages, AnimationIsTheHostsCurve) {
    OfxHostFixture f;
    ASSERT_TRUE(f.open(bundle("Recorder")));
    std::string error;
    const sparkhost::Control* gain = f.plugin.panel().resolve("Gain", sparkhost::ControlUse::Animate, &f.host, &error);
    ASSERT_NE(gain, nullptr) << error;
    f.host.curve(1, gain->number).setKey(1, 0.0f);
    f.host.curve(1, gain->number).setKey(11, 2.0f);
    auto frames = f.render({1, 6});
    EXPECT_EQ(frames[0].value(3, 2, 1), 0u);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(frames[1].value(3, 2, c), plateValue(0, 6, 3, 2, c, 255));
}

// A well-behaved effect gives the same bytes whatever the order, instance or threads.
TEST(OfxHostModes, EveryModeGivesTheSameFramesForAWellBehavedEffect) {
    std::vector<sparkhost::FrameBuffer> reference;
    {
        OfxHostFixture f;
        ASSERT_TRUE(f.open(bundle("Invert")));
        reference = f.render({1, 2, 3, 4, 5});
    }
    for (const char* mode : {"instance-per-frame", "threads=3", "instance-per-frame,threads=2"}) {
        OfxHostFixture f;
        ASSERT_TRUE(f.open(bundle("Invert"), mode));
        auto frames = f.render({1, 2, 3, 4, 5});
        for (size_t i = 0; i < frames.size(); ++i)
            EXPECT_TRUE(frames[i].samePixels(reference[i])) << mode << ", frame " << i + 1;
    }
}

// An effect that counts its renders in the instance gives itself away: a fresh instance per frame
// renders every frame as the first.
TEST(OfxHostModes, FreshInstancesRevealStateKeptInTheInstance) {
    std::vector<sparkhost::FrameBuffer> inOrder, fresh;
    for (auto* out : {&inOrder, &fresh}) {
        OfxHostFixture f;
        ASSERT_TRUE(f.open(bundle("Invert"), out == &fresh ? "instance-per-frame" : ""));
        std::string error;
        ASSERT_TRUE(f.plugin.setControl("Leak State", "on", &error)) << error;
        *out = f.render({1, 2, 3});
    }
    EXPECT_TRUE(inOrder[0].samePixels(fresh[0]));
    EXPECT_FALSE(inOrder[2].samePixels(fresh[2]));
}

TEST(OfxHostModes, ModesAreParsedAndOrdered) {
    sparkhost::ofx::HostMode mode;
    std::string error;
    ASSERT_TRUE(sparkhost::ofx::parseHostMode("reverse,instance-per-frame,threads=4", &mode, &error)) << error;
    EXPECT_EQ(mode.order, sparkhost::ofx::HostMode::Reverse);
    EXPECT_TRUE(mode.instancePerFrame);
    EXPECT_EQ(mode.threads, 4);
    EXPECT_EQ(sparkhost::ofx::renderOrder({1, 2, 3}, mode), (std::vector<int>{3, 2, 1}));
    ASSERT_TRUE(sparkhost::ofx::parseHostMode("shuffle=7", &mode, &error));
    std::vector<int> frames = {1, 2, 3, 4, 5, 6, 7, 8};
    std::vector<int> shuffled = sparkhost::ofx::renderOrder(frames, mode);
    EXPECT_NE(shuffled, frames);
    EXPECT_TRUE(std::is_permutation(shuffled.begin(), shuffled.end(), frames.begin()));
    EXPECT_EQ(shuffled, sparkhost::ofx::renderOrder(frames, mode));
    EXPECT_FALSE(sparkhost::ofx::parseHostMode("sideways", &mode, &error));
    EXPECT_TRUE(contains(error, "sideways"));
    EXPECT_FALSE(sparkhost::ofx::parseHostMode("threads=0", &mode, &error));
}
