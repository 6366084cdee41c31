// The Vesk OpenFX bundle hosted by sparkhost against vesk.spark: the README's scenes give the
// same bytes through either plug-in, at 8 and at 12 bits; and the bundle's frames do not depend on
// the order, instance or threads that render them, nor on an edit made and undone between renders.
#include "ofx_support.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Setup.h"

using namespace ofxtest;

namespace {

std::string veskSpark() { return std::string(VESK_BINARY_DIR) + "/vesk.spark"; }
std::string veskOfx() { return std::string(VESK_BINARY_DIR) + "/Vesk.ofx.bundle"; }
std::string example(const std::string& name) { return std::string(VESK_SOURCE_DIR) + "/examples/" + name; }

// A Spark setup as the same settings of the OFX effect, control by control through their names:
// the setup is read into vesk.spark's panel and every named value copied onto the bundle's panel,
// which is saved as the bundle's setup. The colour sliders are fractions on the OFX side, and the
// swatch is what the sliders make: a setup whose stored swatch is not that of its sliders (the
// README's are saved with rounder swatches) is first normalised by an edit of the sliders, and
// vesk.spark renders that normalised setup (written to sparkOut), made at the render's depth.
std::string translateSetup(const std::string& sparkSetup, const std::string& out, const std::string& sparkOut,
                           int depth) {
    sparkhost::Host sh, oh;
    sh.setEcho(false);
    oh.setEcho(false);
    // The swatch the sliders make depends on the host's depth.
    sh.setBitDepth(depth);
    oh.setBitDepth(depth);
    sparkhost::Plugin spark(sh), ofx(oh);
    std::string error;
    if (!spark.load(veskSpark(), &error) || !ofx.load(veskOfx(), &error)) return error;
    spark.initialise();
    ofx.initialise();
    if (!sparkhost::readSetup(spark.panel(), sh, sparkSetup, &error)) return error;
    sh.setBuffersReady(false);
    for (const char* slider : {"Shape Colour R", "Shape Colour G", "Shape Colour B"}) {
        const sparkhost::Control* c = spark.panel().resolve(slider, sparkhost::ControlUse::Value, &sh, &error);
        if (!c) return error;
        spark.callCallback(*c);
    }
    if (!sparkhost::writeSetup(spark.panel(), sh, sparkOut, &error)) return error;
    const sparkhost::Panel& sp = spark.panel();
    sparkhost::Panel& op = ofx.panel();
    for (const auto& c : sp.controls()) {
        if (c.kind == sparkhost::ControlKind::Push || c.kind == sparkhost::ControlKind::String ||
            c.kind == sparkhost::ControlKind::Colour || sparkhost::Panel::page(c) <= 0)
            continue;
        std::string name = sp.name(c);
        if (name.empty()) continue;
        const sparkhost::Control* o = op.resolve(name, sparkhost::ControlUse::Value, &oh, &error);
        if (!o) continue;   // controls the bundle drives itself
        if (sp.isNumeric(c)) {
            double v = sp.numericValue(c);
            if (sparkhost::normaliseName(name).rfind("shape colour ", 0) == 0) v = double(float(v)) / 100.0;
            op.setNumericValue(*o, v);
        } else if (!op.setValue(*o, sp.displayValue(c), &error)) {
            return name + ": " + error;
        }
    }
    if (!sparkhost::writeSetup(op, oh, out, &error)) return error;
    return "";
}

struct Scene {
    const char* name;
    std::vector<std::string> sparkArgs;   // the setup (or presses and keys) for vesk.spark
    std::vector<std::string> clips;
};

std::vector<Scene> readmeScenes() {
    return {
        {"food-hunt", {"--setup", example("food-hunt.setup")}, {"1=" + example("plates/plate.png")}},
        {"predator", {"--setup", example("predator.setup")}, {"1=" + example("plates/plate.png")}},
        {"blobs", {"--setup", example("blobs-from-matte.setup")},
         {"1=" + example("plates/plate.png"), "4=" + example("plates/birth-matte.png")}},
        {"sprites", {"--setup", example("sprites.setup")},
         {"1=" + example("plates/plate.png"), "2=" + example("plates/texture.png"),
          "3=" + example("plates/texture-matte.png")}},
        {"food-keys", {"--press", "Simple Food Hunt", "--keys", example("food-path.keys")},
         {"1=" + example("plates/plate.png")}},
    };
}

std::vector<std::string> renderArgs(const std::string& plugin, const Scene& s, const std::vector<std::string>& settings,
                                    const std::string& frames, int depth, const std::string& out) {
    std::vector<std::string> args = {"render", plugin, "--frames", frames, "--depth", std::to_string(depth)};
    for (const auto& c : s.clips) {
        args.push_back("--clip");
        args.push_back(c);
    }
    args.insert(args.end(), settings.begin(), settings.end());
    args.push_back("-o");
    args.push_back(out);
    return args;
}

// The pictures of frames first..last, read at 12 bits (exact for 8-bit files too): files carry
// their time of writing, so pixels are compared, not bytes.
std::vector<sparkhost::FrameBuffer> frames(const std::string& pattern, int first, int last) {
    std::vector<sparkhost::FrameBuffer> all;
    for (int f = first; f <= last; ++f) {
        char name[512];
        std::snprintf(name, sizeof name, pattern.c_str(), f);
        sparkhost::FrameBuffer frame;
        std::string error;
        if (!sparkhost::readImage(name, sparkhost::kDepth12, &frame, &error)) ADD_FAILURE() << error;
        all.push_back(std::move(frame));
    }
    return all;
}

bool same(const std::vector<sparkhost::FrameBuffer>& a, const std::vector<sparkhost::FrameBuffer>& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (!a[i].samePixels(b[i])) return false;
    return true;
}

}  // namespace

TEST(VeskOfxIdentity, ReadmeScenesGiveTheSameBytesAsTheSparkPlugin) {
    std::string dir = freshDir("identity");
    for (const Scene& s : readmeScenes()) {
        for (int depth : {8, 12}) {
            std::string tag = std::string(s.name) + "-" + std::to_string(depth);
            std::vector<std::string> ofxSettings = s.sparkArgs, sparkSettings = s.sparkArgs;
            if (s.sparkArgs[0] == "--setup") {
                std::string setup = dir + "/" + tag + ".ofx.setup";
                std::string normalised = dir + "/" + tag + ".spark.setup";
                ASSERT_EQ(translateSetup(s.sparkArgs[1], setup, normalised, depth), "") << tag;
                ofxSettings = {"--setup", setup};
                sparkSettings = {"--setup", normalised};
            }
            RunResult a = runSparkhost(renderArgs(veskSpark(), s, sparkSettings, "1-12", depth, dir + "/" + tag + "-spark.####.tif"));
            RunResult b = runSparkhost(renderArgs(veskOfx(), s, ofxSettings, "1-12", depth, dir + "/" + tag + "-ofx.####.tif"));
            ASSERT_EQ(a.code, 0) << tag << ": " << a.err;
            ASSERT_EQ(b.code, 0) << tag << ": " << b.err;
            EXPECT_TRUE(same(frames(dir + "/" + tag + "-spark.%04d.tif", 1, 12), frames(dir + "/" + tag + "-ofx.%04d.tif", 1, 12)))
                << tag << ": the OFX bundle's frames differ from vesk.spark's";
        }
    }
}

TEST(VeskOfxOrder, FramesDoNotDependOnOrderInstanceOrThreads) {
    std::string dir = freshDir("order");
    Scene s = readmeScenes()[0];
    std::string setup = dir + "/hunt.ofx.setup";
    ASSERT_EQ(translateSetup(s.sparkArgs[1], setup, dir + "/hunt.spark.setup", 8), "");
    std::vector<sparkhost::FrameBuffer> reference;
    int run = 0;
    for (const char* mode : {"in-order", "reverse", "shuffle=5", "instance-per-frame", "threads=3"}) {
        std::string out = dir + "/m" + std::to_string(run++) + ".%04d.tif";
        std::vector<std::string> args = renderArgs(veskOfx(), s, {"--setup", setup, "--ofx-host-mode", mode}, "1-10", 8,
                                                   dir + "/m" + std::to_string(run - 1) + ".####.tif");
        RunResult r = runSparkhost(args);
        ASSERT_EQ(r.code, 0) << mode << ": " << r.err;
        std::vector<sparkhost::FrameBuffer> all = frames(out, 1, 10);
        if (reference.empty()) reference = all;
        else EXPECT_TRUE(same(all, reference)) << mode << " changed the frames";
    }
}

// In one instance: frames, an edit of a simulation control and a frame rendered with it, the edit
// undone, the same frames again.
TEST(VeskOfxOrder, AnEditUndoneGivesTheFramesBack) {
    OfxHostFixture f(8, 160, 90);
    ASSERT_TRUE(f.open(veskOfx()));
    std::string error;
    ASSERT_TRUE(f.plugin.press("Simple Food Hunt", &error)) << error;
    ASSERT_TRUE(f.plugin.setControl("Render Mode", "Render", &error)) << error;
    std::vector<sparkhost::FrameBuffer> before = f.render({1, 2, 3, 4, 5, 6});
    const sparkhost::Control* size = f.plugin.panel().resolve("Vesk Size", sparkhost::ControlUse::Value, &f.host, &error);
    ASSERT_NE(size, nullptr) << error;
    std::string original = f.plugin.panel().displayValue(*size);
    ASSERT_TRUE(f.plugin.setControl(*size, original == "90" ? "60" : "90", &error)) << error;
    std::vector<sparkhost::FrameBuffer> edited = f.render({4});
    EXPECT_FALSE(edited[0].samePixels(before[3])) << "the edit should change the swarm";
    ASSERT_TRUE(f.plugin.setControl(*size, original, &error)) << error;
    std::vector<sparkhost::FrameBuffer> after = f.render({6, 5, 4, 3, 2, 1});
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(after[size_t(5 - i)].samePixels(before[size_t(i)])) << "frame " << i + 1;
}
