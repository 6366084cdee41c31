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

}  // namespace
