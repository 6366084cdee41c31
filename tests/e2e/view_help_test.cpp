// The plug-in's Help button in sparkhost: the page ships beside the plug-in, sparkhost points the
// plug-in's launcher at it and opens it, and a user's own settings win.
#include <climits>

#include "view_harness.h"

namespace {

using namespace viewharness;

// Runs a shell command line with its output in files, then waits up to a few seconds for a text
// to appear in standard output: the plug-in starts its browser in the background.
std::string runAndWaitFor(const std::string& dir, const std::string& command, const std::string& wanted,
                          int* code) {
    const std::string out = dir + "/out.txt";
    // The browser the plug-in starts writes through the plug-in's console, which sparkhost shows
    // on standard error: both streams are read.
    const int status = std::system((command + " > '" + out + "' 2>&1 < /dev/null").c_str());
    *code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    for (int i = 0; i < 100 && !harness::contains(harness::readFile(out), wanted); ++i) ::usleep(50000);
    return harness::readFile(out);
}

TEST(ViewHelp, RenderPressingHelpNamesThePageBesideThePlugin) {
    const std::string dir = harness::freshDir("help_render");
    const std::string page = std::string(VESK_BINARY_DIR) + "/dl/help/vesk.htm";
    ASSERT_TRUE(harness::exists(page)) << "the build does not lay the help page out where the plug-in looks";
    const std::string html = harness::readFile(page);
    for (const char* part : {"Vesk Size", "Food X", "Shape Width", "Restart+PreRoll", "Advance", "crosshair", "Recipes"})
        EXPECT_TRUE(harness::contains(html, part)) << "the page does not explain " << part;

    const std::string render = "'" + harness::sparkhostPath() + "' render '" + harness::vesk() +
                               "' --frames 1 --size 64x36 --press Help -o '" + dir + "/f.####.png'";
    int code = 0;
    std::string out = runAndWaitFor(dir, "env -u DIR_4 -u Q4_HELP_BROWSER -u DISPLAY -u WAYLAND_DISPLAY " + render,
                                    "help page:", &code);
    EXPECT_EQ(code, 0) << out;
    char resolved[PATH_MAX];
    ASSERT_NE(::realpath(page.c_str(), resolved), nullptr);
    EXPECT_TRUE(harness::contains(out, std::string("help page: ") + resolved)) << out;

    // The user's browser is kept: the plug-in runs it with its own words and the page's address.
    out = runAndWaitFor(dir, "env -u DIR_4 Q4_HELP_BROWSER=echo " + render, "file:", &code);
    EXPECT_TRUE(harness::contains(out, std::string("-geometry +50+50 file:") + resolved)) << out;
    // And a user's help folder too.
    out = runAndWaitFor(dir, "env DIR_4=/nowhere Q4_HELP_BROWSER=echo " + render, "file:", &code);
    EXPECT_TRUE(harness::contains(out, "file:/nowhere/dl/help/vesk.htm")) << out;
}

TEST(ViewHelp, TheWindowsHelpButtonShowsThePageWithoutADesktopBrowser) {
    const std::string dir = harness::freshDir("help_view");
    // xvfb has no desktop: xdg-open is absent or finds no browser, so sparkhost shows the page.
    const Outcome view = runView(dir, "page Shape\npress Help\npause 4000\n", {"--frames", "1-2", "--size", "64x36"},
                                 "env -u DIR_4 -u Q4_HELP_BROWSER PATH=/usr/bin:/bin");
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    // The page opener runs in the background and may still be starting when the window is gone.
    for (int i = 0; i < 100 && !harness::contains(harness::readFile(dir + "/err.txt"), "own window"); ++i)
        ::usleep(50000);
    const std::string out = harness::readFile(dir + "/out.txt"), err = harness::readFile(dir + "/err.txt");
    // The opener is started by the plug-in, so what it says comes through the plug-in's console.
    EXPECT_TRUE(harness::contains(out + err, "help page: ")) << out << err;
    EXPECT_TRUE(harness::contains(out + err, "/dl/help/vesk.htm")) << out << err;
    EXPECT_TRUE(harness::contains(err, "showing it in sparkhost's own window")) << err;
    EXPECT_FALSE(harness::contains(err, "not found")) << err;
}

}  // namespace
