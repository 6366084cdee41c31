// The exports that write four pixels per step against the pixel-by-pixel mapping they replace, on
// random rows of every width up to 13 (so every tail length occurs) with channel values over the
// whole 16-bit range and random low bits in the host's 12-bit words; the bytes just past the
// frame must stay as they were.
#include <vector>

#include "Library/Q4Convert.h"
#include "Library/Q4PixelMap.h"
#include "tests/unit/library/library_env.h"

TEST(ExportRows, FourAtATimeMatchesThePixelMapping) {
    unsigned state = 99;
    auto draw = [&] {
        state = state * 1103515245u + 12345u;
        return (unsigned short)(state >> 16);
    };
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
