// Every polygon shape at a known position and size, compared pixel by pixel with the reference
// coverage of its vertex list; culling and the heading angle.
#include <cmath>
#include <functional>

#include "effect/Shapes.h"
#include "render_fixture.h"

using ShapesTest = RenderTest;

namespace {

const float kColour[3] = {24000, 12000, 3000};

}  // namespace

// Each shape against its vertex list worked out from the radii, plus one pixel checked by hand
// to be solid (a) and one to be clear (b).
TEST_F(ShapesTest, EveryShapeFillsItsVertexList)
{
    using Draw = std::function<void(tagPART*)>;
    const double k = 0.5, q = 0.7071;
    struct Case {
        const char* name;
        Draw draw;
        std::vector<Pt> v;
        int ax, ay, bx, by;
    };
    // Star: centre (14, 11), rx = 8, ry = 7 (4 points); rx = 9, ry = 8 (5 points).
    auto star4 = [&](double cx, double cy, double X, double Y) {
        return std::vector<Pt>{{cx, cy + Y}, {cx + k * X * q, cy + k * Y * q}, {cx + X, cy},
                               {cx + k * X * q, cy - k * Y * q}, {cx, cy - Y}, {cx - k * X * q, cy - k * Y * q},
                               {cx - X, cy}, {cx - k * X * q, cy + k * Y * q}};
    };
    auto star5 = [&](double cx, double cy, double X, double Y) {
        return std::vector<Pt>{{cx, cy + Y}, {cx + k * X * 0.5878, cy + k * Y * 0.809},
                               {cx + X * 0.95106, cy + Y * 0.30902}, {cx + k * X * 0.95105, cy - k * Y * 0.309},
                               {cx + X * 0.58778, cy - Y * 0.80902}, {cx, cy - k * Y},
                               {cx - X * 0.58778, cy - Y * 0.80902}, {cx - k * X * 0.95105, cy - k * Y * 0.309},
                               {cx - X * 0.95106, cy + Y * 0.30902}, {cx - k * X * 0.5878, cy + k * Y * 0.809}};
    };
    const Case cases[] = {
        // hx = 9 / 2 + 0.5, hy = 7 / 2 + 0.5 around (10, 9): supersamples 44..115 x 44..99, origin
        // pixel 5, 8 whole blocks across and 6 down: pixels 5..12 x 5..10 solid, 13 and 11 clear.
        {"rectangle", [&](tagPART* p) { vesk->draw_square(10, 9, 9, 7, 0, kH - 1, p, 0); },
         {{5.5, 12.5}, {14.5, 12.5}, {14.5, 5.5}, {5.5, 5.5}}, 12, 10, 13, 10},
        // rx = 5, ry = 6: tip (cx + 7.5, cy), base at cx - 2.5.
        {"triangle", [&](tagPART* p) { vesk->draw_triangle(12, 11, 10, 12, 0, kH - 1, p, 0); },
         {{19.5, 11}, {9.5, 17}, {9.5, 5}}, 11, 10, 8, 10},
        // rx = 4, ry = 5: points at 1.5 times the radii.
        {"diamond", [&](tagPART* p) { vesk->draw_diamond(12, 11, 8, 10, 0, kH - 1, p, 0); },
         {{18, 11}, {12, 18.5}, {6, 11}, {12, 3.5}}, 11, 10, 7, 6},
        {"star4", [&](tagPART* p) { vesk->draw_star4pt(14, 11, 16, 14, 0, kH - 1, p, 0); },
         star4(14, 11, 8, 7), 13, 10, 18, 14},
        {"star5", [&](tagPART* p) { vesk->draw_star5pt(14, 11, 18, 16, 0, kH - 1, p, 0); },
         star5(14, 11, 9, 8), 13, 10, 20, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Wire(kW, kH);
        tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
        auto want = ReferenceLayer(c.v, kColour, layer());
        c.draw(&p);
        ExpectLayer(layer(), want);
        ExpectPixel(layer(), c.ax, c.ay, 24000, 12000, 3000, 32767);
        ExpectPixel(layer(), c.bx, c.by, 0, 0, 0, 0);
    }
}

// Sizes whose integer half is 0 give no polygon; the rectangle's half-extent 0.5 spans only 7
// supersample columns, short of one block.
TEST_F(ShapesTest, SizesBelowTwoDrawNothing)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    for (int s = 0; s <= 1; ++s) {
        vesk->draw_square(10, 10, s, 12, 0, kH - 1, &p, 0);
        vesk->draw_square(10, 10, 12, s, 0, kH - 1, &p, 0);
        vesk->draw_triangle(10, 10, s, s, 0, kH - 1, &p, 0);
        vesk->draw_diamond(10, 10, s, s, 0, kH - 1, &p, 0);
        vesk->draw_star4pt(10, 10, s, s, 0, kH - 1, &p, 0);
        vesk->draw_star5pt(10, 10, s, s, 0, kH - 1, &p, 0);
    }
    EXPECT_TRUE(IsClear(layer()));
}

// The culling radius is the plain half size: a diamond of half size 8 centred 9 pixels left of
// the frame is skipped although its tip (1.5 x 8 = 12) would cover columns 0 and 1; likewise
// cy - r = y1 and cx - r = width. One pixel further in, the tip is drawn.
TEST_F(ShapesTest, CullingUsesThePlainHalfSize)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    vesk->draw_diamond(-9, 10, 16, 16, 0, kH - 1, &p, 0);
    vesk->draw_diamond(10, kH - 1 + 4, 8, 8, 0, kH - 1, &p, 0);
    vesk->draw_diamond(kW + 4, 10, 8, 8, 0, kH - 1, &p, 0);
    EXPECT_TRUE(IsClear(layer()));
    auto want = ReferenceLayer({{4, 10}, {-8, 22}, {-20, 10}, {-8, -2}}, kColour, layer());
    vesk->draw_diamond(-8, 10, 16, 16, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    EXPECT_FALSE(IsClear(layer()));
}

// Heading angle: 0 along +x, 270 straight down the image, 90 straight up, added to the base
// rotation only with Living Rotate: theta = float(acos(hx) x 57.2957...), then 360 - theta and the
// sum with the base rotation in float. A particle just born has heading (0, 0): exactly 90.
// With a heading straight down the triangle's tip points down.
TEST_F(ShapesTest, HeadingAngleWithLivingRotate)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    vesk->set->base_rotation = 30.0f;
    p.heading[1] = 1.0f;
    EXPECT_EQ(vesk->shape_angle(&p), 30.0f);
    vesk->set->living_rotate = 1;
    EXPECT_EQ(vesk->shape_angle(&p), 300.0f);
    const struct {
        float base, hx, hy;
    } cases[] = {{30.0f, 0.0f, -1.0f},    {30.0f, -1.0f, 0.0f},   {0.01f, 0.0f, 0.0f},
                 {12.34f, -0.991f, 0.13f}, {12.34f, -0.99f, 0.14f}, {-200.5f, 0.6f, -0.8f}};
    for (const auto& c : cases) {
        float theta = (float)(std::acos((double)c.hx) * 57.29577950560105);
        if (c.hy > 0.0f) theta = 360.0f - theta;
        vesk->set->base_rotation = c.base;
        p.heading[0] = c.hx;
        p.heading[1] = c.hy;
        EXPECT_EQ(vesk->shape_angle(&p), c.base + theta) << c.hx << "," << c.hy;
    }
    p.heading[0] = p.heading[1] = 0.0f;
    vesk->set->base_rotation = 0.0f;
    EXPECT_EQ(vesk->shape_angle(&p), 90.0f);
    p.heading[1] = 1.0f;
    auto want = ReferenceLayer({{12, 14}, {8, 6}, {16, 6}}, kColour, layer());
    vesk->draw_triangle(12, 8, 8, 8, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
}

// Rotations are single precision apart from the conversion factor: t = float(a x 0.0174...),
// c = cosf(t), s = sinf(t), and float products. At 90 degrees the float t lies past pi / 2, so c
// is about -4.4e-8 (the double t gives -2e-10); the other angles are ones where rounding the
// double cosine or sine differs from the single-precision value.
TEST(Rotation, SinglePrecisionApartFromTheConversionFactor)
{
    for (float a : {90.0f, -90.0f, 60.0f, 180.0f, 12.34f, 123.45f, 359.99f}) {
        SCOPED_TRACE(a);
        const float t = (float)((double)a * 0.017453292522222223);
        const float c = cosf(t), s = sinf(t);
        const tagPOS unit = RotateInZ({1.0f, 0.0f, 0.0f}, a);  // (c, -s) exactly
        EXPECT_EQ(unit.x, c);
        EXPECT_EQ(unit.y, -s);

        const tagPOS p = {100.0f, 37.0f, -21.0f};
        const tagPOS r = Rotate(p, 60, -20, a), v = VRotate(p, 60, -20, a);  // dx = 40, dy = 57
        EXPECT_EQ(r.x, c * 40.0f + s * 57.0f + 60.0f);
        EXPECT_EQ(r.y, c * 57.0f - s * 40.0f - 20.0f);
        EXPECT_EQ(v.x, r.x);
        EXPECT_EQ(v.y, r.y);
        const tagPOS z = RotateInZ(p, a), x = RotateInX(p, a), y = RotateInY(p, a);
        EXPECT_EQ(z.x, c * 100.0f + s * 37.0f);
        EXPECT_EQ(z.y, c * 37.0f - s * 100.0f);
        EXPECT_EQ(x.y, s * -21.0f + c * 37.0f);
        EXPECT_EQ(x.z, c * -21.0f - s * 37.0f);
        EXPECT_EQ(y.x, c * 100.0f - s * -21.0f);
        EXPECT_EQ(y.z, c * -21.0f + s * 100.0f);
    }
}
