// The polygon fill as first written: the whole supersample coverage mask is allocated, every span
// is marked into it cell by cell (draw_line, with the mask's wrap into the next row and its
// dropped last row) and the mask is reduced and blended by draw_ssimage. The oracle of the
// run-based fill of Vesk::concave_d, in tests and benchmarks.
#ifndef TESTS_ORACLE_LITERAL_RASTER_H
#define TESTS_ORACLE_LITERAL_RASTER_H

#include <cmath>
#include <vector>

#include "effect/Raster.h"
#include "effect/Vesk.h"

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
    v.draw_ssimage(xmin / 8, ymin / 8, w, h, mask.data(), part, band);
}

#endif
