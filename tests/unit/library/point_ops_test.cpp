// The point operations of ImageQ4, run through the host's fork with three jobs.
#include <algorithm>
#include <vector>

#include "base/q4_heap.h"
#include "tests/unit/library/library_env.h"

class PointOps : public WithHost {
protected:
    // Ten rows do not divide by three jobs.
    ImageQ4 dst{7, 10}, src{7, 10}, before{7, 10};
    void SetUp() override {
        WithHost::SetUp();
        fill_random(dst, 11);
        fill_random(src, 12);
        before.CopyValues(&dst, 1, 1, 1, 1);
    }
    // Checks want(source pixel, original destination pixel, channel) at every pixel of img.
    template <typename F>
    void expect_each(const ImageQ4& img, F want) {
        for (int y = 0; y < 10; y++)
            for (int x = 0; x < 7; x++)
                for (int c = 0; c < 4; c++)
                    ASSERT_EQ(img.rows[y][x].c[c], want(src.rows[y][x], before.rows[y][x], c)) << x << "," << y << " c" << c;
    }
};

TEST_F(PointOps, CopiesTakeOnlyTheirChannels) {
    ImageQ4 alpha(before), rgb(before), g(before), l2c(before), none(before), hsv(before), back(before);
    alpha.CopyAlpha(&src);
    rgb.CopyRGB(&src);
    g.CopyG(&src);
    l2c.CopyLumaToChannel(&src, 2);
    none.CopyLumaToChannel(&src, 4);  // not a channel: nothing changes
    hsv.UseHSV(&src);
    back.ReplaceHSV(&src);
    expect_each(alpha, [](PixelQ4 s, PixelQ4 d, int c) { return c == 3 ? s.c[c] : d.c[c]; });
    expect_each(rgb, [](PixelQ4 s, PixelQ4 d, int c) { return c < 3 ? s.c[c] : d.c[c]; });
    expect_each(g, [](PixelQ4 s, PixelQ4 d, int c) { return c == 1 ? s.c[c] : d.c[c]; });
    expect_each(l2c, [](PixelQ4 s, PixelQ4 d, int c) {
        return c == 2 ? (unsigned short)((5 * s.r + 8 * s.g + 3 * s.b) >> 4) : d.c[c];
    });
    expect_each(none, [](PixelQ4, PixelQ4 d, int c) { return d.c[c]; });
    expect_each(hsv, [](PixelQ4 s, PixelQ4, int c) {
        unsigned short v[4] = {0, 0, 0, s.a};
        s.GetHSV(v[0], v[1], v[2]);
        return v[c];
    });
    expect_each(back, [](PixelQ4 s, PixelQ4, int c) {  // R, G, B read as hue, saturation, value
        PixelQ4 p = s;
        p.SetHSV(s.r, s.g, s.b);
        return p.c[c];
    });
}

TEST_F(PointOps, CopyValuesScalesTruncatesAndClamps) {
    ImageQ4 exact(7, 10);
    exact.CopyValues(&src, 1, 1, 1, 1);
    EXPECT_TRUE(same_pixels(exact, src));
    src.rows[3][3] = PixelQ4(20000, 20001, 3, 32767);
    dst.CopyValues(&src, 2.0f, 0.5f, 0.5f, -1.0f);
    EXPECT_EQ(dst.rows[3][3].r, 32767);
    EXPECT_EQ(dst.rows[3][3].g, 10000);
    EXPECT_EQ(dst.rows[3][3].b, 1);
    EXPECT_EQ(dst.rows[3][3].a, 0);
}

TEST_F(PointOps, MergeAndApplyLutWorkOnTheFirstPixelOfEachRowWidthTimes) {
    ImageQ4 matte(7, 10);
    matte.Fill(10000, 0, 0, 0);
    for (int alpha = 0; alpha < 2; alpha++)
        for (int direct = 0; direct < 2; direct++) {
            ImageQ4 d(before);
            d.Merge(&src, &matte, direct != 0, alpha);
            const int m = direct ? 10000 : 32767 - 10000, n = 32767 - m;
            for (int y = 0; y < 10; y++) {
                PixelQ4 want = before.rows[y][0];
                for (int i = 0; i < 7; i++)
                    for (int c = 0; c < (alpha ? 4 : 3); c++)
                        want.c[c] = (unsigned short)((want.c[c] * m + src.rows[y][0].c[c] * n) >> 15);
                for (int c = 0; c < 4; c++) EXPECT_EQ(d.rows[y][0].c[c], want.c[c]);
                EXPECT_TRUE(std::equal(d.rows[y] + 1, d.rows[y] + 7, before.rows[y] + 1,
                                       [](PixelQ4 a, PixelQ4 b) { return a.r == b.r && a.a == b.a; }));
            }
        }
    std::vector<unsigned short> plus1(65536), twice(65536);
    for (int i = 0; i < 65536; i++) {
        plus1[i] = (unsigned short)(i + 1);
        twice[i] = (unsigned short)std::min(2 * i, 32767);
    }
    dst.rows[4][0] = PixelQ4(100, 1, 5, 9);
    dst.ApplyLUT(plus1.data(), twice.data(), plus1.data(), twice.data());
    EXPECT_EQ(dst.rows[4][0].r, 107);  // seven passes of +1
    EXPECT_EQ(dst.rows[4][0].g, 128);  // doubled seven times
    EXPECT_EQ(dst.rows[4][0].b, 12);
    EXPECT_EQ(dst.rows[4][0].a, 1152);
    EXPECT_EQ(dst.rows[4][1].r, before.rows[4][1].r);
}

TEST_F(PointOps, GammaTablesFollowTheirFloatCurve) {
    src.rows[0][0] = PixelQ4(32767, 0, 8192, 16384);
    dst.MapGamma_RGBA(&src, 1.0f);
    EXPECT_EQ(dst.rows[0][0].r, 32767);  // the table's 32768 is clamped
    EXPECT_EQ(dst.rows[0][0].b, 8192);
    // Gamma 1 scales by 32768 / 32767 and rounds, up to single-precision rounding.
    for (int y = 0; y < 10; y++)
        for (int x = 0; x < 7; x++)
            for (int c = 0; c < 4; c++)
                EXPECT_NEAR(dst.rows[y][x].c[c], std::min(32767.0, src.rows[y][x].c[c] * 32768.0 / 32767 + 0.5), 1.0);
    ImageQ4 root(before);
    root.MapGamma_Alpha(&src, 2.0f);
    const int* table = root.gamma_table;
    for (int y = 0; y < 10; y++)
        for (int x = 0; x < 7; x++) {
            const double want = std::sqrt(src.rows[y][x].a / 32767.0) * 32768 + 0.5;
            EXPECT_NEAR(root.rows[y][x].a, std::min(want, 32767.0), 1.0);
            EXPECT_EQ(root.rows[y][x].r, before.rows[y][x].r);
        }
    root.MapGamma_RGBA(&src, 0.5f);
    EXPECT_EQ(root.gamma_table, table);  // built once, kept for the image's life
}

TEST_F(PointOps, BlendsUseTheirWeights) {
    ImageQ4 back(before), col(before);
    back.BlendBack(1.0f, &src);  // a = 32767, b = 1: not quite the source
    const PixelQ4 k(32767, 0, 100, 32767);
    col.BlendBackCol(0.25f, k);
    const int a = 8191;  // truncate(32767 * 0.25)
    expect_each(back, [](PixelQ4 s, PixelQ4 d, int c) { return (unsigned short)((s.c[c] * 32767 + d.c[c]) >> 15); });
    expect_each(col, [&](PixelQ4, PixelQ4 d, int c) { return (unsigned short)((k.c[c] * a + d.c[c] * (32768 - a)) >> 15); });
    // InBlend works in lanes of eight channels (a row of seven pixels leaves a tail of four):
    // each must be the float blend of one channel, truncated, also for weights outside 0 .. 1.
    for (float t : {0.25f, 0.0f, 1.0f, 0.3f, -0.5f, 1.7f}) {
        ImageQ4 blended(before);
        blended.InBlend(t, &src);
        expect_each(blended, [t](PixelQ4 s, PixelQ4 d, int c) {
            return (unsigned short)(int)((float)s.c[c] * t + (float)d.c[c] * (1.0f - t));
        });
    }
}

TEST_F(PointOps, CutOutKeysFactorsAndAlphaModes) {
    ImageQ4 matte(7, 10);
    matte.Fill(8192, 16384, 0, 24576);
    dst.Fill(32767, 16384, 1000, 20000);
    const int l = (5 * 8192 + 8 * 16384) / 16;
    const struct { int channel, mode, alpha_mode, f, alpha; } cases[] = {
        {0, 0, 0, 8192, (20000 * 8192) >> 15},      {1, 1, 1, 32767 - 16384, 32767 - 16384},
        {4, 0, 2, l, (24576 * l) >> 15},            {3, 0, 3, 24576, (24576 * 24576) >> 15},
        {2, 1, 7, 32767, 20000},
    };
    for (const auto& k : cases) {
        ImageQ4 d(dst);
        d.CutOut(&matte, k.channel, k.mode, k.alpha_mode);
        const PixelQ4& p = d.rows[9][6];
        EXPECT_EQ(p.r, (32767 * k.f) >> 15) << k.channel;
        EXPECT_EQ(p.b, (1000 * k.f) >> 15);
        EXPECT_EQ(p.a, k.alpha) << k.alpha_mode;
    }
}

TEST_F(PointOps, FillsTouchOnlyTheirChannels) {
    dst.Fill(1, 2, 3, 4);
    dst.FillChannel(77, 1);
    expect_each(dst, [](PixelQ4, PixelQ4, int c) { return (unsigned short)(c == 1 ? 77 : c + 1); });
    ImageQ4 filled(dst);
    dst.FillChannel(99, 4);  // not a channel
    EXPECT_TRUE(same_pixels(dst, filled));
}

TEST_F(PointOps, NegativeInvertsAndRewritesOwnership) {
    dst.Negative(&src);
    expect_each(dst, [](PixelQ4 s, PixelQ4, int c) { return (unsigned short)(32767 - s.c[c]); });
    // With a source the image no longer owns its block; whoever set it up releases it.
    EXPECT_EQ(dst.owns_pixels, 0);
    q4_image_free(dst.pixels, "test", __LINE__);
    // Without one it inverts itself and owns its block afterwards, even a wrapped block.
    PixelQ4* block = static_cast<PixelQ4*>(q4_image_malloc(7 * 10 * sizeof(PixelQ4), "test", __LINE__));
    ImageQ4* wrapped = new ImageQ4(7, 10, 1.0f, block);
    wrapped->CopyValues(&before, 1, 1, 1, 1);
    wrapped->Negative(nullptr);
    EXPECT_EQ(wrapped->owns_pixels, 1);
    EXPECT_EQ(wrapped->rows[5][5].b, 32767 - before.rows[5][5].b);
    delete wrapped;  // releases the block
}
