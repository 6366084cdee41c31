// The summed-area table behind the texture sprites' box filter.
//
// Entry (x, y) holds the sums of red, green, blue (colour clip) and red (matte clip) over columns
// 0 .. x - 1 and rows 0 .. y - 1, so any box is four lookups. The entries are 32-bit and wrap:
// differences taken modulo 2^32 are exact as long as the true sum is below 2^32. A channel is at
// most 65535, so a box of at most 65537 pixels always qualifies; larger boxes are summed in bands
// of rows that each stay within that count, into 64-bit totals. A frame wider than that count gets
// no table, and its sprites filter pixel by pixel.
#include <climits>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"
#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"

namespace {

const char* const kTag = "effect/TextureSums";

// The most pixels whose wrapped 32-bit sum is still exact.
const long long kExactPixels = (long long)UINT_MAX / USHRT_MAX;

}  // namespace

Vesk::TextureSums::~TextureSums()
{
    if (sums) q4_free(sums, kTag, __LINE__);
}

bool Vesk::build_texture_sums()
{
    TextureSums& t = texture_sums;
    t.ready = false;
    const tagPARTSET* st = set;
    ImageQ4* colour = st->source2;
    ImageQ4* matte = st->source3;
    const int w = st->width2, h = st->height2;
    if (!colour || !matte || w < 1 || h < 1 || w > kExactPixels) return false;
    const long stride = (long)(w + 1) * 4;
    const long need = stride * (h + 1);
    if (need > t.capacity) {
        if (t.sums) q4_free(t.sums, kTag, __LINE__);
        t.sums = (unsigned*)q4_malloc(sizeof(unsigned) * (size_t)need, kTag, __LINE__);
        t.capacity = t.sums ? need : 0;
        if (!t.sums) return false;
    }
    t.width = w;
    t.height = h;
    for (long i = 0; i < stride; ++i) t.sums[i] = 0;
    for (int y = 0; y < h; ++y) {
        const PixelQ4* c = colour->rows[y];
        const PixelQ4* m = matte->rows[y];
        const unsigned* above = t.sums + (long)y * stride;
        unsigned* row = t.sums + (long)(y + 1) * stride;
        unsigned run[4] = {0, 0, 0, 0};
        row[0] = row[1] = row[2] = row[3] = 0;
        for (int x = 0; x < w; ++x) {
            run[0] += c[x].r;
            run[1] += c[x].g;
            run[2] += c[x].b;
            run[3] += m[x].r;
            unsigned* at = row + 4 * (x + 1);
            const unsigned* up = above + 4 * (x + 1);
            for (int k = 0; k < 4; ++k) at[k] = up[k] + run[k];
        }
    }
    t.ready = true;
    return true;
}

tagTEXEL Vesk::anti_alias_sums(const TextureSums& t, int x, int y, int bw, int bh) const
{
    tagTEXEL out = {0, 0, 0, 0};
    int x0 = x - bw / 2, x1 = x + bw / 2 - 1;
    int y0 = y - bh / 2, y1 = y + bh / 2 - 1;
    if (x0 < 0) x0 = 0;
    if (x1 > t.width - 1) x1 = t.width - 1;
    if (y0 < 0) y0 = 0;
    if (y1 > t.height - 1) y1 = t.height - 1;
    if (x1 < x0 || y1 < y0) return out;  // an empty box yields zeros
    const long long cols = x1 - x0 + 1;
    const long long count = cols * (y1 - y0 + 1);
    const long stride = (long)(t.width + 1) * 4;
    const long long rows_per_band = kExactPixels / cols;  // at least 1: see build_texture_sums
    long long total[4] = {0, 0, 0, 0};
    for (long long top = y0; top <= y1; top += rows_per_band) {
        const long long bottom = top + rows_per_band - 1 < y1 ? top + rows_per_band - 1 : y1;
        const unsigned* a = t.sums + (long)top * stride + 4 * x0;
        const unsigned* b = t.sums + (long)top * stride + 4 * (x1 + 1);
        const unsigned* c = t.sums + (long)(bottom + 1) * stride + 4 * x0;
        const unsigned* d = t.sums + (long)(bottom + 1) * stride + 4 * (x1 + 1);
        for (int k = 0; k < 4; ++k) total[k] += (unsigned)(d[k] - b[k] - c[k] + a[k]);
    }
    out.red = (int)(total[0] / count);
    out.green = (int)(total[1] / count);
    out.blue = (int)(total[2] / count);
    out.matte = (int)(total[3] / count);
    return out;
}
