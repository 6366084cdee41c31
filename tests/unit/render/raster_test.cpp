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

std::vector<Pt> Square(double x0, double y0, double x1, double y1)
{
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

}  // namespace

using RasterTest = RenderTest;

// A 5x5-pixel square from (2.5, 2.5) to (7.5, 7.5): supersamples 20..59 in both axes, so the mask
// is 39 x 39 (one short), fully set, four whole blocks each way from pixel 20 / 8 = 2. Pixels
// 2..5 get coverage 32768: the exact colour and alpha (32768 * 32767) >> 15 = 32767. Band 2 draws
// into layer 2 only.
TEST_F(RasterTest, FullyCoveredBlocksTakeTheExactColourAndOpaqueAlpha)
{
    tagPART p = Particle(20000, 1234, 32767);
    auto v = Poly(Square(2.5, 2.5, 7.5, 7.5));
    vesk->concave_d(4, v.data(), &p, 2);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const bool in = x >= 2 && x <= 5 && y >= 2 && y <= 5;
            ExpectPixel(layer(2), x, y, in ? 20000 : 0, in ? 1234 : 0, in ? 32767 : 0, in ? 32767 : 0);
        }
    EXPECT_FLOAT_EQ(v[1].x, 60.0f);  // vertices scaled in place to supersamples
    EXPECT_TRUE(IsClear(layer(0)) && IsClear(layer(1)) && IsClear(layer(3)));
}

// w or h below 8 leaves no whole 8x8 block: 0.875 px wide (w = 6), 1 px wide (w = 7), 1 px high,
// and no vertices at all.
TEST_F(RasterTest, PolygonsNarrowerOrShorterThanOnePixelDrawNothing)
{
    tagPART p = Particle(30000, 30000, 30000);
    for (const auto& sq : {Square(2.5, 2.5, 3.375, 9.5), Square(2.5, 2.5, 3.5, 9.5), Square(2.5, 12.5, 20.5, 13.5)}) {
        auto v = Poly(sq);
        vesk->concave_d(4, v.data(), &p, 0);
    }
    vesk->concave_d(0, nullptr, &p, 0);
    EXPECT_TRUE(IsClear(layer()));
}

// Square from x = -1.5 to 3.5 (supersamples -12..27): the mask origin -12 / 8 truncates to -1,
// not -2, so the four full blocks land on pixels -1..2; column 2 is drawn and 3 is not.
TEST_F(RasterTest, NegativeOriginTruncatesTowardZero)
{
    tagPART p = Particle(10000, 20000, 30000);
    auto v = Poly(Square(-1.5, 4.5, 3.5, 9.5));
    vesk->concave_d(4, v.data(), &p, 0);
    for (int y = 4; y <= 7; ++y) {
        for (int x = 0; x <= 2; ++x) ExpectPixel(layer(), x, y, 10000, 20000, 30000, 32767);
        ExpectPixel(layer(), 3, y, 0, 0, 0, 0);
    }
    ExpectPixel(layer(), 0, 3, 0, 0, 0, 0);
    ExpectPixel(layer(), 0, 8, 0, 0, 0, 0);
}

// Right triangles whose hypotenuse cuts the blocks. By hand: pixel (4, 5) holds samples
// 32..39 x 40..47 whose centres satisfy x + y <= 80, i.e. 36 of 64. The mask is one column short:
// with the vertical edge on the right, each row's rightmost sample spills into column 0 of the
// next mask row. Pixel (1, 1) then holds 36 samples of its own plus 7 spilled ones, pixels
// (1, 2) .. (1, 7) 8 spilled ones; the last spanned row is dropped.
TEST_F(RasterTest, PartialCoverageAndTheColumnSpillingIntoTheNextMaskRow)
{
    tagPART p = Particle(32767, 16384, 0);
    std::vector<Pt> tri = {{1.0, 1.0}, {9.0, 1.0}, {1.0, 9.0}};
    const float colour[3] = {32767, 16384, 0};
    auto want = ReferenceLayer(tri, colour, layer());
    auto v = Poly(tri);
    vesk->concave_d(3, v.data(), &p, 0);
    ExpectLayer(layer(), want);
    const int a = 36 * 512;
    ExpectPixel(layer(), 4, 5, (32767 * a) >> 15, (16384 * a) >> 15, 0, (a * 32767) >> 15);
    ExpectPixel(layer(), 5, 5, 0, 0, 0, 0);

    Wire(kW, kH);
    tagPART white = Particle(32767, 32767, 32767);
    auto r = Poly({{1.0, 1.0}, {9.0, 1.0}, {9.0, 9.0}});
    vesk->concave_d(3, r.data(), &white, 0);
    const int c43 = (32767 * 43 * 512) >> 15, c8 = (32767 * 8 * 512) >> 15;
    ExpectPixel(layer(), 1, 1, c43, c43, c43, c43);
    for (int y = 2; y <= 7; ++y) ExpectPixel(layer(), 1, y, c8, c8, c8, c8);
    for (int x = 0; x < kW; ++x) ExpectPixel(layer(), x, 8, 0, 0, 0, 0);
    ExpectPixel(layer(), 7, 2, 32767, 32767, 32767, 32767);
}

// A concave "U" (two spans per row through the arms), a trapezoid with horizontal edges, and
// one whose vertices sit exactly on sample heights (8.5 and 48.5 supersamples).
TEST_F(RasterTest, ConcaveAndHorizontalEdgesMatchTheReference)
{
    tagPART p = Particle(5000, 6000, 7000);
    const float colour[3] = {5000, 6000, 7000};
    const std::vector<std::vector<Pt>> polys = {
        {{2, 2}, {6, 2}, {6, 10}, {14, 10}, {14, 2}, {18, 2}, {18, 14}, {2, 14}},
        {{3, 3}, {12, 3}, {15, 11}, {1, 11}},
        {{1.0625, 1.0625}, {9.0625, 1.0625}, {17.0625, 6.0625}, {1.0625, 6.0625}}};
    for (const auto& poly : polys) {
        Wire(kW, kH);
        auto want = ReferenceLayer(poly, colour, layer());
        auto v = Poly(poly);
        vesk->concave_d((int)v.size(), v.data(), &p, 0);
        ExpectLayer(layer(), want);
    }
    Wire(kW, kH);
    auto u = Poly(polys[0]);
    vesk->concave_d(8, u.data(), &p, 0);
    ExpectPixel(layer(), 9, 5, 0, 0, 0, 0);  // inside the notch
    ExpectPixel(layer(), 3, 5, 5000, 6000, 7000, 32767);
}

// Full blocks over a layer of (8000, 8000, 8000, 16000) at several densities, and with the
// colour taken from the colour clip at the same pixel.
TEST_F(RasterTest, BlendIsPremultipliedOverWithDensityAndClamps)
{
    tagPART p = Particle(20000, 10000, 0);
    FillImage(layer(), PixelQ4(8000, 8000, 8000, 16000));
    struct Case {
        float density;
        int x;
        int r, g, b, a;
    };
    const Case cases[] = {
        // a = 16384: (c + d) / 2; alpha (16384 * 32767 + 16000 * 16384) >> 15.
        {0.5f, 2, 14000, 9000, 4000, (16384 * 32767 + 16000 * 16384) >> 15},
        // a = 0 keeps every channel: (d * 32768) >> 15 = d.
        {0.0f, 10, 8000, 8000, 8000, 16000},
        // a = 49152, 32768 - a < 0: red 30000 - 4000, green 15000 - 4000, blue -4000 -> 0,
        // alpha 49150 - 8000 -> 32767.
        {1.5f, 18, 26000, 11000, 0, 32767},
    };
    for (const Case& c : cases) {
        vesk->set->density = c.density;
        auto v = Poly(Square(c.x + 0.5, 2.5, c.x + 5.5, 7.5));
        vesk->concave_d(4, v.data(), &p, 0);
        ExpectPixel(layer(), c.x + 1, 3, c.r, c.g, c.b, c.a);
    }
    ExpectPixel(layer(), 8, 8, 8000, 8000, 8000, 16000);

    Wire(kW, kH);
    ImageQ4* clip = vesk->set->source2;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) clip->rows[y][x] = PixelQ4((unsigned short)(x * 1000), (unsigned short)(y * 100), 777, 0);
    vesk->set->shapes_over_cols = 1;
    auto v = Poly(Square(2.5, 2.5, 7.5, 7.5));
    vesk->concave_d(4, v.data(), &p, 0);
    ExpectPixel(layer(), 2, 3, 2000, 300, 777, 32767);
    ExpectPixel(layer(), 5, 4, 5000, 400, 777, 32767);
}

// The active edges are sorted by n passes that swap neighbours whose x is equal or greater, so
// equal positions trade places on every pass: with two equal edges, an even count of passes (n
// edges) leaves them as they came, an odd count swaps them. Ordered edges stay as they are.
TEST_F(RasterTest, ActiveEdgeSortSwapsEqualPositionsOnEveryPass)
{
    auto order = [&](std::vector<double> xs) {
        std::vector<EDGE> edges;
        for (size_t k = 0; k < xs.size(); ++k) edges.push_back(EDGE{xs[k], 0.0, (int)k});
        vesk->sort_act(edges.data(), (int)edges.size());
        std::vector<int> ids;
        for (const EDGE& e : edges) ids.push_back(e.i);
        return ids;
    };
    EXPECT_EQ(order({1.0, 2.0, 3.0, 4.0}), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(order({4.0, 3.0, 2.0, 1.0}), (std::vector<int>{3, 2, 1, 0}));
    EXPECT_EQ(order({5.0, 5.0}), (std::vector<int>{0, 1}));        // two passes: swapped twice
    EXPECT_EQ(order({5.0, 5.0, 9.0}), (std::vector<int>{1, 0, 2}));  // three passes
    EXPECT_EQ(order({1.0, 5.0, 5.0, 9.0}), (std::vector<int>{0, 1, 2, 3}));
}
