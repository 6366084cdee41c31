// Neighbour search, the prioritised steering terms, the avoid-matte scan, and the swarm's
// behaviour over many steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "framework/RandomQ4.h"
#include "host/ControlTable.h"
#include "swarm_env.h"

using namespace swarm_test;

namespace {

// A 100 x 100 set with every steering rule off and a generous acceleration limit.
tagPARTSET* QuietSet() {
    ResetEffect();
    SparkBoolean71.Value = 0;  // Hunt Food off
    SyncAllControls();
    PrepareSet(100, 100);
    tagPARTSET* s = Instance.set;
    s->max_accel = 10.0f;
    s->max_speed = 1.0f;
    return s;
}

}  // namespace

TEST(NeighbourTable, SortsFarthestFirstAndKeepsEqualDistancesInOrder) {
    tagPARTSET* s = QuietSet();
    s->mates = 4;
    tagF_MATE t[4] = {{1, 0, 5, 0, 0}, {2, 0, 9, 0, 0}, {3, 0, 7, 0, 0}, {4, 0, 9, 0, 0}};
    Instance.sort_table(t);
    EXPECT_EQ(t[0].x, 2);
    EXPECT_EQ(t[1].x, 4);
    EXPECT_EQ(t[2].x, 3);
    EXPECT_EQ(t[3].x, 1);

    Instance.clear_table(t);
    for (const tagF_MATE& row : t) {
        EXPECT_EQ(row.dist, 9999.0f);
        EXPECT_EQ(row.x, 0.0f);
        EXPECT_EQ(row.vx, 0.0f);
    }
}

TEST(NeighbourTable, ACandidateAtExactlyTheFarthestKeptDistanceIsNotTaken) {
    // Two neighbours at exactly 0.25; with one row, the first one met keeps it.
    for (int order = 0; order < 2; ++order) {
        tagPARTSET* s = QuietSet();
        s->match_velocity = 1;
        s->mates = 1;
        tagPART* right;
        tagPART* left;
        if (order == 0) {
            left = AddParticle(0.25f, 0.5f, 0.02f, 0.0f);
            right = AddParticle(0.75f, 0.5f, 0.01f, 0.0f);
        } else {
            right = AddParticle(0.75f, 0.5f, 0.01f, 0.0f);
            left = AddParticle(0.25f, 0.5f, 0.02f, 0.0f);
        }
        tagPART* p = AddParticle(0.5f, 0.5f);  // list: p, then the later-added neighbour
        Instance.calc_vesk();
        tagPART* first_met = p->next;
        EXPECT_FLOAT_EQ(p->acc[0], first_met->vel.x) << "order " << order;
        (void)right;
        (void)left;
    }
}

TEST(NeighbourTable, AgreesWithTheLiteralSearchOnACrowdedGrid) {
    // Positions on a coarse grid give many equal distances, where the order in which
    // candidates are met decides the table. The reference below walks the list, takes the
    // root of every distance and re-sorts by bubble sort after each replacement.
    tagPARTSET* s = QuietSet();
    s->match_velocity = 1;
    s->mates = 6;
    int seed = 99;
    for (int i = 0; i < 300; ++i) {
        float x = (float)(randQ4(seed) % 16) / 16.0f;
        float y = (float)(randQ4(seed) % 16) / 16.0f;
        AddParticle(x, y, (float)(randQ4(seed) - 16384) * 1e-7f, (float)(randQ4(seed) - 16384) * 1e-7f);
    }
    Instance.calc_vesk();
    const int m = s->mates;
    for (tagPART* p = s->live_list; p; p = p->next) {
        std::vector<tagF_MATE> rows((size_t)m, tagF_MATE{0, 0, 9999.0f, 0, 0});
        for (tagPART* q = s->live_list; q; q = q->next) {
            float dx = p->pos.x - q->pos.x, dy = p->pos.y - q->pos.y;
            float d = std::sqrt(dx * dx + dy * dy);
            if (q == p || !(d < rows[0].dist)) continue;
            rows[0] = tagF_MATE{q->pos.x, q->pos.y, d, q->vel.x, q->vel.y};
            for (int k = 1; k < m; ++k)
                for (int i = 0; i + 1 <= m - k; ++i)
                    if (rows[(size_t)i + 1].dist > rows[(size_t)i].dist) std::swap(rows[(size_t)i], rows[(size_t)i + 1]);
        }
        float sx = 0.0f, sy = 0.0f;
        for (const tagF_MATE& r : rows) {
            sx += r.vx;
            sy += r.vy;
        }
        ASSERT_EQ(p->acc[0], sx / (float)m - p->vel.x);
        ASSERT_EQ(p->acc[1], sy / (float)m - p->vel.y);
    }
}

TEST(NeighbourTable, EmptyRowsTakePartInTheMeans) {
    tagPARTSET* s = QuietSet();
    s->gathering = 1;
    s->mates = 1;
    // Alone: the one row is empty, at (0, 0), so centring pulls towards the top-left corner.
    tagPART* p = AddParticle(0.6f, 0.8f);
    Instance.calc_vesk();
    // Distance 1 from the corner; grouping 0.45, so the pull is at full strength 1.
    EXPECT_NEAR(p->acc[0], -0.6, 1e-6);
    EXPECT_NEAR(p->acc[1], -0.8, 1e-6);

    // Velocity matching with three rows and one neighbour: its velocity is diluted by 3.
    s = QuietSet();
    s->match_velocity = 1;
    s->mates = 3;
    AddParticle(0.3f, 0.3f, 0.03f, -0.06f);
    p = AddParticle(0.35f, 0.3f);
    Instance.calc_vesk();
    EXPECT_NEAR(p->acc[0], 0.01, 1e-7);
    EXPECT_NEAR(p->acc[1], -0.02, 1e-7);
}

TEST(Steering, TheFirstTermToPassTheLimitEndsTheSum) {
    tagPARTSET* s = QuietSet();
    s->avoid_predator = 1;
    s->predator_x = 0.55f;
    s->predator_y = 0.5f;
    s->predator_fear = 0.18f;
    s->hunt_food = 1.0f;
    s->food_x = 0.5f;
    s->food_y = 0.9f;
    s->max_accel = 0.001f;
    tagPART* p = AddParticle(0.5f, 0.5f);
    p->accel_k = 0.8f;
    Instance.calc_vesk();
    // The predator push alone exceeds the limit: scaled back to 0.0008 straight away from the
    // predator, and the food below is never added.
    EXPECT_NEAR(p->acc[0], -0.0008, 1e-7);
    EXPECT_EQ(p->acc[1], 0.0f);

    // With room to spare, the push is the fear curve ((fear - r) / fear)^2 along the escape
    // direction, and the food adds its own pull.
    s->max_accel = 100.0f;
    Instance.calc_vesk();
    double w = std::pow((0.18 - 0.05) / 0.18, 2.0);
    double space = s->personal_space * p->space_k;
    double t = (0.4 - space) / space;
    EXPECT_NEAR(p->acc[0], -w, 1e-5);
    EXPECT_NEAR(p->acc[1], t * t, 1e-3);
}

TEST(Steering, ZeroLimitCoastsAndFoodWithinItsComfortRadiusDoesNotPull) {
    tagPARTSET* s = QuietSet();
    s->hunt_food = 1.0f;
    s->food_x = 0.9f;
    s->food_y = 0.9f;
    s->max_accel = 0.0f;  // Acceleration 0: the swarm coasts
    tagPART* a = AddParticle(0.1f, 0.1f, 0.01f, 0.0f);
    Instance.calc_vesk();
    EXPECT_EQ(a->acc[0], 0.0f);
    EXPECT_EQ(a->acc[1], 0.0f);

    s = QuietSet();
    s->hunt_food = 1.0f;
    s->food_x = 0.5f;
    s->food_y = 0.5f;
    s->personal_space = 0.1f;
    tagPART* near = AddParticle(0.55f, 0.5f);  // 0.05 from the food, inside 0.1
    tagPART* far = AddParticle(0.5f, 0.8f);    // 0.3 away: t = 2, pull 4 towards the food
    Instance.calc_vesk();
    EXPECT_EQ(near->acc[0], 0.0f);
    EXPECT_EQ(near->acc[1], 0.0f);
    EXPECT_NEAR(far->acc[0], 0.0, 1e-6);
    EXPECT_NEAR(far->acc[1], -4.0, 1e-4);
}

TEST(AvoidScan, WalksTheLineAndReportsTheFirstDarkPixel) {
    tagPARTSET* s = QuietSet();
    std::unique_ptr<ImageQ4> matte(MakeImage(100, 100, 32767));
    s->avoid_matte = matte.get();
    matte->rows[0][3].r = 16383;
    matte->rows[0][4].r = 0;
    tagSCANHIT h = Instance.scan_down(0, 0, 0, 9, 0);
    EXPECT_EQ(h.x, 3);
    EXPECT_EQ(h.y, 0);
    h = Instance.scan_down(0, 9, 0, 0, 0);  // backwards meets 4 first
    EXPECT_EQ(h.x, 4);
    matte->rows[0][3].r = 16384;  // not an obstacle
    h = Instance.scan_down(0, 0, 0, 3, 0);
    EXPECT_EQ(h.x, -1);

    // The x-major walk from (0, 10) to (4, 12) visits (0,10) (1,11) (2,11) (3,12) (4,12).
    matte->rows[11][1].r = 0;
    h = Instance.scan_down(0, 0, 10, 4, 12);
    EXPECT_EQ(h.x, 1);
    EXPECT_EQ(h.y, 11);
    matte->rows[11][1].r = 32767;
    matte->rows[10][1].r = 0;  // beside the line
    matte->rows[12][2].r = 0;
    h = Instance.scan_down(0, 0, 10, 4, 12);
    EXPECT_EQ(h.x, -1);

    // Pixels outside the frame are skipped, not read.
    matte->rows[5][0].r = 0;
    h = Instance.scan_down(0, -6, 5, 2, 5);
    EXPECT_EQ(h.x, 0);
    EXPECT_EQ(h.y, 5);
    s->avoid_matte = nullptr;
}

TEST(AvoidScan, AnObstacleAheadPushesBackAndAStillParticleSeesNothing) {
    tagPARTSET* s = QuietSet();
    std::unique_ptr<ImageQ4> matte(MakeImage(100, 100, 32767));
    for (int y = 0; y < 100; ++y)
        for (int x = 60; x < 63; ++x) matte->rows[y][x].r = 0;
    s->avoid_matte = matte.get();
    s->use_avoid_matte = 1;
    s->avoid_forward = 0.05f;  // half-width of the band across the heading
    s->avoid_sides = 0.15f;    // depth ahead
    s->preroll = 40;
    s->max_accel = 0.1f;
    tagPART* p = AddParticle(0.5f, 0.5f, 0.01f, 0.0f);
    tagPART* still = AddParticle(0.2f, 0.5f);
    Instance.calc_vesk();
    // Rails start at (50, 45) and (50, 55); the first dark pixel met is (60, 45).
    tagSCANHIT h = Instance.scan_level(p, 0);
    EXPECT_EQ(h.x, 60);
    EXPECT_EQ(h.y, 45);
    // The push points from the hit to the particle and, scaled by the pre-roll count,
    // saturates the limit of 0.1.
    double vx = 0.5 - 0.60, vy = 0.5 - 0.45;
    double r = std::hypot(vx, vy);
    EXPECT_NEAR(p->acc[0], 0.1 * vx / r, 1e-6);
    EXPECT_NEAR(p->acc[1], 0.1 * vy / r, 1e-6);
    EXPECT_EQ(still->acc[0], 0.0f);
    EXPECT_EQ(still->acc[1], 0.0f);

    // Not deep enough to reach the obstacle: no push.
    s->avoid_sides = 0.05f;
    Instance.calc_vesk();
    EXPECT_EQ(p->acc[0], 0.0f);
    s->avoid_matte = nullptr;
}

// ---- behaviour over many steps ----

namespace {

void Steps(int n) {
    for (int i = 0; i < n; ++i) Instance.part_set_execute(Instance.set, i);
}

// A swarm of 20 born around (0.84, 0.84) with the given rule checkboxes switched on.
void SwarmWith(bool food, bool predator, bool others) {
    ResetEffect();
    SparkInt11.Value = 20;
    SparkBoolean71.Value = food ? 1 : 0;
    SparkBoolean67.Value = predator ? 1 : 0;
    SparkBoolean81.Value = others ? 1 : 0;
    SparkFloat68.Value = 84.0f;  // predator on the birth point
    SparkFloat69.Value = 84.0f;
    SparkFloat80.Value = 10.0f;  // Acceleration
    SyncAllControls();
    PrepareSet(160, 120);
}

}  // namespace

TEST(Behaviour, HuntingFoodClosesInOnIt) {
    SwarmWith(true, false, false);
    Steps(1);
    double start = MeanDistanceTo(0.2f, 0.15f);
    Steps(60);
    double end = MeanDistanceTo(0.2f, 0.15f);
    EXPECT_GT(start, 0.6);
    EXPECT_LT(end, 0.5 * start);
}

TEST(Behaviour, FleeingThePredatorEndsFartherFromIt) {
    SwarmWith(false, false, false);
    Steps(40);
    double calm = MeanDistanceTo(0.84f, 0.84f);
    SwarmWith(false, true, false);
    Steps(40);
    double fleeing = MeanDistanceTo(0.84f, 0.84f);
    EXPECT_GT(fleeing, calm + 0.02);
}

TEST(Behaviour, AvoidingOthersKeepsTheSwarmSpreadOut) {
    SwarmWith(true, false, false);
    Steps(100);
    double crowded = MeanNearestNeighbour();
    SwarmWith(true, false, true);
    Steps(100);
    double spaced = MeanNearestNeighbour();
    EXPECT_GT(spaced, crowded);
}

TEST(Behaviour, SameSeedAndControlsReproduceTheSwarmBitForBit) {
    auto run = [] {
        SwarmWith(true, true, true);
        SparkBoolean78.Value = 1;  // Match Velocity
        SparkBoolean83.Value = 1;  // Vesk Gathering
        SyncAllControls();
        PrepareSet(160, 120);
        Steps(50);
        std::vector<float> state;
        for (tagPART* p = Instance.set->live_list; p; p = p->next) {
            state.insert(state.end(), {p->pos.x, p->pos.y, p->vel.x, p->vel.y, p->acc[0],
                                       p->acc[1], p->colour[0], p->size_cur[0]});
        }
        return state;
    };
    std::vector<float> a = run();
    std::vector<float> b = run();
    ASSERT_EQ(a.size(), 20u * 8u);
    EXPECT_EQ(0, std::memcmp(a.data(), b.data(), a.size() * sizeof(float)));
}
