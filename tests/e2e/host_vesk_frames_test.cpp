// The real plug-in in this process, driven by sparkhost's host: frames pass through unchanged
// (Render Mode "Wireframe", the default, draws nothing into the frame) at full and at reduced
// working resolution.
#include "harness.h"

using harness::InProcess;
using sparkhost::FrameBuffer;

namespace {

// Every input clip shows the same pattern frame; the other clips are black.
void feedPattern(InProcess& p, const FrameBuffer& pattern) {
    p.host.setClipProvider([pattern](int clip, int, FrameBuffer& dest) {
        if (clip != 0) return false;
        dest = pattern;
        return true;
    });
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

// Full resolution at both depths (12-bit keeping the host's low bits), then divisors 2, 4 and 6;
// at 6 the working size 24 / 6 = 4 by 16 / 6 = 2 is already even, so every sample lies inside.
TEST(HostVeskFrames, FramesPassThroughAtEveryWorkingResolution) {
    const struct {
        int bits, divisor;
        const char* entry;
    } cases[] = {{8, 1, "FULL"}, {12, 1, "FULL"}, {8, 2, "1/2"}, {12, 2, "1/2"},
                 {8, 4, "1/4"},  {12, 4, "1/4"},  {8, 6, "1/6"}};
    for (const auto& c : cases) checkPassThrough(c.bits, c.divisor, c.entry);
}
