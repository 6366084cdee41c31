// The particle set's storage, the copy of the controls into it, and the random source.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "host/ControlTable.h"
#include "swarm_env.h"

using namespace swarm_test;

TEST(PartSet, CreateChainsTheFreeListAndAllocGrowsByWholeBlocks) {
    ResetEffect();
    Vesk& v = Instance;
    tagPARTSET* s = v.part_set_create(4);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->block_count, 1);
    auto free_count = [&] {
        int n = 0;
        for (tagPART* p = s->free_list; p; p = p->next) ++n;
        return n;
    };
    EXPECT_EQ(free_count(), 4);

    // Five particles from a pool of four: a second block at the head of the chain. Freeing
    // everything keeps both blocks, and the same five fit again, handed out cleared.
    tagPARTBLOB* first_block = s->blocks;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 5; ++i) {
            tagPART* p = v.part_alloc(s);
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(p->pos.x, 0.0f);
            p->pos.x = 1.0f;
            p->next = s->live_list;
            s->live_list = p;
            s->live_count++;
        }
        EXPECT_EQ(s->block_count, 2);
        EXPECT_EQ(s->blocks->next, first_block);
        v.part_set_free_all(s);
        EXPECT_EQ(s->live_count, 0);
        EXPECT_EQ(s->live_list, nullptr);
        EXPECT_EQ(free_count(), 8);
    }
    v.part_set_destroy(s);
}

TEST(PartInfo, ControlValuesArriveWithTheirFixedDivisors) {
    ResetEffect();
    SparkFloat79.Value = 20.0f;    // Speed
    SparkFloat82.Value = 15.0f;    // Personal Space
    SparkFloat84.Value = 10.0f;    // Vesk Grouping
    SparkFloat46.Value = 50.0f;    // Star Sharpness
    SparkFloat15.Value = 50.0f;    // Birth Radius
    SparkFloat43.Value = 72.0f;    // Shape Width
    SparkFloat44.Value = 57.0f;    // Shape Height
    SparkPup42.Value = 4;          // host entry 4 = list value 5 = "Four Point Star"
    SparkColor49.Color = 0xFF0080FFul;  // R 255, G 128, B 0
    SyncAllControls();
    Instance.pixel_ratio = 2.0;
    Instance.res_scale = 2.0f;
    PrepareSet(64, 48);
    const tagPARTSET* s = Instance.set;
    EXPECT_FLOAT_EQ(s->max_speed, 0.02f);
    EXPECT_FLOAT_EQ(s->personal_space, 0.075f);
    EXPECT_FLOAT_EQ(s->grouping, 0.45f);
    EXPECT_FLOAT_EQ(s->star_sharpness, 0.5f);
    EXPECT_FLOAT_EQ(s->birth_radius, 0.25f);  // half of 50 %
    EXPECT_FLOAT_EQ(s->shape_w, 36.0f);       // 72 / pixel ratio 2
    EXPECT_FLOAT_EQ(s->shape_w_cur, 18.0f);   // and / divisor 2
    EXPECT_FLOAT_EQ(s->shape_h_cur, 28.5f);
    EXPECT_EQ(s->shape, 4);
    // Each byte b on the 15-bit scale as (b >> 1) | (b << 7): white reaches 32767.
    EXPECT_EQ(s->colour[0], 32767.0f);
    EXPECT_EQ(s->colour[1], 16448.0f);  // 64 | 16384
    EXPECT_EQ(s->colour[2], 0.0f);
}

TEST(PartInfo, NeighbourTableRowsFollowTheSwarmSize) {
    ResetEffect();
    const int sizes[] = {1, 2, 3, 10, 11, 12, 5000};
    const int rows[] = {1, 1, 2, 9, 10, 10, 10};
    for (int i = 0; i < 7; ++i) {
        SparkInt11.Value = sizes[i];
        PrepareSet(64, 48);
        EXPECT_EQ(Instance.set->mates, rows[i]) << "Vesk Size " << sizes[i];
        EXPECT_EQ(Instance.set->size, sizes[i]);
    }
}

TEST(RandomSource, DrawsReadTheTableThroughTheCounterAndReportParallelUse) {
    ResetEffect();
    Vesk& v = Instance;
    v.random_table[0] = 0.125f;
    v.random_table[1] = 0.25f;
    v.random_table[2] = 0.75f;
    v.random_table[3] = 0.9999999f;
    int c = 0;
    // The counter advances before it reads: the first draw after a restart is entry 1.
    EXPECT_FLOAT_EQ(v.part_rand_11(&c), -0.5f);
    EXPECT_FLOAT_EQ(v.part_var_1(10.0f, 2.0f, &c), 11.0f);
    EXPECT_EQ(v.part_rand_01(&c), 0.999999f);  // clamped below 1
    EXPECT_EQ(c, 3);
    c = 262144;  // entry = counter modulo 2^18
    EXPECT_FLOAT_EQ(v.get_safe_random(&c), 0.25f);
    c = 999999999;  // one billion is still read; past it the counter wraps to entry 0
    EXPECT_EQ(v.get_safe_random(&c), v.random_table[1000000000 % 262144]);
    EXPECT_FLOAT_EQ(v.get_safe_random(&c), 0.125f);
    EXPECT_EQ(c, 0);
    EXPECT_EQ(Messages(), "");

    // Inside a parallel region each draw is reported, and still made.
    v.in_parallel = 1;
    v.part_rand_01(&c);
    v.part_rand_11(&c);
    v.part_var_1(0.0f, 1.0f, &c);
    v.in_parallel = 0;
    EXPECT_EQ(c, 3);
    EXPECT_EQ(Messages(), "part_rand_01() called with MP region!\n\n"
                          "part_rand_11() called with MP region!\n\n"
                          "part_var_1() called with MP region!\n\n");
}

// A frame whose Seed matches the last fill reuses the table; what it leaves must be what a fresh
// fill leaves: the table, the caller's state and the generator's hidden shuffle, over seeds that
// repeat, change, are zero, and are negative (which continue the generator instead of restarting).
TEST(RandomSource, ReusedTableLeavesWhatAFreshFillLeaves) {
    struct After {
        std::vector<float> table;
        int state;
        float next_draw;
    };
    const int seeds[] = {7, 7, 7, 12, 12, 0, 0, -3, -3, 7, 7};
    auto run = [&](bool reuse) {
        std::unique_ptr<Vesk> v(new Vesk());
        std::vector<After> out;
        for (int seed : seeds) {
            if (reuse) {
                v->seed_random_tables(seed);
            } else {
                v->gradientTabInit(-seed);
                v->random_state = -seed;
                v->fill_random_table();
            }
            int probe = 1;  // a positive seed continues from the hidden shuffle
            out.push_back({std::vector<float>(v->random_table, v->random_table + 262144), v->random_state,
                           ran1fQ4(&probe)});
        }
        return out;
    };
    const std::vector<After> fresh = run(false), reused = run(true);
    for (size_t i = 0; i < fresh.size(); ++i) {
        EXPECT_EQ(reused[i].table, fresh[i].table) << "frame " << i;
        EXPECT_EQ(reused[i].state, fresh[i].state) << "frame " << i;
        EXPECT_EQ(reused[i].next_draw, fresh[i].next_draw) << "frame " << i;
    }
}
