// The conversions that work in SSE2 lanes against the pixel-by-pixel mapping they replace: exports
// on random rows of every width up to 13 (so every tail length occurs) with channel values over
// the whole 16-bit range and random low bits in the host's 12-bit words, the bytes just past the
// frame unchanged; imports at divisors 1 to 4 of odd and even sizes, where the last sample of a
// row may be the row's last pixel, and image pixels no sample reaches keep what they held.
#include <vector>

#include "Library/Q4Convert.h"
#include "Library/Q4PixelMap.h"
#include "tests/unit/library/library_env.h"

namespace {

unsigned state = 99;
unsigned short draw() {
    state = state * 1103515245u + 12345u;
    return (unsigned short)(state >> 16);
}

// The sampled import as first written: pixel (n/2 + i*n, n/2 + j*n) into image pixel (i, j).
template <typename Host, void (*Import)(PixelQ4&, const Host*)>
void literal_import(const std::vector<Host>& host, int w, int h, int n, ImageQ4& img) {
    const int cols = ConvertWorkingSize(w, n) < img.width ? ConvertWorkingSize(w, n) : img.width;
    for (int j = 0; j < img.height && j * n + n / 2 < h; ++j)
        for (int i = 0; i < cols && i * n + n / 2 < w; ++i)
            Import(img.rows[j][i], &host[((size_t)(j * n + n / 2) * w + i * n + n / 2) * 3]);
}

template <typename Host, void (*Import)(PixelQ4&, const Host*)>
void check_import(ImageQ4* (*convert)(void*, int, int, double, int, ImageQ4*, int), int w, int h, int n) {
    std::vector<Host> host((size_t)w * h * 3);
    for (auto& v : host) v = (Host)draw();
    ImageQ4 got(ConvertWorkingSize(w, n), ConvertWorkingSize(h, n)), want(got.width, got.height);
    got.Fill(1, 2, 3, 4);
    want.Fill(1, 2, 3, 4);
    literal_import<Host, Import>(host, w, h, n, want);
    convert(host.data(), w, h, 1.0, n, &got, 1);
    for (int y = 0; y < got.height; ++y)
        for (int x = 0; x < got.width; ++x)
            ASSERT_EQ(std::vector<int>(got.rows[y][x].c, got.rows[y][x].c + 4),
                      std::vector<int>(want.rows[y][x].c, want.rows[y][x].c + 4))
                << w << "x" << h << " at 1/" << n << ", pixel " << x << "," << y;
}

}  // namespace

TEST(ImportRows, SamplesInLanesMatchThePixelMapping) {
    for (int n = 1; n <= 4; ++n)
        for (int w : {1, 2, 5, 8, 13})
            for (int h : {1, 4, 7}) {
                check_import<unsigned char, q4_import8>(ConvertFromDLImage8, w, h, n);
                check_import<unsigned short, q4_import12>(ConvertFromDLImage12, w, h, n);
            }
}

TEST(ExportRows, FourAtATimeMatchesThePixelMapping) {
    for (int w = 1; w <= 13; ++w) {
        const int h = 3, guard = 8;
        ImageQ4 img(w, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) img.rows[y][x] = PixelQ4(draw(), draw(), draw(), draw());
        std::vector<unsigned char> got8((size_t)w * h * 3 + guard, 0x5A), want8 = got8;
        std::vector<unsigned short> got12((size_t)w * h * 3 + guard), want12;
        for (auto& word : got12) word = draw();
        want12 = got12;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                q4_export8(img.rows[y][x], &want8[((size_t)y * w + x) * 3]);
                q4_export12(img.rows[y][x], &want12[((size_t)y * w + x) * 3]);
            }
        ConvertToDLImage8(&img, got8.data(), w, h, 1);
        ConvertToDLImage12(&img, got12.data(), w, h, 1, 0);
        EXPECT_EQ(got8, want8) << "width " << w;
        EXPECT_EQ(got12, want12) << "width " << w;
    }
}
