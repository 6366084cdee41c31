// Lump tables and stamping, texture sprites and their box filter, and the gradient table.
#include <cmath>

#include "framework/RandomQ4.h"
#include "render_fixture.h"

namespace {

std::unique_ptr<tagPARTLUMP, void (*)(tagPARTLUMP*)> Lump(float r, float ax = 1, float ay = 1)
{
    return {part_lump_create(r, ax, ay), part_lump_destroy};
}

int W(const tagPARTLUMP* l, int row, int col) { return l->weights[row * l->width + col]; }

}  // namespace

TEST(LumpTable, RadiusOneIsThreeByThreeWithCentre257)
{
    auto l = Lump(1.0f);
    ASSERT_TRUE(l);
    ASSERT_EQ(l->width, 3);
    ASSERT_EQ(l->height, 3);
    // The edge neighbours lie at distance 1 = r, so their fall-off is 0.
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(W(l.get(), i, j), i == 1 && j == 1 ? 257 : 0);

    auto tiny = Lump(0.005f);  // raised to 0.01: still one ring around the centre
    ASSERT_TRUE(tiny);
    EXPECT_EQ(tiny->width, 3);
    EXPECT_EQ(W(tiny.get(), 1, 1), 257);
    EXPECT_EQ(W(tiny.get(), 1, 2), 0);
}

// Radius 2: at distance 1, t = 0.5 and 257 sin(pi / 4) = 181.7; at distance sqrt 2,
// t = 0.2929 and 257 sin(0.4601) = 114.1; distance 2 and beyond give 0.
TEST(LumpTable, SineFallOffOfRadiusTwo)
{
    auto l = Lump(2.0f);
    ASSERT_TRUE(l);
    ASSERT_EQ(l->width, 5);
    const int want[5][5] = {{0, 0, 0, 0, 0},
                            {0, 114, 181, 114, 0},
                            {0, 181, 257, 181, 0},
                            {0, 114, 181, 114, 0},
                            {0, 0, 0, 0, 0}};
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) EXPECT_EQ(W(l.get(), i, j), want[i][j]) << i << "," << j;

    // A fractional radius rounds the table size up: 1.5 gives 5 x 5; distance 1 gives
    // 257 sin(pi / 6) = 128.5 and distance sqrt 2 gives 257 sin(0.0898) = 23.06.
    auto f = Lump(1.5f);
    ASSERT_EQ(f->width, 5);
    EXPECT_EQ(W(f.get(), 2, 2), 257);
    EXPECT_EQ(W(f.get(), 2, 3), 128);
    EXPECT_EQ(W(f.get(), 1, 1), 23);
    EXPECT_EQ(W(f.get(), 0, 2), 0);
}

// ax stretches columns and ay rows: with ax = 2 the horizontal neighbours lie at distance 2.
TEST(LumpTable, AspectStretchesColumnsAndRows)
{
    auto l = Lump(2.0f, 2.0f, 1.0f);
    ASSERT_TRUE(l);
    EXPECT_EQ(W(l.get(), 2, 2), 257);
    EXPECT_EQ(W(l.get(), 1, 2), 181);
    EXPECT_EQ(W(l.get(), 3, 2), 181);
    EXPECT_EQ(W(l.get(), 2, 1), 0);
    EXPECT_EQ(W(l.get(), 2, 3), 0);
    EXPECT_EQ(W(l.get(), 1, 1), 0);
}

using LumpStampTest = RenderTest;

// With strength 32767 the centre weight 257 gives a = (32767 * 257) >> 8 = 32894, above one:
// the destination term turns negative and the clamps absorb what passes 32767.
TEST_F(LumpStampTest, CentreIsStampedAboveFullCoverageAndClamped)
{
    Wire(8, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) layer()->rows[y][x] = PixelQ4(10000, 5000, 0, 20000);
    auto l = Lump(1.0f);
    tagPART p = Particle(20000, 30000, 32767);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 3, 3, 32767, l.get(), 0, 7, &p);
    const int a = 32894;
    ExpectPixel(layer(), 3, 3, (20000 * a + 10000 * (32768 - a)) >> 15,
                (30000 * a + 5000 * (32768 - a)) >> 15, 32767, 32767);
    // Weight 0 leaves a pixel as it was: (d * 32768) >> 15 = d.
    ExpectPixel(layer(), 2, 3, 10000, 5000, 0, 20000);
    ExpectPixel(layer(), 4, 4, 10000, 5000, 0, 20000);

    // Half density: a = trunc(32894 * 0.5) = 16447.
    vesk->set->density = 0.5f;
    vesk->part_anti_aliased_lump(layer(), 8, 8, 6, 1, 32767, l.get(), 0, 7, &p);
    const int h = 16447;
    ExpectPixel(layer(), 6, 1, (20000 * h + 10000 * (32768 - h)) >> 15,
                (30000 * h + 5000 * (32768 - h)) >> 15, (32767 * h) >> 15,
                (h * 32767 + 20000 * (32768 - h)) >> 15);
}

// The band bottom is exclusive and the caller passes height - 1: the last row is never touched.
TEST_F(LumpStampTest, LumpsNeverTouchTheBottomRowAndClipAtTheEdges)
{
    Wire(8, 8);
    auto l = Lump(2.0f);
    tagPART p = Particle(32767, 32767, 32767);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 0, 7, 32767, l.get(), 0, 7, &p);
    for (int x = 0; x < 8; ++x) ExpectPixel(layer(), x, 7, 0, 0, 0, 0);
    // Row 6 (one above the centre) carries the 181 ring at column 0 and 114 at column 1;
    // columns left of the frame are skipped.
    const int a181 = (32767 * 181) >> 8, a114 = (32767 * 114) >> 8;
    auto ch = [](int a) { return (32767 * a) >> 15; };
    ExpectPixel(layer(), 0, 6, ch(a181), ch(a181), ch(a181), ch(a181));
    ExpectPixel(layer(), 1, 6, ch(a114), ch(a114), ch(a114), ch(a114));
    ExpectPixel(layer(), 2, 6, 0, 0, 0, 0);

    // At the right edge the row ends at the frame: nothing spills into the next row.
    Wire(8, 8);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 7, 3, 32767, l.get(), 0, 7, &p);
    ExpectPixel(layer(), 7, 3, 32767, 32767, 32767, 32767);
    ExpectPixel(layer(), 6, 3, ch(a181), ch(a181), ch(a181), ch(a181));
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 5; ++x) ExpectPixel(layer(), x, y, 0, 0, 0, 0);

    // Entirely outside: nothing.
    Wire(8, 8);
    vesk->part_anti_aliased_lump(layer(), 8, 8, -3, 3, 32767, l.get(), 0, 7, &p);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 3, 9, 32767, l.get(), 0, 7, &p);
    EXPECT_TRUE(IsClear(layer()));
}

using TextureTest = RenderTest;

namespace {

void FillImage(ImageQ4* img, PixelQ4 v)
{
    for (int y = 0; y < img->height; ++y)
        for (int x = 0; x < img->width; ++x) img->rows[y][x] = v;
}

}  // namespace

// An 8 x 8 sprite of a 32 x 24 frame: one sprite pixel covers 4 x 3 source pixels. Unturned,
// the source x of column offset u is (u + 4) * 4 and the source y of row offset v is (v + 4) * 3,
// so offsets -4 .. 3 land inside the source: an 8 x 8 footprint at (px - 4, py - 4).
TEST_F(TextureTest, ColsWithMatteTakesTheTextureAndTheMatteSquared)
{
    FillImage(vesk->set->source2, PixelQ4(20000, 10000, 5000, 0));
    FillImage(vesk->set->source3, PixelQ4(16384, 0, 0, 0));
    vesk->set->shape = 6;
    tagPART p = Particle(0, 0, 0);
    vesk->draw_texture(16, 12, 8, 8, 0, kH - 1, &p, 0);
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; ++x) {
            if (x >= 12 && x <= 19 && y >= 8 && y <= 15)
                ExpectPixel(layer(), x, y, 10000, 5000, 2500, 8192);
            else
                ExpectPixel(layer(), x, y, 0, 0, 0, 0);
        }
    }
}

// The box filter averages the source columns a sprite pixel covers: column offset -2 reads source
// x 8, box 6..9, mean of 6000..9000 = 7500; offset -4 reads x 0, box -2..1, of which 0 and 1
// exist: mean 500.
TEST_F(TextureTest, BoxFilterAveragesTheCoveredSourcePixels)
{
    ImageQ4* col = vesk->set->source2;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) col->rows[y][x] = PixelQ4((unsigned short)(x * 1000), 0, 0, 0);
    FillImage(vesk->set->source3, PixelQ4(32767, 0, 0, 0));
    vesk->set->shape = 6;
    tagPART p = Particle(0, 0, 0);
    vesk->draw_texture(16, 12, 8, 8, 0, kH - 1, &p, 0);
    EXPECT_EQ(layer()->rows[12][14].r, (7500 * 32767) >> 15);
    EXPECT_EQ(layer()->rows[12][12].r, (500 * 32767) >> 15);
    EXPECT_EQ(layer()->rows[12][14].a, (32767 * 32767) >> 15);

    // The scale is a float quotient: a 10-wide sprite covers 3.2 source columns per pixel, so
    // column offset 0 reads source x (0 + 5) * 3.2 = 16, box 15..16, mean 15500.
    Wire(kW, kH);
    col = vesk->set->source2;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) col->rows[y][x] = PixelQ4((unsigned short)(x * 1000), 0, 0, 0);
    FillImage(vesk->set->source3, PixelQ4(32767, 0, 0, 0));
    vesk->set->shape = 6;
    vesk->draw_texture(16, 12, 10, 10, 0, kH - 1, &p, 0);
    EXPECT_EQ(layer()->rows[12][16].r, (15500 * 32767) >> 15);

    // "Matte over Cols" takes the colour clip's own pixel at the destination instead.
    Wire(kW, kH);
    col = vesk->set->source2;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) col->rows[y][x] = PixelQ4((unsigned short)(x * 1000), 0, 0, 0);
    FillImage(vesk->set->source3, PixelQ4(16384, 0, 0, 0));
    vesk->set->shape = 7;
    vesk->draw_texture(16, 12, 8, 8, 0, kH - 1, &p, 0);
    EXPECT_EQ(layer()->rows[12][14].r, (14000 * 16384) >> 15);
    EXPECT_EQ(layer()->rows[12][14].a, (32767 * 16384) >> 15);

    // "Colour in Matte" takes the particle's colour, truncated.
    Wire(kW, kH);
    FillImage(vesk->set->source3, PixelQ4(16384, 0, 0, 0));
    vesk->set->shape = 8;
    tagPART q = Particle(30000.9f, 0, 12.7f);
    vesk->draw_texture(16, 12, 8, 8, 0, kH - 1, &q, 0);
    ExpectPixel(layer(), 16, 12, (30000 * 16384) >> 15, 0, (12 * 16384) >> 15, (32767 * 16384) >> 15);
}

// Wider than half the frame: sx < 2, the box half-width truncates to 0, the box is empty and the
// sprite is transparent: every channel keeps its value. The same through the height.
TEST_F(TextureTest, SpritesWiderThanHalfTheFrameAreTransparent)
{
    FillImage(vesk->set->source2, PixelQ4(20000, 20000, 20000, 0));
    FillImage(vesk->set->source3, PixelQ4(32767, 0, 0, 0));
    FillImage(layer(), PixelQ4(1000, 2000, 3000, 4000));
    for (int mode = 6; mode <= 8; ++mode) {
        vesk->set->shape = mode;
        tagPART p = Particle(9000, 9000, 9000);
        vesk->draw_texture(16, 12, 17, 6, 0, kH - 1, &p, 0);
        vesk->draw_texture(16, 12, 6, 13, 0, kH - 1, &p, 0);
    }
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) ExpectPixel(layer(), x, y, 1000, 2000, 3000, 4000);
}

// Turned by 90 degrees a 16 x 8 sprite stands 8 columns wide and 16 rows tall: source x is
// (8 - v) * 2 for row offset v and source y (u + 4) * 3 for column offset u.
TEST_F(TextureTest, RotationTurnsTheFootprint)
{
    FillImage(vesk->set->source2, PixelQ4(20000, 10000, 5000, 0));
    FillImage(vesk->set->source3, PixelQ4(32767, 0, 0, 0));
    vesk->set->shape = 6;
    vesk->set->base_rotation = 90.0f;
    tagPART p = Particle(0, 0, 0);
    vesk->draw_texture(16, 12, 16, 8, 0, kH - 1, &p, 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const bool inside = x >= 12 && x <= 19 && y >= 5 && y <= 20;
            EXPECT_EQ(layer()->rows[y][x].a != 0, inside) << x << "," << y;
        }
}

TEST_F(TextureTest, AntiAliasMeansOverTheBoxInsideTheFrame)
{
    ImageQ4* col = vesk->set->source2;
    ImageQ4* mat = vesk->set->source3;
    col->rows[0][0] = PixelQ4(100, 1, 50, 0);
    col->rows[0][1] = PixelQ4(200, 2, 50, 0);
    col->rows[0][2] = PixelQ4(400, 4, 50, 0);
    mat->rows[0][0] = PixelQ4(10, 0, 0, 0);
    mat->rows[0][1] = PixelQ4(20, 0, 0, 0);
    mat->rows[0][2] = PixelQ4(31, 0, 0, 0);
    // Columns 1 - 2 .. 1 + 1 and rows 0 - 1 .. 0: three pixels of row 0 inside the frame.
    tagTEXEL t = vesk->anti_alias(1, 0, 4, 2, col, mat);
    EXPECT_EQ(t.red, 233);  // 700 / 3, truncated
    EXPECT_EQ(t.green, 2);  // 7 / 3
    EXPECT_EQ(t.blue, 50);
    EXPECT_EQ(t.matte, 20);  // 61 / 3

    tagTEXEL narrow = vesk->anti_alias(1, 0, 1, 8, col, mat);
    EXPECT_EQ(narrow.red + narrow.green + narrow.blue + narrow.matte, 0);
    tagTEXEL outside = vesk->anti_alias(-10, -10, 4, 4, col, mat);
    EXPECT_EQ(outside.red + outside.matte, 0);
}

// Each entry is a unit vector whose z is 1 - 2 r for the odd draws after one discarded draw.
TEST_F(RenderTest, GradientTableHoldsUnitVectorsFromTheSeed)
{
    vesk->gradientTabInit(-321);
    int state = -321;
    ran1fQ4(&state);
    for (int i = 0; i < GRADIENT_TABLE_SIZE; ++i) {
        const float z = 1.0f - 2.0f * ran1fQ4(&state);
        ran1fQ4(&state);
        const float* g = vesk->gradient_table[i];
        EXPECT_EQ(g[2], z) << i;
        EXPECT_NEAR(g[0] * g[0] + g[1] * g[1] + g[2] * g[2], 1.0, 1e-5) << i;
    }
}
