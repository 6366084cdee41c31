// Counting a coverage mask's set cells into its 8x8 block sums (see BlockSums.h).
#include "effect/BlockSums.h"

#include <cstddef>

namespace {

// Counts cells first .. last of mask row `row` (all inside whole blocks) into the block sums; the
// whole blocks between the two end blocks go into `steps` as a step of 8 up and down along the
// block row.
inline void count_cells(int* sums, int* steps, int bw, int row, int first, int last)
{
    const int S = RASTER_SUPERSAMPLE;
    int* block_row = sums + (long long)(row / S) * bw;
    const int ca = first / S, cb = last / S;
    if (ca == cb) {
        block_row[ca] += last - first + 1;
        return;
    }
    block_row[ca] += (ca + 1) * S - first;
    block_row[cb] += last - cb * S + 1;
    if (cb > ca + 1) {
        int* step_row = steps + (long long)(row / S) * (bw + 1);
        step_row[ca + 1] += S;
        step_row[cb] -= S;
    }
}

// Adds the steps, summed across each block row, to the block sums.
void add_steps(int* sums, const int* steps, int bw, int bh)
{
    for (int br = 0; br < bh; ++br) {
        int* block_row = sums + (long long)br * bw;
        const int* step_row = steps + (long long)br * (bw + 1);
        int level = 0;
        for (int c = 0; c < bw; ++c) {
            level += step_row[c];
            block_row[c] += level;
        }
    }
}

}  // namespace

// Adds `count` cells from cell `col` of mask row `row` (cell index row * w + col) of a w-wide mask
// of `size` cells as runs per row. Cells outside the mask are skipped; a run that passes the end
// of a row goes on at the start of the next, as the mask's layout has it. Rows from `rows` on and
// columns from `cols` on make no whole block and are not kept.
void AddMaskCells(std::vector<RowRun>& runs, long long row, long long col, long long count, int w,
                  long long size, int rows, int cols)
{
    long long first = row * w + col;
    long long last = first + count - 1;
    if (first < 0) first = 0, row = 0, col = 0;
    if (last > size - 1) last = size - 1;
    if (first > last) return;
    // A column outside the row (rare) is carried into the rows by one division.
    if (col < 0 || col >= w) {
        row = first / w;
        col = first - row * w;
    }
    long long row_start = first - col;
    while (first <= last) {
        if (row >= rows) return;
        const long long row_end = row_start + w - 1;
        const long long end = last < row_end ? last : row_end;
        const int a = (int)(first - row_start);
        const int b = (int)(end - row_start) < cols - 1 ? (int)(end - row_start) : cols - 1;
        if (a <= b) runs.push_back(RowRun{(int)row, a, b});
        first = end + 1;
        row += 1;
        row_start += w;
    }
}

// The 8x8 block sums of the cells the runs set; a cell set twice counts once. `steps` holds
// bh x (bw + 1) zeros on entry: the whole blocks a run crosses are counted there as a step of 8
// up and down along the block row, and summed across once per block row at the end.
void SumMaskBlocks(std::vector<RowRun>& runs, int bw, int bh, int* sums, int* steps)
{
    // Runs arrive in scan-line order; only a span reaching back across a row start breaks it.
    for (size_t i = 1; i < runs.size(); ++i) {
        const RowRun r = runs[i];
        size_t j = i;
        while (j > 0 && (runs[j - 1].row > r.row || (runs[j - 1].row == r.row && runs[j - 1].first > r.first))) {
            runs[j] = runs[j - 1];
            --j;
        }
        runs[j] = r;
    }
    int row = -1, covered = -1;
    for (const RowRun& r : runs) {
        if (r.row != row) {
            row = r.row;
            covered = -1;
        }
        const int a = r.first > covered + 1 ? r.first : covered + 1;
        const int b = r.last;
        if (b > covered) covered = b;
        if (a <= b) count_cells(sums, steps, bw, row, a, b);
    }
    add_steps(sums, steps, bw, bh);
}

BlockCounter::BlockCounter(int w, int bw, int bh, int* sums, int* steps)
    : w_(w), bw_(bw), bh_(bh), rows_(RASTER_SUPERSAMPLE * bh), cols_(RASTER_SUPERSAMPLE * bw), sums_(sums),
      steps_(steps)
{
}

bool BlockCounter::Add(int row, long long col, long long count)
{
    if (count <= 0) return true;
    if (row != row_) {
        if (row < row_) return false;
        StartRow(row);
    }
    if (col < 0) {
        // Before the mask's first cell the cells are lost; elsewhere they would land at the end
        // of the row above, which is counted already.
        if (row != 0) return false;
        count += col;
        col = 0;
        if (count <= 0) return true;
    }
    if (col > w_ || col < last_col_) return false;
    last_col_ = (int)col;
    const long long end = col + count - 1;
    if (end < w_) {
        Count((int)col, (int)end);
        return true;
    }
    // Past the row's end (column w is the next row's column 0) the span goes on at the start of
    // the next row.
    if (end - w_ >= w_) return false;
    if (col < w_) Count((int)col, w_ - 1);
    if (end - w_ > carry_) carry_ = (int)(end - w_);
    return true;
}

void BlockCounter::StartRow(int row)
{
    // Cells carried over from the row before come first in their row: they start at column 0.
    const int carry = carry_, carried_to = row_ + 1;
    carry_ = -1;
    if (carry >= 0 && carried_to < row) {
        row_ = carried_to;
        covered_ = -1;
        Count(0, carry);
    }
    row_ = row;
    covered_ = -1;
    last_col_ = -1;
    if (carry >= 0 && carried_to == row) Count(0, carry);
}

void BlockCounter::Count(int first, int last)
{
    // Spans arrive from left to right: what lies left of the covered column was counted.
    if (first <= covered_) first = covered_ + 1;
    if (last > covered_) covered_ = last;
    if (row_ >= rows_) return;
    if (last > cols_ - 1) last = cols_ - 1;
    if (first <= last) count_cells(sums_, steps_, bw_, row_, first, last);
}

void BlockCounter::Finish()
{
    if (carry_ >= 0) StartRow(row_ + 1);
    add_steps(sums_, steps_, bw_, bh_);
}
