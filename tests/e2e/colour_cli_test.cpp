// Colour-managed plates through the real plug-in in Wireframe mode, which passes the background
// through: a linear EXR gradient comes back within one 12-bit code after linear -> sRGB -> linear,
// values the working space cannot hold are clipped and counted, and the same plate without colour
// management is taken as display-referred codes. An OpenColorIO config of our own proves $OCIO is used.
#include <cmath>
#include <cstdlib>

#include "harness.h"

using harness::contains;
using harness::Outcome;
using harness::runSparkhost;
using sparkhost::FloatImage;

namespace {

const int kW = 64, kH = 8;  // rows 0-5: 0..1; rows 6-7 hold values above 1 in red

float plateValue(int x, int y, int c) {
    float t = float(x) / float(kW - 1);
    if (y >= 6) return c == 0 ? 1.5f + 2.5f * t : 0.5f * t;
    float v = c == 0 ? t : (c == 1 ? 1.0f - t : t * t);
    return v * (0.5f + 0.1f * float(y));  // rows differ; row 5 reaches 1.0
}

// The sRGB encoding, written out from its definition.
double srgb(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1.0 / 2.4) - 0.055;
}

std::string writePlate(const std::string& dir) {
    FloatImage plate;
    plate.width = kW;
    plate.height = kH;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) plate.rgb.push_back(plateValue(x, y, c));
    std::string error;
    EXPECT_TRUE(sparkhost::writeImageFloat(dir + "/plate.exr", plate, true, &error)) << error;
    return dir + "/plate.exr";
}

FloatImage readBack(const std::string& path) {
    FloatImage image;
    std::string error;
    EXPECT_TRUE(sparkhost::readImageFloat(path, &image, &error)) << error;
    EXPECT_EQ(image.width * image.height, kW * kH);
    return image;
}

Outcome render(const std::string& clip, const std::string& out, std::vector<std::string> extra = {}) {
    std::vector<std::string> args = {"render", harness::vesk(), "--depth", "12", "--set", "Render Mode=Wireframe",
                                     "--clip", "1=" + clip, "-o", out};
    args.insert(args.end(), extra.begin(), extra.end());
    return runSparkhost(args);
}

}  // namespace

TEST(ColourCli, LinearPlateRoundTripsAndReportsClipping) {
    std::string dir = harness::freshDir("colour_round_trip");
    std::string plate = writePlate(dir);
    Outcome r = render(plate, dir + "/out.exr");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "colour: clip 1: linear -> sRGB; 128 pixels clipped")) << r.err;
    EXPECT_TRUE(contains(r.err, "colour: output: sRGB -> linear")) << r.err;
    FloatImage in = readBack(plate), out = readBack(dir + "/out.exr");
    double worst = 0.0;
    for (size_t i = 0; i < in.rgb.size(); ++i) {
        double held = std::min(1.0f, in.rgb[i]);  // the plate as the file holds it, in half floats
        worst = std::max(worst, std::fabs(srgb(out.rgb[i]) - srgb(held)) * 4095.0);
    }
    EXPECT_LE(worst, 1.0) << "largest difference in 12-bit working-space codes";

    // The plug-in itself saw sRGB codes: a linear 0.18 reaches it as code 1889, not 737.
    ASSERT_EQ(render(plate, dir + "/seen.png").code, 0);
    sparkhost::FrameBuffer seen = harness::readFrame(dir + "/seen.png", sparkhost::kDepth12);
    for (int x : {5, 20, 40})
        EXPECT_NEAR(seen.value(x, 0, 0), std::lround(srgb(plateValue(x, 0, 0)) * 4095.0), 1) << x;
}

TEST(ColourCli, WithoutColourManagementValuesAreCodes) {
    std::string dir = harness::freshDir("colour_off");
    std::string plate = writePlate(dir);
    for (const std::vector<std::string>& off : {std::vector<std::string>{"--no-colour-management"},
                                                {"--input-colorspace", "1=raw", "--output-colorspace", "raw"}}) {
        Outcome r = render(plate, dir + "/out.exr", off);
        ASSERT_EQ(r.code, 0) << r.err;
        FloatImage out = readBack(dir + "/out.exr");
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                for (int c = 0; c < 3; ++c) {
                    double held = std::min(1.0, double(plateValue(x, y, c)));
                    // One 12-bit step of quantisation and the half-float store.
                    ASSERT_NEAR(out.rgb[size_t((y * kW + x) * 3 + c)], held, 1.0 / 4095 + held / 2048)
                        << off[0] << " at " << x << "," << y << "," << c;
                }
    }
}

TEST(ColourCli, AnAtInAFileNameIsNotASpaceName) {
    std::string dir = harness::freshDir("colour_at");
    ASSERT_EQ(std::rename(writePlate(dir).c_str(), (dir + "/plate@2x.exr").c_str()), 0);
    Outcome r = render(dir + "/plate@2x.exr@sRGB", dir + "/out.exr");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "colour: clip 1: taken as it is (float)")) << r.err;
}

TEST(ColourCli, OcioConfigFromTheEnvironment) {
    std::string dir = harness::freshDir("colour_ocio");
    std::string plate = writePlate(dir);
    // "display" is the square root of "lin"; no sRGB space, so the colour-picking role is the
    // working space.
    std::ofstream(dir + "/config.ocio") << "ocio_profile_version: 2\n"
                                           "roles: {default: lin, scene_linear: lin, color_picking: display}\n"
                                           "file_rules:\n  - !<Rule> {name: Default, colorspace: default}\n"
                                           "displays:\n  screen:\n    - !<View> {name: v, colorspace: display}\n"
                                           "colorspaces:\n  - !<ColorSpace> {name: lin}\n"
                                           "  - !<ColorSpace>\n    name: display\n"
                                           "    from_scene_reference: !<ExponentTransform> "
                                           "{value: [2, 2, 2, 1], direction: inverse}\n";
    ::setenv("OCIO", (dir + "/config.ocio").c_str(), 1);
    Outcome info = runSparkhost({"info", harness::vesk()});
    Outcome r = render(plate, dir + "/seen.png");
    ::unsetenv("OCIO");
    EXPECT_TRUE(contains(info.out, "the OpenColorIO config '" + dir + "/config.ocio'")) << info.out << info.err;
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(contains(r.err, "colour: clip 1: lin -> display")) << r.err;
    sparkhost::FrameBuffer seen = harness::readFrame(dir + "/seen.png", sparkhost::kDepth12);
    for (int x : {3, 16, 31, 63})
        EXPECT_NEAR(seen.value(x, 2, 2), std::lround(std::sqrt(plateValue(x, 2, 2)) * 4095.0), 1) << x;
}
