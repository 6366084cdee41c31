// The run-based polygon fill against the literal fill through the whole coverage mask, on random
// polygons: concave, with vertices on sample boundaries (so spans spill into the next mask row
// and the last row is dropped), at negative origins and past the far edges, at densities below
// and above 1, in the particle's colour and in the shape-colour clip's.
#include <cstring>

#include "framework/RandomQ4.h"
#include "render_fixture.h"
#include "tests/oracle/literal_raster.h"

using RasterOracleTest = RenderTest;

TEST_F(RasterOracleTest, RunBasedFillMatchesTheLiteralMaskOnRandomPolygons)
{
    Wire(41, 29);
    int seed = 2024;
    auto draw = [&](int range) { return randQ4(seed) % range; };
    for (int y = 0; y < 29; ++y)
        for (int x = 0; x < 41; ++x) {
            vesk->set->source2->rows[y][x] = PixelQ4(draw(32768), draw(32768), draw(32768), 0);
            layer(0)->rows[y][x] = layer(1)->rows[y][x] = PixelQ4(draw(20000), draw(20000), draw(20000), draw(32768));
        }
    const float densities[] = {1.0f, 0.37f, 1.6f, 2.0f};
    for (int shape = 0; shape < 400; ++shape) {
        tagPARTSET* s = vesk->set;
        s->density = densities[shape % 4];
        s->shapes_over_cols = shape % 5 == 0;
        tagPART p = Particle((float)draw(32768), (float)draw(32768), (float)draw(32768));
        const int n = 3 + draw(8);
        // Centres from well left of / above the frame to past its far edges; a quarter snap every
        // vertex to half-pixel and eighth-pixel boundaries, where samples sit exactly on edges.
        const float cx = (float)draw(60) - 10.0f, cy = (float)draw(45) - 8.0f;
        const float size = 0.3f + (float)draw(1600) / 100.0f;
        std::vector<tagPOS> a, b;
        for (int i = 0; i < n; ++i) {
            const float t = 6.2831853f * ((float)i + (float)draw(100) / 200.0f) / (float)n;
            const float r = size * (0.3f + (float)draw(100) / 140.0f);
            float x = cx + r * std::cos(t), y = cy + r * std::sin(t);
            if (shape % 4 == 1) x = std::round(x * 2.0f) / 2.0f, y = std::round(y * 8.0f) / 8.0f;
            a.push_back(tagPOS{x, y, 0.0f});
        }
        b = a;
        vesk->concave_d(n, a.data(), &p, 0);
        LiteralConcave(*vesk, n, b.data(), &p, 1);
        ASSERT_EQ(std::memcmp(layer(0)->pixels, layer(1)->pixels, 41 * 29 * sizeof(PixelQ4)), 0)
            << "polygon " << shape;
    }
    EXPECT_FALSE(IsClear(layer(0)));
}

// Vertices a hair off the middle of a sample, found by search: an edge position rounded on its
// way down puts a span out of the usual order, and the polygon is counted through the general
// path. The pixels must not show it.
TEST_F(RasterOracleTest, PolygonsOutOfTheUsualSpanOrderMatchTheLiteralMask)
{
    Wire(41, 29);
    const std::vector<std::vector<tagPOS>> polygons = {
        {{44.1875f, -2.68749905f, 0}, {2.81250024f, -0.0624996983f, 0}, {15.687499f, -28.8125095f, 0}},
        {{36.8124886f, 12.3125f, 0}, {4.68750048f, 30.6875992f, 0}, {3.81250024f, 0.812500298f, 0}, {23.8125f, -8.8125f, 0}},
        {{11.437499f, 6.18750048f, 0}, {-18.3124905f, 2.81248999f, 0}, {-2.81251001f, -11.8125f, 0}},
        {{28.6875f, 6.31249905f, 0}, {25.1875f, 29.8124905f, 0}, {6.43760014f, 18.4375f, 0},
         {-4.93749952f, -1.06249964f, 0}, {18.6875095f, -13.437501f, 0}, {29.5625f, -8.4375f, 0}},
    };
    for (size_t k = 0; k < polygons.size(); ++k) {
        tagPART p = Particle(31000.0f, 12000.0f, 700.0f);
        std::vector<tagPOS> a = polygons[k], b = polygons[k];
        const long general = vesk->raster_scratch[0].general_path;
        vesk->concave_d((int)a.size(), a.data(), &p, 0);
        LiteralConcave(*vesk, (int)b.size(), b.data(), &p, 1);
        EXPECT_EQ(vesk->raster_scratch[0].general_path, general + 1) << "polygon " << k;
        ASSERT_EQ(std::memcmp(layer(0)->pixels, layer(1)->pixels, 41 * 29 * sizeof(PixelQ4)), 0) << "polygon " << k;
    }
    EXPECT_FALSE(IsClear(layer(0)));
}

// Blocks without coverage blend to the pixel itself through the clamp: a pixel within the channel
// range stays, one above it comes out at 32767 (the blend is skipped only for the first kind).
TEST_F(RasterOracleTest, NoCoverageLeavesInRangePixelsAndClampsOthers)
{
    Wire(4, 1);
    layer(0)->rows[0][0] = PixelQ4(32767, 0, 123, 32767);
    layer(0)->rows[0][1] = PixelQ4(40000, 5, 6, 7);
    layer(0)->rows[0][2] = PixelQ4(1, 2, 3, 65535);
    const int sums[4] = {0, 0, 0, 64};
    tagPART p = Particle(1000.0f, 2000.0f, 3000.0f);
    vesk->blend_coverage(0, 0, 4, 1, sums, &p, 0);
    ExpectPixel(layer(0), 0, 0, 32767, 0, 123, 32767);
    ExpectPixel(layer(0), 1, 0, 32767, 5, 6, 7);
    ExpectPixel(layer(0), 2, 0, 1, 2, 3, 32767);
    ExpectPixel(layer(0), 3, 0, 1000, 2000, 3000, 32767);  // full coverage at density 1
}
