// The standard block of every page: its four copies stay equal, a resolution change always
// renders, Reset restores only its own page, and Blend acts only on the host's flag.
#include <string>
#include <vector>

#include "panel_fixture.h"

namespace panel_test {
namespace {

using InputPagesTest = PanelTest;

TEST_F(InputPagesTest, StandardControlsAreMirroredOnAllFourPages)
{
    // Auto Preview off on page 2 turns it off everywhere; later edits only redraw.
    SparkBoolean63.Value = 0;
    EXPECT_EQ(SparkBoolean63.Callback(1, info()), nullptr);
    for (auto* copy : {&SparkBoolean34, &SparkBoolean92, &SparkBoolean121})
        EXPECT_EQ(state(*copy), 0);
    EXPECT_EQ(SparkFloat43.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 0);

    // "1/6" chosen on page 3 shows on every page and renders at once, Auto Preview or not.
    SparkPup91.Value = 4;
    EXPECT_NE(SparkPup91.Callback(1, info()), nullptr);
    for (SparkPupStruct* list : {&SparkPup33, &SparkPup62, &SparkPup120})
        EXPECT_EQ(list->Value, 4);
    EXPECT_EQ(renders(), 1);
    EXPECT_EQ(DLscalesr, 6);

    // Clear Overlay from page 3 only redraws.
    const int drawn = redraws();
    SparkBoolean86.Value = 1;
    EXPECT_EQ(SparkBoolean86.Callback(1, info()), nullptr);
    for (auto* copy : {&SparkBoolean28, &SparkBoolean57, &SparkBoolean115})
        EXPECT_EQ(state(*copy), 1);
    EXPECT_EQ(redraws(), drawn + 1);

    // Auto Preview back on from page 4 renders the edit itself.
    SparkBoolean121.Value = 1;
    EXPECT_NE(SparkBoolean121.Callback(1, info()), nullptr);
    EXPECT_EQ(state(SparkBoolean34), 1);
    EXPECT_EQ(renders(), 2);
}

TEST_F(InputPagesTest, BlendActsOnlyWhenTheHostFlagIsOne)
{
    host.setMode(0);
    EXPECT_EQ(SparkFloat27.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 0);
    EXPECT_EQ(redraws(), 1);
    EXPECT_EQ(updates(27), 0);

    host.setMode(1);
    EXPECT_NE(SparkFloat27.Callback(1, info()), nullptr);
    EXPECT_EQ(renders(), 1);
    EXPECT_EQ(updates(27), 1);
}

// The effect controls with a value on page p (1 to 4): the page's 29 places from
// 6 + 29 (p - 1), up to the standard block at offset 21, and the render-mode list 59 that sits
// beside that block on page 2.
std::vector<const sparkhost::Control*> page_controls(int page)
{
    std::vector<const sparkhost::Control*> found;
    const int first = 6 + 29 * (page - 1);
    for (const sparkhost::Control& c : factory().controls()) {
        const int offset = c.number - first;
        if (offset >= 0 && (offset < 21 || c.number == 59) && offset < 29 &&
            c.kind != sparkhost::ControlKind::Push && c.kind != sparkhost::ControlKind::UserFloat)
            found.push_back(&c);
    }
    return found;
}

// Moves a record off its factory value (a checkbox flips, a list steps on, a number grows).
void disturb(const sparkhost::Control& c)
{
    switch (c.kind) {
    case sparkhost::ControlKind::Boolean: c.asBoolean()->Value ^= 1; break;
    case sparkhost::ControlKind::List: c.asList()->Value = c.asList()->Value == 1 ? 0 : 1; break;
    case sparkhost::ControlKind::Colour: c.asColour()->Color = 0xFF102030u; break;
    case sparkhost::ControlKind::Int: c.asInt()->Value += 3; break;
    default: c.asFloat()->Value += 3; break;
    }
}

TEST_F(InputPagesTest, EachResetRestoresItsOwnPageOnly)
{
    EXPECT_EQ(page_controls(1).size() + page_controls(2).size() + page_controls(3).size() +
                  page_controls(4).size(), 48u);
    SparkPushStruct* const resets[4] = {&SparkPush32, &SparkPush61, &SparkPush90, &SparkPush119};
    for (int page = 1; page <= 4; ++page) {
        SCOPED_TRACE(page);
        for (int p = 1; p <= 4; ++p)
            for (const sparkhost::Control* c : page_controls(p)) disturb(*c);
        SparkPup120.Value = 2;
        SparkBoolean115.Value = 1;
        EXPECT_NE(resets[page - 1]->Callback(1, info()), nullptr);
        for (int p = 1; p <= 4; ++p)
            for (const sparkhost::Control* c : page_controls(p))
                EXPECT_EQ(value_of(*c) == value_of(*c, true), p == page) << c->record;
        // The standard controls are not reset.
        EXPECT_EQ(SparkPup120.Value, 2);
        EXPECT_EQ(state(SparkBoolean115), 1);
        if (page == 3) {
            // The effect takes the restored values and re-applies its rules at once.
            EXPECT_FALSE(Instance.info.avoid_others.checked);
            EXPECT_FALSE(shown(82));
        }
        restore_factory_records();
    }
    EXPECT_EQ(renders(), 4);

    // A declined confirmation changes nothing and renders nothing.
    host.setConfirmAnswer(false);
    SparkInt9.Value = 7;
    EXPECT_EQ(SparkPush32.Callback(1, info()), nullptr);
    EXPECT_EQ(SparkInt9.Value, 7);
    EXPECT_EQ(renders(), 4);
    EXPECT_NE(host.messages().back().text.find(
                  "Are you sure you want to reset the current settings to default values?"),
              std::string::npos);
}

}  // namespace
}  // namespace panel_test
