// The composite pass: the render layers laid in chunk order over the base picture with the
// premultiplied "over" operator, v = P + ((v * (32767 - P.alpha)) >> 15) per channel and layer,
// clamped to 0 .. 32767 at the end.
//
// Each row is cut at the columns where a layer's drawn span starts or ends. Where a layer drew
// nothing its pixels are transparent black, which still shrinks what lies beneath by 1/32768; that
// is computed from a zero pixel instead of read. Pixels go two at a time through 16-bit SSE2
// arithmetic that is exact while every value stays non-negative and within 16 bits; a pair that
// could leave that range is done again in wide integers, so the bytes never depend on the path.
#include <emmintrin.h>

#include <cstring>
#include <utility>

#include "Library/Q4Image.h"
#include "effect/PartRender.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"

namespace {

// The exact composite of one pixel over `count` layer pixels (null: transparent black), in wide
// integers: layers of faint texture sprites can hold colour well above their alpha, and four of
// them could carry a sum past 32 bits.
void composite_pixel_wide(PixelQ4& out, const PixelQ4* const* layer_rows, int count, int x)
{
    long long v[4] = {out.r, out.g, out.b, out.a};
    for (int i = 0; i < count; ++i) {
        static const PixelQ4 transparent(0, 0, 0, 0);
        const PixelQ4& P = layer_rows[i] ? layer_rows[i][x] : transparent;
        // The complement is taken against 32767 while the shift divides by 32768, so even a fully
        // opaque layer lets 1/32768 of what lies beneath through and an empty layer shrinks a
        // value by 1/32768; colours are never rounded up. Kept so existing setups composite to
        // the same values.
        const long long k = 32767 - P.a;
        for (int c = 0; c < 4; ++c) v[c] = P.c[c] + ((v[c] * k) >> 15);
    }
    for (int c = 0; c < 4; ++c) out.c[c] = (unsigned short)(v[c] < 0 ? 0 : (v[c] > 32767 ? 32767 : v[c]));
}

// Columns [x0, x1) of one row. With P.alpha <= 32767 the complement k lies in 0 .. 32767, so for
// any 16-bit v the product v * k stays below 2^31 and (v * k) >> 15 is the high half shifted up
// by one plus the top bit of the low half, exactly. The sum P + that is exact unless it reaches
// 65535, which the saturating add would hide; such pairs, and pairs with any layer value of
// 32768 or more, take the wide path.
void composite_span(PixelQ4* out, const PixelQ4* const* layer_rows, int count, int x0, int x1)
{
    const __m128i full = _mm_set1_epi16(32767);
    bool any_drawn = false;
    for (int i = 0; i < count; ++i) any_drawn = any_drawn || layer_rows[i];
    if (!any_drawn && count > 0) {
        // Only empty layers: each takes (v * 32767) >> 15 = v - 1 from a value v of 1 to 32767
        // and leaves 0 at 0, so n of them take v - n, stopping at 0. Values above 32767 lose
        // more per layer and take the general path.
        const __m128i n = _mm_set1_epi16((short)count);
        int x = x0;
        for (; x + 2 <= x1; x += 2) {
            __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(out + x));
            if (_mm_movemask_epi8(v) & 0xAAAA) {
                composite_pixel_wide(out[x], layer_rows, count, x);
                composite_pixel_wide(out[x + 1], layer_rows, count, x + 1);
                continue;
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_subs_epu16(v, n));
        }
        for (; x < x1; ++x) composite_pixel_wide(out[x], layer_rows, count, x);
        return;
    }
    const __m128i ones = _mm_set1_epi16(-1);
    int x = x0;
    for (; x + 2 <= x1; x += 2) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(out + x));
        __m128i doubt = _mm_setzero_si128();
        for (int i = 0; i < count; ++i) {
            __m128i p = _mm_setzero_si128();
            if (layer_rows[i]) p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(layer_rows[i] + x));
            const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(p, 0xFF), 0xFF);
            const __m128i k = _mm_sub_epi16(full, alpha);
            const __m128i high = _mm_mulhi_epu16(v, k);
            const __m128i low = _mm_mullo_epi16(v, k);
            const __m128i beneath = _mm_or_si128(_mm_slli_epi16(high, 1), _mm_srli_epi16(low, 15));
            v = _mm_adds_epu16(p, beneath);
            doubt = _mm_or_si128(doubt, _mm_or_si128(p, _mm_cmpeq_epi16(v, ones)));
        }
        if (_mm_movemask_epi8(doubt) & 0xAAAA) {
            composite_pixel_wide(out[x], layer_rows, count, x);
            composite_pixel_wide(out[x + 1], layer_rows, count, x + 1);
            continue;
        }
        // min(v, 32767) for unsigned lanes: v less its excess over 32767.
        v = _mm_sub_epi16(v, _mm_subs_epu16(v, full));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), v);
    }
    for (; x < x1; ++x) composite_pixel_wide(out[x], layer_rows, count, x);
}

}  // namespace

void Vesk::mp_Composite(int start, int end)
{
    tagPARTSET* s = set;
    if (!s || !s->result) return;
    ImageQ4* out = s->result;
    const int layers_in_use = part_layers_in_use(bands);
    const int width = out->width;
    // The frame's background copy and its matte, when they wait for this pass.
    const ImageQ4* background = background_pending ? s->source1 : nullptr;
    const bool take_matte = background && matte_pending;
    for (int y = start; y <= end; ++y) {
        if (background) std::memcpy(out->rows[y], background->rows[y], (size_t)width * sizeof(PixelQ4));
        // The layers present, in chunk order, and the columns each may have drawn in this row:
        // the frame driver's own layers know theirs, any other layer is read whole.
        const PixelQ4* rows[PART_MAX_BANDS];
        int first[PART_MAX_BANDS], last[PART_MAX_BANDS];
        int count = 0;
        int cuts[2 * PART_MAX_BANDS + 2];
        int ncuts = 0;
        cuts[ncuts++] = 0;
        cuts[ncuts++] = width;
        for (int i = 0; i < layers_in_use; ++i) {
            ImageQ4* layer = s->work[i];
            if (!layer) continue;
            first[count] = 0;
            last[count] = width - 1;
            if (layer == layers[i]) layer_columns(i, y, &first[count], &last[count]);
            rows[count] = layer->rows[y];
            if (first[count] <= last[count]) {
                cuts[ncuts++] = first[count] < 0 ? 0 : first[count];
                cuts[ncuts++] = last[count] + 1 > width ? width : last[count] + 1;
            }
            ++count;
        }
        for (int a = 1; a < ncuts; ++a)  // at most ten cuts: an insertion sort
            for (int b = a; b > 0 && cuts[b - 1] > cuts[b]; --b) std::swap(cuts[b - 1], cuts[b]);
        PixelQ4* row = out->rows[y];
        for (int c = 0; c + 1 < ncuts; ++c) {
            const int x0 = cuts[c], x1 = cuts[c + 1];
            if (x0 >= x1) continue;
            const PixelQ4* span_rows[PART_MAX_BANDS];
            for (int i = 0; i < count; ++i) span_rows[i] = (first[i] <= x0 && x1 - 1 <= last[i]) ? rows[i] : nullptr;
            composite_span(row, span_rows, count, x0, x1);
        }
        // Every channel composites on its own, so the matte copied over the alpha afterwards is
        // the same as copied at the frame's end.
        if (take_matte) {
            const PixelQ4* matte = background->rows[y];
            for (int x = 0; x < width; ++x) row[x].a = matte[x].a;
        }
    }
}
