// The mapping from control records to panel widgets, on records made here with known numbers,
// ranges and titles.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "sparkhost/view/PanelLayout.h"

namespace sparkhost {
namespace {

struct Records {
    SparkFloatStruct birthX{84.0f, -150.0f, 250.0f, 0.05f, 0, "Birth X: %.2f", nullptr};
    SparkIntStruct seed{165, 1, 999, 17, 0, "Seed: %d", nullptr};
    SparkIntStruct frames{5, 5, 5, 1, 0, "Frames in Cycle: %d", nullptr};
    SparkBooleanStruct autoPreview{1, 0, "Auto Preview", nullptr};
    SparkPupStruct resolution{};
    SparkPushStruct restart{"Restart   ", nullptr};
    SparkColorStruct colour{0xFFFFFFFFul, nullptr};
    SparkStringStruct clip{};
    SparkFloatStruct channel{0.0f, -1000.0f, 1000.0f, 0.001f, 0, "Amplitude: %.1f", nullptr};
    std::map<std::string, void*> symbols{{"SparkFloat13", &birthX}, {"SparkInt12", &seed},
                                         {"SparkInt40", &frames},   {"SparkBoolean34", &autoPreview},
                                         {"SparkPup62", &resolution}, {"SparkPush93", &restart},
                                         {"SparkColor49", &colour}, {"SparkString0", &clip},
                                         {"SparkUserFloat93", &channel}};
    Panel panel;
    Records() {
        panel.discover([this](const char* name) {
            auto it = symbols.find(name);
            return it == symbols.end() ? nullptr : it->second;
        });
    }
    WidgetPlan plan(ControlKind kind, int number) { return widgetFor(panel, *panel.find(kind, number)); }
};

TEST(PanelLayout, EachRecordGetsItsWidgetAndPlace) {
    Records r;
    struct Case {
        ControlKind kind;
        int number;
        WidgetKind widget;
        int page, column, row;
    } cases[] = {
        {ControlKind::Float, 13, WidgetKind::Slider, 1, 1, 0},      // page 1 place 7
        {ControlKind::Int, 12, WidgetKind::Slider, 1, 0, 6},        // the last of the first column
        {ControlKind::Boolean, 34, WidgetKind::Checkbox, 1, 4, 0},  // place 28 opens a fifth column
        {ControlKind::List, 62, WidgetKind::PullDown, 2, 3, 6},
        {ControlKind::Push, 93, WidgetKind::Button, 4, 0, 0},
        {ControlKind::Colour, 49, WidgetKind::Swatch, 2, 2, 0},
        {ControlKind::String, 0, WidgetKind::ClipName, 0, 0, 0},
        {ControlKind::UserFloat, 93, WidgetKind::None, -1, 0, 0},   // a channel, not a panel place
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.number));
        WidgetPlan s = r.plan(c.kind, c.number);
        EXPECT_EQ(s.kind, c.widget);
        EXPECT_EQ(s.page, c.page);
        if (c.page > 0) {
            EXPECT_EQ(s.column, c.column);
            EXPECT_EQ(s.row, c.row);
        }
    }
    EXPECT_EQ(pageWidgets(r.panel, 1).size(), 3u);
    EXPECT_EQ(pageCount(r.panel), 4);
}

TEST(PanelLayout, NumericRangesStepsDecimalsAndLocks) {
    Records r;
    WidgetPlan x = r.plan(ControlKind::Float, 13);
    EXPECT_FALSE(x.integer);
    EXPECT_EQ(x.decimals, 2);
    EXPECT_FALSE(x.locked);
    EXPECT_EQ(sliderPositions(x), 8000);  // 400 / 0.05
    EXPECT_NEAR(sliderValue(x, 1), -149.95, 1e-9);
    EXPECT_EQ(sliderPosition(x, 84.0), 4680);
    EXPECT_EQ(sliderPosition(x, 1e6), 8000);

    // An increment that does not divide the range: the last position is the maximum itself.
    WidgetPlan seed = r.plan(ControlKind::Int, 12);
    EXPECT_TRUE(seed.integer);
    EXPECT_EQ(sliderPositions(seed), 59);
    EXPECT_EQ(sliderValue(seed, 58), 987.0);
    EXPECT_EQ(sliderValue(seed, 59), 999.0);
    EXPECT_EQ(sliderPosition(seed, 165.0), 10);  // (165 - 1) / 17 = 9.6

    // Minimum equal to maximum: the control is greyed and its slider has nowhere to go.
    WidgetPlan locked = r.plan(ControlKind::Int, 40);
    EXPECT_TRUE(locked.locked);
    EXPECT_EQ(sliderPositions(locked), 0);
    r.frames.Max = 10000;
    r.frames.Min = 1;
    EXPECT_FALSE(r.plan(ControlKind::Int, 40).locked);
}

TEST(PanelLayout, DecimalsFollowTheLabelFormat) {
    const std::pair<const char*, int> cases[] = {{"Blend: %.2f", 2}, {"Amplitude: %.1f", 1}, {"%f", 6},
                                                 {"Seed: %d", 0},    {"100%% of %.3f", 3},   {"plain", 0}};
    for (const auto& c : cases) EXPECT_EQ(formatDecimals(c.first), c.second) << c.first;
}

}  // namespace
}  // namespace sparkhost
