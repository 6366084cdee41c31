// Overlay handles: picking, dragging, clamping to the controls' ranges and what reaches the host.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>

#include "GlRecorder.h"
#include "framework/OverlayControlQ4.h"
#include "sparkhost/lib/Host.h"

namespace {

const double kPiQuarter = 0.7853981633974483;

SparkFloatStruct Record(float value, float min, float max) {
    SparkFloatStruct r{};
    r.Value = value, r.Min = min, r.Max = max;
    return r;
}

// A 200 x 100 picture at zoom 1; the test's host records the control updates.
class Handles : public ::testing::Test {
protected:
    void SetUp() override { o.SetOverlayGeometry(1.0f, 1.0f, 1.0f, 200, 100); }
    const std::vector<int>& Updates() const { return host.controlUpdates(); }
    sparkhost::Host host;
    OverlayQ4 o;
};

class Crosshair : public Handles {
protected:
    void SetUp() override {
        Handles::SetUp();
        h.Bind(13, &x, &y);
        h.SetPosition(0.5f, 0.5f);
        o.DrawCrosshairOverlay(&h);   // handle at (100, 50)
    }
    SparkFloatStruct x = Record(50, -150, 250), y = Record(50, -150, 250);
    CrosshairOverlayQ4 h;
};

TEST_F(Crosshair, GrabToleranceIsFiveScreenPixelsExclusive) {
    const float hits[][3] = {{104.9f, 50, 1}, {105, 50, 0}, {100, 45, 0}, {96, 46, 1}};
    for (const auto& p : hits) {
        h.HandleInteraction(INTER_PRESS, p[0], p[1]);
        EXPECT_EQ(h.grabbed, int(p[2])) << p[0] << "," << p[1];
        EXPECT_EQ(h.highlighted, int(p[2]));
    }
    o.SetOverlayGeometry(2.0f, 1.0f, 1.0f, 200, 100);   // 2.5 image pixels at zoom 2
    h.HandleInteraction(INTER_PRESS, 102.4f, 50);
    EXPECT_EQ(h.grabbed, 1);
    h.HandleInteraction(INTER_PRESS, 102.6f, 50);
    EXPECT_EQ(h.grabbed, 0);
    h.HandleInteraction(INTER_MOVE, 101, 51);   // hovering highlights without grabbing
    EXPECT_EQ(h.highlighted, 1);
    EXPECT_EQ(h.grabbed, 0);
}

TEST_F(Crosshair, DragWritesHundredthsClampedToTheControls) {
    h.HandleInteraction(INTER_PRESS, 10, 10);   // a press off the handle: the drag does nothing
    h.HandleInteraction(INTER_DRAG, 150, 25);
    EXPECT_TRUE(x.Value == 50 && y.Value == 50 && Updates().empty());

    h.HandleInteraction(INTER_PRESS, 100, 50);
    h.HandleInteraction(INTER_DRAG, 150, 25);
    EXPECT_FLOAT_EQ(x.Value, 75);
    EXPECT_FLOAT_EQ(y.Value, 25);
    EXPECT_EQ(Updates(), (std::vector<int>{13, 14}));

    x = Record(50, 0, 100);
    h.HandleInteraction(INTER_DRAG, 300, 25);   // past the right edge of a 0..100 control
    EXPECT_FLOAT_EQ(x.Value, 100);
    y = Record(50, 60, 40);   // a minimum above the maximum wins: it is tested last
    h.HandleInteraction(INTER_DRAG, 100, 50);
    EXPECT_FLOAT_EQ(y.Value, 60);
}

TEST_F(Handles, LineMovesAsAWholeAndItsEndXClampLandsInTheStartX) {
    SparkFloatStruct sx = Record(20, 0, 100), sy = Record(20, 0, 100);
    SparkFloatStruct ex = Record(60, 0, 70), ey = Record(50, 0, 100);
    LineOverlayQ4 line;
    line.Bind(30, &sx, &sy);
    line.BindEnd(40, &ex, &ey);
    line.SetLine(0.2f, 0.2f, 0.6f, 0.5f);
    o.DrawLineOverlay(&line);   // (40, 20) to (120, 50): the handle at the middle
    line.HandleInteraction(INTER_PRESS, 80, 35);
    ASSERT_EQ(line.grabbed, 1);
    line.HandleInteraction(INTER_DRAG, 90, 45);   // +0.05 across, +0.1 down
    EXPECT_NEAR(sx.Value, 25, 1e-3);
    EXPECT_NEAR(sy.Value, 30, 1e-3);
    EXPECT_NEAR(ex.Value, 65, 1e-3);
    EXPECT_NEAR(ey.Value, 60, 1e-3);
    EXPECT_EQ(Updates(), (std::vector<int>{30, 31, 40, 41}));
    // The end x passes its maximum of 70: the start x takes 0.7, the end x keeps its 0.8.
    line.HandleInteraction(INTER_DRAG, 120, 45);
    EXPECT_NEAR(sx.Value, 70, 1e-3);
    EXPECT_NEAR(ex.Value, 80, 1e-3);
}

TEST_F(Handles, CircleDiagonalKeepsProportionsAndLockHidesIt) {
    SparkFloatStruct w = Record(50, 0, 200), ht = Record(25, 0, 200);
    CircleOverlayQ4 c;
    c.BindSize(15, &w, 16, &ht);
    c.SetCircle(0.5f, 0.5f, 0.5f, 0.25f, 0.0f);
    o.DrawCircleOverlay(&c);   // 100 x 50 pixels around (100, 50)
    // The diagonal handle sits on the ellipse at -45 degrees.
    EXPECT_NEAR(c.handle_x[0], 100 + 50 * std::cos(kPiQuarter), 1e-3);
    EXPECT_NEAR(c.handle_y[0], 50 - 25 * std::sin(kPiQuarter), 1e-3);

    c.HandleInteraction(INTER_PRESS, c.handle_x[0], c.handle_y[0]);
    ASSERT_EQ(c.grabbed, 1);
    // Only the pointer's x counts, and the ellipse keeps its proportions.
    c.HandleInteraction(INTER_DRAG, 150, 999);
    const double u = 50.0 / std::cos(kPiQuarter);
    EXPECT_NEAR(w.Value, 100 * 2 * u / 200, 1e-2);
    EXPECT_NEAR(ht.Value, 100 * 2 * 0.5 * u / 200, 1e-2);
    EXPECT_EQ(Updates(), (std::vector<int>{15, 16}));

    c.SetModes(1, 0, 0);   // locked: only the width handle is drawn and can be taken
    glrec::Clear();
    o.DrawCircleOverlay(&c);
    int drawn = 0;
    for (const auto& p : glrec::Primitives()) drawn += p.mode == GL_POLYGON;
    EXPECT_EQ(drawn, 1);
    c.HandleInteraction(INTER_PRESS, c.handle_x[0], c.handle_y[0]);
    EXPECT_EQ(c.grabbed, 0);
}

TEST_F(Handles, RectangleSizesAndSquareLock) {
    SparkFloatStruct w = Record(50, 0, 100), ht = Record(40, 0, 100);
    RectangleOverlayQ4 r;
    r.BindSize(43, &w, 44, &ht);
    r.SetRectangle(0.5f, 0.5f, 0.5f, 0.4f, 0.0f);
    o.DrawRectangleOverlay(&r);   // 100 x 40 around (100, 50): corner (150, 70)
    r.HandleInteraction(INTER_PRESS, 150, 70);
    ASSERT_EQ(r.grabbed, 1);
    r.HandleInteraction(INTER_DRAG, 160, 40);
    EXPECT_NEAR(w.Value, 60, 1e-3);
    EXPECT_NEAR(ht.Value, 20, 1e-3);   // the height is a fraction of the picture height
    r.HandleInteraction(INTER_RELEASE, 0, 0);

    // Square lock: the height handle drives the width, the height control is left alone, and
    // even a drag with nothing grabbed rewrites the width.
    r.square_lock = 1;
    r.SetRectangle(0.5f, 0.5f, 0.5f, 0.4f, 0.0f);
    o.DrawRectangleOverlay(&r);
    const size_t before = Updates().size();
    const float height = ht.Value;
    r.HandleInteraction(INTER_PRESS, 100, 70);
    r.HandleInteraction(INTER_DRAG, 100, 80);   // 30 pixels from the centre
    EXPECT_NEAR(w.Value, 100 * 2 * 30 / 200.0, 1e-3);
    EXPECT_EQ(ht.Value, height);
    r.HandleInteraction(INTER_RELEASE, 0, 0);
    r.width = 0.25f;
    r.HandleInteraction(INTER_DRAG, 10, 10);
    EXPECT_FLOAT_EQ(w.Value, 25);
    EXPECT_EQ(std::vector<int>(Updates().begin() + long(before), Updates().end()),
              (std::vector<int>{43, 43}));
}

}  // namespace
