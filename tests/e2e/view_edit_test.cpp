// Editing in the window as a person does: typed values, values a preset stored outside a range,
// keyed controls, and closing with unsaved changes.
#include "view_harness.h"

namespace {

using namespace viewharness;

TEST(ViewEdit, FieldsShowTheValueAsItIsAndRefuseTypedValuesOutsideTheRange) {
    const std::string dir = harness::freshDir("view_fields");
    const std::string script = "type Seed 1650\n"              // Seed is 1 to 999
                               "type \"Shape Width\" 150\n"     // 1 to 100
                               "type \"Shape Width\" 99.5\n"
                               "set \"Food X\" 75.625\n"
                               "print \"Food X\"\n"
                               "press \"Simple Food Hunt\"\n"   // stores Seed 1650 itself
                               "print Seed\n"
                               "type Seed 1650\n"               // the same value again: no edit
                               "print Seed\n";
    const Outcome view = runView(dir, script, {"--frames", "1-5", "--size", "160x90"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    // Every keystroke reaches the field; the whole value is refused, with the range, and the
    // control keeps its value (the default Seed 165, Shape Width 72).
    const std::string seed = said(view, "type Seed 1650");
    EXPECT_TRUE(harness::contains(seed, "1650")) << seed;
    EXPECT_TRUE(harness::contains(seed, "1 to 999")) << seed;
    EXPECT_TRUE(harness::contains(seed, "Seed: 165, visible, enabled, field 165 (refused)")) << seed;
    const std::string width = said(view, "type Shape Width 150");
    EXPECT_TRUE(harness::contains(width, "150")) << width;
    EXPECT_TRUE(harness::contains(width, "1 to 100")) << width;
    EXPECT_TRUE(harness::contains(width, "Shape Width: 72.00, visible, enabled, field 72.00")) << width;
    EXPECT_TRUE(harness::contains(said(view, "type Shape Width 99.5"), "Shape Width: 99.50, visible, enabled, field 99.50"));
    // Label and field round alike: 75.625 is exactly half way.
    EXPECT_EQ(said(view, "print Food X"), "Food X: 75.62, visible, enabled, field 75.62");
    // The preset's Seed shows as stored, in label and field; typing it again changes nothing.
    const size_t preset = view.out.find("press Simple Food Hunt");
    ASSERT_NE(preset, std::string::npos);
    const std::string after = view.out.substr(preset);
    EXPECT_TRUE(harness::contains(after, "print Seed: Seed: 1650, visible, enabled, field 1650\n") ||
                harness::contains(after, "print Seed: Seed: 1650, visible, enabled, field 1650 ("))
        << after;
    EXPECT_FALSE(harness::contains(after, "refused")) << after;
}

TEST(ViewEdit, ClosingWithUnsavedChangesAsksAndSaves) {
    const std::string dir = harness::freshDir("view_close");
    // With nothing edited the window closes without a question.
    const Outcome quiet = runView(dir, "close\n", {"--frames", "1-3", "--size", "160x90"});
    if (withoutWindow(quiet)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(quiet.code, 0) << quiet.err;
    EXPECT_EQ(said(quiet, "close"), "no question; closed");

    const std::string edits = "set \"Vesk Size\" 50\n"
                              "on-close cancel\n"
                              "close\n"
                              "on-close save " + dir + "/kept.setup\n"
                              "close\n"
                              "print Seed\n";
    const Outcome view = runView(dir, edits, {"--frames", "1-3", "--size", "160x90"});
    ASSERT_EQ(view.code, 0) << view.err;
    const std::string cancelled = said(view, "close");
    EXPECT_TRUE(harness::contains(cancelled, "asked \"")) << cancelled;
    EXPECT_TRUE(harness::contains(cancelled, "still open")) << cancelled;
    EXPECT_TRUE(harness::contains(view.out, "; closed")) << view.out;
    EXPECT_FALSE(harness::contains(view.out, "print Seed")) << "the script went on after the window closed";
    EXPECT_TRUE(harness::contains(harness::readFile(dir + "/kept.setup"), "SparkInt11 = 50"));
}

TEST(ViewEdit, DraggingAKeyedHandleKeysItAtTheFrameAndMatchesRender) {
    const std::string dir = harness::freshDir("view_keyed");
    // At frame 45 the food path's keys put the food at 75.625 %, 35.625 % of 320 x 180.
    const std::string script = "set \"Render Mode\" Render\n"
                               "frame 45\n"
                               "print \"Food X\"\n"
                               "drag 242,64 96,126\n"
                               "print \"Food X\"\n"
                               "print \"Food Y\"\n"
                               "marks\n"
                               "save-frame " + dir + "/view.0045.png\n"
                               "save-setup " + dir + "/keyed.setup\n"
                               "type \"Food Y\" 50\n"
                               "frame 44\n"
                               "print \"Food Y\"\n"
                               "frame 45\n"
                               "print \"Food Y\"\n";
    const Outcome view = runView(dir, script, {"--frames", "1-60", "--size", "320x180", "--keys",
                                               std::string(VESK_SOURCE_DIR) + "/examples/food-path.keys"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    EXPECT_TRUE(harness::contains(said(view, "print Food X"), "Food X: 75.62")) << view.out;
    // After the drag the handle's new place holds: 96 / 320 = 30 %, 126 / 180 = 70 %.
    const size_t drag = view.out.find("drag 242,64 96,126: renders during the drag 0, at release 1");
    ASSERT_NE(drag, std::string::npos) << view.out;
    const std::string after = view.out.substr(drag);
    EXPECT_TRUE(harness::contains(after, "print Food X: Food X: 30.00, visible, enabled, field 30.00, keyed")) << after;
    EXPECT_TRUE(harness::contains(after, "print Food Y: Food Y: 70.00, visible, enabled, field 70.00, keyed")) << after;
    EXPECT_TRUE(harness::contains(said(view, "marks"), "keys 1, 40, 45;")) << said(view, "marks");
    // A typed value keys the frame too; frame 44 lies on the curve between the keys at 40 (30)
    // and 45 (now 50).
    const size_t at44 = after.find("frame 44: frame 44");
    ASSERT_NE(at44, std::string::npos) << after;
    EXPECT_TRUE(harness::contains(after.substr(at44), "print Food Y: Food Y: 46.00")) << after;
    EXPECT_TRUE(harness::contains(after.substr(after.find("frame 45: frame 45", at44)), "print Food Y: Food Y: 50.00"))
        << after;

    const Outcome render = harness::runSparkhost({"render", harness::vesk(), "--frames", "1-45", "--size", "320x180",
                                                  "--setup", dir + "/keyed.setup", "-o", dir + "/render.####.png"});
    ASSERT_EQ(render.code, 0) << render.err;
    std::string error;
    EXPECT_TRUE(samePicture(dir + "/view.0045.png", dir + "/render.0045.png", &error)) << error;
}

}  // namespace
