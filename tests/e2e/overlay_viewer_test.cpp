// The real plug-in in the host's offscreen viewer: the wireframe a person sees against the
// rendered swarm, what a drag of a handle does to the swarm, and twelve-bit pictures. Which handles
// are drawn, and in which colours, is checked call by call in tests/unit/overlay.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sparkhost/gl/Viewer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace {

const int W = 320, H = 180;

struct Rgb {
    int r, g, b;   // 8-bit
};
bool White(Rgb c) { return c.r > 240 && c.g > 240 && c.b > 240; }
class InViewer : public ::testing::Test {
protected:
    // Starts the plug-in in the viewer; a test may configure the host first.
    void open(int depth_code = 24) {
        host.setEcho(false);
        host.setFrameSize(W, H);
        host.setDepthCode(depth_code);
        host.setProcessors(2);
        std::string error;
        ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
        testing::internal::CaptureStdout();
        plugin.initialise();
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(viewer.open(&error)) << error;
        set({{"SparkBoolean34", "off"}});   // frames happen only when a test asks
    }
    void set(const std::vector<std::pair<const char*, const char*>>& edits) {
        std::string error;
        for (const auto& [name, value] : edits)
            ASSERT_TRUE(plugin.setControl(name, value, &error)) << name << ": " << error;
    }
    void renderAndShow(int frame) {
        ASSERT_NE(plugin.renderFrame(frame), nullptr);
        viewer.show(host.buffer(sparkhost::kOutputBuffer));
        ASSERT_TRUE(viewer.redraw());
    }
    Rgb at(int x, int y) const {
        return {int(viewer.pixel(x, y, 0) >> 8), int(viewer.pixel(x, y, 1) >> 8),
                int(viewer.pixel(x, y, 2) >> 8)};
    }
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
    sparkhost::Viewer viewer{plugin};
};

TEST_F(InViewer, WireframeOutlinesEveryParticleInItsColour) {
    open();
    // Still particles of many colours spread over the frame.
    set({{"Shape", "Rectangle"}, {"Random Colours", "100"}, {"Random Sizes", "0"},
         {"Shape Width", "14"}, {"Shape Height", "14"}, {"Speed", "0"}, {"Acceleration", "0"},
         {"Vesk Size", "12"}, {"Birth X", "50"}, {"Birth Y", "50"}, {"Birth Radius", "120"},
         {"Hunt Food", "off"}, {"Render Mode", "Render"}});
    // Rendered, each particle is a filled rectangle of its colour...
    ASSERT_NE(plugin.renderFrame(1), nullptr);
    const sparkhost::FrameBuffer rendered = host.buffer(sparkhost::kOutputBuffer);
    struct Box {
        int n = 0, x0 = W, y0 = H, x1 = -1, y1 = -1;
    };
    std::map<unsigned, Box> shapes;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            const unsigned c = rendered.value(x, y, 0) << 16 | rendered.value(x, y, 1) << 8 |
                               rendered.value(x, y, 2);
            if (c == 0) continue;
            Box& b = shapes[c];
            b.n++, b.x0 = std::min(b.x0, x), b.y0 = std::min(b.y0, y);
            b.x1 = std::max(b.x1, x), b.y1 = std::max(b.y1, y);
        }
    // ...and previewed, an outline of the same colour around the same place (the swarm does not
    // move, so both show one state).
    set({{"Render Mode", "Wireframe"}});
    viewer.show(sparkhost::FrameBuffer(W, H, 24));
    ASSERT_TRUE(viewer.redraw());
    int checked = 0;
    for (const auto& [colour, b] : shapes) {
        if (b.n < 30) continue;   // edge blends, or a shape mostly hidden by others
        const int r = int(colour >> 16), g = int(colour >> 8 & 255), bl = int(colour & 255);
        int outline = 0;
        for (int y = std::max(0, b.y0 - 3); y <= std::min(H - 1, b.y1 + 3); ++y)
            for (int x = std::max(0, b.x0 - 3); x <= std::min(W - 1, b.x1 + 3); ++x) {
                const Rgb c = at(x, y);
                outline += std::abs(c.r - r) <= 3 && std::abs(c.g - g) <= 3 && std::abs(c.b - bl) <= 3;
            }
        EXPECT_GE(outline, 8) << "colour " << r << "," << g << "," << bl << " at " << b.x0 << "," << b.y0;
        ++checked;
    }
    EXPECT_GE(checked, 6);
}

TEST_F(InViewer, DraggingTheBirthHandleMovesTheBirthPoint) {
    open();
    // A birth area wide enough that its diagonal handle stays clear of the birth point's own
    // handle (a smaller one would be taken along by the same press).
    set({{"Shape", "Rectangle"}, {"Random Sizes", "0"}, {"Shape Width", "8"}, {"Shape Height", "8"},
         {"Speed", "0"}, {"Acceleration", "0"}, {"Birth Radius", "10"}, {"Render Mode", "Render"},
         {"SparkBoolean34", "on"}});
    renderAndShow(1);
    // From the white handle at 84 %, 84 % to (80, 45); what the drag writes into the panel is
    // checked through the command line in overlay_cli_test.cpp.
    const float tx = 80, ty = 45;
    EXPECT_EQ(viewer.interact(sparkhost::dragEvents({0.84f * W, 0.84f * H, tx, ty})), 1);
    EXPECT_TRUE(White(at(int(tx), int(ty))));

    // After a restart every particle is born around the new point: a disc of 16 pixels radius,
    // plus the shape's own half size.
    set({{"SparkBoolean34", "off"}});
    std::string error;
    ASSERT_TRUE(plugin.press("SparkPush6", &error)) << error;
    ASSERT_NE(plugin.renderFrame(2), nullptr);
    const sparkhost::FrameBuffer& out = host.buffer(sparkhost::kOutputBuffer);
    int inside = 0, outside = 0;
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x)
            if (out.value(x, y, 0) + out.value(x, y, 1) + out.value(x, y, 2) > 0)
                ++(std::hypot(x - tx, y - ty) < 16 + 7 ? inside : outside);
    EXPECT_GT(inside, 20);
    EXPECT_EQ(outside, 0);
}

TEST_F(InViewer, TwelveBitFramesKeepTheirPrecision) {
    // A grey background of 12-bit value 2049, a step an 8-bit picture could not hold.
    host.setClipProvider([](int clip, int, sparkhost::FrameBuffer& frame) {
        for (int y = 0; y < frame.height(); ++y)
            for (int x = 0; x < frame.width(); ++x)
                for (int c = 0; c < 3; ++c) frame.setValue(x, y, c, clip == 0 ? 2049 : 0);
        return true;
    });
    open(48);
    renderAndShow(1);
    // Far from every handle and particle the picture is the background, to the 12-bit step.
    EXPECT_EQ(viewer.picture(48).value(2, 2, 1), 2049u);
    EXPECT_EQ(viewer.picture(24).value(2, 2, 1), 2049u >> 4);   // 8 bits keep the top ones
}

}  // namespace
