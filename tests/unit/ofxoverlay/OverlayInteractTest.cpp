// The OpenFX overlay interact driven as a compositor drives it: the plug-in is described and
// instanced by a small host, its overlay entry point draws into an offscreen Mesa context whose
// projection is the canonical frame, and pen events go through it to the parameters.
#include <GL/gl.h>
#include <GL/osmesa.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "FakeOfxHost.h"

extern "C" OfxPlugin* OfxGetPlugin(int nth);

namespace {

// The project: 800 x 400 canonical units; with a pixel aspect of 2 the frame is 400 x 400 pixels.
constexpr double kWidth = 800.0, kHeight = 400.0;
// The viewer shows it in a 200 x 100 window: 4 canonical units per screen pixel.
constexpr int kViewW = 200, kViewH = 100;
constexpr double kPixelScale = kWidth / kViewW;

struct Rgb {
    unsigned r, g, b;
};

class OverlayInteractTest : public ::testing::Test {
protected:
    void SetUp() override {
        fakeofx::SetCurrent(&host);
        plugin = OfxGetPlugin(0);
        ASSERT_NE(plugin, nullptr);
        plugin->setHost(host.ofxHost());
        ASSERT_EQ(plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatOK);
        fakeofx::Effect& desc = host.descriptor();
        ASSERT_EQ(plugin->mainEntry(kOfxActionDescribe, desc.handle(), nullptr, nullptr), kOfxStatOK);
        void* entry = nullptr;
        ASSERT_EQ(host_props(desc).propGetPointer(desc.props.handle(), kOfxImageEffectPluginPropOverlayInteractV1,
                                                  0, &entry),
                  kOfxStatOK);
        overlay = reinterpret_cast<OfxPluginEntryPoint*>(entry);
        ASSERT_NE(overlay, nullptr);
        fakeofx::PropSet context;
        context.setString(kOfxImageEffectPropContext, {kOfxImageEffectContextGeneral});
        ASSERT_EQ(plugin->mainEntry(kOfxImageEffectActionDescribeInContext, desc.handle(), context.handle(), nullptr),
                  kOfxStatOK);
    }

    void TearDown() override {
        if (interact) overlay(kOfxActionDestroyInstance, interact->handle(), nullptr, nullptr);
        if (instanced) plugin->mainEntry(kOfxActionDestroyInstance, host.instance().handle(), nullptr, nullptr);
        if (gl) OSMesaDestroyContext(gl);
        fakeofx::SetCurrent(nullptr);
    }

    static const OfxPropertySuiteV1& host_props(fakeofx::Effect&) {
        return *static_cast<const OfxPropertySuiteV1*>(
            fakeofx::Current().ofxHost()->fetchSuite(nullptr, kOfxPropertySuite, 1));
    }

    // An instance of the project's size and aspect with its overlay.
    void Instance(double pixel_aspect) {
        host.instantiate(kWidth, kHeight, pixel_aspect);
        ASSERT_EQ(plugin->mainEntry(kOfxActionCreateInstance, host.instance().handle(), nullptr, nullptr), kOfxStatOK);
        instanced = true;
        fakeofx::Interact& ix = host.newInteract();
        ASSERT_EQ(overlay(kOfxActionDescribe, ix.handle(), nullptr, nullptr), kOfxStatOK);
        ASSERT_EQ(overlay(kOfxActionCreateInstance, ix.handle(), nullptr, nullptr), kOfxStatOK);
        interact = &ix;
    }

    fakeofx::Param& param(const char* name) {
        fakeofx::Param* p = host.instance().params.find(name);
        EXPECT_NE(p, nullptr) << name;
        return *p;
    }

    // The five properties every draw and pen action carries.
    fakeofx::PropSet Args(double time, double render_scale) {
        fakeofx::PropSet in;
        in.setPointer(kOfxPropEffectInstance, host.instance().handle());
        in.setDouble(kOfxInteractPropPixelScale, {kPixelScale, kPixelScale});
        in.setDouble(kOfxInteractPropBackgroundColour, {0.0, 0.0, 0.0});
        in.setDouble(kOfxPropTime, {time});
        in.setDouble(kOfxImageEffectPropRenderScale, {render_scale, render_scale});
        return in;
    }

    // The host's viewer: a black picture, canonical coordinates by the projection.
    void PrepareViewer() {
        if (!gl) {
            gl = OSMesaCreateContextExt(OSMESA_RGBA, 0, 0, 0, nullptr);
            ASSERT_NE(gl, nullptr);
            pixels.assign((size_t)kViewW * kViewH * 4, 0);
            ASSERT_TRUE(OSMesaMakeCurrent(gl, pixels.data(), GL_UNSIGNED_BYTE, kViewW, kViewH));
        }
        glViewport(0, 0, kViewW, kViewH);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0.0, kWidth, 0.0, kHeight, -1.0, 1.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    }

    OfxStatus Draw(double time, double render_scale = 1.0) {
        PrepareViewer();
        fakeofx::PropSet in = Args(time, render_scale);
        const OfxStatus status = overlay(kOfxInteractActionDraw, interact->handle(), in.handle(), nullptr);
        glFinish();
        return status;
    }

    // The host renders a frame of the instance at full scale (square pixels).
    OfxStatus Render(double time) {
        fakeofx::PropSet in;
        in.setDouble(kOfxPropTime, {time});
        in.setDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0});
        in.setInt(kOfxImageEffectPropRenderWindow, {0, 0, (int)kWidth, (int)kHeight});
        return plugin->mainEntry(kOfxImageEffectActionRender, host.instance().handle(), in.handle(), nullptr);
    }

    OfxStatus Pen(const char* action, double x, double y, double time, double render_scale) {
        fakeofx::PropSet in = Args(time, render_scale);
        in.setDouble(kOfxInteractPropPenPosition, {x, y});
        in.setInt(kOfxInteractPropPenViewportPosition, {(int)(x / kPixelScale), (int)(y / kPixelScale)});
        in.setDouble(kOfxInteractPropPenPressure, {std::strcmp(action, kOfxInteractActionPenUp) ? 1.0 : 0.0});
        return overlay(action, interact->handle(), in.handle(), nullptr);
    }

    // The screen pixel showing canonical point (x, y).
    Rgb At(double x, double y) const {
        const int sx = (int)(x / kPixelScale), sy = (int)(y / kPixelScale);
        const unsigned char* p = &pixels[((size_t)sy * kViewW + (size_t)sx) * 4];
        return {p[0], p[1], p[2]};
    }

    // Pixels of the window matching a test, within `radius` screen pixels of a canonical point
    // (or anywhere with a negative radius).
    template <typename Test>
    int Count(Test test, double x = 0.0, double y = 0.0, int radius = -1) const {
        int n = 0;
        for (int sy = 0; sy < kViewH; ++sy)
            for (int sx = 0; sx < kViewW; ++sx) {
                if (radius >= 0 && (std::abs(sx - (int)(x / kPixelScale)) > radius ||
                                    std::abs(sy - (int)(y / kPixelScale)) > radius))
                    continue;
                const unsigned char* p = &pixels[((size_t)sy * kViewW + (size_t)sx) * 4];
                if (test(Rgb{p[0], p[1], p[2]})) ++n;
            }
        return n;
    }

    static bool Green(Rgb c) { return c.g > 200 && c.r < 60 && c.b < 60; }
    static bool Red(Rgb c) { return c.r > 200 && c.g < 60 && c.b < 60; }
    static bool White(Rgb c) { return c.r > 200 && c.g > 200 && c.b > 200; }
    static bool Blue(Rgb c) { return c.b > 60 && c.r < 30 && c.g < 30; }
    static bool Lit(Rgb c) { return c.r || c.g || c.b; }

    std::vector<fakeofx::ParamCall> Calls(const std::string& what) const {
        std::vector<fakeofx::ParamCall> out;
        for (const auto& c : host.log)
            if (c.what == what) out.push_back(c);
        return out;
    }

    fakeofx::Host host;
    OfxPlugin* plugin = nullptr;
    OfxPluginEntryPoint* overlay = nullptr;
    fakeofx::Interact* interact = nullptr;
    bool instanced = false;
    OSMesaContext gl = nullptr;
    std::vector<unsigned char> pixels;
};

// Canonical position of a handle whose controls hold (px, py) percent of the frame, y down the
// frame: the frame spans the project's canonical width and height.
double CanonicalX(double px) { return px / 100.0 * kWidth; }
double CanonicalY(double py) { return kHeight - py / 100.0 * kHeight; }

TEST_F(OverlayInteractTest, HostsWithoutOverlaysGetNoInteract) {
    fakeofx::Host plain;
    plain.hostProps().setInt(kOfxImageEffectPropSupportsOverlays, {0});
    fakeofx::SetCurrent(&plain);
    plugin->setHost(plain.ofxHost());
    ASSERT_EQ(plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr), kOfxStatOK);
    ASSERT_EQ(plugin->mainEntry(kOfxActionDescribe, plain.descriptor().handle(), nullptr, nullptr), kOfxStatOK);
    EXPECT_EQ(plain.descriptor().props.props.count(kOfxImageEffectPluginPropOverlayInteractV1), 0u);
    fakeofx::SetCurrent(&host);
    plugin->setHost(host.ofxHost());
    plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr);
}

TEST_F(OverlayInteractTest, InteractFollowsTheHandleParameters) {
    Instance(1.0);
    const fakeofx::Prop& slaves = interact->props.props[kOfxInteractPropSlaveToParam];
    for (const char* name : {"birth", "birthRadius", "food", "predator", "huntFood", "avoidPredator"})
        EXPECT_NE(std::find(slaves.s.begin(), slaves.s.end(), name), slaves.s.end()) << name;
    // Every name it follows is a parameter of the effect.
    for (const std::string& name : slaves.s) EXPECT_NE(host.instance().params.find(name), nullptr) << name;
}

TEST_F(OverlayInteractTest, HandlesAreDrawnWhereTheirParametersPutThemAndOnlyWhenShown) {
    Instance(1.0);
    param("food").value = {25.0, 75.0};
    param("birth").value = {70.0, 30.0};
    param("predator").value = {50.0, 50.0};
    param("huntFood").value = {1.0};
    param("avoidPredator").value = {0.0};
    ASSERT_EQ(Draw(1.0), kOfxStatOK);
    EXPECT_TRUE(Green(At(CanonicalX(25), CanonicalY(75)))) << "food handle";
    EXPECT_TRUE(White(At(CanonicalX(70), CanonicalY(30)))) << "birth handle";
    EXPECT_EQ(Count(Red), 0) << "predator handle shown with Avoid Predator off";

    // Hunt Food off hides the food handle; Avoid Predator on shows the predator's.
    param("huntFood").value = {0.0};
    param("avoidPredator").value = {1.0};
    ASSERT_EQ(Draw(1.0), kOfxStatOK);
    EXPECT_EQ(Count(Green), 0) << "food handle drawn with Hunt Food off";
    EXPECT_TRUE(Red(At(CanonicalX(50), CanonicalY(50)))) << "predator handle";

    // Clear Overlay: nothing at all over the picture.
    param("clearOverlay").value = {1.0};
    ASSERT_EQ(Draw(1.0), kOfxStatOK);
    EXPECT_EQ(Count(Lit), 0);
}

TEST_F(OverlayInteractTest, PixelAspectKeepsHandlesOnTheirCanonicalPlace) {
    // With square pixels and with pixels twice as wide the frame covers the same canonical
    // rectangle, so a handle at a fraction of the frame lands on the same point of the viewer.
    Instance(2.0);
    param("food").value = {40.0, 60.0};
    ASSERT_EQ(Draw(1.0, 0.5), kOfxStatOK);
    EXPECT_TRUE(Green(At(CanonicalX(40), CanonicalY(60))));
    // The handle square keeps its size in screen pixels (10) whatever the viewer's scale: it
    // covers the point 4 screen pixels away but not 8.
    EXPECT_TRUE(Green(At(CanonicalX(40) + 4 * kPixelScale, CanonicalY(60))));
    EXPECT_FALSE(Green(At(CanonicalX(40) + 8 * kPixelScale, CanonicalY(60) + 8 * kPixelScale)));
}

TEST_F(OverlayInteractTest, DrawLeavesTheHostsGlStateAsItWas) {
    Instance(1.0);
    PrepareViewer();
    glMatrixMode(GL_PROJECTION);
    glColor3f(0.25f, 0.5f, 0.75f);
    glEnable(GL_TEXTURE_2D);
    GLfloat projection_before[16];
    glGetFloatv(GL_PROJECTION_MATRIX, projection_before);
    fakeofx::PropSet in = Args(1.0, 1.0);
    ASSERT_EQ(overlay(kOfxInteractActionDraw, interact->handle(), in.handle(), nullptr), kOfxStatOK);

    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_PROJECTION);
    GLfloat colour[4], modelview[16], projection[16];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    EXPECT_FLOAT_EQ(colour[0], 0.25f);
    EXPECT_FLOAT_EQ(colour[1], 0.5f);
    EXPECT_FLOAT_EQ(colour[2], 0.75f);
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
    glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
    glGetFloatv(GL_PROJECTION_MATRIX, projection);
    for (int i = 0; i < 16; ++i) {
        EXPECT_FLOAT_EQ(modelview[i], i % 5 == 0 ? 1.0f : 0.0f) << i;
        EXPECT_FLOAT_EQ(projection[i], projection_before[i]) << i;
    }
    EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
}

TEST_F(OverlayInteractTest, DraggingTheFoodHandleMovesFoodByTheDragAsOneEdit) {
    // Render scale 0.5 (a proxy) and pixel aspect 2: neither changes what a canonical drag means.
    Instance(2.0);
    param("food").value = {20.0, 15.0};
    ASSERT_EQ(Draw(3.0, 0.5), kOfxStatOK);   // the host draws before the user points
    const double x0 = CanonicalX(20), y0 = CanonicalY(15);
    const double dx = 80.0, dy = -40.0;      // right a tenth of the frame, down a tenth
    host.log.clear();
    host.redraws = 0;
    EXPECT_EQ(Pen(kOfxInteractActionPenDown, x0, y0, 3.0, 0.5), kOfxStatOK);
    EXPECT_EQ(Pen(kOfxInteractActionPenMotion, x0 + dx / 2, y0 + dy / 2, 3.0, 0.5), kOfxStatOK);
    EXPECT_EQ(Pen(kOfxInteractActionPenMotion, x0 + dx, y0 + dy, 3.0, 0.5), kOfxStatOK);
    EXPECT_EQ(Pen(kOfxInteractActionPenUp, x0 + dx, y0 + dy, 3.0, 0.5), kOfxStatOK);

    // Food in percent of the frame, y down: +10 across, +10 down.
    ASSERT_EQ(param("food").value.size(), 2u);
    EXPECT_NEAR(param("food").value[0], 30.0, 1e-3);
    EXPECT_NEAR(param("food").value[1], 25.0, 1e-3);
    // One undoable edit around every write, and only the food written.
    ASSERT_FALSE(host.log.empty());
    EXPECT_EQ(host.log.front().what, "begin");
    EXPECT_EQ(host.log.back().what, "end");
    EXPECT_EQ(Calls("begin").size(), 1u);
    EXPECT_EQ(Calls("end").size(), 1u);
    EXPECT_TRUE(Calls("setAt").empty());
    for (const auto& c : Calls("set")) EXPECT_EQ(c.name, "food");
    EXPECT_EQ(Calls("set").size(), 2u);
    EXPECT_GE(host.redraws, 3);
}

TEST_F(OverlayInteractTest, AnimatedHandleParametersAreKeyedAtTheViewersTime) {
    Instance(1.0);
    param("birth").keys[1.0] = {50.0, 50.0};
    param("birth").keys[20.0] = {60.0, 50.0};
    ASSERT_EQ(Draw(7.0), kOfxStatOK);
    const double x0 = CanonicalX(50), y0 = CanonicalY(50);
    Pen(kOfxInteractActionPenDown, x0, y0, 7.0, 1.0);
    Pen(kOfxInteractActionPenMotion, x0 - 40.0, y0, 7.0, 1.0);
    Pen(kOfxInteractActionPenUp, x0 - 40.0, y0, 7.0, 1.0);
    const auto keyed = Calls("setAt");
    ASSERT_FALSE(keyed.empty());
    for (const auto& c : keyed) {
        EXPECT_EQ(c.name, "birth");
        EXPECT_DOUBLE_EQ(c.time, 7.0);
    }
    EXPECT_NEAR(param("birth").keys.at(7.0)[0], 45.0, 1e-3);
    EXPECT_TRUE(Calls("set").empty());
}

TEST_F(OverlayInteractTest, PenAwayFromEveryHandleIsLeftToTheHost) {
    Instance(1.0);
    // Before the viewer has drawn the handles there is nothing to pick, not even at the frame's
    // corner where handles never drawn would sit.
    EXPECT_EQ(Pen(kOfxInteractActionPenDown, 0.0, kHeight, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_EQ(Pen(kOfxInteractActionPenMotion, 40.0, kHeight - 40.0, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_EQ(Pen(kOfxInteractActionPenUp, 40.0, kHeight - 40.0, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_TRUE(host.log.empty());

    ASSERT_EQ(Draw(1.0), kOfxStatOK);
    host.log.clear();
    EXPECT_EQ(Pen(kOfxInteractActionPenDown, 5.0, 5.0, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_EQ(Pen(kOfxInteractActionPenMotion, 60.0, 60.0, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_EQ(Pen(kOfxInteractActionPenUp, 60.0, 60.0, 1.0, 1.0), kOfxStatReplyDefault);
    EXPECT_TRUE(host.log.empty());
}

TEST_F(OverlayInteractTest, WireframeShowsTheSwarmTheRenderOfTheFrameLeft) {
    Instance(1.0);
    // Every particle pure blue, a colour no handle has.
    param("shapeColour").value = {0.0, 0.0, 1.0};
    param("randomColours").value = {0.0};
    param("huntFood").value = {1.0};     // something to steer for, so the swarm moves
    param("renderMode").value = {1.0};   // Wireframe
    ASSERT_EQ(Draw(3.0), kOfxStatOK);
    EXPECT_EQ(Count(Blue), 0) << "a swarm outlined before any render of the frame";
    ASSERT_EQ(Render(3.0), kOfxStatOK);
    ASSERT_EQ(Draw(3.0), kOfxStatOK);
    EXPECT_GT(Count(Blue), 0) << "no outline of the rendered swarm";
    const std::vector<unsigned char> at3 = pixels;
    // Another frame, not rendered: its swarm is not known, so none is shown.
    ASSERT_EQ(Draw(12.0), kOfxStatOK);
    EXPECT_EQ(Count(Blue), 0);
    // Once rendered, that frame shows its own swarm, and frame 3 still shows frame 3's.
    ASSERT_EQ(Render(12.0), kOfxStatOK);
    ASSERT_EQ(Draw(12.0), kOfxStatOK);
    EXPECT_GT(Count(Blue), 0);
    EXPECT_NE(pixels, at3);
    ASSERT_EQ(Draw(3.0), kOfxStatOK);
    EXPECT_EQ(pixels, at3);
    param("renderMode").value = {0.0};   // Render: handles only
    ASSERT_EQ(Draw(3.0), kOfxStatOK);
    EXPECT_EQ(Count(Blue), 0);
}

}  // namespace
