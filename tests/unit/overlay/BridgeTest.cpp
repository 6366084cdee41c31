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
    }
    void Overlay(float zoom = 1) { SparkOverlay(host.info(), zoom); }
    unsigned long* Event(float pressure, float x, float y) {
        return SparkInteract(host.info(), 0, 0, pressure, x, y, 1.0f);
    }
    int Cursor() const { return host.cursors().empty() ? 0 : host.cursors().back(); }
    int Renders() const { return host.cursorBusyCount(); }

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

    sparkhost::Host host;
    std::vector<std::pair<SparkFloatStruct*, SparkFloatStruct>> floats{
        {&SparkFloat13, SparkFloat13}, {&SparkFloat14, SparkFloat14},
        {&SparkFloat68, SparkFloat68}, {&SparkFloat69, SparkFloat69}};
    std::vector<std::pair<SparkBooleanStruct*, SparkBooleanStruct>> checks{
        {&SparkBoolean28, SparkBoolean28}, {&SparkBoolean34, SparkBoolean34},
        {&SparkBoolean67, SparkBoolean67}, {&SparkBoolean71, SparkBoolean71}};
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
        ASSERT_GE(c.size(), 3u);
        EXPECT_EQ(c[1].args, (std::vector<double>{7, 9, 0}));
        EXPECT_EQ(c[2].name, "glScalef");
        EXPECT_NEAR(c[2].args[0], z[1], 1e-6);
        EXPECT_NEAR(c[2].args[1], z[1], 1e-6);
        // The birth crosshair's first arm starts 10 screen pixels right of 84 % of 200.
        EXPECT_NEAR(glrec::Segments()[0].x0, 168 + 10 / z[1], 1e-3) << z[0];
    }
}

TEST_F(Bridge, HandlesShownFollowTheirCheckboxes) {
    SparkBoolean67.Value = 1;   // Avoid Predator
    SparkBoolean71.Value = 0;   // Hunt Food
    Overlay();
    // The hidden food handle takes no press; the predator, at 40 %, 40 %, does.
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

TEST_F(Bridge, NegativePressureIsAHoverNeverAPressOrRelease) {
    Overlay();
    const float bx = SparkFloat13.Value, by = SparkFloat14.Value;
    Event(0.5f, 168, 84);   // a press on the birth point
    // (last, new) pressure pairs that are neither press, drag nor release: hovers, which
    // neither move the grabbed handle nor redraw the viewer.
    const float hovers[][2] = {{0.5f, -1}, {-1, 0.5f}, {0.5f, -0.5f}};
    for (const auto& h : hovers) {
        Event(h[0], 168, 84);   // sets the last pressure (a drag or hover on the spot)
        const int before = host.viewingDraws();
        Event(h[1], 100, 50);
        EXPECT_EQ(host.viewingDraws(), before) << h[0] << " -> " << h[1];
        EXPECT_EQ(Cursor(), 1);
        EXPECT_FLOAT_EQ(SparkFloat13.Value, bx);
        EXPECT_FLOAT_EQ(SparkFloat14.Value, by);
    }
    // A press away from every handle lets go of the birth point before the next test.
    Event(0, 5, 5);
    Event(0.3f, 5, 5);
    Event(0, 5, 5);
}

TEST_F(Bridge, OnlyTheHandlesSwitchedOnAreDrawnEachInItsOwnColour) {
    // Birth point white and birth area yellow always; food green with "Hunt Food", predator red
    // with "Avoid Predator", in that order.
    const std::vector<double> white{1, 1, 1}, yellow{1, 1, 0}, green{0, 1, 0}, red{1, 0, 0};
    const struct { int predator, food; std::vector<std::vector<double>> colours; } cases[] = {
        {0, 0, {white, yellow}}, {1, 0, {white, yellow, red}},
        {0, 1, {white, yellow, green}}, {1, 1, {white, yellow, green, red}}};
    for (const auto& c : cases) {
        SparkBoolean67.Value = c.predator;
        SparkBoolean71.Value = c.food;
        glrec::Clear();
        Overlay();
        std::vector<std::vector<double>> seen;
        for (const auto& call : glrec::Named("glColor3f")) seen.push_back(call.args);
        EXPECT_EQ(seen, c.colours) << c.predator << c.food;
    }
}

TEST_F(Bridge, HostDisabledInteractionAndViewerRatio) {
    host.setViewerRatio(2);
    Overlay();
    // The picture is shown 400 wide: the birth crosshair's arm starts 10 pixels right of 336.
    EXPECT_NEAR(glrec::Segments()[0].x0, 346, 1e-3);
    host.setMode(0);
    Instance.pen_pressure = 0;
    EXPECT_EQ(Event(1, 168, 84), nullptr);
    EXPECT_FLOAT_EQ(Instance.pen_pressure, 0);
    host.setMode(1);
    Event(1, 168, 84);   // only x is stretched by the ratio: this press lands on (336, 84)
    EXPECT_EQ(Cursor(), 14);
    host.setViewerRatio(1);
}

TEST_F(Bridge, WireframeOutlinesParticlesInsideTheMarginAtTheirRenderedSize) {
    Instance.SetOverlayGeometry(1, 1, 1, 200, 100);
    Particle(1.1f, 0.5f, 20);
    Particle(1.25f, 0.5f, 20);
    Particle(0.5f, -0.19f, 20)->colour[2] = 100.7f;
    Particle(0.5f, -0.21f, 20);
    Instance.PartDrawGL(Instance.set, 0);
    // Blobs 20 across, 36-degree steps: eleven lines and a closing one each, newest first; the
    // two past a fifth of the picture outside are left out.
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 24u);
    ExpectPoint({s[0].x0, s[0].y0}, 100 + 10, -19);
    ExpectPoint({s[12].x0, s[12].y0}, 220 + 10, 50);
    // Colours doubled onto the 16-bit scale (100.7 -> 201).
    auto c = glrec::Named("glColor3f");
    ASSERT_EQ(c.size(), 2u);
    EXPECT_EQ(c[0].args, (std::vector<double>{65534 / 65535.0f, 65534 / 65535.0f, 201 / 65535.0f}));

    Instance.part_set_free_all(Instance.set);
    Particle(0.5f, 0.5f, 40, 20);
    Instance.res_scale = 2;
    Instance.pixel_ratio = 1.5;
    // Rectangle and texture shapes: half-width 40 / 2 / 2, half-height 20 / 2 x 1.5 (the
    // height takes the pixel ratio and not the divisor).
    for (int mode : {1, 6, 7, 8}) {
        glrec::Clear();
        Instance.PartDrawGL(Instance.set, mode);
        const auto edges = glrec::Segments();
        ASSERT_EQ(edges.size(), 4u);
        ExpectPoint({edges[0].x0, edges[0].y0}, 90, 65);
        ExpectPoint({edges[2].x0, edges[2].y0}, 110, 35);
    }
}

TEST_F(Bridge, WireframePolygonsUseTheShapeVerticesAndTurnWithTravel) {
    Instance.SetOverlayGeometry(1, 1, 1, 200, 100);
    tagPARTSET* set = Instance.set;
    const float rotation = set->base_rotation, sharpness = set->star_sharpness;
    const int living = set->living_rotate;
    set->base_rotation = 0, set->living_rotate = 0, set->star_sharpness = 0.5f;
    tagPART* p = Particle(0.5f, 0.5f, 40, 20);
    Instance.res_scale = 2;
    Instance.pixel_ratio = 1.5;
    // Centre (100, 50); rx = 40 / 2 / 2 = 10 and ry = 20 / 2 / 2 = 5, no pixel ratio.
    struct Case { int mode; size_t lines; float x, y; } cases[] = {
        {2, 3, 115, 50}, {3, 4, 115, 50}, {4, 8, 100, 55}, {5, 10, 100, 55}, {9, 0, 0, 0}};
    for (const Case& c : cases) {
        glrec::Clear();
        Instance.PartDrawGL(set, c.mode);
        const auto edges = glrec::Segments();
        ASSERT_EQ(edges.size(), c.lines) << c.mode;
        if (!c.lines) continue;
        ExpectPoint({edges[0].x0, edges[0].y0}, c.x, c.y);
        ExpectPoint({edges.back().x1, edges.back().y1}, c.x, c.y);   // the loop closes
    }
    glrec::Clear();
    Instance.PartDrawGL(set, 5);
    ExpectPoint({glrec::Segments()[5].x0, glrec::Segments()[5].y0}, 100, 50 - 0.5 * 5);

    // Heading straight down the picture: turned by 270 degrees, the triangle's tip points down.
    set->living_rotate = 1;
    p->heading[0] = 0, p->heading[1] = 1;
    glrec::Clear();
    Instance.PartDrawGL(set, 2);
    ExpectPoint({glrec::Segments()[0].x0, glrec::Segments()[0].y0}, 100, 65);
    set->base_rotation = rotation, set->living_rotate = living, set->star_sharpness = sharpness;
}

}  // namespace
