// The rasteriser's coverage, mask layout and blend, checked against values worked out by hand and
// against the independent reference of render_fixture.h.
#include "render_fixture.h"

namespace {

std::vector<tagPOS> Poly(const std::vector<Pt>& v)
{
    std::vector<tagPOS> out;
    for (const Pt& p : v) out.push_back(tagPOS{(float)p.x, (float)p.y, 0.0f});
    return out;
}

}  // namespace

using RasterTest = RenderTest;

// A 5x5-pixel square from (2.5, 2.5) to (7.5, 7.5): supersamples 20..59 in both axes, so the mask
// is 39 wide and 39 high (one short), fully set, and holds four whole blocks each way starting at
// pixel 20 / 8 = 2. Pixels 2..5 get full coverage; nothing else changes.
TEST_F(RasterTest, FullyCoveredBlocksTakeTheExactColourAndOpaqueAlpha)
{
    tagPART p = Particle(20000, 1234, 32767);
    auto v = Poly({{2.5, 2.5}, {7.5, 2.5}, {7.5, 7.5}, {2.5, 7.5}});
    vesk->concave_d(4, v.data(), &p, 0);
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; ++x) {
            if (x >= 2 && x <= 5 && y >= 2 && y <= 5)
                ExpectPixel(layer(), x, y, 20000, 1234, 32767, 32767);
            else
                ExpectPixel(layer(), x, y, 0, 0, 0, 0);
        }
    }
    // The vertices were scaled in place to supersamples.
    EXPECT_FLOAT_EQ(v[1].x, 60.0f);
    EXPECT_FLOAT_EQ(v[2].y, 60.0f);
}

TEST_F(RasterTest, PolygonsNarrowerOrShorterThanOnePixelDrawNothing)
{
    tagPART p = Particle(30000, 30000, 30000);
    // 0.875 pixels wide: supersamples 20..26, w = 6.
    auto narrow = Poly({{2.5, 2.5}, {3.375, 2.5}, {3.375, 9.5}, {2.5, 9.5}});
    vesk->concave_d(4, narrow.data(), &p, 0);
    // One pixel wide (8 supersamples, w = 7) is still short of a whole block.
    auto one = Poly({{2.5, 2.5}, {3.5, 2.5}, {3.5, 9.5}, {2.5, 9.5}});
    vesk->concave_d(4, one.data(), &p, 0);
    // Wide but one pixel high.
    auto flat = Poly({{2.5, 12.5}, {20.5, 12.5}, {20.5, 13.5}, {2.5, 13.5}});
    vesk->concave_d(4, flat.data(), &p, 0);
    // No vertices at all.
    vesk->concave_d(0, nullptr, &p, 0);
    EXPECT_TRUE(IsClear(layer()));
}

// Square from x = -1.5 to 3.5 (supersamples -12..27): the mask origin -12 / 8 truncates to -1,
// not -2, so the four full blocks land on pixels -1..2; column 2 is drawn and -1 is cut off.
TEST_F(RasterTest, NegativeOriginTruncatesTowardZero)
{
    tagPART p = Particle(10000, 20000, 30000);
    auto v = Poly({{-1.5, 4.5}, {3.5, 4.5}, {3.5, 9.5}, {-1.5, 9.5}});
    vesk->concave_d(4, v.data(), &p, 0);
    for (int y = 4; y <= 7; ++y) {
        for (int x = 0; x <= 2; ++x) ExpectPixel(layer(), x, y, 10000, 20000, 30000, 32767);
        ExpectPixel(layer(), 3, y, 0, 0, 0, 0);
    }
    ExpectPixel(layer(), 0, 3, 0, 0, 0, 0);
    ExpectPixel(layer(), 0, 8, 0, 0, 0, 0);
}

// A right triangle whose hypotenuse runs through the supersamples: blocks along it are partly
// covered. Checked against the reference, and by hand on the diagonal: pixel (4, 5) holds the
// samples 32..39 x 40..47 whose centres satisfy x + y <= 80, i.e. 36 of 64.
TEST_F(RasterTest, PartialCoverageCountsTheSamplesInside)
{
    tagPART p = Particle(32767, 16384, 0);
    std::vector<Pt> tri = {{1.0, 1.0}, {9.0, 1.0}, {1.0, 9.0}};
    const float colour[3] = {32767, 16384, 0};
    auto want = ReferenceLayer(tri, colour, layer(), 1.0f);
    auto v = Poly(tri);
    vesk->concave_d(3, v.data(), &p, 0);
    ExpectLayer(layer(), want);
    ExpectPixel(layer(), 1, 1, 32767, 16384, 0, 32767);
    ExpectPixel(layer(), 4, 4, 32767, 16384, 0, 32767);
    const int a = 36 * 512;  // 36 / 64 of 32768
    ExpectPixel(layer(), 4, 5, (32767 * a) >> 15, (16384 * a) >> 15, 0, (a * 32767) >> 15);
    ExpectPixel(layer(), 5, 5, 0, 0, 0, 0);
}

// The mask is one column short: on a triangle with its vertical edge on the right, every row's
// rightmost sample spills into column 0 of the next mask row. The left column of blocks then
// gains 8 samples per block (one per row) although the polygon does not reach it: pixel (1, 1)
// holds 36 samples of its own plus 7 spilled ones, pixels (1, 2) .. (1, 7) hold 8 spilled ones.
TEST_F(RasterTest, TheRightmostColumnSpillsIntoTheNextMaskRow)
{
    tagPART p = Particle(32767, 32767, 32767);
    auto v = Poly({{1.0, 1.0}, {9.0, 1.0}, {9.0, 9.0}});
    vesk->concave_d(3, v.data(), &p, 0);
    const int a43 = 43 * 512, a8 = 8 * 512;
    const int c43 = (32767 * a43) >> 15, c8 = (32767 * a8) >> 15;
    ExpectPixel(layer(), 1, 1, c43, c43, c43, c43);
    for (int y = 2; y <= 7; ++y) ExpectPixel(layer(), 1, y, c8, c8, c8, c8);
    // The last spanned row is dropped and only 7 whole block rows exist: row 8 stays clear.
    for (int x = 0; x < kW; ++x) ExpectPixel(layer(), x, 8, 0, 0, 0, 0);
    // Right of the diagonal the blocks are full.
    ExpectPixel(layer(), 7, 2, 32767, 32767, 32767, 32767);
}

// A concave polygon (a "U"): two spans on the rows through the arms, one below.
TEST_F(RasterTest, ConcavePolygonsFillBetweenEdgePairs)
{
    tagPART p = Particle(5000, 6000, 7000);
    std::vector<Pt> u = {{2, 2}, {6, 2}, {6, 10}, {14, 10}, {14, 2}, {18, 2}, {18, 14}, {2, 14}};
    const float colour[3] = {5000, 6000, 7000};
    auto want = ReferenceLayer(u, colour, layer(), 1.0f);
    auto v = Poly(u);
    vesk->concave_d((int)v.size(), v.data(), &p, 0);
    ExpectLayer(layer(), want);
    // Inside the notch nothing is drawn; inside both arms everything is.
    ExpectPixel(layer(), 9, 5, 0, 0, 0, 0);
    ExpectPixel(layer(), 3, 5, 5000, 6000, 7000, 32767);
    ExpectPixel(layer(), 15, 5, 5000, 6000, 7000, 32767);
}

// Two vertices on the same sample interval: the horizontal edge between them is never active and
// the fill stays closed.
TEST_F(RasterTest, HorizontalEdgesNeedNoActiveEdge)
{
    tagPART p = Particle(100, 200, 300);
    std::vector<Pt> trap = {{3, 3}, {12, 3}, {15, 11}, {1, 11}};
    const float colour[3] = {100, 200, 300};
    auto want = ReferenceLayer(trap, colour, layer(), 1.0f);
    auto v = Poly(trap);
    vesk->concave_d(4, v.data(), &p, 0);
    ExpectLayer(layer(), want);

    // Vertices exactly on sample heights (y = 8.5 and 48.5 supersamples) start their edges on
    // that very scan line.
    Wire(kW, kH);
    std::vector<Pt> on = {{1.0625, 1.0625}, {9.0625, 1.0625}, {17.0625, 6.0625}, {1.0625, 6.0625}};
    auto want2 = ReferenceLayer(on, colour, layer(), 1.0f);
    auto v2 = Poly(on);
    vesk->concave_d(4, v2.data(), &p, 0);
    ExpectLayer(layer(), want2);
}

TEST_F(RasterTest, BlendIsPremultipliedOverWithDensityAndClamps)
{
    tagPART p = Particle(20000, 10000, 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) layer()->rows[y][x] = PixelQ4(8000, 8000, 8000, 16000);

    // Density 0.5: full blocks get a = 16384, and (c * a + d * 16384) >> 15 = (c + d) / 2.
    vesk->set->density = 0.5f;
    auto v = Poly({{2.5, 2.5}, {7.5, 2.5}, {7.5, 7.5}, {2.5, 7.5}});
    vesk->concave_d(4, v.data(), &p, 0);
    ExpectPixel(layer(), 3, 3, 14000, 9000, 4000, (16384 * 32767 + 16000 * 16384) >> 15);
    ExpectPixel(layer(), 8, 8, 8000, 8000, 8000, 16000);

    // Density 0 leaves every channel as it was: (d * 32768) >> 15 = d.
    vesk->set->density = 0.0f;
    auto v2 = Poly({{10.5, 2.5}, {15.5, 2.5}, {15.5, 7.5}, {10.5, 7.5}});
    vesk->concave_d(4, v2.data(), &p, 0);
    ExpectPixel(layer(), 12, 3, 8000, 8000, 8000, 16000);

    // Density 1.5: a = 49152, so 32768 - a is negative; red 20000 * 1.5 - 8000 * 0.5 = 26000,
    // green 11000, blue 0 - 4000 clamps to 0, alpha 49150 - 8000 = 41150 clamps to 32767.
    vesk->set->density = 1.5f;
    auto v3 = Poly({{18.5, 2.5}, {23.5, 2.5}, {23.5, 7.5}, {18.5, 7.5}});
    vesk->concave_d(4, v3.data(), &p, 0);
    ExpectPixel(layer(), 20, 3, 26000, 11000, 0, 32767);
}

TEST_F(RasterTest, ShapesOverColsTakeTheColourClipAtTheSamePixel)
{
    tagPART p = Particle(1, 2, 3);
    ImageQ4* clip = vesk->set->source2;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            clip->rows[y][x] = PixelQ4((unsigned short)(x * 1000), (unsigned short)(y * 100), 777, 0);
    vesk->set->shapes_over_cols = 1;
    auto v = Poly({{2.5, 2.5}, {7.5, 2.5}, {7.5, 7.5}, {2.5, 7.5}});
    vesk->concave_d(4, v.data(), &p, 0);
    ExpectPixel(layer(), 2, 3, 2000, 300, 777, 32767);
    ExpectPixel(layer(), 5, 4, 5000, 400, 777, 32767);
}

// Each band draws into its own layer through its own scan slot.
TEST_F(RasterTest, TheBandSelectsTheLayer)
{
    tagPART p = Particle(9000, 9000, 9000);
    auto v = Poly({{2.5, 2.5}, {7.5, 2.5}, {7.5, 7.5}, {2.5, 7.5}});
    vesk->concave_d(4, v.data(), &p, 2);
    EXPECT_TRUE(IsClear(layer(0)));
    EXPECT_TRUE(IsClear(layer(1)));
    EXPECT_TRUE(IsClear(layer(3)));
    ExpectPixel(layer(2), 4, 4, 9000, 9000, 9000, 32767);
}

