// Polygon rasteriser: scan conversion of a simple polygon (convex or concave) at 8x8 supersamples
// into a 0/1 coverage mask, reduced by box filtering and blended into the band's layer.
//
// The scan conversion is the classic half-open concave-polygon algorithm: an index list sorted by
// y feeds an active edge list sorted by x, and spans run between pairs of active edges. Its pixel
// centre conventions, its sorting rules and its mask layout decide which pixels a particle
// touches, so they are kept exactly as they have always been, quirks included, so that existing
// setups render the same pixels.
#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"
#include "effect/BlockSums.h"
#include "effect/Bounded.h"
#include "effect/Particles.h"
#include "effect/Raster.h"
#include "effect/Vesk.h"

namespace {

const char* const kTag = "effect/Raster";

int clamp15(long long v)
{
    if (v < 0) return 0;
    if (v > 32767) return 32767;
    return (int)v;
}

// A polygon edge entering or leaving the scan happens at the sample height y + 0.5 of a scan
// line; edges are found through the vertex before and after each vertex crossed.
int prev_vertex(int i, int n) { return i == 0 ? n - 1 : i - 1; }
int next_vertex(int i, int n) { return i == n - 1 ? 0 : i + 1; }

// Scan-converts the polygon of the band's slot (vertices supersampled, `ind` sorted by y) from
// row ymin to ymax, calling visit(mask row, first column from xmin, cell count) for each span.
// Stops at the first visit that returns false and returns false; can be run again from the start.
template <typename Visit>
bool scan_spans(Vesk& v, int band, const int* ind, int xmin, int ymin, int ymax, Visit visit)
{
    Vesk::ScanSlot& slot = v.scan_slots[band];
    const int n = slot.n;
    const tagPOS* pts = slot.pt;
    slot.nact = 0;
    int k = 0;
    // The height of the next vertex to cross (never reached once all are crossed).
    double next_y = (double)pts[ind[0]].y;
    for (int y = ymin; y <= ymax; ++y) {
        const double sample = (double)y + 0.5;
        // Vertices crossed since the previous sample height: their edges enter or leave. An edge
        // whose two ends both lie within the half-open interval around the sample is neither
        // added nor removed.
        while (next_y <= sample) {
            const int i = ind[k];
            int j = prev_vertex(i, n);
            if ((double)pts[j].y <= (double)y - 0.5) {
                v.rem_edge(j, band);
            } else if ((double)pts[j].y > sample) {
                v.add_edge(j, y, band);
            }
            j = next_vertex(i, n);
            if ((double)pts[j].y <= (double)y - 0.5) {
                v.rem_edge(i, band);
            } else if ((double)pts[j].y > sample) {
                v.add_edge(i, y, band);
            }
            k += 1;
            next_y = k < n ? (double)pts[ind[k]].y : HUGE_VAL;
        }
        v.sort_act(slot.active, slot.nact);
        // Spans between pairs of active edges; an unpaired last edge (never seen with a closed
        // polygon) is left alone rather than paired with stale memory.
        for (int e = 0; e + 1 < slot.nact; e += 2) {
            EDGE& a = slot.active[e];
            EDGE& b = slot.active[e + 1];
            const int xl = (int)std::ceil(a.x - 0.5);
            const int xr = (int)std::floor(b.x - 0.5);
            if (xl <= xr && !visit(y - ymin, (long long)xl - xmin, (long long)xr - xl + 1)) return false;
            a.x += a.dx;
            b.x += b.dx;
        }
    }
    return true;
}

}  // namespace

tagPOS Vesk::ssize(tagPOS p, int fx, int fy)
{
    p.x = p.x * (float)fx;
    p.y = p.y * (float)fy;
    return p;
}

// Bubble sorts of `count` full passes that swap on greater-or-equal: equal keys change places on
// every pass. The order among equal keys never changes a pixel, but the rule is kept as it is.
void Vesk::sort_indx(int* ind, int n, int band)
{
    if (n < 1) return;
    const tagPOS* pt = scan_slots[band].pt;
    for (int pass = 0; pass < n; ++pass) {
        for (int j = 0; j < n - 1; ++j) {
            if (pt[ind[j]].x >= pt[ind[j + 1]].x) {
                int t = ind[j];
                ind[j] = ind[j + 1];
                ind[j + 1] = t;
            }
        }
    }
}

void Vesk::sort_indy(int* ind, int n, int band)
{
    if (n < 1) return;
    const tagPOS* pt = scan_slots[band].pt;
    for (int pass = 0; pass < n; ++pass) {
        for (int j = 0; j < n - 1; ++j) {
            if (pt[ind[j]].y >= pt[ind[j + 1]].y) {
                int t = ind[j];
                ind[j] = ind[j + 1];
                ind[j + 1] = t;
            }
        }
    }
}

void Vesk::sort_act(EDGE* active, int n)
{
    if (n < 1) return;
    // Edges already in strictly increasing order are never swapped; the usual case, since edges
    // of a polygon only meet at its vertices. Equal positions are swapped on every pass, so only
    // the full passes give their order.
    int ordered = 0;
    while (ordered < n - 1 && active[ordered].x < active[ordered + 1].x) ++ordered;
    if (ordered == n - 1) return;
    for (int pass = 0; pass < n; ++pass) {
        for (int j = 0; j < n - 1; ++j) {
            if (active[j].x >= active[j + 1].x) {
                EDGE t = active[j];
                active[j] = active[j + 1];
                active[j + 1] = t;
            }
        }
    }
}

void Vesk::add_edge(int i, int y, int band)
{
    ScanSlot& slot = scan_slots[band];
    const int j = next_vertex(i, slot.n);
    // p is the upper end; on a tie the next vertex counts as the upper one.
    const tagPOS* p;
    const tagPOS* q;
    if (slot.pt[i].y < slot.pt[j].y) {
        p = &slot.pt[i];
        q = &slot.pt[j];
    } else {
        p = &slot.pt[j];
        q = &slot.pt[i];
    }
    const float dx = (q->x - p->x) / (q->y - p->y);
    EDGE& e = slot.active[slot.nact];
    e.dx = (double)dx;
    e.x = e.dx * ((double)y + 0.5 - (double)p->y) + (double)p->x;
    e.i = i;
    slot.nact += 1;
}

void Vesk::rem_edge(int i, int band)
{
    ScanSlot& slot = scan_slots[band];
    int j = 0;
    while (j < slot.nact && slot.active[j].i != i) ++j;
    if (j >= slot.nact) return;
    slot.nact -= 1;
    std::memmove(&slot.active[j], &slot.active[j + 1], sizeof(EDGE) * (size_t)(slot.nact - j));
}

// The index has no separate test of the column against w: a sample in column w lands in column 0
// of the next row, and the last spanned row always falls outside the mask. Both are kept so
// existing setups render the same pixels.
void Vesk::draw_line(int y, int xl, int xr, int xmin, int ymin, int w, int h, int* mask)
{
    if (xr < xl) return;
    const long long size = (long long)w * h;
    // The samples of the span are consecutive cells; only those inside the mask are set.
    long long first = (long long)(y - ymin) * w + (xl - xmin);
    long long last = first + (xr - xl);
    if (first < 0) first = 0;
    if (last > size - 1) last = size - 1;
    for (long long idx = first; idx <= last; ++idx) mask[idx] = 1;
}

// The coverage mask is never laid out in full: the spans are counted straight into the 8x8 block
// sums as the scan makes them (with the row layout's wrap and drop), falling back to runs sorted
// per mask row in the rare polygon whose spans leave that order. The cells counted are exactly
// those the mask would hold, so every pixel gets the same coverage; the working memory is the
// scan slot's own, kept between polygons.
void Vesk::concave_d(int n, tagPOS* pts, tagPART* part, int band)
{
    ScanSlot& slot = scan_slots[band];
    RasterScratch& scratch = raster_scratch[band];
    slot.n = n;
    for (int i = 0; i < n; ++i) pts[i] = ssize(pts[i], RASTER_SUPERSAMPLE, RASTER_SUPERSAMPLE);
    slot.pt = pts;
    if (n < 1) return;

    scratch.ind.resize((size_t)n);
    scratch.active.resize((size_t)n);
    int* ind = scratch.ind.data();
    slot.active = scratch.active.data();
    for (int k = 0; k < n; ++k) ind[k] = k;

    sort_indx(ind, n, band);
    const int xmin = bounded_int(std::ceil((double)pts[ind[0]].x - 0.5));
    const int xmax = bounded_int(std::floor((double)pts[ind[n - 1]].x - 0.5));
    const int w = xmax - xmin;

    sort_indy(ind, n, band);
    const int ymin = bounded_int(std::ceil((double)pts[ind[0]].y - 0.5));
    const int ymax = bounded_int(std::floor((double)pts[ind[n - 1]].y - 0.5));
    const int h = ymax - ymin;
    // A polygon wider or taller than the largest shape drawn, or with a corner that is not a
    // number or lies beyond the bounded range, is not drawn: past this test every corner lies
    // inside that range.
    const int most = PART_MAX_EXTENT * RASTER_SUPERSAMPLE;
    bool corners_bounded = true;
    for (int k = 0; k < n; ++k)
        corners_bounded = corners_bounded && std::fabs(pts[k].x) < (float)BOUNDED_LIMIT &&
                          std::fabs(pts[k].y) < (float)BOUNDED_LIMIT;
    if (!corners_bounded || w > most || h > most) {
        slot.nact = 0;
        return;
    }

    // w and h are one less than the supersample columns and rows the polygon spans; the mask is
    // laid out by them as it always has been. Without a whole 8x8 block nothing can be drawn.
    const int bw = w / RASTER_SUPERSAMPLE, bh = h / RASTER_SUPERSAMPLE;
    slot.nact = 0;
    if (bw <= 0 || bh <= 0) return;
    const long long size = (long long)w * h;
    scratch.sums.assign((size_t)bw * (size_t)bh, 0);
    scratch.steps.assign((size_t)(bw + 1) * (size_t)bh, 0);
    int* sums = scratch.sums.data();
    int* steps = scratch.steps.data();
    BlockCounter counter(w, bw, bh, sums, steps);
    if (scan_spans(*this, band, ind, xmin, ymin, ymax,
                   [&](int row, long long col, long long count) { return counter.Add(row, col, count); })) {
        counter.Finish();
    } else {
        // A span out of the usual order (rounding in an edge position): every span again, as runs.
        scratch.general_path += 1;
        std::fill(scratch.sums.begin(), scratch.sums.end(), 0);
        std::fill(scratch.steps.begin(), scratch.steps.end(), 0);
        scratch.runs.clear();
        scan_spans(*this, band, ind, xmin, ymin, ymax, [&](int row, long long col, long long count) {
            AddMaskCells(scratch.runs, row, col, count, w, size, RASTER_SUPERSAMPLE * bh,
                         RASTER_SUPERSAMPLE * bw);
            return true;
        });
        SumMaskBlocks(scratch.runs, bw, bh, sums, steps);
    }
    // Integer division truncates toward zero, so a polygon at negative coordinates lands one
    // pixel right or down of where floor rounding would put it; kept for the same pixels.
    blend_coverage(xmin / RASTER_SUPERSAMPLE, ymin / RASTER_SUPERSAMPLE, bw, bh, sums, part, band);
}

void Vesk::draw_ssimage(int ox, int oy, int w, int h, int* mask, tagPART* part, int band)
{
    const int ss = RASTER_SUPERSAMPLE;
    const int bw = w / ss;
    const int bh = h / ss;
    long long blocks = (long long)bw * bh;
    if (blocks < 0) blocks = -blocks;
    // Only whole 8x8 blocks make pixels: a polygon narrower or shorter than one pixel draws none.
    if (bw <= 0 || bh <= 0) return;
    int* sums = (int*)q4_calloc((size_t)blocks, sizeof(int), kTag, __LINE__);
    if (!sums) return;

    for (int r = 0; r < bh; ++r) {
        for (int c = 0; c < bw; ++c) {
            int s = 0;
            for (int dy = 0; dy < ss; ++dy) {
                const int* row = mask + (long long)(ss * r + dy) * w + ss * c;
                for (int dx = 0; dx < ss; ++dx) s += row[dx];
            }
            sums[r * bw + c] = s;
        }
    }

    blend_coverage(ox, oy, bw, bh, sums, part, band);
    q4_free(sums, kTag, __LINE__);
}

void Vesk::blend_coverage(int ox, int oy, int bw, int bh, const int* sums, tagPART* part, int band)
{
    tagPARTSET* s = set;
    ImageQ4* layer = s->work[band];
    ImageQ4* colours = s->shapes_over_cols ? s->source2 : nullptr;
    const float density = s->density;
    const int top = oy > 0 ? oy : 0;
    const int bottom = oy + bh - 1 < s->height2 - 1 ? oy + bh - 1 : s->height2 - 1;
    const int left = ox > 0 ? ox : 0;
    const int right = ox + bw - 1 < s->width2 - 1 ? ox + bw - 1 : s->width2 - 1;
    if (top > bottom || left > right) return;
    mark_layer_area(band, top, bottom, left, right);
    // Full coverage (64 samples) at density 1 is 32768, one in 15-bit fixed point. A block sum
    // is one of 65 values, so their coverages are worked out once.
    int coverage[RASTER_SUPERSAMPLE * RASTER_SUPERSAMPLE + 1];
    bool narrow = true;
    for (int k = 0; k <= RASTER_SUPERSAMPLE * RASTER_SUPERSAMPLE; ++k) {
        coverage[k] = bounded_int((float)k * 0.015625f * 32768.0f * density);
        narrow = narrow && coverage[k] >= 0 && coverage[k] <= 32768;
    }
    const int own[3] = {bounded_int(part->colour[0]), bounded_int(part->colour[1]), bounded_int(part->colour[2])};
    // Two pixels per step in 16-bit lanes where every value lies in the channel range: with
    // m = 32768 - a, (c * a + d * m) >> 15 is d + (((c - d) * a) >> 15), which lies between d and
    // c, so no clamp is needed; full coverage (a = 32768, beyond a lane) gives c itself.
    const bool own_in_range = own[0] >= 0 && own[0] <= 32767 && own[1] >= 0 && own[1] <= 32767 &&
                              own[2] >= 0 && own[2] <= 32767;
    const bool lanes = narrow && own_in_range;
    // A colour beyond the channel range (only Random Colours past 100 makes one) takes the wide
    // sums, which give the same numbers wherever the narrow ones do not overflow.
    const bool narrow_sums = narrow && own_in_range;
    // Each block sum's coverage in four lanes (full coverage, beyond a lane, marked apart).
    unsigned long long coverage_lanes[RASTER_SUPERSAMPLE * RASTER_SUPERSAMPLE + 1];
    unsigned long long full_lanes[RASTER_SUPERSAMPLE * RASTER_SUPERSAMPLE + 1];
    for (int k = 0; lanes && k <= RASTER_SUPERSAMPLE * RASTER_SUPERSAMPLE; ++k) {
        const unsigned long long lane = (unsigned long long)(coverage[k] > 32767 ? 32767 : coverage[k]);
        coverage_lanes[k] = lane | lane << 16 | lane << 32 | lane << 48;
        full_lanes[k] = coverage[k] == 32768 ? ~0ull : 0ull;
    }
    const __m128i opaque = _mm_setr_epi16(0, 0, 0, 32767, 0, 0, 0, 32767);
    const __m128i colour_lanes = _mm_setr_epi16(-1, -1, -1, 0, -1, -1, -1, 0);
    const __m128i own_pair = _mm_setr_epi16((short)own[0], (short)own[1], (short)own[2], 32767, (short)own[0],
                                            (short)own[1], (short)own[2], 32767);
    for (int Y = top; Y <= bottom; ++Y) {
        PixelQ4* dst_row = layer->rows[Y];
        const PixelQ4* colour_row = colours ? colours->rows[Y] : nullptr;
        const int* sum_row = sums + (long long)(Y - oy) * bw - ox;
        auto blend_pixel = [&](int X) {
            const int a = coverage[sum_row[X]];
            const int cr = colour_row ? colour_row[X].r : own[0];
            const int cg = colour_row ? colour_row[X].g : own[1];
            const int cb = colour_row ? colour_row[X].b : own[2];
            PixelQ4& d = dst_row[X];
            const int m = 32768 - a;
            if (narrow_sums) {
                // Premultiplied "over" of a solid colour with coverage a of at most one: every
                // sum stays within 32 bits and above zero.
                d.r = (unsigned short)clamp15((cr * a + d.r * m) >> 15);
                d.g = (unsigned short)clamp15((cg * a + d.g * m) >> 15);
                d.b = (unsigned short)clamp15((cb * a + d.b * m) >> 15);
                d.a = (unsigned short)clamp15((a * 32767 + d.a * m) >> 15);
                return;
            }
            // Densities above 1 turn m negative; wide intermediates keep them from overflowing
            // and the clamps absorb the excess.
            d.r = (unsigned short)clamp15(((long long)cr * a + (long long)d.r * m) >> 15);
            d.g = (unsigned short)clamp15(((long long)cg * a + (long long)d.g * m) >> 15);
            d.b = (unsigned short)clamp15(((long long)cb * a + (long long)d.b * m) >> 15);
            d.a = (unsigned short)clamp15(((long long)a * 32767 + (long long)d.a * m) >> 15);
        };
        int X = left;
        for (; lanes && X + 1 <= right; X += 2) {
            const int s0 = sum_row[X], s1 = sum_row[X + 1];
            const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(dst_row + X));
            // No coverage leaves a pixel within the channel range as it is; most of a shape's
            // box is outside the shape.
            if ((s0 | s1) == 0 && !(_mm_movemask_epi8(d) & 0xAAAA)) continue;
            const __m128i c =
                colour_row ? _mm_or_si128(_mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(colour_row + X)),
                                                        colour_lanes),
                                          opaque)
                           : own_pair;
            if (_mm_movemask_epi8(_mm_or_si128(c, d)) & 0xAAAA) {
                blend_pixel(X);
                blend_pixel(X + 1);
                continue;
            }
            const __m128i a = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&coverage_lanes[s0])),
                                                 _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&coverage_lanes[s1])));
            const __m128i full = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&full_lanes[s0])),
                                                    _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&full_lanes[s1])));
            const __m128i diff = _mm_sub_epi16(c, d);
            const __m128i step = _mm_or_si128(_mm_slli_epi16(_mm_mulhi_epi16(diff, a), 1),
                                              _mm_srli_epi16(_mm_mullo_epi16(diff, a), 15));
            const __m128i blended = _mm_add_epi16(d, step);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst_row + X),
                             _mm_or_si128(_mm_and_si128(full, c), _mm_andnot_si128(full, blended)));
        }
        for (; X <= right; ++X) {
            if (sum_row[X] == 0 && (dst_row[X].r | dst_row[X].g | dst_row[X].b | dst_row[X].a) <= 32767) continue;
            blend_pixel(X);
        }
    }
}
