// Every polygon shape at a known position and size, compared pixel by pixel with the reference
// coverage of its vertex list; culling, heading and the rotation family.
#include <cmath>

#include "effect/Shapes.h"
#include "render_fixture.h"

using ShapesTest = RenderTest;

namespace {

const float kColour[3] = {24000, 12000, 3000};

}  // namespace

// hx = 9 / 2 + 0.5 = 4.5, hy = 7 / 2 + 0.5 = 3.5 around (10, 9).
TEST_F(ShapesTest, Rectangle)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    auto want = ReferenceLayer({{5.5, 12.5}, {14.5, 12.5}, {14.5, 5.5}, {5.5, 5.5}}, kColour, layer(), 1);
    vesk->draw_square(10, 9, 9, 7, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    // By hand: supersamples 44..115 across, 44..99 down; origin 44 / 8 = 5 and 8 full blocks
    // across (w = 71), 6 down (h = 55); the first block column holds samples 44..51, which are
    // all inside, so pixels 5..12 x 5..10 are solid.
    ExpectPixel(layer(), 5, 5, 24000, 12000, 3000, 32767);
    ExpectPixel(layer(), 12, 10, 24000, 12000, 3000, 32767);
    ExpectPixel(layer(), 13, 10, 0, 0, 0, 0);
    ExpectPixel(layer(), 12, 11, 0, 0, 0, 0);
}

// rx = 5, ry = 6: tip (cx + 7.5, cy), base at cx - 2.5.
TEST_F(ShapesTest, Triangle)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    auto want = ReferenceLayer({{19.5, 11}, {9.5, 17}, {9.5, 5}}, kColour, layer(), 1);
    vesk->draw_triangle(12, 11, 10, 12, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    ExpectPixel(layer(), 11, 10, 24000, 12000, 3000, 32767);
}

// rx = 4, ry = 5: points reach 1.5 times the radii.
TEST_F(ShapesTest, Diamond)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    auto want = ReferenceLayer({{18, 11}, {12, 18.5}, {6, 11}, {12, 3.5}}, kColour, layer(), 1);
    vesk->draw_diamond(12, 11, 8, 10, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    ExpectPixel(layer(), 11, 10, 24000, 12000, 3000, 32767);
}

TEST_F(ShapesTest, FourPointStar)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    const double cx = 14, cy = 11, rx = 8, ry = 7, k = 0.5, q = 0.7071;
    std::vector<Pt> v = {{cx, cy + ry},
                         {cx + k * rx * q, cy + k * ry * q},
                         {cx + rx, cy},
                         {cx + k * rx * q, cy - k * ry * q},
                         {cx, cy - ry},
                         {cx - k * rx * q, cy - k * ry * q},
                         {cx - rx, cy},
                         {cx - k * rx * q, cy + k * ry * q}};
    auto want = ReferenceLayer(v, kColour, layer(), 1);
    vesk->draw_star4pt(14, 11, 16, 14, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    ExpectPixel(layer(), 13, 10, 24000, 12000, 3000, 32767);  // the centre is solid
    ExpectPixel(layer(), 18, 14, 0, 0, 0, 0);                  // between two points
}

TEST_F(ShapesTest, FivePointStarAtTwoSharpnesses)
{
    for (double k : {0.5, 0.2}) {
        layer()->Fill(0, 0, 0, 0);
        vesk->set->star_sharpness = (float)k;
        tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
        const double cx = 14, cy = 11, X = 9, Y = 8;
        std::vector<Pt> v = {{cx, cy + Y},
                             {cx + k * X * 0.5878, cy + k * Y * 0.809},
                             {cx + X * 0.95106, cy + Y * 0.30902},
                             {cx + k * X * 0.95105, cy - k * Y * 0.309},
                             {cx + X * 0.58778, cy - Y * 0.80902},
                             {cx, cy - k * Y},
                             {cx - X * 0.58778, cy - Y * 0.80902},
                             {cx - k * X * 0.95105, cy - k * Y * 0.309},
                             {cx - X * 0.95106, cy + Y * 0.30902},
                             {cx - k * X * 0.5878, cy + k * Y * 0.809}};
        auto want = ReferenceLayer(v, kColour, layer(), 1);
        vesk->draw_star5pt(14, 11, 18, 16, 0, kH - 1, &p, 0);
        ExpectLayer(layer(), want);
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

// The culling radius is the plain half size: a diamond of half size 4 whose centre is 5 pixels
// left of the frame is skipped although its tip (1.5 x 4 = 6) would reach column 0.
TEST_F(ShapesTest, CullingUsesThePlainHalfSize)
{
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    vesk->draw_diamond(-5, 10, 8, 8, 0, kH - 1, &p, 0);
    vesk->draw_diamond(10, kH - 1 + 4, 8, 8, 0, kH - 1, &p, 0);  // cy - r = y1: skipped too
    vesk->draw_diamond(kW + 4, 10, 8, 8, 0, kH - 1, &p, 0);       // cx - r = width: skipped
    EXPECT_TRUE(IsClear(layer()));

    // One pixel further in, the tip is drawn.
    auto want = ReferenceLayer({{2, 10}, {-4, 16}, {-10, 10}, {-4, 4}}, kColour, layer(), 1);
    vesk->draw_diamond(-4, 10, 8, 8, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
    EXPECT_FALSE(IsClear(layer()));
}

TEST_F(ShapesTest, HeadingAngleWithLivingRotate)
{
    tagPART p = Particle(0, 0, 0);
    vesk->set->base_rotation = 30.0f;
    p.heading[0] = 0.0f;
    p.heading[1] = 1.0f;
    EXPECT_FLOAT_EQ(vesk->shape_angle(&p), 30.0f);  // off: the base rotation alone
    vesk->set->living_rotate = 1;
    EXPECT_FLOAT_EQ(vesk->shape_angle(&p), 300.0f);  // straight down the image: 270
    p.heading[1] = -1.0f;
    EXPECT_FLOAT_EQ(vesk->shape_angle(&p), 120.0f);  // straight up: 90
    p.heading[0] = 1.0f;
    p.heading[1] = 0.0f;
    EXPECT_FLOAT_EQ(vesk->shape_angle(&p), 30.0f);
    p.heading[0] = -1.0f;
    EXPECT_FLOAT_EQ(vesk->shape_angle(&p), 210.0f);
}

// With Living Rotate and a heading straight down, the triangle's tip points down the image.
TEST_F(ShapesTest, TriangleTurnsToItsHeading)
{
    vesk->set->living_rotate = 1;
    tagPART p = Particle(kColour[0], kColour[1], kColour[2]);
    p.heading[1] = 1.0f;
    const double cx = 12, cy = 8, rx = 4, ry = 4;
    auto want = ReferenceLayer({{cx, cy + 1.5 * rx}, {cx - ry, cy - 0.5 * rx}, {cx + ry, cy - 0.5 * rx}},
                               kColour, layer(), 1);
    vesk->draw_triangle(12, 8, 8, 8, 0, kH - 1, &p, 0);
    ExpectLayer(layer(), want);
}

TEST(Rotation, TurnsCounterClockwiseOnTheImageAboutTheCentre)
{
    // A positive angle turns +x toward -y (up the image).
    tagPOS r = Rotate(tagPOS{13, 7, 5}, 10, 7, 90.0f);
    EXPECT_NEAR(r.x, 10.0f, 1e-5);
    EXPECT_NEAR(r.y, 4.0f, 1e-5);
    EXPECT_EQ(r.z, 5.0f);
    tagPOS v = VRotate(tagPOS{13, 7, 5}, 10, 7, 90.0f);
    EXPECT_EQ(v.x, r.x);
    EXPECT_EQ(v.y, r.y);
    tagPOS h = Rotate(tagPOS{12, 9, 0}, 10, 7, 180.0f);
    EXPECT_NEAR(h.x, 8.0f, 1e-5);
    EXPECT_NEAR(h.y, 5.0f, 1e-5);
}

TEST(Rotation, AxisRotations)
{
    // (d, 0) turned in z by theta gives (d cos theta, -d sin theta).
    tagPOS z = RotateInZ(tagPOS{2, 0, 7}, 30.0f);
    EXPECT_NEAR(z.x, 2 * std::cos(M_PI / 6), 1e-6);
    EXPECT_NEAR(z.y, -2 * std::sin(M_PI / 6), 1e-6);
    EXPECT_EQ(z.z, 7.0f);
    tagPOS x = RotateInX(tagPOS{3, 1, 0}, 90.0f);
    EXPECT_EQ(x.x, 3.0f);
    EXPECT_NEAR(x.y, 0.0f, 1e-6);
    EXPECT_NEAR(x.z, -1.0f, 1e-6);
    tagPOS y = RotateInY(tagPOS{1, 4, 0}, 90.0f);
    EXPECT_NEAR(y.x, 0.0f, 1e-6);
    EXPECT_EQ(y.y, 4.0f);
    EXPECT_NEAR(y.z, 1.0f, 1e-6);
}

