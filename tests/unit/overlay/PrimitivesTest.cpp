// Overlay primitives: what reaches OpenGL for each drawing call.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>

#include "GlRecorder.h"
#include "framework/OverlayQ4.h"

namespace {

const double kPi = 3.14159265358979323846;

class Primitives : public ::testing::Test {
protected:
    void SetUp() override {
        o.SetOverlayGeometry(1.0f, 1.0f, 1.0f, 200, 100);
        glrec::Clear();
    }
    OverlayQ4 o;
};

void ExpectSegment(const glrec::Segment& s, float x0, float y0, float x1, float y1) {
    EXPECT_NEAR(s.x0, x0, 1e-3);
    EXPECT_NEAR(s.y0, y0, 1e-3);
    EXPECT_NEAR(s.x1, x1, 1e-3);
    EXPECT_NEAR(s.y1, y1, 1e-3);
}

TEST_F(Primitives, HandleAndCrosshairKeepTheirScreenSizeAtZoomTwo) {
    o.SetOverlayGeometry(2.0f, 1.0f, 1.0f, 200, 100);
    o.DrawHandle(50.0f, 40.0f, true);   // the 10-pixel square spans 5 image pixels
    auto h = glrec::Primitives();
    ASSERT_EQ(h.size(), 1u);
    EXPECT_EQ(h[0].mode, unsigned(GL_POLYGON));
    ASSERT_EQ(h[0].v.size(), 4u);
    EXPECT_TRUE(h[0].v[0].x == 47.5f && h[0].v[0].y == 37.5f && h[0].v[2].x == 52.5f && h[0].v[2].y == 42.5f);

    glrec::Clear();
    o.DrawCrosshair(50, 50, 1);
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 8u);
    // Arms from 5 to 12.5 image pixels out; diagonals from 2.5 to 6.25.
    ExpectSegment(s[0], 55, 50, 62.5f, 50);
    ExpectSegment(s[1], 45, 50, 37.5f, 50);
    ExpectSegment(s[2], 50, 55, 50, 62.5f);
    ExpectSegment(s[3], 50, 45, 50, 37.5f);
    for (size_t i = 4; i < 8; ++i) {
        EXPECT_NEAR(std::fabs(s[i].x0 - 50), 2.5, 1e-4);
        EXPECT_NEAR(std::fabs(s[i].y1 - 50), 6.25, 1e-4);
    }
}

TEST_F(Primitives, DottedLineStartsWithAGapAndStopsAtTheEnd) {
    o.DrawLineDotted(0, 0, 20, 0, 10);   // two dashes long: one dash, middle to end
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 1u);
    ExpectSegment(s[0], 10, 0, 20, 0);

    glrec::Clear();
    o.DrawLineDotted(35, 0, 0, 0, 10);   // 3.5 dashes, backwards: the last is cut at the end
    s = glrec::Segments();
    ASSERT_EQ(s.size(), 2u);
    ExpectSegment(s[0], 25, 0, 15, 0);
    ExpectSegment(s[1], 5, 0, 0, 0);

    glrec::Clear();
    o.DrawLineDotted(5, 5, 5, 5, 4);
    EXPECT_TRUE(glrec::Calls().empty());
}

TEST_F(Primitives, Ellipse) {
    o.DrawEllipse(50, 50, 4, 80, 0, 0, 4, 0, 360);   // under 5 pixels: nothing
    EXPECT_TRUE(glrec::Calls().empty());

    // 100 wide with 4 divisions: steps of 360 / (100 pi / 4), about 4.58 degrees; one line per
    // point (the first joins the point to itself) and a closing one.
    o.DrawEllipse(100, 50, 100, 100, 0, 0, 4, 0, 360);
    const double step = 360.0 / (100.0 * kPi / 4.0);
    const int points = int(std::floor(360.0 / step)) + 1;
    auto s = glrec::Segments();
    ASSERT_EQ(int(s.size()), points + 1);
    ExpectSegment(s[0], 150, 50, 150, 50);
    EXPECT_NEAR(std::atan2(s[1].y1 - 50, s[1].x1 - 100) * 180 / kPi, step, 1e-3);
    const double last = step * (points - 1) * kPi / 180;
    ExpectSegment(s.back(), 150, 50, float(100 + 50 * std::cos(last)), float(50 + 50 * std::sin(last)));
}

TEST_F(Primitives, RectangleUsesThePixelAspect) {
    o.SetOverlayGeometry(1.0f, 2.0f, 1.0f, 200, 100);   // k = 2
    o.DrawRectangle(100, 100, 40, 20, 0, 0, 0);
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 4u);
    // The height is divided by k before the turn and the turned y offsets multiplied by it.
    ExpectSegment(s[0], 120, 110, 120, 90);
    ExpectSegment(s[2], 80, 90, 80, 110);
}

TEST_F(Primitives, ArrowHeadPointsAwayFromItsTailInEveryQuadrant) {
    o.SetOverlayGeometry(2.0f, 1.0f, 1.0f, 200, 100);   // barbs 40 screen pixels: 20 image pixels
    const float tails[][2] = {{130, 90}, {70, 90}, {70, 10}, {130, 10}, {100, 10}, {100, 90}};
    for (const auto& t : tails) {
        glrec::Clear();
        o.DrawArrow(100, 50, t[0], t[1]);
        // The barbs lie 20 degrees either side of the direction towards the tail, +20 first.
        const double dir = std::atan2(t[1] - 50.0, t[0] - 100.0);
        auto s = glrec::Segments();
        ASSERT_EQ(s.size(), 2u);
        for (int i = 0; i < 2; ++i) {
            const double a = dir + (i == 0 ? 20.0 : -20.0) * kPi / 180.0;
            ExpectSegment(s[i], 100, 50, float(100 + 20 * std::cos(a)), float(50 + 20 * std::sin(a)));
        }
    }
}

}  // namespace
