// Lump tables and stamping, texture sprites and their box filter, and the gradient table.
#include "render_fixture.h"

namespace {

std::unique_ptr<tagPARTLUMP, void (*)(tagPARTLUMP*)> Lump(float r, float ax = 1, float ay = 1)
{
    return {part_lump_create(r, ax, ay), part_lump_destroy};
}

}  // namespace

// Weights 257 sin(pi/2 t), t = (r - d) / r, floored. Radius 1: the edge neighbours lie at d = r,
// so only the centre is set; 0.005 is raised to 0.01 (R = 1). Radius 2: d = 1 gives
// 257 sin(pi/4) = 181.7, d = sqrt 2 gives 257 sin(0.4601) = 114.1. Radius 1.5 (5 x 5): d = 1 gives
// 257 sin(pi/6) = 128.5, d = sqrt 2 gives 23.06. With ax = 2 the horizontal neighbours lie at d = 2.
TEST(LumpTable, SineFallOffPerRadiusAndAspect)
{
    struct Case {
        float r, ax;
        int n;
        std::vector<int> centre_row, row_above;  // rows R and R - 1
    };
    const Case cases[] = {
        {1.0f, 1.0f, 3, {0, 257, 0}, {0, 0, 0}},
        {0.005f, 1.0f, 3, {0, 257, 0}, {0, 0, 0}},
        {2.0f, 1.0f, 5, {0, 181, 257, 181, 0}, {0, 114, 181, 114, 0}},
        {1.5f, 1.0f, 5, {0, 128, 257, 128, 0}, {0, 23, 128, 23, 0}},
        {2.0f, 2.0f, 5, {0, 0, 257, 0, 0}, {0, 0, 181, 0, 0}},
    };
    for (const Case& c : cases) {
        auto l = Lump(c.r, c.ax, 1.0f);
        ASSERT_TRUE(l);
        ASSERT_EQ(l->width, c.n);
        ASSERT_EQ(l->height, c.n);
        const int R = c.n / 2;
        for (int j = 0; j < c.n; ++j) {
            EXPECT_EQ(l->weights[R * c.n + j], c.centre_row[(size_t)j]) << c.r << " col " << j;
            EXPECT_EQ(l->weights[(R - 1) * c.n + j], c.row_above[(size_t)j]) << c.r << " col " << j;
            EXPECT_EQ(l->weights[j], c.n == 5 ? 0 : c.row_above[(size_t)j]) << c.r << " top row";
        }
    }
}

using LumpStampTest = RenderTest;

// Strength 32767 and centre weight 257 give a = (32767 * 257) >> 8 = 32894, above one: the
// destination term turns negative and the clamps absorb what passes 32767. Weight 0 leaves a
// pixel as it was. Half density: a = trunc(32894 * 0.5) = 16447.
TEST_F(LumpStampTest, CentreIsStampedAboveFullCoverageAndClamped)
{
    Wire(8, 8);
    FillImage(layer(), PixelQ4(10000, 5000, 0, 20000));
    auto l = Lump(1.0f);
    tagPART p = Particle(20000, 30000, 32767);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 3, 3, 32767, l.get(), 0, 7, &p);
    const int a = 32894;
    ExpectPixel(layer(), 3, 3, (20000 * a + 10000 * (32768 - a)) >> 15, (30000 * a + 5000 * (32768 - a)) >> 15,
                32767, 32767);
    ExpectPixel(layer(), 2, 3, 10000, 5000, 0, 20000);
    vesk->set->density = 0.5f;
    vesk->part_anti_aliased_lump(layer(), 8, 8, 6, 1, 32767, l.get(), 0, 7, &p);
    const int h = 16447;
    ExpectPixel(layer(), 6, 1, (20000 * h + 10000 * (32768 - h)) >> 15, (30000 * h + 5000 * (32768 - h)) >> 15,
                (32767 * h) >> 15, (h * 32767 + 20000 * (32768 - h)) >> 15);
}

// The band bottom is exclusive and the caller passes height - 1: the last row is never touched.
// Columns outside the frame are skipped on the left and end the row on the right.
TEST_F(LumpStampTest, LumpsNeverTouchTheBottomRowAndClipAtTheEdges)
{
    Wire(8, 8);
    auto l = Lump(2.0f);
    tagPART p = Particle(32767, 32767, 32767);
    auto ch = [](int weight) { return (32767 * ((32767 * weight) >> 8)) >> 15; };
    vesk->part_anti_aliased_lump(layer(), 8, 8, 0, 7, 32767, l.get(), 0, 7, &p);
    for (int x = 0; x < 8; ++x) ExpectPixel(layer(), x, 7, 0, 0, 0, 0);
    ExpectPixel(layer(), 0, 6, ch(181), ch(181), ch(181), ch(181));
    ExpectPixel(layer(), 1, 6, ch(114), ch(114), ch(114), ch(114));
    ExpectPixel(layer(), 2, 6, 0, 0, 0, 0);
    ExpectPixel(layer(), 7, 5, 0, 0, 0, 0);  // columns left of the frame do not wrap to row 5

    Wire(8, 8);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 7, 3, 32767, l.get(), 0, 7, &p);
    ExpectPixel(layer(), 6, 3, ch(181), ch(181), ch(181), ch(181));
    ExpectPixel(layer(), 0, 4, 0, 0, 0, 0);  // nothing spills into the next row

    Wire(8, 8);
    vesk->part_anti_aliased_lump(layer(), 8, 8, -3, 3, 32767, l.get(), 0, 7, &p);
    vesk->part_anti_aliased_lump(layer(), 8, 8, 3, 9, 32767, l.get(), 0, 7, &p);
    EXPECT_TRUE(IsClear(layer()));
}

using TextureTest = RenderTest;

// An 8 x 8 sprite of a 32 x 24 frame: one sprite pixel covers 4 x 3 source pixels; unturned,
// source x = (u + 4) * 4 and y = (v + 4) * 3, so offsets -4 .. 3 land inside: an 8 x 8 footprint.
// "Cols with Matte" takes the texture colour and the matte squared as alpha. Turned by 90 degrees
// a 16 x 8 sprite stands 8 columns wide and 16 rows tall: source x is (8 - v) * 2 for row offset
// v and source y (u + 4) * 3 for column offset u.
TEST_F(TextureTest, ColsWithMatteFootprintAndTheMatteSquared)
{
    FillImage(vesk->set->source2, PixelQ4(20000, 10000, 5000, 0));
    FillImage(vesk->set->source3, PixelQ4(16384, 0, 0, 0));
    vesk->set->shape = 6;
    tagPART p = Particle(0, 0, 0);
    vesk->draw_texture(16, 12, 8, 8, 0, kH - 1, &p, 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const bool in = x >= 12 && x <= 19 && y >= 8 && y <= 15;
            ExpectPixel(layer(), x, y, in ? 10000 : 0, in ? 5000 : 0, in ? 2500 : 0, in ? 8192 : 0);
        }
    layer()->Fill(0, 0, 0, 0);
    vesk->set->base_rotation = 90.0f;
    vesk->draw_texture(16, 12, 16, 8, 0, kH - 1, &p, 0);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            EXPECT_EQ(layer()->rows[y][x].a != 0, x >= 12 && x <= 19 && y >= 5 && y <= 20) << x << "," << y;
}

// Colour clip red = 1000 x. Offset -2 reads x 8, box 6..9: mean 7500; offset -4 reads x 0, box
// -2..1 of which 0 and 1 exist: 500. A 10-wide sprite covers 3.2 columns (float): offset 0 reads
// x 16, box 15..16: 15500. "Matte over Cols" takes the clip's own pixel at the destination,
// "Colour in Matte" the particle's colour truncated.
TEST_F(TextureTest, BoxFilterAndTheThreeModes)
{
    struct Case {
        int mode, width, matte, x;
        int r, b, a;
    };
    const int m = 16384;
    const Case cases[] = {
        {6, 8, 32767, 14, (7500 * 32767) >> 15, 0, (32767 * 32767) >> 15},
        {6, 8, 32767, 12, (500 * 32767) >> 15, 0, (32767 * 32767) >> 15},
        {6, 10, 32767, 16, (15500 * 32767) >> 15, 0, (32767 * 32767) >> 15},
        {7, 8, m, 14, (14000 * m) >> 15, 0, (32767 * m) >> 15},
        {8, 8, m, 16, (30000 * m) >> 15, (12 * m) >> 15, (32767 * m) >> 15},
    };
    for (const Case& c : cases) {
        Wire(kW, kH);
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) vesk->set->source2->rows[y][x] = PixelQ4((unsigned short)(x * 1000), 0, 0, 0);
        FillImage(vesk->set->source3, PixelQ4((unsigned short)c.matte, 0, 0, 0));
        vesk->set->shape = c.mode;
        tagPART p = Particle(30000.9f, 0, 12.7f);
        vesk->draw_texture(16, 12, c.width, c.width, 0, kH - 1, &p, 0);
        ExpectPixel(layer(), c.x, 12, c.r, 0, c.b, c.a);
    }
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

// Columns 1 - 2 .. 1 + 1 and rows 0 - 1 .. 0: three pixels of row 0 inside the frame, means
// truncated. A box narrower than 2 or wholly outside gives zeros.
TEST_F(TextureTest, AntiAliasMeansOverTheBoxInsideTheFrame)
{
    ImageQ4 *col = vesk->set->source2, *mat = vesk->set->source3;
    const unsigned short red[3] = {100, 200, 400}, green[3] = {1, 2, 4}, matte[3] = {10, 20, 31};
    for (int x = 0; x < 3; ++x) col->rows[0][x] = PixelQ4(red[x], green[x], 50, 0), mat->rows[0][x] = PixelQ4(matte[x], 0, 0, 0);
    tagTEXEL t = vesk->anti_alias(1, 0, 4, 2, col, mat);
    EXPECT_EQ(t.red, 700 / 3);
    EXPECT_EQ(t.green, 7 / 3);
    EXPECT_EQ(t.blue, 50);
    EXPECT_EQ(t.matte, 61 / 3);
    tagTEXEL narrow = vesk->anti_alias(1, 0, 1, 8, col, mat);
    tagTEXEL outside = vesk->anti_alias(-10, -10, 4, 4, col, mat);
    EXPECT_EQ(narrow.red + narrow.green + narrow.blue + narrow.matte + outside.red + outside.matte, 0);
}
