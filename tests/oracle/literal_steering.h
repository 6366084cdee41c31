// The neighbour search as first written: every live particle in list order is a candidate, its
// distance is the single-precision root, a strictly nearer candidate replaces row 0 and the table
// is re-sorted by the full bubble sort. The oracle of the grid search, in tests and benchmarks.
#ifndef TESTS_ORACLE_LITERAL_STEERING_H
#define TESTS_ORACLE_LITERAL_STEERING_H

#include <cmath>
#include <utility>

#include "effect/Particles.h"

// Fills the m rows of `table` for particle i of the n particles of `parts` (list order).
inline void LiteralNeighbours(tagPART* const* parts, int n, int i, int m, tagF_MATE* table)
{
    for (int r = 0; r < m; ++r) table[r] = tagF_MATE{0.0f, 0.0f, 9999.0f, 0.0f, 0.0f};
    const tagPART* p = parts[i];
    for (int j = 0; j < n; ++j) {
        const tagPART* q = parts[j];
        const float dx = p->pos.x - q->pos.x, dy = p->pos.y - q->pos.y;
        const float d = std::sqrt(dx * dx + dy * dy);
        if (j == i || !(d < table[0].dist)) continue;
        table[0] = tagF_MATE{q->pos.x, q->pos.y, d, q->vel.x, q->vel.y};
        for (int k = 1; k < m; ++k)
            for (int r = 0; r <= m - 1 - k; ++r)
                if (table[r + 1].dist > table[r].dist) std::swap(table[r], table[r + 1]);
    }
}

#endif
