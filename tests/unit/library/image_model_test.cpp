// ImageQ4 construction, ownership and row table; band dispatch; sampling; luma and HSV.
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "base/q4_heap.h"
#include "tests/unit/library/library_env.h"

TEST(ImageModel, NewWrappedAndCopiedImagesAndTheirHeaps) {
    set_q4_heap_memory_enable(true);
    set_q4_heap_memory_debug(true);
    long image_bytes, normal_bytes;
    PixelQ4 block[6 * 4];
    renderop_tag* op = reinterpret_cast<renderop_tag*>(&block[0]);
    {
        ImageQ4 img(90, 7);
        // The pixel block comes from the image heap, the row table from the general heap.
        get_q4_heap_image_memory_statistics(nullptr, nullptr, &image_bytes, nullptr);
        get_q4_heap_normal_memory_statistics(nullptr, nullptr, &normal_bytes, nullptr);
        EXPECT_EQ(image_bytes * 100 + normal_bytes, 90 * 7 * 8 * 100 + 7 * (long)sizeof(PixelQ4*));
        for (int y = 0; y < 7; y++) EXPECT_EQ(img.rows[y], img.pixels + y * 90);
        EXPECT_EQ(img.sample_step, 8.0f);  // 720 / width
        EXPECT_EQ(img.owns_pixels * 100 + img.ratio + img.ratio2, 102.0);
        EXPECT_EQ(img.colour.r | img.colour.g | img.colour.b | img.colour.a, 0);
        for (unsigned char byte : img.filter_scratch.bytes) ASSERT_EQ(byte, 0);

        ImageQ4 wrapped(6, 4, 1.5f, block, op);
        EXPECT_EQ(wrapped.owns_pixels, 0);
        EXPECT_EQ(wrapped.rows[3], block + 18);
        wrapped.Fill(1, 2, 3, 4);
        wrapped.ratio = 1.25, wrapped.offset_y = 4, wrapped.sample_step = 2.0f, wrapped.source = &img;
        ImageQ4 copy(wrapped);
        EXPECT_NE(copy.pixels, block);
        EXPECT_TRUE(same_pixels(copy, wrapped));
        EXPECT_EQ(copy.owns_pixels, 1);
        EXPECT_EQ(copy.ratio + copy.offset_y + copy.sample_step, 1.25 + 4 + 2);
        EXPECT_EQ(copy.render_op, op);
        EXPECT_EQ(copy.source, nullptr);  // operands are not copied
    }
    EXPECT_EQ(block[23].a, 4);  // destroying the wrapper left the caller's block alone
    get_q4_heap_image_memory_statistics(nullptr, nullptr, &image_bytes, nullptr);
    get_q4_heap_normal_memory_statistics(nullptr, nullptr, &normal_bytes, nullptr);
    set_q4_heap_memory_debug(false);
    set_q4_heap_memory_enable(false);
    q4_heap_normal_memory_cleanup();
    q4_heap_image_memory_cleanup();
    EXPECT_EQ(image_bytes + normal_bytes, 0);
}

namespace {
// An image whose band worker records the bands it was given.
struct BandRecorder : ImageQ4 {
    BandRecorder(int w, int h) : ImageQ4(w, h) {}
    std::mutex m;
    std::set<std::pair<int, int>> bands;
    void mp_record(int first, int last) {
        std::lock_guard<std::mutex> lock(m);
        bands.insert({first, last});
    }
};
}  // namespace

class BandDispatch : public WithHost {};

TEST_F(BandDispatch, EveryJobGetsItsBandAndTheLastTakesTheRemainder) {
    BandRecorder img(4, 100);
    img.MultiProcess(static_cast<ImageBandQ4>(&BandRecorder::mp_record), 100);
    EXPECT_EQ(img.bands, (std::set<std::pair<int, int>>{{0, 32}, {33, 65}, {66, 99}}));
    // Fewer rows than jobs: every band but the last is empty and never reaches the worker.
    UseProcessors(4);
    BandRecorder tiny(4, 2);
    tiny.MultiProcess(static_cast<ImageBandQ4>(&BandRecorder::mp_record), 2);
    EXPECT_EQ(tiny.bands, (std::set<std::pair<int, int>>{{0, 1}}));
}

TEST(Sampling, BilinearWeightsFadeToZeroOutsideTheImage) {
    ImageQ4 img(3, 3);
    for (int y = 0; y < 3; y++)
        for (int x = 0; x < 3; x++) img.rows[y][x] = PixelQ4(1000 * (x + 1), 100 * (y + 1), 20000, 32767);
    PixelQ4 p;
    img.PointSampleB(1.0f, 2.0f, p);  // integral position: the pixel itself
    EXPECT_EQ(p.r, 2000);
    EXPECT_EQ(p.g, 300);
    img.PointSampleB(-0.5f, 1.0f, p);  // the missing column -1 counts as zero
    EXPECT_EQ(p.r, 500);
    EXPECT_EQ(p.b, 10000);
    EXPECT_EQ(p.a, 16383);
    // A quarter across and half down from (0, 0): weights 12288, 4096, 12288, 4096 of 32768.
    img.PointSampleB(0.25f, 0.5f, p);
    EXPECT_EQ(p.r, (1000 * 12288 + 2000 * 4096 + 1000 * 12288 + 2000 * 4096) >> 15);
    EXPECT_EQ(p.g, (100 * 12288 + 100 * 4096 + 200 * 12288 + 200 * 4096) >> 15);
    PixelQ4 q;  // area samples take the point sample at the centre
    img.AreaSampleW(0.0f, 0.0f, 0.5f, 1.0f, q);
    EXPECT_EQ(q.r, p.r);
    img.PointSampleD(2.5f, 2.5f, p);  // three of four neighbours outside
    EXPECT_EQ(p.r, (3000 * 8192) >> 15);
}

TEST(PixelColour, LumaAndHsvOfKnownColours) {
    unsigned short l, h, s, v;
    PixelQ4(1600, 3200, 16000, 7).GetLuminance(l);
    EXPECT_EQ(l, (5 * 1600 + 8 * 3200 + 3 * 16000) / 16);
    // (r, g, b) -> (h, s, v): hue sectors are 16384 wide, the ratios scale by 16383.
    const struct { int r, g, b, h, s, v; } cases[] = {
        {32767, 0, 0, 0, 32766, 32766},
        {0, 32767, 0, (32768 / 6) * 2, 32766, 32766},                   // 16383 - 16383 + 32768
        {0, 0, 32767, (65536 / 6) * 2, 32766, 32766},                   // 16383 - 16383 + 65536
        {32767, 0, 32767, ((98304 - 16383) / 6) * 2, 32766, 32766},     // negative hue wrapped
        {20000, 20000, 20000, 0, 0, 20000},
        {0, 0, 0, 0, 0, 0},
    };
    for (const auto& k : cases) {
        PixelQ4(k.r, k.g, k.b, 0).GetHSV(h, s, v);
        EXPECT_EQ(std::vector<int>({h, s, v}), std::vector<int>({k.h, k.s, k.v})) << k.r << " " << k.g << " " << k.b;
    }
}

TEST(PixelColour, SetHsvBuildsSectorColoursInItsOwnPrecisionAndRoundTrips) {
    // (h, s, v) -> (r, g, b), alpha kept. The last case is sector 1 with f = 39: the ramp level
    // (16383^2 - 16054 * 39) * 16290 / 16383^2 is just above 16252 in exact arithmetic, but the
    // single-precision product with the scale 16290 / 268402688 truncates to 16251.
    const struct { int h, s, v, r, g, b; } cases[] = {
        {0, 32766, 32766, 32766, 0, 0},
        {12000, 0, 20000, 20000, 20000, 20000},
        {5474, 32108, 32580, 2 * 16251, 32580, 2 * ((329 * 16290) / 16383)},
    };
    for (const auto& k : cases) {
        PixelQ4 p(1, 2, 3, 999);
        p.SetHSV(k.h, k.s, k.v);
        EXPECT_EQ(std::vector<int>({p.r, p.g, p.b, p.a}), std::vector<int>({k.r, k.g, k.b, 999})) << k.h;
    }
    // There and back returns close to the colour: the 14-bit working copies, the hue's sixths
    // and the integer ratios lose a few units of the 15-bit range at most.
    std::mt19937 gen(7);
    std::uniform_int_distribution<int> d(0, 32767);
    for (int i = 0; i < 500; i++) {
        PixelQ4 c(d(gen), d(gen), d(gen), 5), back = c;
        unsigned short h, s, v;
        c.GetHSV(h, s, v);
        back.SetHSV(h, s, v);
        for (int k = 0; k < 3; k++) ASSERT_NEAR(back.c[k], c.c[k], 16) << c.r << " " << c.g << " " << c.b;
    }
}
