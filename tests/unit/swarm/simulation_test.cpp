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
    // (r1, r2) = (0.25, 0.25): half the radius, a quarter turn, which RotateInZ takes to
    // (0, -d), the y offset stretched by the aspect. Then r1 = 1 (clamped to 0.999999) and
    // half a turn, to (-d, 0).
    const float r[] = {0, 0.25f, 0.25f, 1.0f, 0.5f};
    for (int i = 1; i <= 4; ++i) v.random_table[i] = r[i];
    int c = 0;
    tagPOS p = v.CalcStartPoint(v.set->aspect, &c);
    EXPECT_EQ(c, 2);
    EXPECT_NEAR(p.x, 0.5, 1e-6);
    EXPECT_NEAR(p.y, 0.4 - 2.0 * 0.1, 1e-6);
    p = v.CalcStartPoint(v.set->aspect, &c);
    EXPECT_NEAR(p.x, 0.5 - 0.2 * std::sqrt(0.999999), 1e-6);
    EXPECT_NEAR(p.y, 0.4, 1e-6);
}

TEST(Birth, MatteThresholdsAndTheLimitOf101FailedAttempts) {
    // Inverted, a value gives birth when 32768 minus it is above 512.
    struct {
        unsigned short v;
        bool invert;
        int born;
    } cases[] = {{512, false, 0}, {513, false, 5}, {32256, true, 0}, {32255, true, 5}, {0, true, 5}};
    for (const auto& c : cases) EXPECT_EQ(BirthsOverMatte(c.v, c.invert), c.born) << c.v;

    // A black matte: 101 failed attempts of two draws each, then both messages, in order,
    // and again in every further step.
    EXPECT_EQ(BirthsOverMatte(0, false), 0);
    EXPECT_EQ(Instance.draw_counter, 202);
    const std::string both = "Tried many times to create a particle\n\n"
                             "Probability of success too low to continue - check matte\n\n";
    EXPECT_EQ(Messages(), both);
    ClearMessages();
    std::unique_ptr<ImageQ4> matte(MakeImage(64, 48, 0));
    Instance.set->birth_matte = matte.get();
    Instance.part_set_execute(Instance.set, 1);
    Instance.set->birth_matte = nullptr;
    EXPECT_EQ(Messages(), both);
    EXPECT_EQ(Instance.draw_counter, 404);
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
    SparkFloat13.Value = SparkFloat14.Value = 50.0f;
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
    SparkColor49.Color = 0xFFFFFFFFul;  // white: (255 >> 1) | (255 << 7) = 32767 per channel
    SyncAllControls();
    PrepareSet(64, 48);
    Vesk& v = Instance;
    // Entries 1, 2 place the birth; 3..5 scale the colours, 6..8 the personal factors,
    // 9 the size and 10 the texture start. The formulas are worked in double and rounded once;
    // for these draws a float evaluation lands one unit away in the colours, space_k and width.
    const float r[] = {0, 0.5f, 0.5f, 0.3f, 0.2f, 0.101f, 0.0f, 0.4f, 0.8f, 0.400036f, 0.35f};
    for (int i = 1; i <= 10; ++i) v.random_table[i] = r[i];
    v.part_set_execute(v.set, 0);
    ASSERT_EQ(LiveCount(), 1);
    tagPART* p = v.set->live_list;
    EXPECT_EQ(v.draw_counter, 10);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(p->colour[i], (float)((1.0 - (double)r[3 + i] * 0.5) * 32767.0)) << i;
    EXPECT_EQ(p->speed_k, 0.75f);
    EXPECT_EQ(p->accel_k, (float)(0.75 + 0.25 * (double)r[7]));
    // Replaced by the size draw: smaller shapes keep more space.
    EXPECT_EQ(p->space_k, (float)(0.75 + 0.25 * (1.0 - (double)r[9])));
    // f = 1 - 0.5 r: the width 40 f, the height 8 f raised to the 8-pixel minimum.
    const double f = 1.0 - 0.5 * (double)r[9];
    EXPECT_EQ(p->size_full[0], (float)(40.0 * f));
    EXPECT_EQ(p->size_cur[0], (float)(40.0 * f));
    EXPECT_EQ(p->size_full[1], 8.0f);
    EXPECT_EQ(p->isize_cur, 31);
    EXPECT_EQ(p->tex_frame, 3);  // trunc(10 * 0.35)

    // Without Random Sizes: whole pixels, no 8-pixel minimum, and no size draw.
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat45.Value = 0.0f;
    SparkFloat43.Value = 5.5f;
    SparkFloat44.Value = 3.7f;
    SyncAllControls();
    PrepareSet(64, 48);
    v.part_set_execute(v.set, 0);
    p = v.set->live_list;
    EXPECT_EQ(p->size_full[0], 5.0f);
    EXPECT_EQ(p->size_full[1], 3.0f);
    EXPECT_EQ(p->isize_full, 5);
    EXPECT_EQ(v.draw_counter, 2 + 3);
}

namespace {

// One step of a lone particle at (0.5, 0.5) with velocity (vx, vy), no steering force
// (Acceleration 0) and Speed `speed`, over a uniform avoid matte of value v (0: none).
tagPART StepAlone(float vx, float vy, float speed, unsigned short v, float heading_y = 0.0f) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat80.Value = 0.0f;   // Acceleration
    SparkFloat79.Value = speed;
    SparkBoolean71.Value = 0;    // Hunt Food off
    SparkBoolean75.Value = v ? 1 : 0;
    SyncAllControls();
    PrepareSet(100, 100);
    std::unique_ptr<ImageQ4> matte(MakeImage(100, 100, v));
    if (v) Instance.set->avoid_matte = matte.get();
    AddParticle(0.5f, 0.5f, vx, vy)->heading[1] = heading_y;
    Instance.part_set_execute(Instance.set, 0);
    Instance.set->avoid_matte = nullptr;
    return *Instance.set->live_list;
}

}  // namespace

TEST(Motion, AvoidMatteStopsAt16383SpeedIsLimitedAndHeadingKeptWhenAlmostStill) {
    tagPART blocked = StepAlone(0.05f, 0.0f, 100.0f, 16383);
    EXPECT_EQ(blocked.pos.x, 0.5f);
    EXPECT_EQ(blocked.pos.y, 0.5f);
    EXPECT_EQ(blocked.vel.x, 0.0f);
    EXPECT_EQ(blocked.vel.y, 0.0f);

    tagPART free = StepAlone(0.05f, 0.0f, 100.0f, 16384);
    EXPECT_FLOAT_EQ(free.pos.x, 0.55f);
    EXPECT_FLOAT_EQ(free.vel.x, 0.05f);
    EXPECT_FLOAT_EQ(free.heading[0], 1.0f);
    EXPECT_EQ(free.prev_pos[0], 0.5f);

    // Speed 20: 0.05 is cut to 0.02 along the same direction (0.6, 0.8).
    tagPART fast = StepAlone(0.03f, 0.04f, 20.0f, 0);
    EXPECT_NEAR(fast.vel.x, 0.012, 1e-7);
    EXPECT_NEAR(fast.vel.y, 0.016, 1e-7);
    EXPECT_NEAR(fast.pos.x, 0.512, 1e-6);
    EXPECT_NEAR(fast.heading[0], 0.6, 1e-6);
    EXPECT_NEAR(fast.heading[1], 0.8, 1e-6);

    // Speed 0.00005 is below 0.0001: the old heading stays, the particle still moves.
    tagPART still = StepAlone(0.00005f, 0.0f, 20.0f, 0, 1.0f);
    EXPECT_EQ(still.heading[0], 0.0f);
    EXPECT_EQ(still.heading[1], 1.0f);
    EXPECT_FLOAT_EQ(still.pos.x, 0.50005f);
}

namespace {

// Sources of w x h (the background clip at 1000, the others white) and a cleared output at
// full resolution, wired to the effect's clips for the life of the object.
struct FrameImages {
    std::unique_ptr<ImageQ4> src[5], out;
    FrameImages(int w, int h) : out(MakeImage(w, h, 0)) {
        out->sample_step = 1.0f;
        SourceQ4* clips[] = {&Instance.info.source1, &Instance.info.source2, &Instance.info.source3,
                           &Instance.info.source4, &Instance.info.source5};
        for (int i = 0; i < 5; ++i) {
            src[i].reset(MakeImage(w, h, i == 0 ? 1000 : 32767));
            clips[i]->image = src[i].get();
        }
        Instance.info.result.image = out.get();
    }
    ~FrameImages() {
        VeskInfo& info = Instance.info;
        info.source1.image = info.source2.image = info.source3.image = nullptr;
        info.source4.image = info.source5.image = info.result.image = nullptr;
    }
};

}  // namespace

TEST(FrameDriver, RestartPlusPreRollRunsPreRollStepsThenTheFrameFromTheSeedsTable) {
    ResetEffect();
    SparkInt11.Value = 3;
    SparkInt9.Value = 40;        // PreRoll
    SparkBoolean38.Value = 1;    // Texturing Cycle: tex_frame counts the steps
    SparkInt40.Value = 10000;    // Frames in Cycle
    SparkInt12.Value = 321;      // Seed
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

    // Every frame refills the random table from the generator seeded with -Seed.
    int seed = -321;
    std::vector<float> expected(262144);
    for (float& f : expected) f = ran1fQ4(&seed);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), Instance.random_table));
    EXPECT_FLOAT_EQ(Instance.set->aspect, 48.0f / 32.0f);
}

TEST(FrameDriver, ANewPreviewResolutionRescalesCurrentSizesOnly) {
    ResetEffect();
    SparkInt11.Value = 2;
    SparkFloat45.Value = 0.0f;   // Random Sizes off: sizes are the shape size
    SparkFloat43.Value = 60.0f;
    SparkFloat44.Value = 5.0f;   // below 8: kept as it is at full resolution
    SyncAllControls();
    struct {
        int w, h;
        float step;
        int isize;
        float cur0, cur1;
    } frames[] = {
        {64, 48, 1.0f, 60, 60.0f, 5.0f},
        {16, 12, 4.0f, 15, 15.0f, 2.0f},              // 5 / 4 raised to 8 / 4
        {8, 6, 32.0f, 1, 60.0f / 32.0f, 0.25f},       // 5 / 32 raised to 8 / 32
    };
    for (const auto& f : frames) {
        FrameImages images(f.w, f.h);
        images.out->sample_step = f.step;
        Instance.ProcessFrame();
        tagPART* p = Instance.set->live_list;
        ASSERT_EQ(LiveCount(), 2);
        EXPECT_EQ(p->size_full[0], 60.0f);
        EXPECT_EQ(p->size_full[1], 5.0f);
        EXPECT_EQ(p->isize_cur, f.isize) << f.step;
        EXPECT_FLOAT_EQ(p->size_cur[0], f.cur0) << f.step;
        EXPECT_FLOAT_EQ(p->size_cur[1], f.cur1) << f.step;
    }
}

TEST(FrameDriver, RenderModeDrawsTheStateBeforeItsMotionAndWireframeDoesNot) {
    ResetEffect();
    SparkInt11.Value = 1;
    SparkFloat15.Value = 0.0f;    // the one particle is born exactly at the birth point
    SparkFloat13.Value = SparkFloat14.Value = 50.0f;
    SparkPup42.Value = 1;         // "Shape: Rectangle"
    SparkFloat45.Value = 0.0f;    // no random sizes: 10 x 10 pixels
    SparkFloat43.Value = SparkFloat44.Value = 10.0f;
    SparkColor49.Color = 0xFFFFFFFFul;
    SparkPup59.Value = 0;         // "Render Mode: Render"
    SyncAllControls();
    FrameImages images(40, 40);
    // A matte of its own in the background clip: the output of a frame the host asked for keeps
    // it in both modes, under the particle too.
    Instance.second_flag = false;
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x) images.src[0]->rows[y][x].a = (unsigned short)(x * 800 + y);
    auto keeps_the_matte = [&] {
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 40; ++x)
                if (images.out->rows[y][x].a != x * 800 + y) return false;
        return true;
    };
    Instance.ProcessFrame();
    EXPECT_EQ(Instance.in_parallel, 0);
    EXPECT_GT(images.out->rows[20][20].r, 1000);  // drawn where it was born, over the clip
    EXPECT_TRUE(keeps_the_matte());

    SparkPup59.Value = 1;         // "Render Mode: Wireframe": the frame is the background clip
    SyncAllControls();
    images.out->Fill(0, 0, 0, 0);
    Instance.ProcessFrame();
    EXPECT_EQ(images.out->rows[20][20].r, 1000);
    EXPECT_EQ(images.out->rows[39][39].g, 1000);
    EXPECT_TRUE(keeps_the_matte());
    Instance.second_flag = true;  // as a freshly constructed effect has it
}
