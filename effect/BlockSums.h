// Counting the set cells of a polygon's coverage mask into its 8x8 block sums without laying the
// mask out. The mask is w cells wide and stored row after row, so a span that passes the end of a
// row goes on at the start of the next and cells past the last row are lost; only the cells of
// whole blocks (the first 8 * bh rows, the first 8 * bw columns) are counted, and a cell set by
// two spans counts once.
#ifndef EFFECT_BLOCKSUMS_H
#define EFFECT_BLOCKSUMS_H

#include <vector>

#include "effect/Raster.h"

// The general path: the spans as runs per mask row, then counted in any order they arrived.
// Adds `count` cells from cell `col` of mask row `row` of a w-wide mask of `size` cells.
void AddMaskCells(std::vector<RowRun>& runs, long long row, long long col, long long count, int w,
                  long long size, int rows, int cols);
// The bw x bh block sums of the runs (sorted here); `sums` and `steps` (bh x (bw + 1)) hold zeros.
void SumMaskBlocks(std::vector<RowRun>& runs, int bw, int bh, int* sums, int* steps);

// The usual path: spans counted as the scan makes them, mask row after mask row and, within a
// row, from left to right. A span that reaches back into an earlier row, starts beyond its row,
// runs past the next row or comes left of the one before (only rounding in an edge position can
// make one) is refused: the polygon is then counted through the general path.
class BlockCounter {
public:
    // `sums` (bw x bh) and `steps` (bh x (bw + 1)) hold zeros.
    BlockCounter(int w, int bw, int bh, int* sums, int* steps);
    bool Add(int row, long long col, long long count);
    // Counts what is still pending and sums the whole blocks crossed; call once, at the end.
    void Finish();

private:
    void StartRow(int row);
    void Count(int first, int last);

    int w_, bw_, bh_, rows_, cols_;
    int* sums_;
    int* steps_;
    int row_ = -1;       // mask row being counted
    int covered_ = -1;   // its last column counted so far
    int last_col_ = -1;  // the first column of the row's latest span
    int carry_ = -1;     // columns 0 .. carry_ of row_ + 1 set by a span that wrapped into it
};

#endif
