// The bundle as a compositor meets it: what it describes, what it exports, and that its frames
// are the Spark plug-in's frames, byte for byte, in any render order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <string>

#include "MiniHost.h"
#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"
#include "spark/spark.h"

using minihost::Picture;

namespace {

constexpr int kW = 64, kH = 48;

// The plate both hosts show: a value per pixel and channel from a fixed seed, on the 12-bit
// scale (8-bit plates use its top eight bits).
unsigned plate12(int x, int row, int c, int frame) {
    unsigned v = (unsigned)x * 73856093u ^ (unsigned)row * 19349663u ^ (unsigned)c * 83492791u ^ (unsigned)frame * 2654435761u;
    v ^= v >> 13;
    v *= 0x5bd1e995u;
    return (v >> 7) & 4095u;
}
unsigned from12(unsigned v) { return (v << 4) | (v >> 8); }

// One scene: control record name and value, and the same as the OpenFX parameter's value.
struct Setting {
    const char* record;
    double value;
    const char* param;
    int dimension;
};

// Food hunt of five-point stars, drawn (the default render mode draws nothing into the frame).
const Setting kFoodHunt[] = {
    {"SparkPup59", 0, "renderMode", 0},  {"SparkPup42", 5, "shape", 0},
    {"SparkInt11", 60, "veskSize", 0},   {"SparkBoolean71", 1, "huntFood", 0},
    {"SparkFloat43", 12, "shapeWidth", 0}, {"SparkFloat44", 9, "shapeHeight", 0},
    {"SparkFloat53", 40, "randomColours", 0}, {"SparkInt9", 12, "preRoll", 0},
};

struct SparkReference {
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
    int bits;

    explicit SparkReference(int depth_bits) : bits(depth_bits) {
        host.setEcho(false);
        host.setFrameSize(kW, kH);
        host.setBitDepth(bits);
        host.setProcessors(4);
        std::string error;
        EXPECT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
        testing::internal::CaptureStdout();
        plugin.initialise();
        testing::internal::GetCapturedStdout();
        host.setClipProvider([this](int clip, int frame, sparkhost::FrameBuffer& dest) {
            if (clip != 0) return false;
            for (int r = 0; r < kH; ++r)
                for (int x = 0; x < kW; ++x)
                    for (int c = 0; c < 3; ++c) {
                        const unsigned v = plate12(x, r, c, frame);
                        dest.setValue(x, r, c, bits == 12 ? v : v >> 4);
                    }
            return true;
        });
    }
    void apply(const Setting& s) {
        void* record = plugin.symbol(s.record);
        ASSERT_NE(record, nullptr) << s.record;
        const std::string name = s.record;
        if (name.rfind("SparkFloat", 0) == 0) static_cast<SparkFloatStruct*>(record)->Value = (float)s.value;
        else if (name.rfind("SparkInt", 0) == 0) static_cast<SparkIntStruct*>(record)->Value = (int)s.value;
        else if (name.rfind("SparkBoolean", 0) == 0) static_cast<SparkBooleanStruct*>(record)->Value = (int)s.value;
        else static_cast<SparkPupStruct*>(record)->Value = (int)s.value;
    }
    std::vector<sparkhost::FrameBuffer> frames(int first, int last) {
        std::vector<sparkhost::FrameBuffer> out;
        plugin.startRender();
        for (int f = first; f <= last; ++f) {
            plugin.prepareFrame(f);
            plugin.renderFrame(f);
            out.push_back(host.buffer(1));
        }
        return out;
    }
};

Picture ofx_plate(double time, const std::string& depth) {
    Picture p;
    p.allocate(kW, kH, 4, depth);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const int row = kH - 1 - y;  // OpenFX rows count from the bottom
            for (int c = 0; c < 3; ++c) {
                const unsigned v = plate12(x, row, c, (int)time);
                p.put(x, y, c, depth == kOfxBitDepthByte ? v >> 4 : from12(v));
            }
            p.put(x, y, 3, depth == kOfxBitDepthByte ? 255 : 65535);
        }
    return p;
}

std::unique_ptr<minihost::Effect> instance(minihost::Host& host, const std::string& depth) {
    auto e = host.create_instance(kW, kH, depth);
    if (!e) return e;
    host.connect(*e, kOfxImageEffectSimpleSourceClipName, [depth](double t) { return ofx_plate(t, depth); });
    for (const Setting& s : kFoodHunt) e->params.at(s.param)->value[(size_t)s.dimension] = s.value;
    return e;
}

// Compares an OpenFX frame with the Spark frame: every channel equal at the depth's precision.
int differences(const Picture& ofx, const sparkhost::FrameBuffer& spark, int bits) {
    int wrong = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) {
                const unsigned s = spark.value(x, kH - 1 - y, c);
                const unsigned expected = bits == 12 ? from12(s) : s;
                if ((unsigned)ofx.get(x, y, c) != expected) ++wrong;
            }
    return wrong;
}

minihost::Host& bundle() {
    static minihost::Host host(VESK_OFX_BINARY);
    return host;
}

}  // namespace

TEST(OfxBundle, ExportsOnlyTheEntryPoints) {
    const std::string command = std::string("nm -D --defined-only '") + VESK_OFX_BINARY + "'";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::set<std::string> names;
    char line[512];
    while (fgets(line, sizeof line, pipe)) {
        char type = 0, name[400] = {0};
        if (sscanf(line, "%*s %c %399s", &type, name) == 2) names.insert(name);
    }
    pclose(pipe);
    EXPECT_EQ(names, (std::set<std::string>{"OfxGetNumberOfPlugins", "OfxGetPlugin", "OfxSetHost"}));
}

TEST(OfxBundle, DescribesOneImageEffectInBothContexts) {
    minihost::Host& host = bundle();
    ASSERT_TRUE(host.loaded());
    EXPECT_STREQ(host.plugin()->pluginApi, "OfxImageEffectPluginAPI");
    EXPECT_EQ(host.plugin()->apiVersion, 1);
    const minihost::PropertySet& d = host.descriptor().props;
    EXPECT_EQ(d.str(kOfxPropLabel), "Vesk");
    EXPECT_EQ(d.str(kOfxImageEffectPropSupportedContexts, 0), kOfxImageEffectContextGeneral);
    EXPECT_EQ(d.str(kOfxImageEffectPropSupportedContexts, 1), kOfxImageEffectContextFilter);
    EXPECT_EQ(d.props.at(kOfxImageEffectPropSupportedPixelDepths).size(), 3u);
    EXPECT_EQ(d.integer(kOfxImageEffectInstancePropSequentialRender), 2);
    EXPECT_EQ(d.integer(kOfxImageEffectPropTemporalClipAccess), 1);

    // General context: the background is the one mandatory input; the mattes also take alpha.
    auto& clips = host.descriptor().clips;
    ASSERT_EQ(clips.size(), 6u);
    EXPECT_EQ(clips.at("Source")->props.integer(kOfxImageClipPropOptional), 0);
    for (const char* name : {"ShapeColour", "ShapeMatte", "BirthMatte", "AvoidanceMatte"})
        EXPECT_EQ(clips.at(name)->props.integer(kOfxImageClipPropOptional), 1) << name;
    EXPECT_EQ(clips.at("BirthMatte")->props.str(kOfxImageEffectPropSupportedComponents, 0), kOfxImageComponentAlpha);
    EXPECT_EQ(clips.at("BirthMatte")->props.integer(kOfxImageEffectPropTemporalClipAccess), 1);

    minihost::Host filter(VESK_OFX_BINARY, kOfxImageEffectContextFilter);
    ASSERT_TRUE(filter.loaded());
    EXPECT_EQ(filter.descriptor().clips.size(), 2u);  // Output and Source
}

// The panel as parameters: kinds, labels, ranges and defaults are the control records' own.
TEST(OfxBundle, ParametersCarryThePanel) {
    auto& params = bundle().descriptor().params;
    const minihost::Param& size = *params.at("veskSize");
    EXPECT_EQ(size.type, kOfxParamTypeInteger);
    EXPECT_EQ(size.props.str(kOfxPropLabel), "Vesk Size");
    EXPECT_EQ(size.props.integer(kOfxParamPropDefault), 20);
    EXPECT_EQ(size.props.integer(kOfxParamPropMin), 1);
    EXPECT_EQ(size.props.integer(kOfxParamPropMax), 5000);

    const minihost::Param& birth = *params.at("birth");
    EXPECT_EQ(birth.type, kOfxParamTypeDouble2D);
    EXPECT_DOUBLE_EQ(birth.props.dbl(kOfxParamPropDefault, 0), 84.0);
    EXPECT_DOUBLE_EQ(birth.props.dbl(kOfxParamPropMin, 1), -150.0);

    const minihost::Param& shape = *params.at("shape");
    EXPECT_EQ(shape.type, kOfxParamTypeChoice);
    ASSERT_EQ(shape.props.props.at(kOfxParamPropChoiceOption).size(), 9u);
    EXPECT_EQ(shape.props.str(kOfxParamPropChoiceOption, 0), "Blob");
    EXPECT_EQ(shape.props.str(kOfxParamPropChoiceOption, 8), "Colour in Matte");

    const minihost::Param& colour = *params.at("shapeColour");
    EXPECT_EQ(colour.type, kOfxParamTypeRGB);
    EXPECT_DOUBLE_EQ(colour.props.dbl(kOfxParamPropDefault, 2), 1.0);
    EXPECT_EQ(params.at("renderMode")->props.integer(kOfxParamPropDefault), 1);  // "Wireframe"
    EXPECT_EQ(params.at("restartButton")->type, kOfxParamTypePushButton);
    EXPECT_EQ(params.at("output")->props.str(kOfxParamPropChoiceOption, 1), "Swarm Only");

    // Every parameter but the pages sits on at least one of the four pages.
    std::set<std::string> placed;
    for (const char* page : {"pageVesk", "pageShape", "pageInfluence", "pagePresets"}) {
        const minihost::Param& p = *params.at(page);
        EXPECT_EQ(p.type, kOfxParamTypePage);
        for (const minihost::Value& child : p.props.props.at(kOfxParamPropPageChild)) placed.insert(child.s);
    }
    for (const auto& entry : params) {
        if (entry.second->type == kOfxParamTypePage) continue;
        EXPECT_TRUE(placed.count(entry.first)) << entry.first;
    }
}

// The food hunt at both depths: frames 1 .. 6 equal the Spark plug-in's in the same order, and
// rendering them backwards, each on a fresh instance, gives the same bytes again.
TEST(OfxBundle, FramesEqualTheSparkPluginsInAnyOrder) {
    for (int bits : {8, 12}) {
        SparkReference spark(bits);
        for (const Setting& s : kFoodHunt) spark.apply(s);
        const std::vector<sparkhost::FrameBuffer> expected = spark.frames(1, 6);
        // The scene draws: the last frame is not the plate.
        int drawn = 0;
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x)
                drawn += expected[5].value(x, y, 0) != (bits == 12 ? plate12(x, y, 0, 6) : plate12(x, y, 0, 6) >> 4);
        EXPECT_GT(drawn, 20) << bits << "-bit";

        minihost::Host& host = bundle();
        const std::string depth = bits == 8 ? kOfxBitDepthByte : kOfxBitDepthShort;
        auto e = instance(host, depth);
        ASSERT_TRUE(e);
        for (int f = 1; f <= 6; ++f)
            EXPECT_EQ(differences(host.render(*e, f), expected[(size_t)f - 1], bits), 0)
                << bits << "-bit frame " << f << " in order";
        for (int f = 6; f >= 1; --f) {
            auto fresh = instance(host, depth);
            EXPECT_EQ(differences(host.render(*fresh, f), expected[(size_t)f - 1], bits), 0)
                << bits << "-bit frame " << f << " backwards on a fresh instance";
        }
    }
}

// "Swarm Only" from the bundle, merged over the plate as a compositor merges it (premultiplied
// over), is the Spark plug-in's frame at both depths: nearly every value within one level of the
// frame's depth and none beyond two. The colour over black, the alpha (one number for three
// channels, each seen over white and black with a rounding of its own) and the Spark frame itself
// are each rounded at the depth, so a pixel under a nearly opaque shape can be off by a level and
// a half.
TEST(OfxBundle, SwarmOnlyMergedOverThePlateIsTheSparkFrame) {
    for (int bits : {8, 12}) {
        SparkReference spark(bits);
        for (const Setting& s : kFoodHunt) spark.apply(s);
        const std::vector<sparkhost::FrameBuffer> expected = spark.frames(1, 6);

        minihost::Host& host = bundle();
        const std::string depth = bits == 8 ? kOfxBitDepthByte : kOfxBitDepthShort;
        auto e = instance(host, depth);
        ASSERT_TRUE(e);
        e->params.at("output")->value = {1};
        const double top = bits == 8 ? 255.0 : 65535.0, level = bits == 8 ? 255.0 : 4095.0;
        int covered = 0, values = 0, beyond_one = 0, worst = 0;
        for (int f = 1; f <= 6; ++f) {
            const Picture alone = host.render(*e, f);
            const Picture plate = ofx_plate(f, depth);
            for (int y = 0; y < kH; ++y)
                for (int x = 0; x < kW; ++x) {
                    const double a = alone.get(x, y, 3) / top;
                    covered += f == 6 && a > 0.0;
                    for (int c = 0; c < 3; ++c) {
                        const double merged = (alone.get(x, y, c) + (1.0 - a) * plate.get(x, y, c)) / top;
                        const double want = expected[(size_t)f - 1].value(x, kH - 1 - y, c) / level;
                        const int off = (int)std::lround(std::fabs(merged - want) * level);
                        worst = std::max(worst, off);
                        beyond_one += off > 1;
                        ++values;
                    }
                }
        }
        EXPECT_GT(covered, 20) << bits << "-bit: the swarm covers something";
        EXPECT_LE(worst, 2) << bits << "-bit";
        EXPECT_LE(beyond_one * 1000, values) << bits << "-bit: " << beyond_one << " of " << values << " beyond one level";
    }
}

// At a reduced working resolution the effect reads its inputs through the Spark buffers again
// (only whole frames go straight into its working images): the same bytes as the Spark plug-in.
TEST(OfxBundle, HalfResolutionFramesEqualTheSparkPlugins) {
    const Setting half = {"SparkPup33", 1, "resolution", 0};
    SparkReference spark(8);
    for (const Setting& s : kFoodHunt) spark.apply(s);
    spark.apply(half);
    const std::vector<sparkhost::FrameBuffer> expected = spark.frames(1, 4);
    minihost::Host& host = bundle();
    auto e = instance(host, kOfxBitDepthByte);
    ASSERT_TRUE(e);
    e->params.at(half.param)->value[0] = half.value;
    for (int f = 1; f <= 4; ++f)
        EXPECT_EQ(differences(host.render(*e, f), expected[(size_t)f - 1], 8), 0) << "frame " << f;
}
