// Neighbour search over a uniform grid of cells. For every particle it yields exactly the table
// that the search over every pair in list order builds: the `mates` candidates with the smallest
// (rounded single-precision distance, list index), laid out farthest first with, among equal
// distances, the later one in the list first, and empty rows (distance 9999) above them when
// fewer candidates exist. That follows from the pairwise search's rules: a candidate replaces
// the farthest row only when strictly nearer, and sinks past strictly farther rows only.
#ifndef EFFECT_NEIGHBOURGRID_H
#define EFFECT_NEIGHBOURGRID_H

#include <vector>

struct tagF_MATE;

class NeighbourGrid {
public:
    // Files the n points (list order) into cells. Points that are not finite are left out: no
    // distance to them is ever strictly below the empty row's.
    void Build(const float* xs, const float* ys, int n);
    // Fills the m rows of `table` for point i; vxs[j], vys[j] give the velocity of candidate j
    // (gathered beside the positions, so that a row is filled without visiting the particle).
    void Nearest(int i, int m, tagF_MATE* table, const float* vxs, const float* vys) const;

private:
    const float* xs_ = nullptr;
    const float* ys_ = nullptr;
    int n_ = 0;
    int gx_ = 1, gy_ = 1;
    double minx_ = 0, miny_ = 0, cw_ = 0, ch_ = 0, invw_ = 0, invh_ = 0, slack_ = 0;
    std::vector<int> cell_of_;     // cell of each point, -1 when left out
    std::vector<int> cell_start_;  // gx * gy + 1 offsets into order_
    std::vector<int> order_;       // point indices by cell, list order within a cell
    std::vector<float> cell_xs_, cell_ys_;  // their positions, in the same order
};

#endif
