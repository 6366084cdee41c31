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

TEST_F(Primitives, ColourAndHandle) {
    o.SetColour(65535, 32767, 13107, 0);   // alpha plays no part
    auto c = glrec::Named("glColor3f");
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c[0].args, (std::vector<double>{1.0f, 32767.0f / 65535.0f, 0.2f}));

    // At zoom 2 the 10-pixel handle spans 5 image pixels, selected or not.
    o.SetOverlayGeometry(2.0f, 1.0f, 1.0f, 200, 100);
    o.DrawHandle(50.0f, 40.0f, false);
    o.DrawHandle(50.0f, 40.0f, true);
    auto p = glrec::Primitives();
    ASSERT_EQ(p.size(), 2u);
    for (const auto& h : p) {
        EXPECT_EQ(h.mode, unsigned(GL_POLYGON));
        ASSERT_EQ(h.v.size(), 4u);
        const float ex[4] = {47.5f, 52.5f, 52.5f, 47.5f}, ey[4] = {37.5f, 37.5f, 42.5f, 42.5f};
        for (int i = 0; i < 4; ++i) EXPECT_TRUE(h.v[i].x == ex[i] && h.v[i].y == ey[i]) << i;
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
    o.DrawLineDotted(0, 0, 30, 40, 10);   // dashes of 10 along a 3-4-5 diagonal
    s = glrec::Segments();
    ASSERT_EQ(s.size(), 2u);
    ExpectSegment(s[1], 18, 24, 24, 32);

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

    glrec::Clear();   // dotted: only the odd-numbered lines, and the closing one
    o.DrawEllipse(100, 50, 100, 100, 0, 1, 4, 0, 360);
    EXPECT_EQ(int(glrec::Segments().size()), points / 2 + 1);

    glrec::Clear();   // the step never exceeds 36 degrees: 11 points
    o.DrawEllipse(0, 0, 6, 6, 0, 0, 10, 0, 360);
    EXPECT_EQ(glrec::Segments().size(), 12u);

    glrec::Clear();   // turned 90 degrees: the point at angle 0 lies half the width below
    o.DrawEllipse(10, 20, 100, 50, 90, 0, 4, 0, 90);
    s = glrec::Segments();
    EXPECT_NEAR(s[0].x0, 10, 1e-3);
    EXPECT_NEAR(s[0].y0, 70, 1e-3);
    EXPECT_EQ(int(s.size()), int(std::floor(90.0 / step)) + 1);   // an arc is not closed
}

TEST_F(Primitives, RectangleUsesThePixelAspect) {
    o.SetOverlayGeometry(1.0f, 2.0f, 1.0f, 200, 100);   // k = 2
    o.DrawRectangle(100, 100, 40, 20, 0, 0, 0);
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 4u);
    // The height is divided by k before the turn and the turned y offsets multiplied by it.
    ExpectSegment(s[0], 120, 110, 120, 90);
    ExpectSegment(s[1], 120, 90, 80, 90);
    ExpectSegment(s[2], 80, 90, 80, 110);
    ExpectSegment(s[3], 80, 110, 120, 110);

    glrec::Clear();   // a quarter turn takes the (+, +) offset (20, 5) to (-5, 20 k)
    o.DrawRectangle(100, 100, 40, 20, 90, 0, 0);
    EXPECT_NEAR(glrec::Segments()[0].x0, 95, 1e-3);
    EXPECT_NEAR(glrec::Segments()[0].y0, 140, 1e-3);

    glrec::Clear();   // dotted: edges 40 long give two dashes of 10 each
    o.SetOverlayGeometry(1.0f, 1.0f, 1.0f, 200, 100);
    o.DrawRectangle(50, 50, 40, 40, 0, 1, 10);
    EXPECT_EQ(glrec::Segments().size(), 8u);
}

TEST_F(Primitives, CrosshairArmsKeepTheirScreenSize) {
    o.SetOverlayGeometry(2.0f, 1.0f, 1.0f, 200, 100);
    o.DrawCrosshair(50, 50, 1);
    auto s = glrec::Segments();
    ASSERT_EQ(s.size(), 8u);
    // At zoom 2 the arms run from 5 to 12.5 image pixels out; diagonals from 2.5 to 6.25.
    ExpectSegment(s[0], 55, 50, 62.5f, 50);
    ExpectSegment(s[1], 45, 50, 37.5f, 50);
    ExpectSegment(s[2], 50, 55, 50, 62.5f);
    ExpectSegment(s[3], 50, 45, 50, 37.5f);
    for (size_t i = 4; i < 8; ++i) {
        EXPECT_NEAR(std::fabs(s[i].x0 - 50), 2.5, 1e-4);
        EXPECT_NEAR(std::fabs(s[i].y1 - 50), 6.25, 1e-4);
    }
}

TEST_F(Primitives, ArrowBarbsRunBackTowardsTheTail) {
    // In every quadrant: two barbs of 40 screen pixels, 20 degrees either side of the direction
    // from the head to the tail.
    const float tails[][2] = {{10, 0}, {10, 10}, {-10, 10}, {-10, -10}, {10, -10}, {0, -10}};
    for (const auto& t : tails) {
        glrec::Clear();
        o.DrawArrow(0, 0, t[0], t[1]);
        auto s = glrec::Segments();
        ASSERT_EQ(s.size(), 2u);
        double off[2];
        for (int i = 0; i < 2; ++i) {
            EXPECT_NEAR(std::hypot(s[i].x1 - s[i].x0, s[i].y1 - s[i].y0), 40, 1e-3);
            off[i] = std::remainder(std::atan2(s[i].y1, s[i].x1) - std::atan2(t[1], t[0]), 2 * kPi);
        }
        EXPECT_NEAR(std::fabs(off[0]) * 180 / kPi, 20, 1e-3) << t[0] << "," << t[1];
        EXPECT_NEAR(off[0] + off[1], 0, 1e-5) << t[0] << "," << t[1];
    }
}

TEST_F(Primitives, TextStrokesStayInTheirCells) {
    o.DrawText(20, 50, "H1", 12, 0, 0);   // cap height 12: glyphs 8 wide, 12 apart
    auto s = glrec::Segments();
    ASSERT_FALSE(s.empty());
    for (const auto& g : s)
        for (auto [x, y] : {std::pair{g.x0, g.y0}, std::pair{g.x1, g.y1}}) {
            EXPECT_TRUE(x >= 20 && x <= 40 && y >= 38 && y <= 50) << x << "," << y;
        }
    glrec::Clear();
    o.DrawText(100, 50, "0", 12, 0, 2);   // right-aligned on x
    float right = 0;
    for (const auto& g : glrec::Segments()) right = std::max({right, g.x0, g.x1});
    EXPECT_NEAR(right, 100, 1e-3);
}

}  // namespace
