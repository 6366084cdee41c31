// The effect's show/hide rules, the "Simple Food Hunt" preset and the switches of the preset
// page, driven through the panel's own callbacks.
#include <vector>

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
    void choose_shape(int entry)
    {
        SparkPup42.Value = entry;
        SparkPup42.Callback(1, info());
    }
};

TEST_F(EffectControlsTest, BehaviourSwitchesShowTheirSettingsOnlyWhileOn)
{
    const struct {
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
    for (const auto& rule : rules) {
        edit(*rule.box, 1);
        for (int n : rule.dependants) EXPECT_TRUE(shown(n)) << rule.box->Title << n;
        edit(*rule.box, 0);
        for (int n : rule.dependants) EXPECT_FALSE(shown(n)) << rule.box->Title << n;
    }
    // A hidden control keeps its value for when it is shown again.
    SparkBoolean21.Value = 1;
    edit(SparkBoolean20, 0);
    EXPECT_EQ(state(SparkBoolean21), 1);
    edit(SparkBoolean20, 1);
    CopyControlValues();
    EXPECT_TRUE(Instance.info.invert_birth_matte.checked);
}

TEST_F(EffectControlsTest, ShapeDecidesHeightSharpnessAndTheTexturingCycle)
{
    // Start-up greys the texturing cycle.
    for (int n : {38, 39, 40}) EXPECT_FALSE(shown(n)) << n;
    // Host entries count from 0: Blob 0, the stars 4 and 5, Cols with Matte 6.
    const struct {
        int entry;
        bool height, sharpness, cycle;
    } shapes[] = {{0, false, false, false}, {1, true, false, false}, {3, true, false, false},
                  {4, true, true, false},   {5, true, true, false},  {6, true, false, true},
                  {8, true, false, false}};
    for (const auto& s : shapes) {
        choose_shape(s.entry);
        EXPECT_EQ(shown(44), s.height) << s.entry;
        EXPECT_EQ(shown(46), s.sharpness) << s.entry;
        EXPECT_EQ(shown(38), s.cycle) << s.entry;
        EXPECT_FALSE(shown(39)) << s.entry;
    }
    choose_shape(6);
    edit(SparkBoolean38, 1);
    EXPECT_TRUE(shown(39));
    EXPECT_TRUE(shown(40));
    // Another shape hides the cycle even while it is switched on.
    choose_shape(7);
    for (int n : {38, 39, 40}) EXPECT_FALSE(shown(n)) << n;
    EXPECT_EQ(state(SparkBoolean38), 1);
}

// "Simple Food Hunt" in host units: positions and the radius in percent of the frame, lists
// counted from 0, the colour as its packed word (32640 >> 7 = 255 in every byte).
const struct {
    const char* record;
    double value;
} kSimpleFoodHunt[] = {
    {"SparkInt9", 40},      {"SparkInt12", 1650},   {"SparkFloat13", 80},  {"SparkFloat14", 80},
    {"SparkFloat15", 25},   {"SparkBoolean20", 0},  {"SparkBoolean21", 0}, {"SparkInt11", 40},
    {"SparkPup42", 5},      {"SparkFloat43", 50},   {"SparkFloat44", 50},  {"SparkFloat45", 100},
    {"SparkFloat46", 50},   {"SparkPup59", 0},      {"SparkColor49", 4294967295.0},
    {"SparkFloat50", 100},  {"SparkFloat51", 100},  {"SparkFloat52", 100}, {"SparkFloat53", 50},
    {"SparkFloat54", 100},  {"SparkBoolean55", 0},  {"SparkBoolean47", 0}, {"SparkFloat48", 0},
    {"SparkBoolean38", 0},  {"SparkBoolean39", 0},  {"SparkInt40", 5},     {"SparkBoolean71", 1},
    {"SparkFloat72", 20},   {"SparkFloat73", 20},   {"SparkBoolean67", 0}, {"SparkFloat68", 50},
    {"SparkFloat69", 50},   {"SparkFloat70", 20},   {"SparkBoolean75", 0}, {"SparkFloat76", 5},
    {"SparkFloat77", 10},   {"SparkBoolean78", 0},  {"SparkFloat79", 20},  {"SparkFloat80", 10},
    {"SparkBoolean81", 0},  {"SparkFloat82", 20},   {"SparkBoolean83", 0}, {"SparkFloat84", 20},
};

TEST_F(EffectControlsTest, SimpleFoodHuntSetsEveryValueAndLeavesTheSwitches)
{
    SparkBoolean101.Value = SparkBoolean104.Value = 1;
    SparkBoolean20.Value = SparkBoolean21.Value = SparkBoolean67.Value = 1;
    SparkBoolean38.Value = SparkBoolean39.Value = SparkBoolean55.Value = SparkBoolean78.Value = 1;
    SparkBoolean71.Value = 0;
    SparkPush100.Callback(1, info());

    for (const auto& e : kSimpleFoodHunt)
        EXPECT_NEAR(value_of(*factory().findRecord(e.record)), e.value, 1e-4) << e.record;
    // The effect takes the preset at once: Five Point Star is value 6, 1650 as given.
    EXPECT_EQ(Instance.info.shape.cache, 6);
    EXPECT_EQ(Instance.info.seed.cache, 1650);
    EXPECT_EQ(state(SparkBoolean101), 1);
    EXPECT_EQ(state(SparkBoolean104), 1);
    EXPECT_EQ(state(SparkBoolean102), 0);
}

TEST_F(EffectControlsTest, AddSwitchesTurnTheirBehavioursOnAndOff)
{
    // Add Predator -> Avoid Predator, Add Living Rotate -> Living Rotate, Add Personal Space ->
    // Avoid Others, Add Vesk Centring -> Vesk Gathering, Add Match Velocity -> Match Velocity.
    const std::pair<int, int> pairs[] = {{101, 67}, {102, 47}, {103, 81}, {104, 83}, {105, 78}};
    for (const auto& p : pairs) {
        auto* add = factory().find(sparkhost::ControlKind::Boolean, p.first)->asBoolean();
        auto* behaviour = factory().find(sparkhost::ControlKind::Boolean, p.second)->asBoolean();
        edit(*add, 1);
        EXPECT_EQ(state(*behaviour), 1) << p.first;
        edit(*add, 0);
        EXPECT_EQ(state(*behaviour), 0) << p.first;
    }
    // The full resync after a switch shows what the behaviour needs.
    edit(SparkBoolean101, 1);
    EXPECT_TRUE(shown(70));
}

}  // namespace
}  // namespace panel_test
