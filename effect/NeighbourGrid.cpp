// Neighbour search over a uniform grid (see NeighbourGrid.h).
#include "effect/NeighbourGrid.h"

#include <cmath>
#include <limits>

#include "effect/Particles.h"

namespace {

const float EMPTY_MATE_DISTANCE = 9999.0f;
// Points per cell aimed at: a ring of cells around a particle then usually holds its neighbours.
const double POINTS_PER_CELL = 2.0;
const int MAX_CELLS_PER_AXIS = 1024;

inline int clampi(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }
// The smaller and larger of two values (both finite here); std::fmin and std::fmax are library
// calls at this optimisation level.
inline double lesser(double a, double b) { return b < a ? b : a; }
inline double greater(double a, double b) { return b > a ? b : a; }

}  // namespace

void NeighbourGrid::Build(const float* xs, const float* ys, int n) {
    xs_ = xs;
    ys_ = ys;
    n_ = n;
    double minx = std::numeric_limits<double>::infinity(), maxx = -minx;
    double miny = minx, maxy = maxx;
    int finite = 0;
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(xs[i]) || !std::isfinite(ys[i])) continue;
        ++finite;
        minx = lesser(minx, xs[i]);
        maxx = greater(maxx, xs[i]);
        miny = lesser(miny, ys[i]);
        maxy = greater(maxy, ys[i]);
    }
    int g = (int)std::sqrt((double)finite / POINTS_PER_CELL);
    g = clampi(g, 1, MAX_CELLS_PER_AXIS);
    const double ex = finite ? maxx - minx : 0.0, ey = finite ? maxy - miny : 0.0;
    gx_ = ex > 0.0 ? g : 1;
    gy_ = ey > 0.0 ? g : 1;
    minx_ = finite ? minx : 0.0;
    miny_ = finite ? miny : 0.0;
    cw_ = gx_ > 1 ? ex / gx_ : 0.0;
    ch_ = gy_ > 1 ? ey / gy_ : 0.0;
    invw_ = gx_ > 1 ? gx_ / ex : 0.0;
    invh_ = gy_ > 1 ? gy_ / ey : 0.0;
    // Cell edges are computed in double from float positions; a point may sit a rounding error
    // across the edge of its cell. The slack covers that many times over.
    slack_ = 1e-9 * (1.0 + std::fabs(minx_) + std::fabs(miny_) + ex + ey);

    const int cells = gx_ * gy_;
    cell_of_.assign((size_t)n, -1);
    cell_start_.assign((size_t)cells + 1, 0);
    for (int i = 0; i < n; ++i) {
        if (!std::isfinite(xs[i]) || !std::isfinite(ys[i])) continue;
        const int cx = clampi((int)((xs[i] - minx_) * invw_), 0, gx_ - 1);
        const int cy = clampi((int)((ys[i] - miny_) * invh_), 0, gy_ - 1);
        cell_of_[(size_t)i] = cy * gx_ + cx;
        ++cell_start_[(size_t)cell_of_[(size_t)i] + 1];
    }
    for (int c = 0; c < cells; ++c) cell_start_[(size_t)c + 1] += cell_start_[(size_t)c];
    order_.assign((size_t)cell_start_[(size_t)cells], 0);
    std::vector<int> fill(cell_start_.begin(), cell_start_.end() - 1);
    for (int i = 0; i < n; ++i)
        if (cell_of_[(size_t)i] >= 0) order_[(size_t)fill[(size_t)cell_of_[(size_t)i]]++] = i;
    // The positions again in cell order, so that a cell's candidates are read in one sweep.
    cell_xs_.resize(order_.size());
    cell_ys_.resize(order_.size());
    for (size_t k = 0; k < order_.size(); ++k) {
        cell_xs_[k] = xs[order_[k]];
        cell_ys_[k] = ys[order_[k]];
    }
}

void NeighbourGrid::Nearest(int i, int m, tagF_MATE* table, const float* vxs, const float* vys) const {
    // The best candidates so far, ascending by (distance, list index).
    float bd[PART_MAX_MATES];
    int bi[PART_MAX_MATES];
    int count = 0;
    if (m > PART_MAX_MATES) m = PART_MAX_MATES;
    const int home = i >= 0 && i < n_ ? cell_of_[(size_t)i] : -1;
    if (home >= 0 && m > 0) {
        const float px = xs_[i], py = ys_[i];
        const int cx = home % gx_, cy = home / gx_;
        double far2 = 0.0;  // a little above the square of the farthest kept distance
        auto consider = [&](size_t k) {
            const int j = order_[k];
            if (j == i) return;
            const float dx = px - cell_xs_[k];
            const float dy = py - cell_ys_[k];
            const float d2 = dx * dx + dy * dy;
            // Well beyond the farthest kept candidate: its root cannot tie with it.
            if (count == m && (double)d2 > far2) return;
            const float d = std::sqrt(d2);
            if (!(d < EMPTY_MATE_DISTANCE)) return;
            int at = count;
            if (count == m) {
                if (d > bd[m - 1] || (d == bd[m - 1] && j > bi[m - 1])) return;
                at = m - 1;
            } else {
                ++count;
            }
            while (at > 0 && (bd[at - 1] > d || (bd[at - 1] == d && bi[at - 1] > j))) {
                bd[at] = bd[at - 1];
                bi[at] = bi[at - 1];
                --at;
            }
            bd[at] = d;
            bi[at] = j;
            if (count == m) far2 = (double)bd[m - 1] * (double)bd[m - 1] * (1.0 + 1e-6);
        };
        const double inf = std::numeric_limits<double>::infinity();
        for (int r = 0;; ++r) {
            const int x0 = cx - r, x1 = cx + r, y0 = cy - r, y1 = cy + r;
            for (int y = clampi(y0, 0, gy_ - 1); y <= clampi(y1, 0, gy_ - 1); ++y) {
                const bool edge_row = y == y0 || y == y1;
                for (int x = clampi(x0, 0, gx_ - 1); x <= clampi(x1, 0, gx_ - 1); ++x) {
                    // Only the ring at distance r; the inside was searched before.
                    if (!edge_row && x != x0 && x != x1) {
                        x = x1 - 1;
                        continue;
                    }
                    const int c = y * gx_ + x;
                    if (cell_start_[(size_t)c] == cell_start_[(size_t)c + 1]) continue;
                    if (count == m && r > 0) {
                        // A cell whose nearest point lies beyond the farthest kept candidate
                        // holds none that could replace it (the same margins as the ring bound).
                        const double left = (minx_ + x * cw_) - px, right = px - (minx_ + (x + 1) * cw_);
                        const double top = (miny_ + y * ch_) - py, bottom = py - (miny_ + (y + 1) * ch_);
                        const double ex = left > 0.0 ? left : (right > 0.0 ? right : 0.0);
                        const double ey = top > 0.0 ? top : (bottom > 0.0 ? bottom : 0.0);
                        // (gap - slack) * (1 - 1e-6) > farthest, squared: both sides are positive.
                        const double reach = (double)bd[m - 1] / (1.0 - 1e-6) + slack_;
                        if (ex * ex + ey * ey > reach * reach) continue;
                    }
                    for (int k = cell_start_[(size_t)c]; k < cell_start_[(size_t)c + 1]; ++k)
                        consider((size_t)k);
                }
            }
            if (x0 <= 0 && y0 <= 0 && x1 >= gx_ - 1 && y1 >= gy_ - 1) break;
            if (count < m) continue;
            // Every point outside the searched block lies farther than its nearest edge.
            double bound = inf;
            if (x0 > 0) bound = lesser(bound, px - (minx_ + x0 * cw_));
            if (x1 < gx_ - 1) bound = lesser(bound, (minx_ + (x1 + 1) * cw_) - px);
            if (y0 > 0) bound = lesser(bound, py - (miny_ + y0 * ch_));
            if (y1 < gy_ - 1) bound = lesser(bound, (miny_ + (y1 + 1) * ch_) - py);
            // The rounded single-precision distance may fall a few ulps short of the exact one.
            if ((bound - slack_) * (1.0 - 1e-6) > (double)bd[m - 1]) break;
        }
    }
    const int empty = m - count;
    for (int r = 0; r < m; ++r) {
        tagF_MATE& row = table[r];
        if (r < empty) {
            row = tagF_MATE{0.0f, 0.0f, EMPTY_MATE_DISTANCE, 0.0f, 0.0f};
            continue;
        }
        const int k = count - 1 - (r - empty);
        const int j = bi[k];
        row = tagF_MATE{xs_[j], ys_[j], bd[k], vxs[j], vys[j]};
    }
}
