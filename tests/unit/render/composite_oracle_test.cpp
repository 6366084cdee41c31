// The composite over drawn spans in 16-bit lanes against the literal composite that reads every
// pixel of every layer in wide integers, on random layers: rectangles drawn at random places
// (so rows are cut at several columns), premultiplied colour and colour above alpha, alpha above
// 32767 (a negative complement), bases up to 65535, absent layers, odd widths; with the
// background copied and its matte taken inside the pass.
#include <cstring>

#include "framework/RandomQ4.h"
#include "render_fixture.h"
#include "tests/oracle/literal_composite.h"

using CompositeOracleTest = RenderTest;

TEST_F(CompositeOracleTest, DrawnSpansMatchTheLiteralCompositeOnRandomLayers)
{
    const int w = 37, h = 23;
    Wire(w, h);
    int seed = 777;
    auto draw = [&](int range) { return randQ4(seed) % range; };
    ImageQ4 expected(w, h), background(w, h);
    // The layers stay the test's: the effect would give its own back to its block cache.
    struct Unhook {
        Vesk* v;
        ~Unhook() { for (auto& l : v->layers) l = nullptr; }
    } unhook{vesk.get()};
    for (int round = 0; round < 300; ++round) {
        tagPARTSET* s = vesk->set;
        vesk->bands = 1 + round % 4;
        const int kind = round % 5;  // 0, 1: premultiplied; 2: colour above alpha; 3: wild; 4: near full
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int top = kind == 3 ? 65536 : 32768;
                s->result->rows[y][x] = PixelQ4(draw(top), draw(top), draw(top), kind == 4 ? 32767 : draw(top));
            }
        for (int i = 0; i < 4; ++i) {
            ImageQ4* drawn = layer(i);
            drawn->Fill(0, 0, 0, 0);
            vesk->layers[i] = drawn;
            vesk->layer_dirty[i][0] = h, vesk->layer_dirty[i][1] = -1;
            vesk->layer_cols[i].assign(2 * (size_t)h, 1 << 30);
            for (int y = 0; y < h; ++y) vesk->layer_cols[i][2 * (size_t)y + 1] = -1;
            for (int r = draw(5); r > 0; --r) {
                const int x0 = draw(w), y0 = draw(h), x1 = x0 + draw(w - x0), y1 = y0 + draw(h - y0);
                for (int y = y0; y <= y1; ++y)
                    for (int x = x0; x <= x1; ++x) {
                        const int a = kind == 3 ? draw(65536) : (kind == 4 ? 32767 - draw(3) : draw(32768));
                        const int top = kind >= 2 ? (kind == 3 ? 65536 : 32768) : a + 1;
                        drawn->rows[y][x] = PixelQ4(draw(top), draw(top), draw(top), a);
                    }
                vesk->mark_layer_area(i, y0, y1, x0, x1);
            }
        }
        ImageQ4* present[4] = {layer(0), layer(1), layer(2), layer(3)};
        if (round % 7 == 3) s->work[1] = present[1] = nullptr;
        // One round in three the background copy waits for the composite, and every other such
        // round the background's matte too: the result must be as if the background had been
        // copied first and its matte copied over the composite's alpha at the end.
        const bool pending = round % 3 == 1, matte = pending && round % 2 == 0;
        if (pending) {
            s->source1 = &background;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) background.rows[y][x] = PixelQ4(draw(32768), draw(32768), draw(32768), draw(32768));
        }
        std::memcpy(expected.pixels, (pending ? &background : s->result)->pixels, sizeof(PixelQ4) * w * h);
        LiteralComposite(&expected, present, vesk->bands, 0, h - 1);
        if (matte) expected.CopyAlpha(&background);
        vesk->background_pending = pending;
        vesk->matte_pending = matte;
        vesk->mp_Composite(0, h - 1);
        ASSERT_EQ(std::memcmp(expected.pixels, s->result->pixels, sizeof(PixelQ4) * w * h), 0) << "round " << round;
        s->work[1] = images[1].get();
        s->source1 = nullptr;
    }
    vesk->background_pending = vesk->matte_pending = false;
}
