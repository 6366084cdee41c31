// The effect's show/hide rules, the "Simple Food Hunt" preset and the switches of the preset
// page, driven through the panel's own callbacks.
#include "panel_fixture.h"

namespace panel_test {
namespace {

class EffectControlsTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        SparkBoolean34.Value = 0;  // edits only redraw
    }
    void toggle(SparkBooleanStruct& box, int on)
    {
        box.Value = on;
        box.Callback(1, info());
    }
    void choose_shape(int entry)
    {
        SparkPup42.Value = entry;
        SparkPup42.Callback(1, info());
    }
};

TEST_F(EffectControlsTest, BehaviourSwitchesShowTheirSettingsOnlyWhileOn)
{
    struct Rule {
        SparkBooleanStruct* box;
        std::vector<int> dependants;
    } rules[] = {
        {&SparkBoolean81, {82}},          // Avoid Others -> Personal Space
        {&SparkBoolean71, {72, 73}},      // Hunt Food -> Food X/Y
        {&SparkBoolean67, {68, 69, 70}},  // Avoid Predator -> Predator X/Y, Fear of Predator
        {&SparkBoolean75, {76, 77}},      // Use Avoid Matte -> Avoid Forward, Avoid Sides
        {&SparkBoolean83, {84}},          // Vesk Gathering -> Vesk Grouping
        {&SparkBoolean20, {21}},          // Use Birth Matte -> Invert Birth Matte
    };
    for (const Rule& rule : rules) {
        toggle(*rule.box, 1);
        for (int n : rule.dependants) EXPECT_TRUE(shown(n)) << rule.box->Title << " " << n;
        toggle(*rule.box, 0);
        for (int n : rule.dependants) EXPECT_FALSE(shown(n)) << rule.box->Title << " " << n;
    }
}

TEST_F(EffectControlsTest, HiddenControlsKeepTheirValues)
{
    SparkBoolean21.Value = 1;
    SparkFloat82.Value = 33;
    toggle(SparkBoolean20, 0);
    toggle(SparkBoolean81, 0);
    EXPECT_FALSE(shown(21));
    EXPECT_EQ(state(SparkBoolean21), 1);
    EXPECT_FLOAT_EQ(SparkFloat82.Value, 33);
    toggle(SparkBoolean20, 1);
    EXPECT_TRUE(shown(21));
    CopyControlValues();
    EXPECT_TRUE(Instance.info.invert_birth_matte.checked);
}

TEST_F(EffectControlsTest, ShapeDecidesHeightSharpnessAndTheTexturingCycle)
{
    // Entries count from 0 on the host: 0 Blob, 4 Four Point Star, 5 Five Point Star,
    // 6 Cols with Matte.
    choose_shape(0);
    EXPECT_FALSE(shown(44));
    EXPECT_FALSE(shown(46));
    for (int n : {38, 39, 40}) EXPECT_FALSE(shown(n)) << n;

    choose_shape(1);
    EXPECT_TRUE(shown(44));
    EXPECT_FALSE(shown(46));

    for (int star : {4, 5}) {
        choose_shape(star);
        EXPECT_TRUE(shown(46)) << star;
    }
    choose_shape(3);
    EXPECT_FALSE(shown(46));

    choose_shape(6);
    EXPECT_TRUE(shown(38));
    EXPECT_FALSE(shown(39));
    EXPECT_FALSE(shown(40));
    toggle(SparkBoolean38, 1);
    EXPECT_TRUE(shown(39));
    EXPECT_TRUE(shown(40));

    // Another shape hides the cycle even while it is switched on.
    choose_shape(7);
    for (int n : {38, 39, 40}) EXPECT_FALSE(shown(n)) << n;
    EXPECT_EQ(state(SparkBoolean38), 1);
}

TEST_F(EffectControlsTest, SimpleFoodHuntSetsEveryValueAndLeavesTheSwitches)
{
    SparkBoolean101.Value = 1;
    SparkBoolean104.Value = 1;
    SparkBoolean20.Value = SparkBoolean21.Value = SparkBoolean67.Value = 1;
    SparkBoolean38.Value = SparkBoolean39.Value = SparkBoolean55.Value = 1;
    SparkPush100.Callback(1, info());

    for (const panel_records::Expected& e : panel_records::kSimpleFoodHunt)
        EXPECT_NEAR(panel_records::value_of(record(e.record)), e.value, 1e-4) << e.record;
    // The effect takes the preset at once: Five Point Star is value 6, 1650 as given.
    EXPECT_EQ(Instance.info.shape.cache, 6);
    EXPECT_EQ(Instance.info.seed.cache, 1650);
    EXPECT_DOUBLE_EQ(Instance.info.speed.cache, 20.0);

    EXPECT_EQ(state(SparkBoolean101), 1);
    EXPECT_EQ(state(SparkBoolean104), 1);
    EXPECT_EQ(state(SparkBoolean102), 0);

    // The preset's shape shows the star controls.
    EXPECT_TRUE(shown(46));
    EXPECT_FALSE(shown(38));
}

TEST_F(EffectControlsTest, AddSwitchesTurnTheirBehavioursOnAndOff)
{
    struct Pair {
        SparkBooleanStruct* add;
        SparkBooleanStruct* behaviour;
    } pairs[] = {
        {&SparkBoolean101, &SparkBoolean67},  // Add Predator -> Avoid Predator
        {&SparkBoolean102, &SparkBoolean47},  // Add Living Rotate -> Living Rotate
        {&SparkBoolean103, &SparkBoolean81},  // Add Personal Space -> Avoid Others
        {&SparkBoolean104, &SparkBoolean83},  // Add Vesk Centring -> Vesk Gathering
        {&SparkBoolean105, &SparkBoolean78},  // Add Match Velocity -> Match Velocity
    };
    for (const Pair& p : pairs) {
        toggle(*p.add, 1);
        EXPECT_EQ(state(*p.behaviour), 1) << p.add->Title;
        toggle(*p.add, 0);
        EXPECT_EQ(state(*p.behaviour), 0) << p.add->Title;
    }
    // The full resync after a switch shows what the behaviour needs.
    toggle(SparkBoolean101, 1);
    EXPECT_TRUE(shown(70));
}

}  // namespace
}  // namespace panel_test
