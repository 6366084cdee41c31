// Host pixel conversion: channel mappings, reduced-resolution import and export, the 10-bit
// truncation and the band workers.
#include <memory>
#include <vector>

#include "Library/Q4Convert.h"
#include "tests/unit/library/library_env.h"

TEST(Convert, HostValuesRoundTripThroughTheWorkingRange) {
    std::vector<unsigned char> host(256 * 3), out(256 * 3, 0);
    for (int i = 0; i < 256 * 3; i++) host[i] = (unsigned char)(i / 3);
    std::unique_ptr<ImageQ4> img(ConvertFromDLImage8(host.data(), 256, 1, 1.0, 1, nullptr, 1));
    const PixelQ4* row = img->rows[0];
    EXPECT_EQ(std::vector<int>({row[255].r, row[128].g, row[0].b, row[77].a}),
              std::vector<int>({32767, 16448, 0, 32767}));  // 128 -> 128 << 7 | 64
    ConvertToDLImage8(img.get(), out.data(), 256, 1, 1);
    EXPECT_EQ(out, host);
    img->rows[0][0] = PixelQ4(65535, 32768, 255, 0);  // above the range: clamped on the way out
    ConvertToDLImage8(img.get(), out.data(), 256, 1, 1);
    EXPECT_EQ(std::vector<int>({out[0], out[1], out[2]}), std::vector<int>({255, 255, 1}));

    // 12-bit words carry the value in their upper twelve bits; the low four are the host's.
    std::vector<unsigned short> host12(4096 * 3), out12(4096 * 3, 0xA);
    for (int i = 0; i < 4096 * 3; i++) host12[i] = (unsigned short)((i / 3) << 4 | (i & 15));
    img.reset(ConvertFromDLImage12(host12.data(), 4096, 1, 1.0, 1, nullptr, 1));
    EXPECT_EQ(img->rows[0][4095].r, 32767);
    EXPECT_EQ(img->rows[0][1].r, 8);
    ConvertToDLImage12(img.get(), out12.data(), 4096, 1, 1, 0);
    for (int i = 0; i < 4096 * 3; i++) ASSERT_EQ(out12[i], (i / 3) << 4 | 0xA) << i;
}

TEST(Convert, TruncationReducesTheImageItselfToTenBits) {
    ImageQ4 img(1, 1);
    img.rows[0][0] = PixelQ4(0x7FFF, 0x0030, 0x0010, 0x7FFF);
    std::vector<unsigned short> out(3, 0x5);
    testing::internal::CaptureStdout();
    ConvertToDLImage12(&img, out.data(), 1, 1, 1, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Truncating 12bit image to 10 bits.\n");
    // Bits 0-3 and 5 cleared, bit 4 kept, alpha untouched.
    EXPECT_EQ(std::vector<int>({img.rows[0][0].r, img.rows[0][0].g, img.rows[0][0].b, img.rows[0][0].a}),
              std::vector<int>({0x7FD0, 0x0010, 0x0010, 0x7FFF}));
    EXPECT_EQ(out[0], ((0x7FD0 >> 3) << 4) | 0x5);
}

TEST(Convert, ReducedImportPicksHostPixelsHalfAStepInOnAnEvenSizedImage) {
    std::vector<unsigned char> host(103 * 20 * 3);
    for (int y = 0; y < 20; y++)
        for (int x = 0; x < 103; x++) {
            host[(y * 103 + x) * 3] = (unsigned char)x;
            host[(y * 103 + x) * 3 + 1] = (unsigned char)y;
        }
    std::unique_ptr<ImageQ4> odd(ConvertFromDLImage8(host.data(), 101, 9, 0.9, 2, nullptr, 0));
    EXPECT_EQ(std::vector<double>({(double)odd->width, (double)odd->height, odd->sample_step, odd->ratio}),
              std::vector<double>({50, 4, 2.0, 0.9}));
    std::unique_ptr<ImageQ4> unit(ConvertFromDLImage8(host.data(), 103, 9, 1.0, -3, nullptr, 0));
    EXPECT_EQ(unit->width, 103);  // a step below 1 counts as 1
    EXPECT_EQ(ConvertFromDLImage8(nullptr, 103, 9, 1.0, 2, nullptr, 1), nullptr);

    std::unique_ptr<ImageQ4> img(ConvertFromDLImage8(host.data(), 103, 20, 1.0, 2, nullptr, 0));
    ASSERT_EQ(img->width, 52);  // quotient 51 rounded up to even
    img->Fill(1, 1, 1, 1);
    ConvertFromDLImage8(host.data(), 103, 20, 1.0, 2, img.get(), 1);
    for (int j = 0; j < 10; j++) {
        for (int i = 0; i < 51; i++) {
            ASSERT_EQ(img->rows[j][i].r, ((1 + 2 * i) << 7) | ((1 + 2 * i) >> 1));
            ASSERT_EQ(img->rows[j][i].g, ((1 + 2 * j) << 7) | ((1 + 2 * j) >> 1));
        }
        EXPECT_EQ(img->rows[j][51].r, 1);  // no host sample reaches the added column
    }
}

TEST(Convert, ReducedExportReplicatesEachImagePixelOverItsHostBlock) {
    ImageQ4 img(4, 4);
    for (int y = 0; y < 4; y++)
        for (int x = 0; x < 4; x++) img.rows[y][x] = PixelQ4(128 * (x + 1), 128 * (y + 1), 0, 0);
    std::vector<unsigned char> out(14 * 13 * 3, 0xEE);
    ConvertToDLImage8(&img, out.data(), 14, 13, 3);
    for (int y = 0; y < 13; y++)
        for (int x = 0; x < 14; x++) {
            ASSERT_EQ(out[(y * 14 + x) * 3], std::min(x / 3, 3) + 1) << x << "," << y;
            ASSERT_EQ(out[(y * 14 + x) * 3 + 1], std::min(y / 3, 3) + 1);
        }
}

class ConvertBands : public WithHost {
protected:
    template <typename... A>
    static void fork(void (*job)(A...), A... args) {
        sparkMpFork(reinterpret_cast<void (*)()>(job), (int)sizeof...(A), args...);
    }
};

TEST_F(ConvertBands, FullResolutionWorkersMatchTheConversions) {
    const int W = 37, H = 23;
    std::vector<unsigned char> host8(W * H * 3), out8(W * H * 3, 0), want8(W * H * 3, 0);
    std::vector<unsigned short> host12(W * H * 3);
    for (size_t i = 0; i < host8.size(); i++) {
        host8[i] = (unsigned char)(i * 7 + 3);
        host12[i] = (unsigned short)(i * 2654435761u);
    }
    std::unique_ptr<ImageQ4> ref8(ConvertFromDLImage8(host8.data(), W, H, 1.0, 1, nullptr, 1));
    std::unique_ptr<ImageQ4> ref12(ConvertFromDLImage12(host12.data(), W, H, 1.0, 1, nullptr, 1));
    ImageQ4 img8(W, H), img12(W, H);
    fork(mp_copy_pixel_data, host8.data(), &img8, 3);
    fork(mp_copy_pixel_data_deep12, host12.data(), &img12, 3);
    EXPECT_TRUE(same_pixels(img8, *ref8));
    EXPECT_TRUE(same_pixels(img12, *ref12));
    ConvertToDLImage8(&img8, want8.data(), W, H, 1);
    fork(mp_paste_pixel_data, out8.data(), &img8, 3);
    EXPECT_EQ(out8, want8);
    std::vector<unsigned short> out12(host12), want12(host12);
    ConvertToDLImage12(&img12, want12.data(), W, H, 1, 0);
    fork(mp_paste_pixel_data_deep12, out12.data(), &img12, 3);
    EXPECT_EQ(out12, want12);
}

TEST_F(ConvertBands, ScaledWorkersStepThroughHostRowsFromEachBandStart) {
    // Bands of 9 host rows over three jobs start at 0, 3 and 6, all on the grid of step 3, so
    // host rows and columns 0, 3, 6 ... are taken, without the import's half-step offset.
    const int W = 12, H = 9, s = 3;
    std::vector<unsigned char> host(W * H * 3), out(W * H * 3, 0), want(W * H * 3, 0);
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) host[(y * W + x) * 3] = (unsigned char)(10 * y + x);
    for (int jobs : {1, 3}) {
        UseProcessors(jobs);
        ImageQ4 img(4, 3);
        img.sample_step = (float)s;
        fork(mp_copy_pixel_data_scale, host.data(), &img, jobs, H, W);
        for (int j = 0; j < 3; j++)
            for (int i = 0; i < 4; i++) {
                const int b = 10 * s * j + s * i;
                ASSERT_EQ(img.rows[j][i].r, (b << 7) | (b >> 1)) << i << "," << j;
            }
        ConvertToDLImage8(&img, want.data(), W, H, s);
        fork(mp_paste_pixel_data_scale, out.data(), &img, jobs, H, W);
        EXPECT_EQ(out, want);
        std::vector<unsigned short> out12(W * H * 3, 0x3), want12(W * H * 3, 0x3);
        ConvertToDLImage12(&img, want12.data(), W, H, s, 0);
        fork(mp_paste_pixel_data_scale_deep12, out12.data(), &img, jobs, H, W);
        EXPECT_EQ(out12, want12);
    }
}
