// Particle shapes rendered by the real plug-in in sparkhost: exact pixels of a single particle
// born at a known place over a plate, at both depths and at full and half resolution, and
// clip-time texturing.
#include <sys/sysinfo.h>

#include <set>
#include <string>

#include "harness.h"

using harness::InProcess;
using sparkhost::FrameBuffer;

namespace {

const char* const kShapes[9] = {"Blob",          "Rectangle",       "Triangle",
                                "Diamond",       "Four Point Star", "Five Point Star",
                                "Cols with Matte", "Matte over Cols", "Colour in Matte"};

const int kW = 64, kH = 48;

// A plate whose value depends only on the 2 x 2 block, so that half-resolution sampling and
// replication give it back unchanged; values high enough (8-bit 64.., 12-bit 2048..) that the
// composite's 1/32768 loss per layer never shows at the host's precision.
unsigned PlateValue(const FrameBuffer& f, int x, int y, int c)
{
    const unsigned v = (unsigned)((x / 2) * 3 + (y / 2) * 5 + c * 7) % 64;
    return f.maxValue() == 255 ? 64 + v * 3 : 2048 + v * 32;
}

FrameBuffer Plate(int depthCode)
{
    FrameBuffer f(kW, kH, depthCode);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) f.setValue(x, y, c, PlateValue(f, x, y, c));
    return f;
}

FrameBuffer Uniform(int depthCode, unsigned r, unsigned g, unsigned b)
{
    FrameBuffer f(kW, kH, depthCode);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            f.setValue(x, y, 0, r);
            f.setValue(x, y, 1, g);
            f.setValue(x, y, 2, b);
        }
    return f;
}

// Render layers: one per processor, at most four. A lone particle lies in the first layer and
// passes under the empty others, each of which takes 1/32768 off: v becomes (v * 32767) >> 15.
int Layers()
{
    const int n = get_nprocs();
    return n < 1 ? 1 : (n > 4 ? 4 : n);
}

// The host value of a fully covered pixel of 15-bit colour v.
unsigned Solid(int v, int bits)
{
    for (int i = 1; i < Layers(); ++i) v = (v * 32767) >> 15;
    return bits == 8 ? (unsigned)(v >> 7) : (unsigned)(v >> 3);
}

// The panel's white on the 15-bit scale: (255 >> 1) | (255 << 7) = 32767 per channel.
const int kWhite15 = (255 >> 1) | (255 << 7);

struct Scene {
    int bits = 8;
    bool half = false;
    const char* shape = "Rectangle";
};

// One particle born exactly at the frame centre (Birth X/Y 50, Birth Radius 0), 9 x 9 pixels,
// white, no random sizes or colours; clip 2 a uniform colour, clip 3 an opaque matte.
std::unique_ptr<InProcess> SingleParticle(const Scene& s, FrameBuffer* plate)
{
    auto p = std::make_unique<InProcess>(kW, kH, s.bits, 2);
    p->loadAndInitialise();
    const int depth = p->host.depthCode();
    *plate = Plate(depth);
    const unsigned max = s.bits == 8 ? 255 : 4095;
    FrameBuffer colour = s.bits == 8 ? Uniform(depth, 200, 100, 50) : Uniform(depth, 3200, 2600, 4000);
    FrameBuffer matte = Uniform(depth, max, max, max);
    FrameBuffer base = *plate;
    p->host.setClipProvider([base, colour, matte](int clip, int, FrameBuffer& dest) {
        if (clip > 2) return false;
        dest = clip == 0 ? base : clip == 1 ? colour : matte;
        return true;
    });
    p->setRecords({"Render Mode=Render", "Vesk Size=1", "Shape Width=9", "Shape Height=9",
                            "Random Sizes=0", "Birth X=50", "Birth Y=50", "Birth Radius=0"});
    p->setRecord("Shape", s.shape);
    if (s.half) p->setRecord("33", "1/2");
    p->plugin.startRender();
    return p;
}

// Every pixel outside [x0, x1] x [y0, y1] is the plate's; every pixel inside is `inside`.
void ExpectBlockOverPlate(const FrameBuffer& out, const FrameBuffer& plate, int x0, int x1, int y0,
                          int y1, const unsigned inside[3])
{
    int bad = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) {
                const bool in = x >= x0 && x <= x1 && y >= y0 && y <= y1;
                const unsigned want = in ? inside[c] : plate.value(x, y, c);
                if (out.value(x, y, c) != want && ++bad <= 6)
                    ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": "
                                  << out.value(x, y, c) << " instead of " << want;
            }
    EXPECT_EQ(bad, 0);
}

}  // namespace

// The particle sits at pixel (32, 24). The rectangle is drawn one pixel further right and down
// with half-extent 4.5, so its supersamples run from 228 and 164: 8 x 8 solid pixels from
// (28, 20); at half resolution it is 4 pixels wide at (16, 12), its solid block (14..17, 10..13)
// replicated back to the same host pixels. Its colour is the panel's white after the composite:
// exact white on any number of layers (32767 loses at most 3 to the empty ones).
// Texture sprites of a 9-pixel particle cover 64 / 9 = 7.1 source columns and 48 / 9 = 5.3 rows
// per pixel: offsets -4..4 reach inside the clips, a 9 x 9 sprite from (28, 20); at half
// resolution 4 x 4 from (14, 10): host 28..35. With an opaque matte the sprite shows the colour
// clip (Cols with Matte, Matte over Cols) or the particle's white (Colour in Matte). A clip colour
// c enters as 15-bit c', the sprite holds (c' * 32767) >> 15 = c' - 1 with alpha 32766, and the
// composite takes one more per empty layer: the clip values chosen come back unchanged.
TEST(RenderShapes, OneParticleCoversExactlyItsFootprint)
{
    for (int bits : {8, 12})
        for (bool half : {false, true})
            for (int shape : {1, 6, 7, 8}) {
                SCOPED_TRACE(std::to_string(bits) + "-bit " + kShapes[shape] + (half ? " half" : ""));
                FrameBuffer plate;
                auto p = SingleParticle({bits, half, kShapes[shape]}, &plate);
                ASSERT_NE(p->plugin.renderFrame(1), nullptr);
                unsigned inside[3] = {200, 100, 50};
                if (bits == 12) inside[0] = 3200, inside[1] = 2600, inside[2] = 4000;
                if (shape == 1 || shape == 8) {
                    // White; through the opaque matte it is (32767 * 32767) >> 15.
                    const unsigned w = Solid(shape == 1 ? kWhite15 : (kWhite15 * 32767) >> 15, bits);
                    ASSERT_TRUE(shape == 8 || w == (bits == 8 ? 255u : 4095u)) << w;
                    inside[0] = inside[1] = inside[2] = w;
                }
                const int last = half || shape == 1 ? 35 : 36;
                ExpectBlockOverPlate(p->host.buffer(1), plate, 28, last, 20, last - 8, inside);
            }
}

// With "Texturing Cycle" on and "Shape: Cols with Matte", each particle takes its texture from
// clips 2 and 3 at its own frame of the cycle, not at the frame being rendered.
TEST(RenderShapes, TexturingCycleReadsOtherFramesOfTheClips)
{
    InProcess p(kW, kH, 8, 2);
    p.loadAndInitialise();
    FrameBuffer base = Uniform(p.host.depthCode(), 0, 0, 0);
    const int depth = p.host.depthCode();
    // The colour clip's red tells its frame number: 20 + 40 f.
    p.host.setClipProvider([base, depth](int clip, int frame, FrameBuffer& dest) {
        if (clip == 0) dest = base;
        else if (clip == 1) dest = Uniform(depth, 20 + 40 * (unsigned)(frame % 6), 100, 100);
        else if (clip == 2) dest = Uniform(depth, 255, 255, 255);
        else return false;
        return true;
    });
    p.setRecords({"Render Mode=Render", "Vesk Size=12", "Shape=Cols with Matte", "Shape Width=10",
                            "Shape Height=10", "Random Sizes=0", "Texturing Cycle=on", "Random Start=on",
                            "Frames in Cycle=4"});
    p.plugin.startRender();
    ASSERT_NE(p.plugin.renderFrame(5), nullptr);

    std::set<int> colourFrames, matteFrames;
    for (const auto& request : p.host.frameRequests()) {
        if (request.first == 1) colourFrames.insert(request.second);
        if (request.first == 2) matteFrames.insert(request.second);
    }
    // Cycle frames 0..3, drawn from the clips, besides the current frame 5.
    int cycleReads = 0;
    for (int f = 0; f <= 3; ++f) cycleReads += (int)colourFrames.count(f);
    EXPECT_GE(cycleReads, 2);
    for (int f : colourFrames) EXPECT_TRUE(f == 5 || (f >= 0 && f <= 3)) << f;
    EXPECT_EQ(colourFrames, matteFrames);

    // The output shows reds of cycle frames only (20, 60, 100, 140), never frame 5's (220).
    const FrameBuffer& out = p.host.buffer(1);
    std::set<unsigned> reds;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            if (out.value(x, y, 1) == 100) reds.insert(out.value(x, y, 0));
    EXPECT_FALSE(reds.empty());
    for (unsigned r : reds) EXPECT_TRUE(r == 20 || r == 60 || r == 100 || r == 140) << r;
}
