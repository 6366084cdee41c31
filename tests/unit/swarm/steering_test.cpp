// Neighbour search, the prioritised steering terms, the avoid-matte scan, and the swarm's
// behaviour over many steps.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

// A one-row table with velocity matching: a particle's acc is then its one neighbour's
// velocity minus its own, which tells which candidate the search kept.
tagPARTSET* OneRowMatching() {
    tagPARTSET* s = QuietSet();
    s->match_velocity = 1;
    s->mates = 1;
    return s;
}

}  // namespace

TEST(NeighbourTable, SortsFarthestFirstKeepingEqualDistancesInOrderAndClears) {
    QuietSet()->mates = 4;
    tagF_MATE t[4] = {{1, 0, 5, 0, 0}, {2, 0, 9, 0, 0}, {3, 0, 7, 0, 0}, {4, 0, 9, 0, 0}};
    Instance.sort_table(t);
    const float order[] = {2, 4, 3, 1};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(t[i].x, order[i]) << "row " << i;
    Instance.clear_table(t);
    for (const tagF_MATE& row : t) {
        EXPECT_EQ(row.dist, 9999.0f);
        EXPECT_EQ(row.x + row.y + row.vx + row.vy, 0.0f);
    }
}

TEST(NeighbourTable, ACandidateAtExactlyTheFarthestKeptDistanceIsNotTaken) {
    // Two neighbours at exactly 0.25, met in either order: the first one met keeps the row.
    for (int order = 0; order < 2; ++order) {
        OneRowMatching();
        AddParticle(order ? 0.75f : 0.25f, 0.5f, order ? 0.01f : 0.02f, 0.0f);
        tagPART* first_met = AddParticle(order ? 0.25f : 0.75f, 0.5f, order ? 0.02f : 0.01f, 0.0f);
        tagPART* p = AddParticle(0.5f, 0.5f);
        Instance.calc_vesk();
        EXPECT_EQ(p->acc[0], first_met->vel.x) << "order " << order;
    }
}

TEST(NeighbourTable, ARootThatRoundsUpToTheKeptDistanceIsATieNotANearerCandidate) {
    // Q2's squared distance lies strictly below Q1's, yet both roots round to the same float
    // t: the distances compared are the rounded roots, so Q2 is not nearer than Q1. Found by
    // search from the origin, where the coordinate differences are exact.
    float u = 0, v = 0, t = 0;
    bool found = false;
    int seed = 7;
    for (int i = 0; i < 200000 && !found; ++i) {
        u = 0.2f + (float)randQ4(seed) * 1e-6f;
        v = 0.1f + (float)randQ4(seed) * 1e-6f;
        float uu = u * u, vv = v * v;
        float x2 = uu + vv;
        t = std::sqrt(x2);
        float x1 = t * t;
        found = x1 > x2 && std::sqrt(x1) == t;
    }
    ASSERT_TRUE(found);
    for (int order = 0; order < 2; ++order) {
        OneRowMatching();
        tagPART* q2 = AddParticle(u, v, 0.03f, 0.0f);
        tagPART* q1 = AddParticle(t, 0.0f, 0.01f, 0.0f);
        if (order) std::swap(q1->pos, q2->pos), std::swap(q1->vel, q2->vel);
        tagPART* p = AddParticle(0.0f, 0.0f);
        Instance.calc_vesk();
        // Whichever is met first (q1, at the list head after p) keeps the row.
        EXPECT_EQ(p->acc[0], q1->vel.x) << "order " << order;
    }
}

TEST(NeighbourTable, AgreesWithTheLiteralSearchOnACrowdedGrid) {
    // A coarse grid gives many equal distances, where the order in which candidates are met
    // decides the table. The reference walks the list, takes the root of every distance and
    // re-sorts by bubble sort after each replacement.
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
        for (const tagF_MATE& r : rows) sx += r.vx, sy += r.vy;
        ASSERT_EQ(p->acc[0], sx / (float)m - p->vel.x);
        ASSERT_EQ(p->acc[1], sy / (float)m - p->vel.y);
    }
}

TEST(NeighbourTable, EmptyRowsTakePartInTheMeans) {
    // Alone, the one row is empty at (0, 0): centring pulls towards the top-left corner at
    // full strength (distance 1, grouping 0.45).
    tagPARTSET* s = QuietSet();
    s->gathering = 1;
    s->mates = 1;
    tagPART* p = AddParticle(0.6f, 0.8f);
    Instance.calc_vesk();
    EXPECT_NEAR(p->acc[0], -0.6, 1e-6);
    EXPECT_NEAR(p->acc[1], -0.8, 1e-6);

    // Three rows and one neighbour: its velocity is diluted by 3.
    s = QuietSet();
    s->match_velocity = 1;
    s->mates = 3;
    AddParticle(0.3f, 0.3f, 0.03f, -0.06f);
    p = AddParticle(0.35f, 0.3f);
    Instance.calc_vesk();
    EXPECT_NEAR(p->acc[0], 0.01, 1e-7);
    EXPECT_NEAR(p->acc[1], -0.02, 1e-7);
}

TEST(Steering, PriorityLimitCoastingAndFoodComfortRadius) {
    tagPARTSET* s = QuietSet();
    s->avoid_predator = 1;
    s->predator_x = 0.55f, s->predator_y = 0.5f, s->predator_fear = 0.18f;
    s->hunt_food = 1.0f;
    s->food_x = 0.5f, s->food_y = 0.9f;
    s->max_accel = 0.001f;
    tagPART* p = AddParticle(0.5f, 0.5f);
    p->accel_k = 0.8f;
    Instance.calc_vesk();
    // The predator push alone passes the limit 0.0008: scaled back to it, straight away from
    // the predator, and the food below is never added.
    EXPECT_NEAR(p->acc[0], -0.0008, 1e-7);
    EXPECT_EQ(p->acc[1], 0.0f);
    s->max_accel = 0.0f;  // Acceleration 0: every term is scaled to nothing, the swarm coasts
    Instance.calc_vesk();
    EXPECT_EQ(p->acc[0], 0.0f);
    EXPECT_EQ(p->acc[1], 0.0f);

    // Fear curve ((fear - r) / fear)^2; food within the personal-space radius (0.1) does not
    // pull, at 0.3 it pulls ((0.3 - 0.1) / 0.1)^2 = 4.
    s = QuietSet();
    s->avoid_predator = 1;
    s->predator_x = 0.45f, s->predator_y = 0.0f, s->predator_fear = 0.18f;
    s->hunt_food = 1.0f;
    s->food_x = 0.5f, s->food_y = 0.5f;
    s->personal_space = 0.1f;
    s->max_accel = 100.0f;
    tagPART* near = AddParticle(0.55f, 0.5f);
    tagPART* far = AddParticle(0.5f, 0.8f);
    tagPART* fled = AddParticle(0.5f, 0.0f);
    Instance.calc_vesk();
    EXPECT_EQ(near->acc[0], 0.0f);
    EXPECT_EQ(near->acc[1], 0.0f);
    EXPECT_NEAR(far->acc[0], 0.0, 1e-6);
    EXPECT_NEAR(far->acc[1], -4.0, 1e-4);
    EXPECT_NEAR(fled->acc[0], std::pow((0.18 - 0.05) / 0.18, 2.0), 1e-5);
}

TEST(AvoidScan, LineWalkFindsTheFirstPixelBelow16384) {
    tagPARTSET* s = QuietSet();
    std::unique_ptr<ImageQ4> matte(MakeImage(100, 100, 32767));
    s->avoid_matte = matte.get();
    matte->rows[0][3].r = 16383;
    matte->rows[0][4].r = 0;
    matte->rows[11][1].r = 0;   // on the x-major line (0,10) (1,11) (2,11) (3,12) (4,12)
    matte->rows[20][1].r = 0;   // beside the line (0,20) (1,21) (2,21) (3,22) (4,22)
    matte->rows[22][2].r = 0;
    matte->rows[5][0].r = 0;
    struct {
        int x0, y0, x1, y1, hx, hy;
    } cases[] = {
        {0, 0, 9, 0, 3, 0},
        {9, 0, 0, 0, 4, 0},     // backwards meets 4 first
        {0, 10, 4, 12, 1, 11},
        {0, 20, 4, 22, -1, 0},
        {2, 23, 1, 19, 2, 22},  // y-major: (2,23) then (2,22)
        {-6, 5, 2, 5, 0, 5},    // pixels left of the frame are skipped
    };
    for (const auto& c : cases) {
        tagSCANHIT h = Instance.scan_down(0, c.x0, c.y0, c.x1, c.y1);
        EXPECT_EQ(h.x, c.hx) << c.x0 << "," << c.y0 << " -> " << c.x1 << "," << c.y1;
        if (c.hx >= 0) {
            EXPECT_EQ(h.y, c.hy);
        }
    }
    matte->rows[0][3].r = 16384;  // not an obstacle
    EXPECT_EQ(Instance.scan_down(0, 0, 0, 3, 0).x, -1);
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

    s->avoid_sides = 0.05f;  // not deep enough to reach the obstacle
    Instance.calc_vesk();
    EXPECT_EQ(p->acc[0], 0.0f);
    s->avoid_matte = nullptr;
}

// ---- behaviour over many steps ----

namespace {

// A swarm of 20 born around (0.84, 0.84), the predator on the birth point, with the given
// rule checkboxes on, stepped n times.
void SwarmWith(bool food, bool predator, bool others, int n) {
    ResetEffect();
    SparkInt11.Value = 20;
    SparkBoolean71.Value = food ? 1 : 0;
    SparkBoolean67.Value = predator ? 1 : 0;
    SparkBoolean81.Value = others ? 1 : 0;
    SparkBoolean78.Value = SparkBoolean83.Value = 0;  // Match Velocity, Vesk Gathering
    SparkFloat68.Value = SparkFloat69.Value = 84.0f;
    SparkFloat80.Value = 10.0f;  // Acceleration
    SyncAllControls();
    PrepareSet(160, 120);
    for (int i = 0; i < n; ++i) Instance.part_set_execute(Instance.set, i);
}

}  // namespace

TEST(Behaviour, FoodAttractsThePredatorRepelsAndOthersAreKeptAtADistance) {
    SwarmWith(true, false, false, 1);
    double start = MeanDistanceTo(0.2f, 0.15f);  // the default food position
    SwarmWith(true, false, false, 61);
    EXPECT_GT(start, 0.6);
    EXPECT_LT(MeanDistanceTo(0.2f, 0.15f), 0.5 * start);

    SwarmWith(false, false, false, 40);
    double calm = MeanDistanceTo(0.84f, 0.84f);
    SwarmWith(false, true, false, 40);
    EXPECT_GT(MeanDistanceTo(0.84f, 0.84f), calm + 0.02);

    SwarmWith(true, false, false, 100);
    double crowded = MeanNearestNeighbour();
    SwarmWith(true, false, true, 100);
    EXPECT_GT(MeanNearestNeighbour(), crowded);
}
