// The polygon fill as first written: the whole supersample coverage mask is allocated, every span
// is marked into it cell by cell (draw_line, with the mask's wrap into the next row and its
// dropped last row), reduced to 8x8 block sums and every pixel of the box blended as premultiplied
// "over" in wide integers. The oracle of the run-based fill and the lane-wise blend of
// Vesk::concave_d, in tests and benchmarks.
#ifndef TESTS_ORACLE_LITERAL_RASTER_H
#define TESTS_ORACLE_LITERAL_RASTER_H

#include <cmath>
#include <vector>

#include "effect/Raster.h"
#include "effect/Vesk.h"

inline long long LiteralClamp15(long long v) { return v < 0 ? 0 : (v > 32767 ? 32767 : v); }

// Blocks of w x h mask cells, each a pixel of coverage (its sample count over 64) times the
// density, laid over the band's layer in the particle's colour or the shape-colour clip's.
inline void LiteralBlend(Vesk& v, int ox, int oy, int w, int h, const int* mask, tagPART* part, int band)
{
    tagPARTSET* s = v.set;
    const int bw = w / 8, bh = h / 8;
    if (bw <= 0 || bh <= 0) return;
    ImageQ4* colours = s->shapes_over_cols ? s->source2 : nullptr;
    for (int r = 0; r < bh; ++r)
        for (int c = 0; c < bw; ++c) {
            const int X = ox + c, Y = oy + r;
            if (X < 0 || Y < 0 || X >= s->width2 || Y >= s->height2) continue;
            int sum = 0;
            for (int dy = 0; dy < 8; ++dy)
                for (int dx = 0; dx < 8; ++dx) sum += mask[(long long)(8 * r + dy) * w + 8 * c + dx];
            const long long a = (int)((float)sum * 0.015625f * 32768.0f * s->density), m = 32768 - a;
            const long long own[3] = {(long long)(int)part->colour[0], (long long)(int)part->colour[1],
                                      (long long)(int)part->colour[2]};
            PixelQ4& d = s->work[band]->rows[Y][X];
            for (int k = 0; k < 3; ++k) {
                const long long colour = colours ? colours->rows[Y][X].c[k] : own[k];
                d.c[k] = (unsigned short)LiteralClamp15((colour * a + d.c[k] * m) >> 15);
            }
            d.a = (unsigned short)LiteralClamp15((a * 32767 + d.a * m) >> 15);
        }
}

inline void LiteralConcave(Vesk& v, int n, tagPOS* pts, tagPART* part, int band)
{
    Vesk::ScanSlot& slot = v.scan_slots[band];
    slot.n = n;
    for (int i = 0; i < n; ++i) pts[i] = v.ssize(pts[i], 8, 8);
    slot.pt = pts;
    if (n < 1) return;
    std::vector<int> ind((size_t)n);
    std::vector<EDGE> active((size_t)n);
    slot.active = active.data();
    for (int k = 0; k < n; ++k) ind[(size_t)k] = k;
    v.sort_indx(ind.data(), n, band);
    const int xmin = (int)std::ceil((double)pts[ind[0]].x - 0.5);
    const int w = (int)std::floor((double)pts[ind[(size_t)n - 1]].x - 0.5) - xmin;
    v.sort_indy(ind.data(), n, band);
    const int ymin = (int)std::ceil((double)pts[ind[0]].y - 0.5);
    const int ymax = (int)std::floor((double)pts[ind[(size_t)n - 1]].y - 0.5);
    const int h = ymax - ymin;
    std::vector<int> mask((size_t)std::llabs((long long)w * h) + 1, 0);
    slot.nact = 0;
    int k = 0;
    for (int y = ymin; y <= ymax; ++y) {
        while (k < n && (double)pts[ind[(size_t)k]].y <= y + 0.5) {
            const int i = ind[(size_t)k++];
            const int prev = i == 0 ? n - 1 : i - 1, next = i == n - 1 ? 0 : i + 1;
            if ((double)pts[prev].y <= y - 0.5) v.rem_edge(prev, band);
            else if ((double)pts[prev].y > y + 0.5) v.add_edge(prev, y, band);
            if ((double)pts[next].y <= y - 0.5) v.rem_edge(i, band);
            else if ((double)pts[next].y > y + 0.5) v.add_edge(i, y, band);
        }
        v.sort_act(slot.active, slot.nact);
        for (int e = 0; e + 1 < slot.nact; e += 2) {
            EDGE& a = slot.active[e];
            EDGE& b = slot.active[e + 1];
            const int xl = (int)std::ceil(a.x - 0.5), xr = (int)std::floor(b.x - 0.5);
            if (xl <= xr) {
                // draw_line's own rule, cell by cell: only indices inside the mask are set.
                for (int x = xl; x <= xr; ++x) {
                    const long long idx = (long long)(y - ymin) * w + (x - xmin);
                    if (idx >= 0 && idx < (long long)w * h) mask[(size_t)idx] = 1;
                }
            }
            a.x += a.dx;
            b.x += b.dx;
        }
    }
    LiteralBlend(v, xmin / 8, ymin / 8, w, h, mask.data(), part, band);
}

#endif
