// Births, motion, restart and pre-roll of the swarm.
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

int LiveCount() { return Instance.set->live_count; }

// One step of a 64 x 48 swarm of `size` over a uniform birth matte of value v.
int BirthsOverMatte(unsigned short v, bool invert, int size = 5) {
    ResetEffect();
    SparkInt11.Value = size;
    SparkBoolean20.Value = 1;  // Use Birth Matte
    SparkBoolean21.Value = invert ? 1 : 0;
    SyncAllControls();
    PrepareSet(64, 48);
    std::unique_ptr<ImageQ4> matte(MakeImage(64, 48, v));
    Instance.set->birth_matte = matte.get();
    Instance.part_set_execute(Instance.set, 0);
    Instance.set->birth_matte = nullptr;
    return LiveCount();
}

}  // namespace

TEST(Birth, PointIsUniformOverADiscRoundInPixels) {
    ResetEffect();
    SparkFloat13.Value = 50.0f;  // Birth X
    SparkFloat14.Value = 40.0f;  // Birth Y
    SparkFloat15.Value = 40.0f;  // Birth Radius: disc of radius 0.2
    SyncAllControls();
    PrepareSet(200, 100);  // aspect 2
    Vesk& v = Instance;
    // r1 = 0.25 gives half the radius; r2 = 0.25 a quarter turn, which RotateInZ takes
    // to (0, -d); the y offset is stretched by the aspect.
    v.random_table[1] = 0.25f;
    v.random_table[2] = 0.25f;
    int c = 0;
    tagPOS p = v.CalcStartPoint(v.set->aspect, &c);
    EXPECT_EQ(c, 2);
    EXPECT_NEAR(p.x, 0.5, 1e-6);
    EXPECT_NEAR(p.y, 0.4 - 2.0 * 0.1, 1e-6);

    // r2 = 0.5: half a turn, to (-d, 0).
    v.random_table[3] = 1.0f;  // clamped to 0.999999: all but the full radius
    v.random_table[4] = 0.5f;
    p = v.CalcStartPoint(v.set->aspect, &c);
    EXPECT_NEAR(p.x, 0.5 - 0.2 * std::sqrt(0.999999), 1e-6);
    EXPECT_NEAR(p.y, 0.4, 1e-6);
}

TEST(Birth, ABlackMatteBirthsNothingAndGivesUpAfter101Attempts) {
    EXPECT_EQ(BirthsOverMatte(0, false), 0);
    // 101 failed attempts of two draws each, then both messages, in order.
    EXPECT_EQ(Instance.draw_counter, 202);
    std::string text = Messages();
    size_t a = text.find("Tried many times to create a particle\n");
    size_t b = text.find("Probability of success too low to continue - check matte\n");
    ASSERT_NE(a, std::string::npos);
    ASSERT_NE(b, std::string::npos);
    EXPECT_LT(a, b);

    // Every further step trips the limit again.
    ClearMessages();
    Instance.set->birth_matte = nullptr;
    std::unique_ptr<ImageQ4> matte(MakeImage(64, 48, 0));
    Instance.set->birth_matte = matte.get();
    Instance.part_set_execute(Instance.set, 1);
    Instance.set->birth_matte = nullptr;
    EXPECT_NE(Messages().find("Tried many times"), std::string::npos);
    EXPECT_EQ(Instance.draw_counter, 404);
}

TEST(Birth, MatteThresholdsPlainAndInverted) {
    EXPECT_EQ(BirthsOverMatte(512, false), 0);
    EXPECT_EQ(BirthsOverMatte(513, false), 5);
    // Inverted, a value gives birth when 32768 minus it is above 512.
    EXPECT_EQ(BirthsOverMatte(32256, true), 0);
    EXPECT_EQ(BirthsOverMatte(32255, true), 5);
    EXPECT_EQ(BirthsOverMatte(0, true), 5);
}

TEST(Birth, OffFramePointsPassTheAvoidMatteAndTopUpWithoutDeaths) {
    ResetEffect();
    SparkInt11.Value = 4;
    SparkFloat13.Value = 200.0f;  // Birth X far right of the frame
    SparkBoolean75.Value = 1;     // Use Avoid Matte
    SyncAllControls();
    PrepareSet(64, 48);
    std::unique_ptr<ImageQ4> black(MakeImage(64, 48, 0));
    Instance.set->avoid_matte = black.get();
    Instance.part_set_execute(Instance.set, 0);
    EXPECT_EQ(LiveCount(), 4);
    for (tagPART* p = Instance.set->live_list; p; p = p->next) EXPECT_GT(p->pos.x, 1.0f);

    // Inside the frame the same black avoid matte refuses every birth point.
    SparkFloat13.Value = 50.0f;
    SparkFloat14.Value = 50.0f;
    SparkFloat15.Value = 0.0f;
    SparkInt11.Value = 6;
    PrepareSet(64, 48);
    Instance.part_set_execute(Instance.set, 1);
    EXPECT_EQ(LiveCount(), 4);

    // A smaller size leaves the surplus alive.
    SparkInt11.Value = 2;
    PrepareSet(64, 48);
    Instance.set->avoid_matte = nullptr;
    Instance.part_set_execute(Instance.set, 2);
    EXPECT_EQ(LiveCount(), 4);
}

TEST(Birth, InitialisationDrawsInItsFixedOrder) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat15.Value = 0.0f;   // birth exactly at the birth point
    SparkFloat53.Value = 50.0f;  // Random Colours
    SparkFloat45.Value = 50.0f;  // Random Sizes
    SparkFloat43.Value = 40.0f;  // Shape Width
    SparkFloat44.Value = 8.0f;   // Shape Height
    SparkBoolean39.Value = 1;    // Random Start
    SparkInt40.Value = 10;       // Frames in Cycle
    SparkColor49.Color = 0xFFFFFFFFul;  // white: 32640 per channel
    SyncAllControls();
    PrepareSet(64, 48);
    Vesk& v = Instance;
    // Entries 1, 2 place the birth; 3..5 scale the colours, 6..8 the personal factors,
    // 9 the size and 10 the texture start.
    const float r[] = {0, 0.5f, 0.5f, 0.1f, 0.2f, 0.4f, 0.0f, 0.4f, 0.8f, 0.5f, 0.35f};
    for (int i = 1; i <= 10; ++i) v.random_table[i] = r[i];
    v.part_set_execute(v.set, 0);
    ASSERT_EQ(LiveCount(), 1);
    tagPART* p = v.set->live_list;
    EXPECT_EQ(v.draw_counter, 10);
    EXPECT_FLOAT_EQ(p->colour[0], (1.0f - 0.1f * 0.5f) * 32640.0f);
    EXPECT_FLOAT_EQ(p->colour[1], (1.0f - 0.2f * 0.5f) * 32640.0f);
    EXPECT_FLOAT_EQ(p->colour[2], (1.0f - 0.4f * 0.5f) * 32640.0f);
    EXPECT_FLOAT_EQ(p->speed_k, 0.75f);
    EXPECT_FLOAT_EQ(p->accel_k, 0.85f);
    // Replaced by the size draw: smaller shapes keep more space.
    EXPECT_FLOAT_EQ(p->space_k, 0.75f + 0.25f * 0.5f);
    // f = 1 - 0.5 * 0.5 = 0.75: 30 x 6, the height raised to the 8-pixel minimum.
    EXPECT_FLOAT_EQ(p->size_full[0], 30.0f);
    EXPECT_FLOAT_EQ(p->size_full[1], 8.0f);
    EXPECT_EQ(p->isize_full, 30);
    EXPECT_EQ(p->isize_cur, 30);
    EXPECT_EQ(p->tex_frame, 3);  // trunc(10 * 0.35)
}

TEST(Birth, WithoutRandomSizesShapesAreWholePixelsAndUnclamped) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat45.Value = 0.0f;  // Random Sizes
    SparkFloat43.Value = 5.5f;  // below the 8-pixel minimum of the random branch
    SparkFloat44.Value = 3.7f;
    SyncAllControls();
    PrepareSet(64, 48);
    Instance.part_set_execute(Instance.set, 0);
    tagPART* p = Instance.set->live_list;
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->size_full[0], 5.0f);
    EXPECT_EQ(p->size_full[1], 3.0f);
    EXPECT_EQ(p->size_cur[0], 5.0f);
    EXPECT_EQ(p->isize_full, 5);
    EXPECT_EQ(Instance.draw_counter, 2 + 3);  // birth point and the three personal factors
}

namespace {

// A lone particle at (0.5, 0.5) moving right by 0.05 over a uniform avoid matte of value v,
// with no steering force (Acceleration 0) and room to move (Speed 100).
tagPART StepOverAvoidMatte(unsigned short v) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat80.Value = 0.0f;   // Acceleration
    SparkFloat79.Value = 100.0f; // Speed
    SparkBoolean71.Value = 0;    // Hunt Food off
    SparkBoolean75.Value = 1;    // Use Avoid Matte
    SyncAllControls();
    PrepareSet(100, 100);
    std::unique_ptr<ImageQ4> matte(MakeImage(100, 100, v));
    Instance.set->avoid_matte = matte.get();
    AddParticle(0.5f, 0.5f, 0.05f, 0.0f);
    Instance.part_set_execute(Instance.set, 0);
    Instance.set->avoid_matte = nullptr;
    return *Instance.set->live_list;
}

}  // namespace

TEST(Motion, AnAvoidMatteValueOf16383StopsDeadAnd16384LetsThrough) {
    tagPART blocked = StepOverAvoidMatte(16383);
    EXPECT_EQ(blocked.pos.x, 0.5f);
    EXPECT_EQ(blocked.pos.y, 0.5f);
    EXPECT_EQ(blocked.vel.x, 0.0f);
    EXPECT_EQ(blocked.vel.y, 0.0f);

    tagPART free = StepOverAvoidMatte(16384);
    EXPECT_FLOAT_EQ(free.pos.x, 0.55f);
    EXPECT_EQ(free.pos.y, 0.5f);
    EXPECT_FLOAT_EQ(free.vel.x, 0.05f);
    EXPECT_FLOAT_EQ(free.heading[0], 1.0f);
    EXPECT_EQ(free.prev_pos[0], 0.5f);
}

TEST(Motion, SpeedIsLimitedAndHeadingKeptWhenAlmostStill) {
    ResetEffect();
    SparkInt11.Value = 2;
    SparkFloat80.Value = 0.0f;  // no steering
    SparkFloat79.Value = 20.0f; // limit 0.02 per frame at speed_k 1
    SparkBoolean71.Value = 0;
    SyncAllControls();
    PrepareSet(100, 100);
    tagPART* fast = AddParticle(0.2f, 0.2f, 0.03f, 0.04f);  // speed 0.05
    tagPART* still = AddParticle(0.7f, 0.7f, 0.00005f, 0.0f);
    still->heading[0] = 0.0f;
    still->heading[1] = 1.0f;
    Instance.part_set_execute(Instance.set, 0);
    EXPECT_NEAR(std::hypot(fast->vel.x, fast->vel.y), 0.02, 1e-7);
    EXPECT_NEAR(fast->vel.x, 0.012, 1e-7);
    EXPECT_NEAR(fast->pos.x, 0.212, 1e-6);
    EXPECT_NEAR(fast->heading[0], 0.6, 1e-6);
    EXPECT_NEAR(fast->heading[1], 0.8, 1e-6);
    // Speed 0.00005 is below the 0.0001 threshold: the heading stays, the particle moves.
    EXPECT_EQ(still->heading[0], 0.0f);
    EXPECT_EQ(still->heading[1], 1.0f);
    EXPECT_FLOAT_EQ(still->pos.x, 0.70005f);
}

namespace {

struct FrameImages {
    std::unique_ptr<ImageQ4> src[5];
    std::unique_ptr<ImageQ4> out;
    FrameImages(int w, int h) {
        for (int i = 0; i < 5; ++i) src[i].reset(MakeImage(w, h, i == 0 ? 1000 : 32767));
        out.reset(MakeImage(w, h, 0));
        out->sample_step = 1.0f;  // full resolution
        VeskInfo& info = Instance.info;
        info.source1.image = src[0].get();
        info.source2.image = src[1].get();
        info.source3.image = src[2].get();
        info.source4.image = src[3].get();
        info.source5.image = src[4].get();
        info.result.image = out.get();
    }
    ~FrameImages() {
        VeskInfo& info = Instance.info;
        info.source1.image = info.source2.image = info.source3.image = nullptr;
        info.source4.image = info.source5.image = nullptr;
        info.result.image = nullptr;
    }
};

}  // namespace

TEST(FrameDriver, RestartPlusPreRollRunsPreRollStepsThenTheFrame) {
    ResetEffect();
    SparkInt11.Value = 3;
    SparkInt9.Value = 40;        // PreRoll
    SparkBoolean38.Value = 1;    // Texturing Cycle: tex_frame counts the steps
    SparkInt40.Value = 10000;    // Frames in Cycle
    SyncAllControls();
    FrameImages images(48, 32);
    Instance.restart_flag = 1;
    Instance.preroll_flag = 1;
    Instance.frame = 12.0;
    Instance.ProcessFrame();
    EXPECT_EQ(Instance.restart_flag, 0);
    EXPECT_EQ(Instance.preroll_flag, 0);
    ASSERT_EQ(LiveCount(), 3);
    // Born in the first pre-roll step and moved in it: 40 + 1 steps.
    for (tagPART* p = Instance.set->live_list; p; p = p->next) EXPECT_EQ(p->tex_frame, 41);

    // The same frame number again is one more step; there is no cache by frame.
    Instance.ProcessFrame();
    for (tagPART* p = Instance.set->live_list; p; p = p->next) EXPECT_EQ(p->tex_frame, 42);

    // The cycle wraps to 0 after Frames in Cycle - 1.
    SparkInt40.Value = 43;
    Instance.ProcessFrame();
    for (tagPART* p = Instance.set->live_list; p; p = p->next) EXPECT_EQ(p->tex_frame, 0);
}

TEST(FrameDriver, RefillsTheTableFromMinusSeedAndCopiesTheBackground) {
    ResetEffect(1);
    SparkInt12.Value = 321;  // Seed
    SyncAllControls();
    FrameImages images(40, 30);
    Instance.frame = 3.0;
    Instance.ProcessFrame();
    // Every entry follows from the generator seeded with -Seed.
    int seed = -321;
    std::vector<float> expected(262144);
    for (float& f : expected) f = ran1fQ4(&seed);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), Instance.random_table));
    EXPECT_EQ(Instance.frame_w, 40);
    EXPECT_EQ(Instance.frame_h, 30);
    EXPECT_FLOAT_EQ(Instance.set->aspect, 40.0f / 30.0f);
    // Wireframe mode draws nothing into the frame: it is the background clip.
    EXPECT_EQ(images.out->rows[10][10].r, 1000);
    EXPECT_EQ(images.out->rows[29][39].g, 1000);
}

TEST(FrameDriver, ANewPreviewResolutionRescalesCurrentSizesOnly) {
    ResetEffect();
    SparkInt11.Value = 2;
    SparkFloat45.Value = 0.0f;   // Random Sizes off: sizes are the shape size
    SparkFloat43.Value = 60.0f;
    SparkFloat44.Value = 5.0f;   // below 8: kept as it is at full resolution
    SyncAllControls();
    {
        FrameImages images(64, 48);
        Instance.ProcessFrame();  // builds lumps (first frame) or not; sizes at full scale
    }
    ASSERT_EQ(LiveCount(), 2);
    tagPART* p = Instance.set->live_list;
    EXPECT_EQ(p->isize_full, 60);
    {
        // A quarter-resolution preview: 16 x 12 with a sample step of 4.
        FrameImages images(16, 12);
        images.out->sample_step = 4.0f;
        Instance.ProcessFrame();
    }
    EXPECT_EQ(p->size_full[1], 5.0f);
    EXPECT_EQ(p->isize_cur, 15);
    EXPECT_FLOAT_EQ(p->size_cur[0], 15.0f);
    EXPECT_FLOAT_EQ(p->size_cur[1], 2.0f);  // 5 / 4 raised to 8 / 4
    {
        FrameImages images(8, 6);
        images.out->sample_step = 32.0f;
        Instance.ProcessFrame();
    }
    EXPECT_EQ(p->isize_cur, 1);  // trunc(60 / 32)
    EXPECT_FLOAT_EQ(p->size_cur[0], 60.0f / 32.0f);
    EXPECT_FLOAT_EQ(p->size_cur[1], 0.25f);  // 5 / 32 raised to 8 / 32
}

TEST(FrameDriver, RenderModeDrawsTheStateBeforeItsMotionAndWireframeDoesNot) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat15.Value = 0.0f;    // the one particle is born exactly at the birth point
    SparkFloat13.Value = 50.0f;
    SparkFloat14.Value = 50.0f;
    SparkPup42.Value = 1;         // "Shape: Rectangle"
    SparkFloat45.Value = 0.0f;    // no random sizes: 10 x 10 pixels
    SparkFloat43.Value = 10.0f;
    SparkFloat44.Value = 10.0f;
    SparkColor49.Color = 0xFFFFFFFFul;
    SparkPup59.Value = 0;         // "Render Mode: Render"
    SyncAllControls();
    FrameImages images(40, 40);
    Instance.ProcessFrame();
    EXPECT_EQ(Instance.in_parallel, 0);
    EXPECT_GE(Instance.bands, 1);
    EXPECT_LE(Instance.bands, 4);
    // The particle is drawn where it was born, around the centre, over the background.
    EXPECT_GT(images.out->rows[20][20].r, 1000);
    // Away from it the background comes through every layer, each empty one letting
    // 32767/32768 of it pass.
    int background = 1000;
    for (int i = 0; i < Instance.bands; ++i) background = (background * 32767) >> 15;
    EXPECT_EQ(images.out->rows[2][2].r, background);

    SparkPup59.Value = 1;         // "Render Mode: Wireframe"
    SyncAllControls();
    Instance.ProcessFrame();
    EXPECT_EQ(images.out->rows[20][20].r, 1000);
}
