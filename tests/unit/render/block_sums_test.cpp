// The streaming block counter against the general path (runs sorted per mask row) on random
// span sequences: rows that wrap into the next, runs past the last row and the last whole block,
// spans set twice, rows skipped. Whatever the counter accepts it must count as the general path
// does; what it refuses (spans out of order) the fill takes through the general path.
#include <gtest/gtest.h>

#include <vector>

#include "effect/BlockSums.h"
#include "framework/RandomQ4.h"

namespace {

struct Span {
    int row;
    long long col, count;
};

TEST(BlockSums, StreamingCountMatchesTheSortedRuns)
{
    int seed = 77;
    auto draw = [&](int range) { return randQ4(seed) % range; };
    int accepted = 0, refused = 0;
    for (int round = 0; round < 3000; ++round) {
        const int w = 8 + draw(40), h = 8 + draw(40);
        const int bw = w / 8, bh = h / 8;
        // One round in eight may go out of order: a span left of the mask below row 0, or left
        // of the span before it.
        const bool unruly = round % 8 == 0;
        std::vector<Span> spans;
        for (int row = 0; row <= h; ++row) {
            if (draw(5) == 0) continue;
            long long col = (row == 0 || unruly) && draw(4) == 0 ? -draw(3) : draw(w + 1);
            for (int k = 1 + draw(2); k > 0 && col <= w; --k) {
                const long long count = 1 + draw(w + 2 - (int)(col < 0 ? 0 : col));
                spans.push_back({row, col, count});
                // The next span may overlap this one by a cell or two.
                col = (col < 0 ? 0 : col) + count - draw(unruly ? 4 : 2);
            }
        }
        std::vector<int> want((size_t)(bw * bh), 0), got(want);
        std::vector<int> want_steps((size_t)((bw + 1) * bh), 0), got_steps(want_steps);
        std::vector<RowRun> runs;
        for (const Span& s : spans) AddMaskCells(runs, s.row, s.col, s.count, w, (long long)w * h, 8 * bh, 8 * bw);
        SumMaskBlocks(runs, bw, bh, want.data(), want_steps.data());
        BlockCounter counter(w, bw, bh, got.data(), got_steps.data());
        bool streamed = true;
        for (const Span& s : spans) streamed = streamed && counter.Add(s.row, s.col, s.count);
        if (!streamed) {
            ++refused;
            continue;
        }
        counter.Finish();
        ++accepted;
        ASSERT_EQ(got, want) << "round " << round << ", " << w << " x " << h;
    }
    // Both kinds occur, so both the counting and the refusal are exercised.
    EXPECT_GT(accepted, 1000);
    EXPECT_GT(refused, 100);
}

}  // namespace
