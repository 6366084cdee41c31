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
    // The best candidates so far, ascending by (distance, list index). The table depends only on
    // that order, not on the order candidates are met in, so cells may be read in any order and
    // reading a cell that holds no better candidate changes nothing.
    float bd[PART_MAX_MATES];
    int bi[PART_MAX_MATES];
    int count = 0;
    if (m > PART_MAX_MATES) m = PART_MAX_MATES;
    const int home = i >= 0 && i < n_ ? cell_of_[(size_t)i] : -1;
    if (home >= 0 && m > 0) {
        const float px = xs_[i], py = ys_[i];
        const int cx = home % gx_, cy = home / gx_;
        const double inf = std::numeric_limits<double>::infinity();
        // A little above the square of the farthest kept distance: a squared distance beyond it
        // has a root that cannot tie with the farthest.
        double far2 = inf;
        // The square of the distance beyond which a cell holds no point that could replace the
        // farthest kept candidate: (gap - slack) * (1 - 1e-6) > farthest.
        double reach2 = far2;
        // Inlined: it runs for every candidate, and a call costs as much as its usual work.
        auto consider = [&](int k) __attribute__((always_inline)) {
            const float dx = px - cell_xs_[(size_t)k];
            const float dy = py - cell_ys_[(size_t)k];
            const float d2 = dx * dx + dy * dy;
            if ((double)d2 > far2) return;
            const int j = order_[(size_t)k];
            if (j == i) return;
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
            if (count == m) {
                far2 = (double)bd[m - 1] * (double)bd[m - 1] * (1.0 + 1e-6);
                const double reach = (double)bd[m - 1] / (1.0 - 1e-6) + slack_;
                reach2 = reach * reach;
            }
        };
        // Cells xa .. xb of row y lie side by side in the cell order: one sweep reads them all.
        auto sweep = [&](int y, int xa, int xb) __attribute__((always_inline)) {
            const int end = cell_start_[(size_t)(y * gx_ + xb + 1)];
            for (int k = cell_start_[(size_t)(y * gx_ + xa)]; k < end; ++k) consider(k);
        };
        // Distance from the point to cell column x (gap_y: to cell row y), zero inside it.
        auto gap_x = [&](int x) {
            const double left = (minx_ + x * cw_) - px, right = px - (minx_ + (x + 1) * cw_);
            return left > 0.0 ? left : (right > 0.0 ? right : 0.0);
        };
        auto gap_y = [&](int y) {
            const double top = (miny_ + y * ch_) - py, bottom = py - (miny_ + (y + 1) * ch_);
            return top > 0.0 ? top : (bottom > 0.0 ? bottom : 0.0);
        };
        // Whether a cell at these gaps holds no point that could replace the farthest kept
        // candidate (never while fewer than m are kept).
        auto out_of_reach = [&](double ex, double ey) { return ex * ex + ey * ey > reach2; };
        // Cells xa .. xb of row y, less those at either end out of reach.
        auto sweep_row = [&](int y, int xa, int xb) {
            const double ey = gap_y(y);
            while (xa <= xb && out_of_reach(gap_x(xa), ey)) ++xa;
            while (xb >= xa && out_of_reach(gap_x(xb), ey)) --xb;
            if (xa <= xb) sweep(y, xa, xb);
        };
        // The block of 3 x 3 cells around the home cell first, row by row, then ring after ring.
        for (int r = 1;; ++r) {
            const int x0 = cx - r, x1 = cx + r, y0 = cy - r, y1 = cy + r;
            const int xa = clampi(x0, 0, gx_ - 1), xb = clampi(x1, 0, gx_ - 1);
            if (r == 1) {
                for (int y = clampi(y0, 0, gy_ - 1); y <= clampi(y1, 0, gy_ - 1); ++y) sweep(y, xa, xb);
            } else {
                // Only the ring at distance r; the inside was searched before.
                if (y0 >= 0) sweep_row(y0, xa, xb);
                if (y1 < gy_) sweep_row(y1, xa, xb);
                for (int y = clampi(y0 + 1, 0, gy_ - 1); y <= clampi(y1 - 1, 0, gy_ - 1); ++y) {
                    const double ey = gap_y(y);
                    if (x0 >= 0 && !out_of_reach(gap_x(x0), ey)) sweep(y, x0, x0);
                    if (x1 < gx_ && !out_of_reach(gap_x(x1), ey)) sweep(y, x1, x1);
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
