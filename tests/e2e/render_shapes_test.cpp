// The nine particle shapes rendered by the real plug-in in sparkhost: exact pixels of a single
// particle born at a known place, every shape over a plate at both depths and at full and half
// resolution, determinism, clip-time texturing, and a contact sheet of the nine shapes.
#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <sys/sysinfo.h>

#include <set>

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

FrameBuffer Uniform(int depthCode, unsigned r, unsigned g, unsigned b, int w = kW, int h = kH)
{
    FrameBuffer f(w, h, depthCode);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
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
        if (clip == 0) dest = base;
        else if (clip == 1) dest = colour;
        else if (clip == 2) dest = matte;
        else return false;
        return true;
    });
    p->setRecord("Render Mode", "Render");
    p->setRecord("Vesk Size", "1");
    p->setRecord("Shape", s.shape);
    p->setRecord("Shape Width", "9");
    p->setRecord("Shape Height", "9");
    p->setRecord("Random Sizes", "0");
    p->setRecord("Birth X", "50");
    p->setRecord("Birth Y", "50");
    p->setRecord("Birth Radius", "0");
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

// The particle sits at pixel (32, 24); the rectangle is drawn one pixel further right and down
// with half-extent 4.5, so its supersamples run from 228 and 164: 8 x 8 solid pixels from
// (28, 20). At half resolution the particle is 4 pixels wide at (16, 12), its solid block
// (14..17, 10..13) replicated back to the same 8 x 8 host pixels. The solid colour is the
// panel's white after the composite: exact white, 255 in 8 bits and 4095 in 12 bits, on any
// number of layers (32767 loses at most 3 to the empty ones).
TEST(RenderShapes, OneRectangleCoversExactlyItsPixels)
{
    for (int bits : {8, 12})
        for (bool half : {false, true}) {
            SCOPED_TRACE(std::to_string(bits) + "-bit" + (half ? " half" : " full"));
            FrameBuffer plate;
            auto p = SingleParticle({bits, half, "Rectangle"}, &plate);
            ASSERT_NE(p->plugin.renderFrame(1), nullptr);
            const unsigned white = Solid(kWhite15, bits);
            ASSERT_EQ(white, bits == 8 ? 255u : 4095u);
            const unsigned inside[3] = {white, white, white};
            ExpectBlockOverPlate(p->host.buffer(1), plate, 28, 35, 20, 27, inside);
        }
}

// Texture sprites of a 9-pixel particle cover 64 / 9 = 7.1 source columns and 48 / 9 = 5.3 rows
// per pixel: offsets -4..4 reach inside the clips, a 9 x 9 sprite from (28, 20). With an opaque
// matte the sprite shows the colour clip (Cols with Matte, Matte over Cols) or the particle's
// white (Colour in Matte). At half resolution the sprite is 4 x 4 from (14, 10): host 28..35.
// A clip colour c enters as 15-bit c', the sprite holds (c' * 32767) >> 15 = c' - 1 with alpha
// 32766, and the composite takes one more per empty layer: the clip values chosen (8-bit >= 8,
// 12-bit >= 2048) come back unchanged.
TEST(RenderShapes, TextureSpritesCoverTheirFootprintWithTheClipColour)
{
    for (int bits : {8, 12})
        for (bool half : {false, true})
            for (int mode = 6; mode <= 8; ++mode) {
                SCOPED_TRACE(std::to_string(bits) + "-bit " + kShapes[mode] + (half ? " half" : ""));
                FrameBuffer plate;
                auto p = SingleParticle({bits, half, kShapes[mode]}, &plate);
                ASSERT_NE(p->plugin.renderFrame(1), nullptr);
                unsigned inside[3] = {200, 100, 50};
                if (bits == 12) inside[0] = 3200, inside[1] = 2600, inside[2] = 4000;
                if (mode == 8) {
                    // The particle's white through the opaque matte: (32767 * 32767) >> 15.
                    const unsigned w = Solid((kWhite15 * 32767) >> 15, bits);
                    inside[0] = inside[1] = inside[2] = w;
                }
                const int last = half ? 35 : 36;
                ExpectBlockOverPlate(p->host.buffer(1), plate, 28, last, 20, half ? 27 : 28, inside);
            }
}

// Every shape, over a plate, at both depths and at full and half resolution: the swarm shows,
// and replaying the same frames after a restart gives the same bytes.
TEST(RenderShapes, EveryShapeAtEveryDepthAndResolutionIsDeterministic)
{
    for (int bits : {8, 12})
        for (bool half : {false, true})
            for (const char* shape : kShapes) {
                SCOPED_TRACE(std::to_string(bits) + "-bit " + shape + (half ? " half" : " full"));
                auto p = std::make_unique<InProcess>(96, 72, bits, 2);
                p->loadAndInitialise();
                FrameBuffer plate(96, 72, p->host.depthCode());
                harness::fillPattern(plate, 11u);
                FrameBuffer colour(96, 72, p->host.depthCode());
                harness::fillPattern(colour, 12u);
                FrameBuffer matte = Uniform(p->host.depthCode(), bits == 8 ? 200 : 3000, 0, 0, 96, 72);
                p->host.setClipProvider([plate, colour, matte](int clip, int, FrameBuffer& dest) {
                    if (clip == 0) dest = plate;
                    else if (clip == 1) dest = colour;
                    else if (clip == 2) dest = matte;
                    else return false;
                    return true;
                });
                p->setRecord("Render Mode", "Render");
                p->setRecord("Vesk Size", "25");
                p->setRecord("Shape", shape);
                p->setRecord("Shape Width", "24");
                p->setRecord("Shape Height", "18");
                p->setRecord("Living Rotate", "on");
                p->setRecord("Random Colours", "50");
                // Without Auto Preview the Restart button only asks for a restart; with it the
                // press would also render (and so step) the current frame at once.
                p->setRecord("Auto Preview", "off");
                if (half) p->setRecord("33", "1/2");
                p->plugin.startRender();
                std::vector<FrameBuffer> first;
                for (int f = 1; f <= 3; ++f) {
                    ASSERT_NE(p->plugin.renderFrame(f), nullptr);
                    first.push_back(p->host.buffer(1));
                }
                EXPECT_FALSE(first[2].samePixels(plate)) << "nothing was drawn";
                std::string error;
                ASSERT_TRUE(p->plugin.press("Restart", &error)) << error;
                for (int f = 1; f <= 3; ++f) {
                    ASSERT_NE(p->plugin.renderFrame(f), nullptr);
                    EXPECT_TRUE(p->host.buffer(1).samePixels(first[(size_t)f - 1])) << "frame " << f;
                }
            }
}

// Two separate sparkhost processes write byte-identical files for every shape.
TEST(RenderShapes, TwoProcessesWriteIdenticalFilesForEveryShape)
{
    const std::string dir = harness::freshDir("render_twice");
    for (const char* shape : kShapes) {
        std::string bytes[2];
        for (int run = 0; run < 2; ++run) {
            const std::string out = dir + "/r" + std::to_string(run) + ".####.png";
            harness::Run r = harness::runSparkhost(
                {"render", harness::vesk(), "--frames", "3", "--size", "120x90", "--threads", "2",
                 "--set", "Render Mode=Render", "--set", "Vesk Size=30", "--set",
                 std::string("Shape=") + shape, "--set", "Living Rotate=on", "-o", out});
            ASSERT_EQ(r.code, 0) << r.err;
            bytes[run] = harness::readFile(dir + "/r" + std::to_string(run) + ".0003.png");
        }
        ASSERT_FALSE(bytes[0].empty()) << shape;
        EXPECT_EQ(bytes[0], bytes[1]) << shape;
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
    p.setRecord("Render Mode", "Render");
    p.setRecord("Vesk Size", "12");
    p.setRecord("Shape", "Cols with Matte");
    p.setRecord("Shape Width", "10");
    p.setRecord("Shape Height", "10");
    p.setRecord("Random Sizes", "0");
    p.setRecord("Texturing Cycle", "on");
    p.setRecord("Random Start", "on");
    p.setRecord("Frames in Cycle", "4");
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

// A contact sheet of the nine shapes for a person to look at: build/render_contact_sheet.png.
TEST(RenderShapes, ContactSheetOfTheNineShapes)
{
    const int w = 200, h = 150;
    OIIO::ImageBuf sheet(OIIO::ImageSpec(3 * w, 3 * h, 3, OIIO::TypeDesc::UINT8));
    for (int i = 0; i < 9; ++i) {
        InProcess p(w, h, 8, 2);
        p.loadAndInitialise();
        FrameBuffer colour(w, h, p.host.depthCode());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                colour.setValue(x, y, 0, (unsigned)(x * 255 / w));
                colour.setValue(x, y, 1, (unsigned)(y * 255 / h));
                colour.setValue(x, y, 2, 255u - (unsigned)(x * 255 / w));
            }
        FrameBuffer matte(w, h, p.host.depthCode());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int dx = x - w / 2, dy = y - h / 2;
                const unsigned m = dx * dx + dy * dy < (h / 2) * (h / 2) ? 255u : 0u;
                for (int c = 0; c < 3; ++c) matte.setValue(x, y, c, m);
            }
        p.host.setClipProvider([colour, matte](int clip, int, FrameBuffer& dest) {
            if (clip == 1) dest = colour;
            else if (clip == 2) dest = matte;
            else return false;
            return true;
        });
        p.setRecord("Render Mode", "Render");
        p.setRecord("Vesk Size", "14");
        p.setRecord("Shape", kShapes[i]);
        p.setRecord("Shape Width", "40");
        p.setRecord("Shape Height", "30");
        p.setRecord("Random Sizes", "30");
        p.setRecord("Random Colours", "60");
        p.setRecord("Living Rotate", "on");
        p.setRecord("Birth X", "50");
        p.setRecord("Birth Y", "50");
        p.setRecord("Birth Radius", "80");
        p.plugin.startRender();
        ASSERT_NE(p.plugin.renderFrame(1), nullptr);
        const FrameBuffer& out = p.host.buffer(1);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                float px[3];
                for (int c = 0; c < 3; ++c) px[c] = out.value(x, y, c) / 255.0f;
                // A thin frame between the tiles.
                if (x == 0 || y == 0) px[0] = px[1] = px[2] = 0.5f;
                sheet.setpixel((i % 3) * w + x, (i / 3) * h + y, px);
            }
    }
    const std::string path = std::string(VESK_BINARY_DIR) + "/render_contact_sheet.png";
    ASSERT_TRUE(sheet.write(path)) << sheet.geterror();
    EXPECT_TRUE(harness::exists(path));
}
