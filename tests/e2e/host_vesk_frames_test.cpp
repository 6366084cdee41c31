// The real plug-in in this process, driven by sparkhost's host: start-up messages, the buffer
// checks of the frame path, and frames that pass through unchanged (Render Mode "Wireframe", the
// default, draws nothing into the frame) at full and at reduced working resolution.
#include "harness.h"

using harness::InProcess;
using sparkhost::FrameBuffer;
using sparkhost::HostMessage;

namespace {

const std::string kEquals(51, '=');
const std::string kPluses(51, '+');

// Every input clip shows the same pattern frame; the other clips are black.
void feedPattern(InProcess& p, const FrameBuffer& pattern) {
    p.host.setClipProvider([pattern](int clip, int, FrameBuffer& dest) {
        if (clip != 0) return false;
        dest = pattern;
        return true;
    });
}

bool hasMessage(const sparkhost::Host& host, HostMessage::Kind kind, const std::string& text) {
    for (const auto& m : host.messages())
        if (m.kind == kind && m.text == text) return true;
    return false;
}

// What the output frame must hold after a pass-through at divisor n: the working image takes
// host pixel (n/2 + i*n, n/2 + j*n) as its pixel (i, j), and every host pixel (x, y) is written
// back from working pixel (min(x/n, W-1), min(y/n, H-1)). In 12-bit frames only the upper twelve
// bits come from the image; the low four bits of each output word stay the host's.
FrameBuffer expectedPassThrough(const FrameBuffer& in, const FrameBuffer& oldOut, int n) {
    FrameBuffer expected(in.width(), in.height(), in.depthCode());
    int w = in.width() / n, h = in.height() / n;
    if (w % 2) ++w;
    if (h % 2) ++h;
    bool deep = sparkhost::isTwelveBit(in.depthCode());
    for (int y = 0; y < in.height(); ++y)
        for (int x = 0; x < in.width(); ++x) {
            int i = std::min(x / n, w - 1), j = std::min(y / n, h - 1);
            int sx = n == 1 ? x : n / 2 + i * n, sy = n == 1 ? y : n / 2 + j * n;
            for (int c = 0; c < 3; ++c) {
                unsigned top = in.raw(sx, sy, c);
                if (deep) expected.setRaw(x, y, c, (top & 0xFFF0u) | (oldOut.raw(x, y, c) & 15u));
                else expected.setRaw(x, y, c, top);
            }
        }
    return expected;
}

// Renders one frame with the pattern as clip 1 at a divisor and compares with the rule above.
void checkPassThrough(int bits, int divisor, const char* resolutionEntry) {
    InProcess p(24, 16, bits, 3);
    p.loadAndInitialise();
    FrameBuffer pattern(24, 16, p.host.depthCode());
    harness::fillPattern(pattern, 7u + unsigned(divisor));
    feedPattern(p, pattern);
    p.setRecord("SparkPup33", resolutionEntry);
    p.plugin.startRender();
    p.plugin.prepareFrame(1);
    FrameBuffer& out = p.host.buffer(1);
    harness::fillPattern(out, 99u);   // the host's low bits the plug-in must keep
    FrameBuffer oldOut = out;
    unsigned long* result = p.plugin.renderFrame(1);
    ASSERT_EQ(result, out.words()) << "the plug-in must return the output buffer's pixels";
    FrameBuffer expected = expectedPassThrough(pattern, oldOut, divisor);
    int wrong = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 24; ++x)
            for (int c = 0; c < 3; ++c)
                if (out.raw(x, y, c) != expected.raw(x, y, c) && ++wrong <= 5)
                    ADD_FAILURE() << bits << "-bit, divisor " << divisor << ": pixel (" << x << ", " << y
                                  << ") channel " << c << " is " << std::hex << out.raw(x, y, c)
                                  << ", expected " << expected.raw(x, y, c);
    EXPECT_EQ(wrong, 0);
}

}  // namespace

TEST(HostVeskFrames, StartUpPrintsTheBannerAndModeAndReturnsTwo) {
    InProcess p(64, 32, 8);
    std::string console = p.loadAndInitialise();
    EXPECT_EQ(p.plugin.initialiseResult(), 2u);
    EXPECT_EQ(p.plugin.clips(), 5);
    EXPECT_NE(console.find("\n\nINTERACTIVE BUILD. The HOST PROGRAM is called: sparkhost\n"), std::string::npos)
        << console;
    EXPECT_NE(console.find(kEquals + "\nCorvane MP-V5.0.7 Bramble 4-Vesk for Discreet  \n    UCAPI  Built "),
              std::string::npos)
        << console;
    EXPECT_NE(console.find("... 8-10 bit mode selected."), std::string::npos);
    EXPECT_EQ(console.find("12 bit mode"), std::string::npos);
    EXPECT_NE(console.find("Available buffers = 8\n" + kPluses + "\n"), std::string::npos) << console;
    EXPECT_EQ(console.find("ERROR: we need"), std::string::npos);
    EXPECT_EQ(p.host.pageTitles().at(3), "Presets");
    EXPECT_EQ(p.host.clipTitles().at(2), "SMatte");
}

TEST(HostVeskFrames, TwelveBitStartUpOnAnOldHostWarnsAndGoesOn) {
    InProcess deep(64, 32, 12);
    deep.host.setApiVersion(3.9f);
    std::string console = deep.loadAndInitialise();
    EXPECT_NE(console.find("... 12 bit mode selected."), std::string::npos);
    // An old host is told so, and start-up goes on.
    EXPECT_TRUE(hasMessage(deep.host, HostMessage::Error,
                           "This version of \"4-Vesk\" needs IFFFS 7.0/4.0 (sparks API 4.0) or higher."));
    EXPECT_EQ(deep.plugin.initialiseResult(), 2u);
}

TEST(HostVeskFrames, FewerThanTwoBuffersSwitchProcessingOff) {
    sparkhost::resetPauses();
    InProcess p(32, 16, 8);
    p.host.setFreeMemory(1);
    std::string console = p.loadAndInitialise();
    EXPECT_NE(console.find("Available buffers = 1\n"), std::string::npos);
    EXPECT_NE(console.find("ERROR: we need 2 image buffers, but we only got 1.\n"), std::string::npos) << console;
    EXPECT_NE(console.find("... Processing will be turned off ..."), std::string::npos);
    EXPECT_TRUE(hasMessage(p.host, HostMessage::Message, "Insufficient image buffers available! Giving up!"));
    EXPECT_EQ(sparkhost::pauseRequests(), std::vector<unsigned>({5}));
    EXPECT_EQ(p.plugin.initialiseResult(), 2u);   // start-up itself goes on

    p.plugin.startRender();
    EXPECT_EQ(p.plugin.renderFrame(1), nullptr);
    EXPECT_TRUE(hasMessage(p.host, HostMessage::Message, " Q4-Vesk cannot run due to insufficient buffers."));
    EXPECT_EQ(sparkhost::pauseRequests(), std::vector<unsigned>({5, 5}));

    // Two buffers are enough.
    InProcess two(32, 16, 8);
    two.host.setFreeMemory(2);
    console = two.loadAndInitialise();
    EXPECT_EQ(console.find("ERROR: we need"), std::string::npos);
    two.plugin.startRender();
    EXPECT_NE(two.plugin.renderFrame(1), nullptr);
}

TEST(HostVeskFrames, AFailingBufferMakesTheFrameNull) {
    InProcess p(16, 8, 8);
    p.loadAndInitialise();
    p.plugin.startRender();
    // The temporary buffer, any input clip and the output are each needed.
    for (int id : {p.plugin.tempBufferId(), 2, 4, 6, 1}) {
        p.host.setFailingBuffer(id);
        EXPECT_EQ(p.plugin.renderFrame(1), nullptr) << "buffer " << id;
    }
    p.host.setFailingBuffer(0);
    EXPECT_EQ(p.plugin.renderFrame(2), p.host.buffer(1).words());
    // No message is shown for a missing buffer.
    EXPECT_EQ(p.host.messageText(HostMessage::Message), "");
}

TEST(HostVeskFrames, EightBitFramesPassThroughAtFullResolution) { checkPassThrough(8, 1, "FULL"); }

TEST(HostVeskFrames, TwelveBitFramesPassThroughKeepingTheLowBits) { checkPassThrough(12, 1, "FULL"); }

TEST(HostVeskFrames, HalfResolutionSamplesAndReplicates) {
    checkPassThrough(8, 2, "1/2");
    checkPassThrough(12, 2, "1/2");
}

TEST(HostVeskFrames, QuarterResolutionSamplesAndReplicates) {
    checkPassThrough(8, 4, "1/4");
    checkPassThrough(12, 4, "1/4");
}

TEST(HostVeskFrames, SixthResolutionRoundsTheWorkingSizeUpToEven) {
    // 24 / 6 = 4 columns and 16 / 6 = 2 rows: already even, every sample lands inside the frame.
    checkPassThrough(8, 6, "1/6");
}
