// The texture box filter as first written: every source pixel of the box inside the frame is
// visited and added. The oracle of the summed-area lookups of Vesk::anti_alias_sums, in tests and
// benchmarks.
#ifndef TESTS_ORACLE_LITERAL_TEXTURE_H
#define TESTS_ORACLE_LITERAL_TEXTURE_H

#include "Library/Q4Image.h"
#include "effect/Lumps.h"

inline tagTEXEL LiteralBoxFilter(int x, int y, int bw, int bh, const ImageQ4& colour,
                                 const ImageQ4& matte, int width, int height)
{
    long long sum[4] = {0, 0, 0, 0}, count = 0;
    for (int row = y - bh / 2; row <= y + bh / 2 - 1; ++row)
        for (int col = x - bw / 2; col <= x + bw / 2 - 1; ++col) {
            if (row < 0 || row >= height || col < 0 || col >= width) continue;
            const PixelQ4& c = colour.rows[row][col];
            sum[0] += c.r, sum[1] += c.g, sum[2] += c.b;
            sum[3] += matte.rows[row][col].r;
            ++count;
        }
    if (count < 1) count = 1;
    return tagTEXEL{(int)(sum[3] / count), (int)(sum[2] / count), (int)(sum[1] / count),
                    (int)(sum[0] / count)};
}

#endif
