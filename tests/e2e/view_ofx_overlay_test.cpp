// The OpenFX effect's overlay in sparkhost's viewer: the same effect code draws the same handles
// as the Spark plug-in does in the same viewer, and a drag of a handle in `sparkhost view` moves
// its parameters to where the pointer let go, as it does for the Spark plug-in.
#include "view_harness.h"

namespace {

using namespace viewharness;

const int W = 320, H = 180;

std::string ofxBundle() { return std::string(VESK_BINARY_DIR) + "/Vesk.ofx.bundle"; }

// `sparkhost view PLUGIN --script` under the virtual display, on frames 1-5 of a W x H shot.
Outcome viewShot(const std::string& plugin, const std::string& dir, const std::string& script) {
    return runViewOn(plugin, dir, script, {"--frames", "1-5", "--size", std::to_string(W) + "x" + std::to_string(H)});
}

// The number a `print` line shows in the control's field.
double fieldValue(const Outcome& run, const std::string& control) {
    const std::string line = said(run, "print " + control);
    const size_t at = line.find("field ");
    return at == std::string::npos ? -1e9 : std::atof(line.c_str() + at + 6);
}

TEST(ViewOfxOverlay, HandlesLandWhereTheSparkPluginDrawsThem) {
    const std::string dir = harness::freshDir("ofx_overlay");
    auto render = [&](const std::string& plugin, const std::string& name, bool overlay, const char* aspect = "1") {
        std::vector<std::string> args = {"render", plugin, "--frames", "1", "--size", "320x180", "--pixel-aspect",
                                         aspect, "-o", dir + "/" + name + ".#.png"};
        if (overlay) args.push_back("--overlay");
        const auto run = harness::runSparkhost(args);
        EXPECT_EQ(run.code, 0) << run.err;
        return harness::readFrame(dir + "/" + name + ".1.png");
    };
    const sparkhost::FrameBuffer ofxPlain = render(ofxBundle(), "ofx_plain", false);
    const sparkhost::FrameBuffer ofxOverlay = render(ofxBundle(), "ofx_overlay", true);
    const sparkhost::FrameBuffer sparkOverlay = render(harness::vesk(), "spark_overlay", true);
    ASSERT_FALSE(ofxOverlay.empty());
    ASSERT_FALSE(sparkOverlay.empty());

    // Food's handle sits at its default place, 20 % across and 15 % down the frame: without the
    // overlay that pixel is the plate, with it the handle's marker.
    const int fx = W * 20 / 100, fy = H * 15 / 100;
    bool marked = false;
    for (int c = 0; c < 3; ++c) marked = marked || ofxOverlay.value(fx, fy, c) != ofxPlain.value(fx, fy, c);
    EXPECT_TRUE(marked) << "nothing drawn over the food handle's place (" << fx << ", " << fy << ")";
    EXPECT_FALSE(ofxOverlay.samePixels(ofxPlain)) << "the OpenFX effect drew no overlay";
    // The same effect code draws the handles and the wireframe of the same swarm: the pictures
    // agree to the pixel.
    EXPECT_TRUE(ofxOverlay.samePixels(sparkOverlay)) << "the OpenFX overlay differs from the Spark plug-in's";

    // Non-square pixels: the overlay draws in canonical units, 1.5 per frame pixel across, and
    // the handles' centres stay on their frame pixels: food's, and birth's at 84 %, 84 %.
    const sparkhost::FrameBuffer widePlain = render(ofxBundle(), "wide_plain", false, "1.5");
    const sparkhost::FrameBuffer wideOverlay = render(ofxBundle(), "wide_overlay", true, "1.5");
    ASSERT_FALSE(wideOverlay.empty());
    for (auto [x, y] : {std::pair<int, int>{fx, fy}, {W * 84 / 100, H * 84 / 100}}) {
        bool drawn = false;
        for (int c = 0; c < 3; ++c) drawn = drawn || wideOverlay.value(x, y, c) != widePlain.value(x, y, c);
        EXPECT_TRUE(drawn) << "no handle at (" << x << ", " << y << ") with pixel aspect 1.5";
    }
}

TEST(ViewOfxOverlay, DragOfFoodHandleSetsFoodFromTheEndPoint) {
    // From the food handle (20 %, 15 % of 320 x 180) to (100, 117): Food X and Y are the end point
    // in percent of the frame, 100 / 320 and 117 / 180 of it, whatever the viewer's magnification
    // (the window fits the frame in, then shows it 1:1 for a second drag back).
    const double x1 = 100, y1 = 117;
    const double x2 = 250, y2 = 45;
    const std::string script = "drag 64,27 100,117\n"
                               "print \"Food X\"\n"
                               "print \"Food Y\"\n"
                               "1:1\n"
                               "drag 100,117 250,45\n"
                               "print \"Food X\"\n"
                               "print \"Food Y\"\n";
    struct Result {
        Outcome run;
        double x1, y1, x2, y2;
    };
    auto drive = [&](const std::string& plugin, const std::string& name) {
        const std::string dir = harness::freshDir("ofx_drag_" + name);
        Result r{viewShot(plugin, dir, script), 0, 0, 0, 0};
        // The two prints of each control: the first after the first drag, the second after the second.
        const size_t second = r.run.out.find("\ndrag 100,117");
        Outcome first = r.run, last = r.run;
        first.out = r.run.out.substr(0, second);
        last.out = second == std::string::npos ? "" : r.run.out.substr(second);
        r.x1 = fieldValue(first, "Food X");
        r.y1 = fieldValue(first, "Food Y");
        r.x2 = fieldValue(last, "Food X");
        r.y2 = fieldValue(last, "Food Y");
        return r;
    };
    const Result ofx = drive(ofxBundle(), "ofx");
    if (withoutWindow(ofx.run)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(ofx.run.code, 0) << ofx.run.err;
    // The frame is rendered anew once, when the pen is lifted, as for the Spark plug-in.
    EXPECT_EQ(said(ofx.run, "drag 64,27 100,117").rfind("renders during the drag 0, at release 1", 0), 0u)
        << ofx.run.out;
    EXPECT_NEAR(ofx.x1, 100.0 * x1 / W, 0.006);
    EXPECT_NEAR(ofx.y1, 100.0 * y1 / H, 0.006);
    EXPECT_NEAR(ofx.x2, 100.0 * x2 / W, 0.006);
    EXPECT_NEAR(ofx.y2, 100.0 * y2 / H, 0.006);

    const Result spark = drive(harness::vesk(), "spark");
    ASSERT_EQ(spark.run.code, 0) << spark.run.err;
    EXPECT_EQ(spark.x1, ofx.x1);
    EXPECT_EQ(spark.y1, ofx.y1);
    EXPECT_EQ(spark.x2, ofx.x2);
    EXPECT_EQ(spark.y2, ofx.y2);
}

TEST(ViewOfxOverlay, DragHonoursThePixelAspect) {
    // Frames of non-square pixels: the pen reaches the effect in canonical units, 1.5 wide per
    // frame pixel, and the handle still follows the pointer in frame pixels.
    const std::string dir = harness::freshDir("ofx_drag_aspect");
    const auto run = harness::runSparkhost({"render", ofxBundle(), "--frames", "1", "--size", "320x180",
                                            "--pixel-aspect", "1.5", "--drag", "64,27:100,117", "--save-setup",
                                            dir + "/after.setup", "-o", dir + "/f.#.png"});
    ASSERT_EQ(run.code, 0) << run.err;
    const std::string setup = harness::readFile(dir + "/after.setup");
    auto value = [&](const std::string& name) {
        const size_t at = setup.find("\n" + name + " = ");
        return at == std::string::npos ? -1e9 : std::atof(setup.c_str() + at + name.size() + 4);
    };
    EXPECT_NEAR(value("food.X"), 100.0 * 100 / W, 1e-3) << setup;
    EXPECT_NEAR(value("food.Y"), 100.0 * 117 / H, 1e-3) << setup;
}

// An edit on the panel shows the OpenFX effect's frame as it now is, the frame `render` writes
// with the same values, in the viewer's default time as well.
TEST(ViewOfxOverlay, PanelEditShowsTheFrameRenderWrites) {
    const std::string dir = harness::freshDir("ofx_edit");
    const Outcome view = viewShot(ofxBundle(), dir,
                                   "set \"Render Mode\" Render\nframe 5\nsave-frame " + dir +
                                       "/before.png\nset \"Shape Width\" 40\nsave-frame " + dir + "/after.png\n");
    if (withoutWindow(view)) GTEST_SKIP() << "sparkhost was built without Qt";
    ASSERT_EQ(view.code, 0) << view.err;
    const auto run = harness::runSparkhost({"render", ofxBundle(), "--frames", "1-5", "--size", "320x180", "--set",
                                            "Render Mode=Render", "--set", "Shape Width=40", "-o", dir + "/r.#.png"});
    ASSERT_EQ(run.code, 0) << run.err;
    const sparkhost::FrameBuffer before = harness::readFrame(dir + "/before.png");
    const sparkhost::FrameBuffer after = harness::readFrame(dir + "/after.png");
    const sparkhost::FrameBuffer rendered = harness::readFrame(dir + "/r.5.png");
    ASSERT_FALSE(rendered.empty());
    EXPECT_TRUE(after.samePixels(rendered)) << "the viewer's frame 5 after the edit differs from render's";
    EXPECT_FALSE(after.samePixels(before)) << "the edit changed nothing on screen";
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

// The window takes an effect's inputs by their own names, as render does, and names the ones
// there are when a name is not among them.
TEST(ViewOfxOverlay, ClipsAreTakenByTheEffectsNames) {
    const std::string dir = harness::freshDir("ofx_clip_names");
    harness::writeFrame(dir + "/plate.png", sparkhost::FrameBuffer(W, H, sparkhost::kDepth8));
    const Outcome named = runViewOn(ofxBundle(), dir, "frame 2\n", {"--frames", "1-3", "--clip", "Source=" + dir + "/plate.png"});
    if (withoutWindow(named)) GTEST_SKIP() << "sparkhost was built without Qt";
    EXPECT_EQ(named.code, 0) << named.err;
    EXPECT_EQ(said(named, "frame 2"), "frame 2") << named.out;
    const Outcome unknown = runViewOn(ofxBundle(), dir, "frame 2\n", {"--clip", "Nope=" + dir + "/plate.png"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_NE(unknown.err.find("has no clip named 'Nope'"), std::string::npos) << unknown.err;
    EXPECT_NE(unknown.err.find("Source"), std::string::npos) << unknown.err;
    ASSERT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}

}  // namespace
