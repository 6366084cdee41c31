// The real plug-in in the host's offscreen viewer: the pictures a person sees, and what a drag of
// a handle does to the panel and the swarm.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <string>

#include "sparkhost/gl/Viewer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Plugin.h"

namespace {

const int kWidth = 320;
const int kHeight = 180;

struct Rgb {
    int r, g, b;   // 8-bit
};

class ViewerSession : public ::testing::Test {
protected:
    void SetUp() override {
        host.setEcho(false);
        host.setFrameSize(kWidth, kHeight);
        host.setDepthCode(24);
        host.setProcessors(2);
        std::string error;
        ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
        testing::internal::CaptureStdout();
        plugin.initialise();
        testing::internal::GetCapturedStdout();
        plugin.prepareFrame(1);
        ASSERT_TRUE(viewer.open(&error)) << error;
        // Edits below must not render on their own: every test chooses when frames happen.
        set("SparkBoolean34", "off");
    }

    void set(const char* reference, const char* value) {
        std::string error;
        ASSERT_TRUE(plugin.setControl(reference, value, &error)) << reference << ": " << error;
    }
    void press(const char* reference) {
        std::string error;
        ASSERT_TRUE(plugin.press(reference, &error)) << reference << ": " << error;
    }
    float value(const char* record) {
        const sparkhost::Control* c = plugin.panel().findRecord(record);
        return c ? float(plugin.panel().numericValue(*c)) : -12345.0f;
    }

    // Renders a frame and shows it in the viewer with the overlay drawn over it.
    void renderAndShow(int frame) {
        ASSERT_NE(plugin.renderFrame(frame), nullptr);
        viewer.show(host.buffer(sparkhost::kOutputBuffer));
        ASSERT_TRUE(viewer.redraw());
    }

public:
    Rgb pixelAt(int x, int y) const { return at(x, y); }

protected:
    Rgb at(int x, int y) const {
        return {int(viewer.pixel(x, y, 0) >> 8), int(viewer.pixel(x, y, 1) >> 8),
                int(viewer.pixel(x, y, 2) >> 8)};
    }

    // Keeps the picture for a person to look at, next to the test binary.
    void keep(const std::string& name) {
        const std::filesystem::path dir = std::filesystem::path(VESK_BINARY_DIR) / "overlay_pictures";
        std::filesystem::create_directories(dir);
        std::string error;
        EXPECT_TRUE(sparkhost::writeImage((dir / (name + ".png")).string(), viewer.picture(24), &error))
            << error;
    }

    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
    sparkhost::Viewer viewer{plugin};
};

bool White(Rgb c) { return c.r > 240 && c.g > 240 && c.b > 240; }
bool Yellow(Rgb c) { return c.r > 240 && c.g > 240 && c.b < 40; }
bool Green(Rgb c) { return c.r < 40 && c.g > 240 && c.b < 40; }
bool Red(Rgb c) { return c.r > 200 && c.g < 60 && c.b < 60; }

// Lines on whole pixel coordinates fall on a pixel boundary, so they may land either side.
template <typename Test>
bool Near(const ViewerSession* v, int x, int y, Test test) {
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            if (test(v->pixelAt(x + dx, y + dy))) return true;
    return false;
}

TEST_F(ViewerSession, DefaultSetupShowsBirthAndFoodHandlesAndNoPredator) {
    renderAndShow(1);
    keep("default_setup");
    // Birth point at 84 %, 84 %: the white handle square and a crosshair arm 15 pixels right.
    const int bx = int(0.84 * kWidth), by = int(0.84 * kHeight);
    EXPECT_TRUE(White(at(bx, by)));
    EXPECT_TRUE(White(at(bx - 3, by + 3)));
    EXPECT_TRUE(Near(this, bx + 15, by, White));
    // The birth area: half the frame width across (Birth Radius 50), dotted yellow, with its
    // height handle straight above the birth point.
    EXPECT_TRUE(Yellow(at(bx, by - kWidth / 4)));
    int on_circle = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            if (Yellow(at(x, y)) && std::fabs(std::hypot(x + 0.5 - 0.84 * kWidth,
                                                         y + 0.5 - 0.84 * kHeight) -
                                              kWidth / 4.0) < 2.0)
                ++on_circle;
    EXPECT_GT(on_circle, 40);
    // Food at 20 %, 15 % in green ("Hunt Food" is on by default).
    const int fx = int(0.2 * kWidth), fy = int(0.15 * kHeight);
    EXPECT_TRUE(Green(at(fx, fy)));
    EXPECT_TRUE(Near(this, fx, fy - 15, Green));
    // "Avoid Predator" is off: not one red pixel.
    int red = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) red += Red(at(x, y));
    EXPECT_EQ(red, 0);
}

TEST_F(ViewerSession, WireframeOutlinesEveryParticleInItsColour) {
    // Still particles of many colours spread over the middle of the frame.
    set("Shape", "Rectangle");
    set("Random Colours", "100");
    set("Random Sizes", "0");
    set("Shape Width", "14");
    set("Shape Height", "14");
    set("Speed", "0");
    set("Acceleration", "0");
    set("Vesk Size", "12");
    set("Birth X", "50");
    set("Birth Y", "50");
    set("Birth Radius", "120");
    set("Hunt Food", "off");

    // Rendered, every particle shows as a filled rectangle of its colour...
    set("Render Mode", "Render");
    ASSERT_NE(plugin.renderFrame(1), nullptr);
    const sparkhost::FrameBuffer rendered = host.buffer(sparkhost::kOutputBuffer);
    struct Box {
        int count = 0, x0 = 1 << 30, y0 = 1 << 30, x1 = -1, y1 = -1;
    };
    std::map<unsigned, Box> shapes;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const unsigned r = rendered.value(x, y, 0), g = rendered.value(x, y, 1),
                           b = rendered.value(x, y, 2);
            if (r + g + b == 0) continue;
            Box& box = shapes[(r << 16) | (g << 8) | b];
            ++box.count;
            box.x0 = std::min(box.x0, x);
            box.y0 = std::min(box.y0, y);
            box.x1 = std::max(box.x1, x);
            box.y1 = std::max(box.y1, y);
        }

    // ...and in the wireframe preview over a black picture, as an outline of the same colour
    // around the same place. The swarm does not move, so both show the same state.
    set("Render Mode", "Wireframe");
    viewer.show(sparkhost::FrameBuffer(kWidth, kHeight, 24));
    ASSERT_TRUE(viewer.redraw());
    keep("wireframe");
    int checked = 0;
    for (const auto& [colour, box] : shapes) {
        if (box.count < 30) continue;   // edge blends, or a shape mostly hidden by others
        const int r = int(colour >> 16), g = int((colour >> 8) & 255), b = int(colour & 255);
        int outline = 0;
        for (int y = std::max(0, box.y0 - 3); y <= std::min(kHeight - 1, box.y1 + 3); ++y)
            for (int x = std::max(0, box.x0 - 3); x <= std::min(kWidth - 1, box.x1 + 3); ++x) {
                const Rgb c = at(x, y);
                outline += std::abs(c.r - r) <= 3 && std::abs(c.g - g) <= 3 && std::abs(c.b - b) <= 3;
            }
        EXPECT_GE(outline, 8) << "colour " << r << "," << g << "," << b << " at " << box.x0
                              << "," << box.y0;
        ++checked;
    }
    EXPECT_GE(checked, 6);
}

TEST_F(ViewerSession, DraggingTheBirthHandleMovesTheBirthPoint) {
    set("Shape", "Rectangle");
    set("Random Sizes", "0");
    set("Shape Width", "8");
    set("Shape Height", "8");
    set("Speed", "0");
    set("Acceleration", "0");
    // Big enough that the birth area's handles stay clear of the birth point's own: a smaller
    // area would have its diagonal handle taken along by the same press.
    set("Birth Radius", "10");
    set("Render Mode", "Render");
    set("SparkBoolean34", "on");
    renderAndShow(1);

    // From the white handle at (84 %, 84 %) to a quarter of the way across and down.
    const float tx = 80.0f, ty = 45.0f;
    sparkhost::DragGesture drag{0.84f * kWidth, 0.84f * kHeight, tx, ty};
    const int renders = viewer.interact(sparkhost::dragEvents(drag));
    EXPECT_EQ(renders, 1);   // once, when the drag ended
    EXPECT_NEAR(value("SparkFloat13"), 100.0f * tx / kWidth, 1e-3);
    EXPECT_NEAR(value("SparkFloat14"), 100.0f * ty / kHeight, 1e-3);
    ASSERT_FALSE(viewer.cursors().empty());
    EXPECT_EQ(viewer.cursors()[0], 20);   // over the handle before the press
    EXPECT_EQ(viewer.cursors()[1], 14);   // grabbed
    keep("after_drag");

    // The white handle is now drawn where the drag ended.
    EXPECT_TRUE(White(at(int(tx), int(ty))));

    // A restart makes the swarm anew: every particle is born around the new point.
    set("SparkBoolean34", "off");
    press("SparkPush6");
    ASSERT_NE(plugin.renderFrame(2), nullptr);
    const sparkhost::FrameBuffer& out = host.buffer(sparkhost::kOutputBuffer);
    int near = 0, far = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            if (out.value(x, y, 0) + out.value(x, y, 1) + out.value(x, y, 2) == 0) continue;
            // Birth disc of radius 16 pixels plus half a shape.
            if (std::hypot(x - tx, y - ty) < 16.0 + 7.0)
                ++near;
            else
                ++far;
        }
    EXPECT_GT(near, 20);
    EXPECT_EQ(far, 0);
    viewer.show(out);
    viewer.redraw();
    keep("births_after_drag");
}

}  // namespace

namespace {

TEST(ViewerDepth, TwelveBitFramesKeepTheirPrecision) {
    sparkhost::Host host;
    host.setEcho(false);
    host.setFrameSize(64, 36);
    host.setDepthCode(48);
    // A grey background of 12-bit value 2049, the odd step an 8-bit picture could not hold.
    host.setClipProvider([](int clip, int, sparkhost::FrameBuffer& frame) {
        for (int y = 0; y < frame.height(); ++y)
            for (int x = 0; x < frame.width(); ++x)
                for (int c = 0; c < 3; ++c) frame.setValue(x, y, c, clip == 0 ? 2049 : 0);
        return true;
    });
    sparkhost::Plugin plugin(host);
    std::string error;
    ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
    testing::internal::CaptureStdout();
    plugin.initialise();
    testing::internal::GetCapturedStdout();
    sparkhost::Viewer viewer(plugin);
    ASSERT_TRUE(viewer.open(&error)) << error;
    ASSERT_NE(plugin.renderFrame(1), nullptr);
    viewer.show(host.buffer(sparkhost::kOutputBuffer));
    ASSERT_TRUE(viewer.redraw());
    // Far from every handle and particle the picture is the background, to the 12-bit step.
    EXPECT_EQ(viewer.picture(48).value(2, 2, 1), 2049u);
    EXPECT_EQ(viewer.picture(24).value(2, 2, 1), 2049u >> 4);   // an 8-bit picture keeps the top bits
}

}  // namespace
