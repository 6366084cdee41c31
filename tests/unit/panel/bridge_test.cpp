// The control bridge: what an edit of each kind of host record does to the effect, when it
// renders, the swatch/slider conversions, and the value copy before a frame.
#include "panel_fixture.h"

namespace panel_test {
namespace {

using BridgeTest = PanelTest;

uint32_t swatch() { return static_cast<uint32_t>(SparkColor49.Color & 0xFFFFFFFFu); }

TEST_F(BridgeTest, RestartAndPreRollButtonsOfEveryPageSetTheirRequests)
{
    SparkBoolean34.Value = 0;
    const int restart[3] = {1, 1, 0}, preroll[3] = {0, 1, 1};
    for (int first : {6, 35, 64, 93})
        for (int b = 0; b < 3; ++b) {
            Instance.restart_flag = Instance.preroll_flag = 0;
            const sparkhost::Control& c = *factory().find(sparkhost::ControlKind::Push, first + b);
            EXPECT_EQ(factory().callback(c)(1, info()), nullptr) << c.number;
            EXPECT_EQ(Instance.restart_flag, restart[b]) << c.number;
            EXPECT_EQ(Instance.preroll_flag, preroll[b]) << c.number;
        }
    EXPECT_EQ(renders(), 0);
}

TEST_F(BridgeTest, DisabledControlsRefuseEditsWithoutRenderingOrRedrawing)
{
    VeskInfo& v = Instance.info;
    v.restart1.Disable(true);
    EXPECT_EQ(SparkPush6.Callback(1, info()), nullptr);
    EXPECT_EQ(Instance.restart_flag, 0);
    // A checkbox puts its previous state back on the panel.
    v.use_birth_matte.Disable(true);
    SparkBoolean20.Value = 1;
    EXPECT_EQ(SparkBoolean20.Callback(1, info()), nullptr);
    EXPECT_EQ(state(SparkBoolean20), 0);
    EXPECT_FALSE(v.use_birth_matte.checked);

    v.shape_width.Disable(true);
    SparkFloat43.Value = 90;
    EXPECT_EQ(SparkFloat43.Callback(1, info()), nullptr);
    // Enabling again gives back the slider's full range, not the locked value.
    v.shape_width.Disable(false);
    EXPECT_EQ(SparkFloat43.Min, 1.0f);
    EXPECT_EQ(SparkFloat43.Max, 100.0f);

    // The swatch goes back to the colour the effect still uses; its sliders are refused too.
    v.shape_colour.Sync();
    v.shape_colour.Disable(true);
    SparkColor49.Color = 0xFF123456u;
    EXPECT_EQ(SparkColor49.Callback(1, info()), nullptr);
    EXPECT_EQ(swatch(), 0xFFFFFFFFu);
    EXPECT_EQ(SparkFloat50.Callback(1, info()), nullptr);
    EXPECT_EQ(renders() + redraws(), 0);
}

TEST_F(BridgeTest, CheckboxAndListEditsReapplyEveryShowHideRule)
{
    SparkBoolean34.Value = 0;
    for (int n :
         {20, 21, 38, 39, 47, 55, 67, 71, 75, 78, 81, 83, 101, 102, 103, 104, 105, 42, 59}) {
        // Personal Space shown although Avoid Others is off: the full resync must hide it.
        Instance.info.personal_space.Hide(false);
        const bool list = n == 42 || n == 59;
        const sparkhost::Control& c = *factory().find(
            list ? sparkhost::ControlKind::List : sparkhost::ControlKind::Boolean, n);
        factory().callback(c)(1, info());
        EXPECT_FALSE(shown(82)) << n;
        EXPECT_TRUE(list || updates(n) >= 1) << n;
    }
    // Numeric edits leave the rules alone.
    Instance.info.personal_space.Hide(false);
    SparkFloat43.Callback(1, info());
    EXPECT_TRUE(shown(82));
}

TEST_F(BridgeTest, AutoPreviewAndReasonDecideBetweenRenderingAndRedrawing)
{
    // "Advance" has no operation of its own: each press renders, and so steps the swarm.
    EXPECT_NE(SparkPush10.Callback(1, info()), nullptr);
    EXPECT_EQ(SparkPush10.Callback(0, info()), nullptr);
    EXPECT_EQ(renders(), 1);
    EXPECT_EQ(redraws(), 1);

    // One swatch edit ends in two DefaultCB calls: two renders with Auto Preview on. (With it
    // off an edit only redraws: tests of the standard pages.)
    SparkColor49.Color = 0xFF0000FFu;
    EXPECT_NE(SparkColor49.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 3);
}

TEST_F(BridgeTest, SwatchAndSlidersConvertInBothDepthModes)
{
    SparkBoolean34.Value = 0;
    // Sliders to swatch: 8/10-bit trunc(v * 2.551); 12-bit trunc(v * 40.951), bits 4 to 11.
    const struct {
        bool twelve;
        float r, g, b;
        uint32_t packed;
    } to_swatch[] = {
        {false, 50, 100, 0, 0xFF00FF7Fu},       // 127.55, 255.1, 0
        {false, 0.2f, 33, 99.9f, 0xFFFE5400u},  // 0.51, 84.18, 254.84
        {true, 50, 100, 10, 0xFF19FF7Fu},       // 2047 >> 4, 4095 >> 4, 409 >> 4
    };
    for (const auto& c : to_swatch) {
        DLtwelveBit = c.twelve;
        SparkFloat50.Value = c.r;
        SparkFloat51.Value = c.g;
        SparkFloat52.Value = c.b;
        SparkFloat51.Callback(1, info());
        EXPECT_EQ(swatch(), c.packed) << c.r << " " << c.g << " " << c.b;
    }
    for (int n : {50, 51, 52}) EXPECT_EQ(updates(n), 3) << n;
    // The effect's colour follows on the 15-bit scale: 127 -> 16256 | 63, 25 -> 3200 | 12.
    EXPECT_EQ(Instance.info.shape_colour.cache.r, 16319);
    EXPECT_EQ(Instance.info.shape_colour.cache.b, 3212);

    // Swatch (255, 127, 0) to whole percents: / 2.55 gives 100, 49.8; * 16 / 40.951 gives
    // 99.6, 49.6.
    for (bool twelve : {false, true}) {
        DLtwelveBit = twelve;
        SparkColor49.Color = 0xFF007FFFu;
        GetShapeColCB(1, info());
        EXPECT_EQ(SparkFloat50.Value, twelve ? 99.0f : 100.0f);
        EXPECT_EQ(SparkFloat51.Value, 49.0f);
        EXPECT_EQ(SparkFloat52.Value, 0.0f);
    }
    // Any other reason leaves the sliders alone.
    SparkColor49.Color = 0xFF000000u;
    GetShapeColCB(0, info());
    EXPECT_EQ(SparkFloat50.Value, 99.0f);
}

// Each control takes its own record; the unit conversions themselves are the controls' tests.
TEST_F(BridgeTest, FrameCopyTakesEachHostValue)
{
    SparkFloat13.Value = 84;
    SparkFloat14.Value = -150;
    SparkFloat15.Value = 50;
    SparkFloat72.Value = 250;
    SparkInt11.Value = 333;
    SparkFloat48.Value = -12.5f;
    SparkPup42.Value = 4;
    SparkBoolean71.Value = 0x100;  // only the low byte counts: off
    SparkColor49.Color = 0xFF007F80u;  // red 128, green 127, blue 0
    CopyControlValues();

    const VeskInfo& v = Instance.info;
    EXPECT_DOUBLE_EQ(v.birth_pos.cache_x, 0.84);
    EXPECT_DOUBLE_EQ(v.birth_pos.cache_y, -1.5);
    EXPECT_DOUBLE_EQ(v.birth_radius.cache, 0.5);
    EXPECT_DOUBLE_EQ(v.food_pos.cache_x, 2.5);
    EXPECT_EQ(v.vesk_size.cache, 333);
    EXPECT_DOUBLE_EQ(v.base_rotation.cache, -12.5);
    EXPECT_EQ(v.shape.cache, 5);
    EXPECT_EQ(v.render_mode.cache, 2);
    EXPECT_FALSE(v.hunt_food.checked);
    EXPECT_EQ(v.shape_colour.cache.g, 16319);  // 127 -> 63 | 16256
}

}  // namespace
}  // namespace panel_test
