// The control bridge: what an edit of each kind of host record does to the effect, when it
// renders, and how the host values reach the framework controls before a frame.
#include "panel_fixture.h"

namespace panel_test {
namespace {

using BridgeTest = PanelTest;

uint32_t swatch() { return static_cast<uint32_t>(SparkColor49.Color & 0xFFFFFFFFu); }

TEST_F(BridgeTest, StartUpBindsEveryControlToItsRecordAndGreysTheTexturingCycle)
{
    const VeskInfo& v = Instance.info;
    EXPECT_EQ(v.preroll.storage, &SparkInt9);
    EXPECT_EQ(v.birth_pos.number, 13);
    EXPECT_EQ(v.birth_pos.second, &SparkFloat14);
    EXPECT_EQ(v.shape_colour.sliders[2], &SparkFloat52);
    EXPECT_EQ(v.restart4.storage, &SparkPush93);
    EXPECT_TRUE(v.vesk_grouping.refresh);
    EXPECT_FALSE(v.vesk_grouping.disabled);
    // Ranges a disabled control gets back when enabled again.
    EXPECT_EQ(v.frames_in_cycle.saved_range[1], 10000);
    EXPECT_FLOAT_EQ(v.base_rotation.saved_range[0], -360.0f);
    for (int n : {38, 39, 40}) EXPECT_FALSE(shown(n)) << n;
    EXPECT_TRUE(shown(43));
}

TEST_F(BridgeTest, RestartAndPreRollButtonsOfEveryPageSetTheirRequests)
{
    SparkBoolean34.Value = 0;
    struct Case {
        SparkPushStruct* button;
        int restart, preroll;
    } cases[] = {
        {&SparkPush6, 1, 0},  {&SparkPush7, 1, 1},  {&SparkPush8, 0, 1},
        {&SparkPush35, 1, 0}, {&SparkPush36, 1, 1}, {&SparkPush37, 0, 1},
        {&SparkPush64, 1, 0}, {&SparkPush65, 1, 1}, {&SparkPush66, 0, 1},
        {&SparkPush93, 1, 0}, {&SparkPush94, 1, 1}, {&SparkPush95, 0, 1},
    };
    for (const Case& c : cases) {
        Instance.restart_flag = Instance.preroll_flag = 0;
        EXPECT_EQ(c.button->Callback(1, info()), nullptr) << c.button->Title;
        EXPECT_EQ(Instance.restart_flag, c.restart) << c.button->Title;
        EXPECT_EQ(Instance.preroll_flag, c.preroll) << c.button->Title;
    }
    EXPECT_EQ(renders(), 0);
}

TEST_F(BridgeTest, DisabledControlsRefuseEditsWithoutRenderingOrRedrawing)
{
    VeskInfo& v = Instance.info;
    v.restart1.Disable(true);
    EXPECT_EQ(SparkPush6.Callback(1, info()), nullptr);
    EXPECT_EQ(Instance.restart_flag, 0);
    v.restart1.Disable(false);

    // A checkbox puts its previous state back on the panel.
    v.use_birth_matte.Disable(true);
    SparkBoolean20.Value = 1;
    EXPECT_EQ(SparkBoolean20.Callback(1, info()), nullptr);
    EXPECT_EQ(state(SparkBoolean20), 0);
    EXPECT_FALSE(v.use_birth_matte.checked);
    v.use_birth_matte.Disable(false);

    v.shape_width.Disable(true);
    SparkFloat43.Value = 90;
    EXPECT_EQ(SparkFloat43.Callback(1, info()), nullptr);
    v.shape_width.Disable(false);

    // The swatch goes back to the colour the effect still uses; its sliders are refused too.
    v.shape_colour.Sync();
    v.shape_colour.Disable(true);
    SparkColor49.Color = 0xFF123456u;
    EXPECT_EQ(SparkColor49.Callback(1, info()), nullptr);
    EXPECT_EQ(swatch(), 0xFFFFFFFFu);
    EXPECT_EQ(SparkFloat50.Callback(1, info()), nullptr);
    v.shape_colour.Disable(false);

    EXPECT_EQ(renders(), 0);
    EXPECT_EQ(redraws(), 0);
}

TEST_F(BridgeTest, AutoPreviewDecidesBetweenRenderingAndRedrawing)
{
    // "Advance" has no operation of its own: each press renders, and so steps the swarm.
    unsigned long* frame = SparkPush10.Callback(1, info());
    EXPECT_NE(frame, nullptr);
    EXPECT_EQ(renders(), 1);
    // Only reason 1 renders.
    EXPECT_EQ(SparkPush10.Callback(0, info()), nullptr);
    EXPECT_EQ(renders(), 1);
    EXPECT_EQ(redraws(), 1);

    SparkBoolean34.Value = 0;
    SparkFloat79.Value = 42;
    EXPECT_EQ(SparkFloat79.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 1);
    EXPECT_EQ(redraws(), 2);
    EXPECT_DOUBLE_EQ(Instance.info.speed.cache, 42.0);
}

TEST_F(BridgeTest, SlidersBuildTheSwatchInBothDepthModes)
{
    SparkBoolean34.Value = 0;
    // 8/10-bit: 50 % gives 127 and 100 % gives 255.
    SparkFloat50.Value = 50;
    SparkFloat51.Value = 100;
    SparkFloat52.Value = 0;
    SparkFloat50.Callback(1, info());
    EXPECT_EQ(swatch(), 0xFF00FF7Fu);
    // The effect's colour follows the swatch on the 15-bit scale: 127 -> 16256 + 63.
    EXPECT_EQ(Instance.info.shape_colour.cache.r, 16319);
    EXPECT_EQ(Instance.info.shape_colour.cache.g, 32767);
    EXPECT_EQ(Instance.info.shape_colour.cache.b, 0);

    // 12-bit: 50 % is level 2047, 100 % level 4095, 10 % level 409; the swatch keeps bits 4-11.
    DLtwelveBit = true;
    SparkFloat52.Value = 10;
    SparkFloat52.Callback(1, info());
    EXPECT_EQ(swatch(), 0xFF19FF7Fu);
    for (int n : {50, 51, 52}) EXPECT_NE(std::count(host.controlUpdates().begin(),
                                                    host.controlUpdates().end(), n), 0);
}

TEST_F(BridgeTest, SwatchShowsWholePercentsOnTheSliders)
{
    SparkBoolean34.Value = 0;
    SparkColor49.Color = 0xFF007FFFu;  // red 255, green 127, blue 0
    GetShapeColCB(1, info());
    EXPECT_FLOAT_EQ(SparkFloat50.Value, 100.0f);
    EXPECT_FLOAT_EQ(SparkFloat51.Value, 49.0f);  // 127 / 2.55 = 49.8
    EXPECT_FLOAT_EQ(SparkFloat52.Value, 0.0f);

    DLtwelveBit = true;
    GetShapeColCB(1, info());
    EXPECT_FLOAT_EQ(SparkFloat50.Value, 99.0f);  // 4080 / 40.951 = 99.6
    EXPECT_FLOAT_EQ(SparkFloat51.Value, 49.0f);  // 2032 / 40.951 = 49.6

    // Any other reason leaves the sliders alone.
    SparkColor49.Color = 0xFF000000u;
    GetShapeColCB(0, info());
    EXPECT_FLOAT_EQ(SparkFloat50.Value, 99.0f);
}

TEST_F(BridgeTest, OneSwatchEditRendersTwiceWithAutoPreview)
{
    SparkColor49.Color = 0xFF0000FFu;
    EXPECT_NE(SparkColor49.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 2);
    EXPECT_FLOAT_EQ(SparkFloat50.Value, 100.0f);
    EXPECT_FLOAT_EQ(SparkFloat51.Value, 0.0f);

    SparkBoolean34.Value = 0;
    EXPECT_EQ(SparkColor49.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 2);
    EXPECT_EQ(redraws(), 2);
}

TEST_F(BridgeTest, FrameCopyTakesHostValuesInTheEffectsUnits)
{
    SparkFloat13.Value = 84;
    SparkFloat14.Value = -150;
    SparkFloat15.Value = 50;
    SparkFloat72.Value = 250;
    SparkInt11.Value = 333;
    SparkFloat80.Value = 3.5f;
    SparkFloat48.Value = -12.5f;
    SparkPup42.Value = 4;
    SparkPup59.Value = 0;
    SparkBoolean71.Value = 0x100;  // only the low byte counts: off
    SparkBoolean81.Value = 1;
    SparkColor49.Color = 0xFF007F80u;  // red 128, green 127, blue 0
    CopyControlValues();

    const VeskInfo& v = Instance.info;
    EXPECT_DOUBLE_EQ(v.birth_pos.cache_x, 0.84);
    EXPECT_DOUBLE_EQ(v.birth_pos.cache_y, -1.5);
    EXPECT_DOUBLE_EQ(v.birth_radius.cache, 0.5);
    EXPECT_DOUBLE_EQ(v.food_pos.cache_x, 2.5);
    EXPECT_EQ(v.vesk_size.cache, 333);
    EXPECT_DOUBLE_EQ(v.acceleration.cache, 3.5);
    EXPECT_DOUBLE_EQ(v.base_rotation.cache, -12.5);
    EXPECT_EQ(v.shape.cache, 5);
    EXPECT_EQ(v.render_mode.cache, 1);
    EXPECT_FALSE(v.hunt_food.checked);
    EXPECT_TRUE(v.avoid_others.checked);
    EXPECT_EQ(v.shape_colour.cache.r, 16448);  // 128 -> 64 | 16384
    EXPECT_EQ(v.shape_colour.cache.g, 16319);  // 127 -> 63 | 16256
    EXPECT_EQ(v.shape_colour.cache.b, 0);
    EXPECT_EQ(v.shape_colour.cache.a, 0x7FFF);
}

}  // namespace
}  // namespace panel_test
