// The grid neighbour search against the literal search over every pair: the same rows, in the
// same order, for every particle, on layouts full of exact ties and awkward extents.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "effect/NeighbourGrid.h"
#include "framework/RandomQ4.h"
#include "tests/oracle/literal_steering.h"

namespace {

struct Layout {
    const char* name;
    int count;
    // Position of particle k from a random draw r (0 .. 32767) per axis.
    float (*x)(int k, int r);
    float (*y)(int k, int r);
};

float Uniform(int, int r) { return (float)r / 32768.0f; }
float Lattice(int, int r) { return (float)(r % 9) / 8.0f; }         // exact equal distances
float Clumps(int k, int r) { return (float)(k % 4) * 0.25f + (float)(r % 3) * 1e-3f; }
float Wide(int, int r) { return (float)r / 32768.0f * 5.0f - 2.5f; } // outside the frame both ways
float Same(int, int) { return 0.375f; }
float Line(int k, int) { return (float)k * 0.01f; }
float Flat(int, int) { return 0.5f; }

const Layout kLayouts[] = {
    {"uniform", 2000, Uniform, Uniform}, {"lattice", 700, Lattice, Lattice},
    {"clumps", 300, Clumps, Clumps},     {"outside", 400, Wide, Uniform},
    {"coincident", 30, Same, Same},      {"fewer than the rows", 6, Uniform, Uniform},
    {"one line", 200, Line, Flat},       {"alone", 1, Uniform, Uniform},
};

TEST(NeighbourGrid, GivesTheLiteralTableForEveryParticle)
{
    for (const Layout& layout : kLayouts) {
        for (int m : {1, 4, 10}) {
            int seed = 31 + m;
            std::vector<tagPART> parts((size_t)layout.count, tagPART{});
            std::vector<tagPART*> list;
            std::vector<float> xs, ys, vxs, vys;
            for (int k = 0; k < layout.count; ++k) {
                tagPART& p = parts[(size_t)k];
                p.pos.x = layout.x(k, randQ4(seed));
                p.pos.y = layout.y(k, randQ4(seed));
                p.vel.x = (float)k;  // tells the rows apart even where positions coincide
                p.vel.y = -(float)k;
                list.push_back(&p);
                xs.push_back(p.pos.x);
                ys.push_back(p.pos.y);
                vxs.push_back(p.vel.x);
                vys.push_back(p.vel.y);
            }
            if (layout.count > 3) xs[3] = std::numeric_limits<float>::quiet_NaN();
            if (layout.count > 3) list[3]->pos.x = xs[3];
            NeighbourGrid grid;
            grid.Build(xs.data(), ys.data(), layout.count);
            tagF_MATE want[PART_MAX_MATES], got[PART_MAX_MATES];
            for (int i = 0; i < layout.count; ++i) {
                LiteralNeighbours(list.data(), layout.count, i, m, want);
                grid.Nearest(i, m, got, vxs.data(), vys.data());
                ASSERT_EQ(std::memcmp(want, got, sizeof(tagF_MATE) * (size_t)m), 0)
                    << layout.name << ", " << m << " rows, particle " << i;
            }
        }
    }
}

}  // namespace
