// The effect behind the viewer bridge: SparkOverlay's set-up, SparkInteract's event handling,
// the four handles and the wireframe preview, with the GL recorder standing in for the viewer.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>

#include "GlRecorder.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "sparkhost/lib/Host.h"

extern "C" {
unsigned int SparkInitialise(SparkInfoStruct);
int SparkMemoryTempBuffers(void);
void SparkOverlay(SparkInfoStruct, float);
unsigned long* SparkInteract(SparkInfoStruct, int, int, float, float, float, float);
}

namespace {

const double kDeg = 0.017453292522222223;

// The effect started by the test's host at 200 x 100; the records and swarm fields the tests
// touch are put back afterwards.
class Bridge : public ::testing::Test {
protected:
    void SetUp() override {
        host.setEcho(false);
        host.setFrameSize(200, 100);
        testing::internal::CaptureStdout();
        SparkInitialise(host.info());
        testing::internal::GetCapturedStdout();
        SparkMemoryTempBuffers();
        host.loadInputs(1);
        Instance.res_scale = 1.0f;
        Instance.pixel_ratio = 1.0;
        Event(0, -1000, -1000);   // no pressure left over from an earlier test
        glrec::Clear();
    }
    void TearDown() override {
        Instance.part_set_free_all(Instance.set);
        SparkBoolean28.Value = SparkBoolean34.Value = 0;
        Event(0, -1000, -1000);
        for (auto& [record, value] : floats) *record = value;
        for (auto& [record, value] : checks) *record = value;
        SparkPup59 = pup59;
        Instance.set->base_rotation = base_rotation;
        Instance.set->living_rotate = living_rotate;
        Instance.set->star_sharpness = star_sharpness;
    }
    void Overlay(float zoom = 1) { SparkOverlay(host.info(), zoom); }
    unsigned long* Event(float pressure, float x, float y) {
        return SparkInteract(host.info(), 0, 0, pressure, x, y, 1.0f);
    }
    int Cursor() const { return host.cursors().empty() ? 0 : host.cursors().back(); }
    int Renders() const { return host.cursorBusyCount(); }

    // Centres of the handle squares drawn in one colour.
    std::vector<glrec::Vertex> Handles(float r, float g, float b) {
        std::vector<glrec::Vertex> out;
        for (const auto& p : glrec::Primitives())
            if (p.mode == GL_POLYGON && p.r == r && p.g == g && p.b == b)
                out.push_back({(p.v[0].x + p.v[2].x) / 2, (p.v[0].y + p.v[2].y) / 2});
        return out;
    }
    tagPART* Particle(float x, float y, float w = 40, float h = 20) {
        tagPART* p = Instance.part_alloc(Instance.set);
        p->pos.x = x, p->pos.y = y;
        p->colour[0] = p->colour[1] = p->colour[2] = 32767;
        p->isize_full = int(w);
        p->size_full[0] = w, p->size_full[1] = h;
        p->next = Instance.set->live_list;
        Instance.set->live_list = p;
        ++Instance.set->live_count;
        return p;
    }
    std::vector<glrec::Vertex> Outline() {
        std::vector<glrec::Vertex> v;
        for (const auto& s : glrec::Segments()) v.push_back({s.x0, s.y0});
        return v;
    }

    sparkhost::Host host;
    std::vector<std::pair<SparkFloatStruct*, SparkFloatStruct>> floats{
        {&SparkFloat13, SparkFloat13}, {&SparkFloat14, SparkFloat14},
        {&SparkFloat68, SparkFloat68}, {&SparkFloat69, SparkFloat69}};
    std::vector<std::pair<SparkBooleanStruct*, SparkBooleanStruct>> checks{
        {&SparkBoolean28, SparkBoolean28}, {&SparkBoolean34, SparkBoolean34},
        {&SparkBoolean67, SparkBoolean67}, {&SparkBoolean71, SparkBoolean71}};
    SparkPupStruct pup59 = SparkPup59;
    float base_rotation = Instance.set->base_rotation;
    int living_rotate = Instance.set->living_rotate;
    float star_sharpness = Instance.set->star_sharpness;
};

void ExpectPoint(glrec::Vertex v, double x, double y) {
    EXPECT_NEAR(v.x, x, 2e-3);
    EXPECT_NEAR(v.y, y, 2e-3);
}

TEST_F(Bridge, ViewerTransformFollowsOriginAndZoom) {
    host.setViewerOrigin(7, 9);
    // Below 1 the zoom becomes 1 / (2 - zoom): handles shrink less than the picture.
    const float zooms[][2] = {{2, 2}, {1, 1}, {0.5f, 1 / 1.5f}, {0.25f, 1 / 1.75f}, {0, 0.5f}};
    for (const auto& z : zooms) {
        glrec::Clear();
        Overlay(z[0]);
        const auto& c = glrec::Calls();
        ASSERT_GE(c.size(), 4u);
        EXPECT_EQ(c[0].name, "glLoadIdentity");
        EXPECT_EQ(c[1].args, (std::vector<double>{7, 9, 0}));
        EXPECT_EQ(c[2].name, "glScalef");
        EXPECT_NEAR(c[2].args[0], z[1], 1e-6);
        EXPECT_NEAR(c[2].args[1], z[1], 1e-6);
        EXPECT_EQ(c.back().name, "glFlush");
        // The birth crosshair's first arm starts 10 screen pixels right of 84 % of 200.
        EXPECT_NEAR(glrec::Segments()[0].x0, 168 + 10 / z[1], 1e-3) << z[0];
    }
}

TEST_F(Bridge, HandlesShownFollowTheirCheckboxes) {
    Overlay();
    // Defaults: white birth point at 84 %, 84 %; yellow birth area, its width handle half a
    // Birth Radius (50 % of the width) to the right; green food at 20 %, 15 %; no red.
    EXPECT_EQ(Handles(1, 1, 1).size(), 1u);
    ExpectPoint(Handles(1, 1, 1)[0], 168, 84);
    ASSERT_EQ(Handles(1, 1, 0).size(), 3u);
    ExpectPoint(Handles(1, 1, 0)[1], 168 + 50, 84);
    ASSERT_EQ(Handles(0, 1, 0).size(), 1u);
    ExpectPoint(Handles(0, 1, 0)[0], 40, 15);
    EXPECT_TRUE(Handles(1, 0, 0).empty());

    SparkBoolean67.Value = 1;   // Avoid Predator
    SparkBoolean71.Value = 0;   // Hunt Food
    glrec::Clear();
    Overlay();
    ASSERT_EQ(Handles(1, 0, 0).size(), 1u);
    ExpectPoint(Handles(1, 0, 0)[0], 80, 40);
    EXPECT_TRUE(Handles(0, 1, 0).empty());
    // The hidden food handle takes no press; the predator does.
    Event(1, 40, 15);
    EXPECT_EQ(Cursor(), 1);
    Event(0, 40, 15);
    Event(1, 80, 40);
    EXPECT_EQ(Cursor(), 14);
    Event(1, 90, 60);
    EXPECT_FLOAT_EQ(SparkFloat68.Value, 45);
    EXPECT_FLOAT_EQ(SparkFloat69.Value, 60);

    SparkBoolean28.Value = 1;   // Clear Overlay: nothing drawn, events ignored
    glrec::Clear();
    Overlay();
    EXPECT_TRUE(glrec::Calls().empty());
    EXPECT_EQ(Event(0.7f, 120, 70), nullptr);
    EXPECT_FLOAT_EQ(Instance.pen_pressure, 0.7f);   // but the pressure is recorded
    EXPECT_FLOAT_EQ(SparkFloat68.Value, 45);
}

TEST_F(Bridge, HandleDragRendersOnceWhenItEnds) {
    Overlay();
    const int draws = host.viewingDraws(), renders = Renders();
    Event(0, 170, 86);
    EXPECT_EQ(Cursor(), 20);   // over the handle
    Event(0, 120, 20);
    EXPECT_EQ(Cursor(), 1);
    EXPECT_EQ(host.viewingDraws(), draws);   // hovering never redraws

    EXPECT_EQ(Event(0.3f, 168, 84), nullptr);   // press at 0.3 on the birth point
    EXPECT_EQ(Cursor(), 14);
    EXPECT_EQ(Event(0.5f, 100, 50), nullptr);   // a move at 0.5 is a drag
    EXPECT_FLOAT_EQ(SparkFloat13.Value, 50);
    EXPECT_FLOAT_EQ(SparkFloat14.Value, 50);
    EXPECT_EQ(Renders(), renders);
    EXPECT_NE(Event(0, 100, 50), nullptr);   // pressure 0: released, rendered once
    EXPECT_EQ(Cursor(), 1);
    EXPECT_EQ(Renders(), renders + 1);
    EXPECT_EQ(host.viewingDraws(), draws + 3);
    EXPECT_EQ(Event(0, 100, 50), nullptr);

    // A drag from empty space, or any drag with "Auto Preview" off, renders nothing.
    Overlay();
    Event(1, 10, 90);
    Event(1, 30, 70);
    EXPECT_EQ(Event(0, 30, 70), nullptr);
    SparkBoolean34.Value = 0;
    Event(1, 100, 50);
    Event(1, 120, 60);
    EXPECT_EQ(Event(0, 120, 60), nullptr);
    EXPECT_FLOAT_EQ(SparkFloat13.Value, 60);
    EXPECT_EQ(Renders(), renders + 1);
}

TEST_F(Bridge, HostDisabledInteractionAndViewerRatio) {
    host.setViewerRatio(2);
    Overlay();
    ExpectPoint(Handles(1, 1, 1)[0], 336, 84);   // the picture is shown 400 wide
    host.setMode(0);
    Instance.pen_pressure = 0;
    EXPECT_EQ(Event(1, 168, 84), nullptr);
    EXPECT_FLOAT_EQ(Instance.pen_pressure, 0);
    host.setMode(1);
    Event(1, 168, 84);   // only x is stretched by the ratio: this press lands on (336, 84)
    EXPECT_EQ(Cursor(), 14);
    host.setViewerRatio(1);
}

TEST_F(Bridge, WireframeOutlinesParticlesInsideTheMargin) {
    Instance.SetOverlayGeometry(1, 1, 1, 200, 100);
    Instance.PartDrawGL(Instance.set, 0);   // an empty swarm draws nothing
    EXPECT_TRUE(glrec::Calls().empty());
    Particle(1.1f, 0.5f, 20);
    Particle(1.25f, 0.5f, 20);
    Particle(0.5f, -0.19f, 20)->colour[2] = 100.7f;
    Particle(0.5f, -0.21f, 20);
    Instance.PartDrawGL(Instance.set, 0);
    // Blobs 20 across, 36-degree steps: eleven lines and a closing one each, newest first.
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 24u);
    ExpectPoint({s[0].x0, s[0].y0}, 100 + 10, -19);
    ExpectPoint({s[12].x0, s[12].y0}, 220 + 10, 50);
    // Colours doubled onto the 16-bit scale (100.7 -> 201).
    auto c = glrec::Named("glColor3f");
    ASSERT_EQ(c.size(), 2u);
    EXPECT_EQ(c[0].args, (std::vector<double>{65534 / 65535.0f, 65534 / 65535.0f, 201 / 65535.0f}));

    glrec::Clear();
    SparkPup59.Value = 0;   // "Render Mode: Render"
    Instance.PartDrawGL(Instance.set, 0);
    EXPECT_TRUE(glrec::Calls().empty());
}

TEST_F(Bridge, WireframeShapesMatchTheRenderedShapes) {
    Instance.SetOverlayGeometry(1, 1, 1, 200, 100);
    tagPART* p = Particle(0.5f, 0.5f, 40, 20);
    Instance.res_scale = 2;
    Instance.pixel_ratio = 1.5;
    Instance.PartDrawGL(Instance.set, 0);   // blob 20 across, 30 tall
    auto s = glrec::Segments();
    ExpectPoint({s[1].x1, s[1].y1}, 100 + 10 * std::cos(36 * kDeg), 50 + 15 * std::sin(36 * kDeg));

    // Rectangle and texture shapes: half-width 40 / 2 / 2, half-height 20 / 2 x 1.5 (the
    // height takes the pixel ratio and not the divisor).
    for (int mode : {1, 6, 7, 8}) {
        glrec::Clear();
        Instance.PartDrawGL(Instance.set, mode);
        auto v = Outline();
        ASSERT_EQ(v.size(), 4u);
        ExpectPoint(v[0], 90, 65);
        ExpectPoint(v[2], 110, 35);
    }
    Instance.res_scale = 1;
    const double rx = 20, ry = 10, k = 0.5;
    Instance.set->star_sharpness = float(k);
    const int counts[] = {3, 4, 8, 10};
    for (int mode = 2; mode <= 5; ++mode) {
        glrec::Clear();
        Instance.PartDrawGL(Instance.set, mode);
        EXPECT_EQ(Outline().size(), size_t(counts[mode - 2]));
    }
    auto v = Outline();   // five-point star, outer and inner points
    ExpectPoint(v[2], 100 + rx * 0.95106, 50 + ry * 0.30902);
    ExpectPoint(v[7], 100 - k * rx * 0.95105, 50 - k * ry * 0.309);

    // Triangles turn with the base rotation about the centre cut to whole pixels (100, 50):
    // a quarter turn takes an offset (dx, dy) to (dy, -dx).
    p->pos.x = 100.5f / 200;
    Instance.set->base_rotation = 90;
    glrec::Clear();
    Instance.PartDrawGL(Instance.set, 2);
    v = Outline();
    ExpectPoint(v[0], 100, 50 - 30.5);
    ExpectPoint(v[1], 110, 59.5);
    // Living Rotate adds the heading: straight down the picture is 270 degrees, tip down.
    p->pos.x = 0.5f;
    p->heading[0] = 0, p->heading[1] = 1;
    Instance.set->base_rotation = 0;
    Instance.set->living_rotate = 1;
    glrec::Clear();
    Instance.PartDrawGL(Instance.set, 2);
    ExpectPoint(Outline()[0], 100, 80);
}

}  // namespace
