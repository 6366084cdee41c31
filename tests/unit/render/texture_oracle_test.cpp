// The summed-area box filter of the texture sprites against the literal scan of the box: random
// boxes over frames of odd sizes, boxes that are empty, narrower than 2, partly or wholly outside
// the frame, and boxes whose sums pass 32 bits; and whole sprites drawn both ways.
#include <cstring>

#include "framework/RandomQ4.h"
#include "render_fixture.h"
#include "tests/oracle/literal_texture.h"

using TextureOracleTest = RenderTest;

namespace {

bool Same(const tagTEXEL& a, const tagTEXEL& b)
{
    return a.matte == b.matte && a.blue == b.blue && a.green == b.green && a.red == b.red;
}

}  // namespace

TEST_F(TextureOracleTest, SummedAreaMeansMatchTheLiteralScan)
{
    struct Size {
        int w, h, top;  // top: the largest channel value in the clips
    };
    // The last frame holds 120000 pixels of up to 65535: its large boxes sum past 2^32.
    const Size sizes[] = {{1, 1, 32767}, {37, 23, 32767}, {64, 5, 65535}, {400, 300, 65535}};
    int seed = 77;
    auto draw = [&](int range) { return randQ4(seed) % range; };
    for (const Size& z : sizes) {
        Wire(z.w, z.h);
        tagPARTSET* s = vesk->set;
        for (int y = 0; y < z.h; ++y)
            for (int x = 0; x < z.w; ++x) {
                const int hi = z.top - draw(8);  // mostly near the top, so sums run high
                s->source2->rows[y][x] = PixelQ4(hi, draw(z.top), hi - draw(3000), 0);
                s->source3->rows[y][x] = PixelQ4(z.top - draw(16), 0, 0, 0);
            }
        ASSERT_TRUE(vesk->build_texture_sums());
        for (int i = 0; i < 3000; ++i) {
            const int x = draw(z.w + 20) - 10, y = draw(z.h + 20) - 10;
            const int bw = i % 7 == 0 ? draw(3) : draw(2 * z.w + 8);
            const int bh = i % 11 == 0 ? draw(3) : draw(2 * z.h + 8);
            const tagTEXEL want = LiteralBoxFilter(x, y, bw, bh, *s->source2, *s->source3, z.w, z.h);
            ASSERT_TRUE(Same(vesk->anti_alias_sums(vesk->texture_sums, x, y, bw, bh), want))
                << z.w << "x" << z.h << " box " << x << "," << y << " " << bw << "x" << bh;
        }
        const tagTEXEL whole = vesk->anti_alias_sums(vesk->texture_sums, z.w / 2, z.h / 2, 2 * z.w + 2, 2 * z.h + 2);
        EXPECT_GE(whole.matte, z.top - 16);
    }
}

// Sprites of every texture mode, sizes from below 2 source pixels per sprite pixel to a whole
// frame, turned, at a non-square aspect, over a layer already drawn into.
TEST_F(TextureOracleTest, SpritesThroughTheTableMatchTheLiteralFilter)
{
    Wire(45, 31);
    int seed = 9;
    auto draw = [&](int range) { return randQ4(seed) % range; };
    tagPARTSET* s = vesk->set;
    for (int y = 0; y < 31; ++y)
        for (int x = 0; x < 45; ++x) {
            s->source2->rows[y][x] = PixelQ4(draw(32768), draw(32768), draw(32768), 0);
            s->source3->rows[y][x] = PixelQ4(draw(32768), 0, 0, 0);
            layer(0)->rows[y][x] = layer(1)->rows[y][x] = PixelQ4(draw(9000), draw(9000), draw(9000), draw(32768));
        }
    vesk->lump_param = 0.5;
    s->living_rotate = 0;
    for (int i = 0; i < 300; ++i) {
        s->shape = 6 + i % 3;
        s->base_rotation = (float)draw(360);
        tagPART p = Particle((float)draw(32768), (float)draw(32768), (float)draw(32768));
        const int px = draw(65) - 10, py = draw(51) - 10, W = 1 + draw(40), H = 1 + draw(30);
        ASSERT_TRUE(vesk->build_texture_sums());
        vesk->draw_texture(px, py, W, H, 0, 30, &p, 0);
        vesk->texture_sums.ready = false;
        vesk->draw_texture(px, py, W, H, 0, 30, &p, 1);
        ASSERT_EQ(std::memcmp(layer(0)->pixels, layer(1)->pixels, 45 * 31 * sizeof(PixelQ4)), 0) << "sprite " << i;
    }
    EXPECT_FALSE(IsClear(layer(0)));
}
