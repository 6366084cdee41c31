// One panel model: `sparkhost info` and the window agree on which controls are shown, hidden or
// greyed, after the plug-in's own show/hide rules, and the window keeps to a usable size.
#include "view_harness.h"

namespace {

using namespace viewharness;

// The state `info` lists for a control: "hidden", "greyed" or "visible".
std::string infoState(const std::string& listing, const std::string& label) {
    const size_t at = listing.find(" " + label);
    if (at == std::string::npos) return "missing";
    const std::string line = listing.substr(at, listing.find('\n', at) - at);
    if (harness::contains(line, "[hidden")) return "hidden";
    if (harness::contains(line, "[greyed")) return "greyed";
    return "visible";
}

TEST(ViewPanel, InfoAndTheWindowShowAndHideAlike) {
    const std::string dir = harness::freshDir("view_panel");
    // With the default Blob shape and rules: no texturing cycle, no height, no star sharpness;
    // food shown (Hunt Food on), predator and personal space hidden (their switches off).
    const std::vector<std::string> controls = {"Texturing Cycle", "Random Start", "Frames in Cycle", "Shape Height",
                                               "Star Sharpness",  "Shape Width",  "Invert Birth Matte", "Food X",
                                               "Predator X",      "Personal Space"};
    std::string script;
    for (const auto& c : controls) script += "print \"" + c + "\"\n";
    const Outcome view = runView(dir, script, {"--frames", "1-2", "--size", "64x36"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    const Outcome info = harness::runSparkhost({"info", harness::vesk()});
    ASSERT_EQ(info.code, 0) << info.err;
    const char* expected[] = {"hidden", "hidden", "hidden", "hidden", "hidden",
                              "visible", "hidden", "visible", "hidden", "hidden"};
    for (size_t i = 0; i < controls.size(); ++i) {
        const std::string window = said(view, "print " + controls[i]);
        const std::string state = harness::contains(window, ", hidden,") ? "hidden"
                                  : harness::contains(window, ", greyed") ? "greyed" : "visible";
        EXPECT_EQ(state, expected[i]) << controls[i] << ": " << window;
        EXPECT_EQ(infoState(info.out, controls[i]), expected[i]) << controls[i] << "\n" << info.out;
    }
}

TEST(ViewPanel, AShapeMadeOfClipsWithoutThemSaysWhichAreMissing) {
    const std::string dir = harness::freshDir("view_missing");
    const Outcome view = runView(dir, "set \"Render Mode\" Render\nlog\nset Shape \"Cols with Matte\"\nlog\n",
                                 {"--frames", "1-3", "--size", "160x90"});
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    const size_t first = view.out.find("\nlog: "), second = view.out.find("\nlog: ", first + 1);
    ASSERT_NE(second, std::string::npos) << view.out;
    // Blobs draw without clips 2 and 3: no word. Cols with Matte draws nothing without them.
    EXPECT_FALSE(harness::contains(view.out.substr(first, second - first), "not connected")) << view.out;
    const std::string log = view.out.substr(second);
    EXPECT_TRUE(harness::contains(log, "not connected: clip 2 (2: Shape Colour), 3 (3: Shape Matte)")) << log;
}

}  // namespace
