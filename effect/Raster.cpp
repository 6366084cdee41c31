// Polygon rasteriser: scan conversion of a simple polygon (convex or concave) at 8x8 supersamples
// into a 0/1 coverage mask, reduced by box filtering and blended into the band's layer.
//
// The scan conversion is the classic half-open concave-polygon algorithm: an index list sorted by
// y feeds an active edge list sorted by x, and spans run between pairs of active edges. Its pixel
// centre conventions, its sorting rules and its mask layout decide which pixels a particle
// touches, so they are kept exactly as they have always been, quirks included, so that existing
// setups render the same pixels.
#include <cmath>
#include <cstring>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"
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

void Vesk::concave_d(int n, tagPOS* pts, tagPART* part, int band)
{
    ScanSlot& slot = scan_slots[band];
    slot.n = n;
    for (int i = 0; i < n; ++i) pts[i] = ssize(pts[i], RASTER_SUPERSAMPLE, RASTER_SUPERSAMPLE);
    slot.pt = pts;
    if (n < 1) return;

    int* ind = (int*)q4_malloc(sizeof(int) * (size_t)n, kTag, __LINE__);
    slot.active = (EDGE*)q4_malloc(sizeof(EDGE) * (size_t)n, kTag, __LINE__);
    if (!ind || !slot.active) {
        q4_free(ind, kTag, __LINE__);
        q4_free(slot.active, kTag, __LINE__);
        return;
    }
    for (int k = 0; k < n; ++k) ind[k] = k;

    sort_indx(ind, n, band);
    const int xmin = (int)std::ceil((double)pts[ind[0]].x - 0.5);
    const int xmax = (int)std::floor((double)pts[ind[n - 1]].x - 0.5);
    const int w = xmax - xmin;

    sort_indy(ind, n, band);
    const int ymin = (int)std::ceil((double)pts[ind[0]].y - 0.5);
    const int ymax = (int)std::floor((double)pts[ind[n - 1]].y - 0.5);
    const int h = ymax - ymin;

    // w and h are one less than the supersample columns and rows the polygon spans; the mask is
    // sized by them as it always has been.
    long long cells = (long long)w * h;
    if (cells < 0) cells = -cells;
    int* mask = (int*)q4_calloc(cells > 0 ? (size_t)cells : 1, sizeof(int), kTag, __LINE__);
    if (!mask) {
        q4_free(slot.active, kTag, __LINE__);
        q4_free(ind, kTag, __LINE__);
        return;
    }
    slot.nact = 0;

    int k = 0;
    for (int y = ymin; y <= ymax; ++y) {
        const double sample = (double)y + 0.5;
        // Vertices crossed since the previous sample height: their edges enter or leave. An edge
        // whose two ends both lie within the half-open interval around the sample is neither
        // added nor removed.
        while (k < n && (double)pts[ind[k]].y <= sample) {
            const int i = ind[k];
            int j = prev_vertex(i, n);
            if ((double)pts[j].y <= (double)y - 0.5) {
                rem_edge(j, band);
            } else if ((double)pts[j].y > sample) {
                add_edge(j, y, band);
            }
            j = next_vertex(i, n);
            if ((double)pts[j].y <= (double)y - 0.5) {
                rem_edge(i, band);
            } else if ((double)pts[j].y > sample) {
                add_edge(i, y, band);
            }
            k += 1;
        }
        sort_act(slot.active, slot.nact);
        // Spans between pairs of active edges; an unpaired last edge (never seen with a closed
        // polygon) is left alone rather than paired with stale memory.
        for (int e = 0; e + 1 < slot.nact; e += 2) {
            EDGE& a = slot.active[e];
            EDGE& b = slot.active[e + 1];
            const int xl = (int)std::ceil(a.x - 0.5);
            const int xr = (int)std::floor(b.x - 0.5);
            if (xl <= xr) draw_line(y, xl, xr, xmin, ymin, w, h, mask);
            a.x += a.dx;
            b.x += b.dx;
        }
    }

    // Integer division truncates toward zero, so a polygon at negative coordinates lands one
    // pixel right or down of where floor rounding would put it; kept for the same pixels.
    draw_ssimage(xmin / RASTER_SUPERSAMPLE, ymin / RASTER_SUPERSAMPLE, w, h, mask, part, band);

    q4_free(slot.active, kTag, __LINE__);
    q4_free(ind, kTag, __LINE__);
    q4_free(mask, kTag, __LINE__);
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

    tagPARTSET* s = set;
    ImageQ4* layer = s->work[band];
    ImageQ4* colours = s->shapes_over_cols ? s->source2 : nullptr;
    const float density = s->density;
    for (int Y = oy; Y < oy + bh; ++Y) {
        if (Y < 0 || Y >= s->height2) continue;
        PixelQ4* dst_row = layer->rows[Y];
        for (int X = ox; X < ox + bw; ++X) {
            if (X < 0 || X >= s->width2) continue;
            const int sum = sums[(Y - oy) * bw + (X - ox)];
            // Full coverage (64 samples) at density 1 is 32768, one in 15-bit fixed point.
            const int a = (int)((float)sum * 0.015625f * 32768.0f * density);
            int cr, cg, cb;
            if (colours) {
                const PixelQ4& c = colours->rows[Y][X];
                cr = c.r;
                cg = c.g;
                cb = c.b;
            } else {
                cr = (int)part->colour[0];
                cg = (int)part->colour[1];
                cb = (int)part->colour[2];
            }
            PixelQ4& d = dst_row[X];
            // Premultiplied "over" of a solid colour with coverage a; wide intermediates give the
            // 32-bit results wherever those fit and keep densities above 1 from overflowing.
            const long long m = 32768 - a;
            d.r = (unsigned short)clamp15(((long long)cr * a + (long long)d.r * m) >> 15);
            d.g = (unsigned short)clamp15(((long long)cg * a + (long long)d.g * m) >> 15);
            d.b = (unsigned short)clamp15(((long long)cb * a + (long long)d.b * m) >> 15);
            d.a = (unsigned short)clamp15(((long long)a * 32767 + (long long)d.a * m) >> 15);
        }
    }
    q4_free(sums, kTag, __LINE__);
}
