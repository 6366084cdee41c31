// A real plug-in (the host's copy fixture) loaded in-process: the loader, the call order, the
// panel the host discovers, edits through callbacks, curves and setups.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/Setup.h"

using namespace sparkhost;

namespace {

const std::string kFixture = std::string(VESK_BINARY_DIR) + "/fixture_copy.spark";
const std::string kIncomplete = std::string(VESK_BINARY_DIR) + "/fixture_incomplete.spark";

struct Loaded {
    Host host;
    Plugin plugin{host};
    explicit Loaded(int w = 6, int h = 4, int bits = 8) {
        host.setEcho(false);
        host.setFrameSize(w, h);
        host.setBitDepth(bits);
        host.setProcessors(3);
        std::string error;
        if (!plugin.load(kFixture, &error)) ADD_FAILURE() << error;
        plugin.initialise();
    }
    int fixtureInt(const char* name) { return *static_cast<int*>(plugin.symbol(name)); }
};

std::string readFile(const std::string& path) {
    std::ifstream f(path);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
}

}  // namespace

TEST(Loader, ClearErrorsForMissingFilesAndMissingEntryPoints) {
    Host host;
    host.setEcho(false);
    Plugin plugin(host);
    std::string error;
    EXPECT_FALSE(plugin.load("/no/such/plugin.spark", &error));
    EXPECT_NE(error.find("/no/such/plugin.spark"), std::string::npos);
    EXPECT_NE(error.find("No such file"), std::string::npos) << error;
    EXPECT_FALSE(plugin.load(kIncomplete, &error));
    // Only the four missing entry points are named.
    EXPECT_NE(error.find("not a Spark plug-in"), std::string::npos) << error;
    EXPECT_NE(error.find("SparkMemoryTempBuffers, SparkProcessStart, SparkProcess, SparkUnInitialise"),
              std::string::npos)
        << error;
    EXPECT_EQ(error.find("SparkClips"), std::string::npos);
    EXPECT_FALSE(plugin.loaded());
}

TEST(Loader, InitialisationFollowsTheHostOrder) {
    Loaded l;
    EXPECT_EQ(l.plugin.initialiseResult(), 2u);
    EXPECT_EQ(l.host.inputClips(), 2);
    EXPECT_GT(l.plugin.tempBufferId(), 6);
    // The setup was asked for inside SparkInitialise, with the record's name.
    ASSERT_EQ(l.host.setupLoads().size(), 1u);
    // The channel editor was built once the clips and buffers were known.
    ASSERT_EQ(l.host.channels().size(), 3u);
    EXPECT_TRUE(l.host.channels()[0].folder && l.host.channels()[2].control == 13);
    EXPECT_EQ(l.plugin.startRender(), 1);
    EXPECT_EQ(l.fixtureInt("FixtureProcessStarts"), 1);
}

TEST(Panel, DiscoversEveryRecordKindWithLabelsNamesAndDefaults) {
    Loaded l;
    const Panel& p = l.plugin.panel();
    ASSERT_EQ(p.controls().size(), 11u);   // two clip names and nine controls
    const Control* gain = p.findRecord("SparkFloat8");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(p.label(*gain), "Gain: 1.00");
    EXPECT_EQ(p.name(*gain), "Gain");
    EXPECT_EQ(p.label(*p.find(ControlKind::List, 10)), "Channel: All  ");
    const Control* invert = p.find(ControlKind::Boolean, 9);
    EXPECT_EQ(p.name(*invert), "Invert");   // trailing blanks are not part of the name
    EXPECT_EQ(p.label(*invert), "Invert   ");
    const Control* clip = p.find(ControlKind::String, 0);
    EXPECT_EQ(p.label(*clip), "1: Source Clip");
    EXPECT_EQ(Panel::page(*clip), 0);
    EXPECT_EQ(Panel::page(*p.find(ControlKind::UserFloat, 13)), -1);
    // Page arithmetic: 29 places per page from control 6.
    Control probe = *gain;
    for (auto [number, page] : {std::pair{6, 1}, {34, 1}, {35, 2}, {121, 4}}) {
        probe.number = number;
        EXPECT_EQ(Panel::page(probe), page) << number;
    }
}

TEST(Panel, ResolvesNamesNumbersRecordsAndChannelNames) {
    Loaded l;
    const Panel& p = l.plugin.panel();
    std::string error;
    const struct {
        const char* text;
        ControlUse use;
        const char* record;   // nullptr: refused
    } cases[] = {{"gain", ControlUse::Value, "SparkFloat8"},     {"  GAIN ", ControlUse::Value, "SparkFloat8"},
                 {"8", ControlUse::Value, "SparkFloat8"},        {"sparkfloat8", ControlUse::Value, "SparkFloat8"},
                 {"Gain Channel", ControlUse::Value, "SparkFloat8"}, {"Restart", ControlUse::Press, "SparkPush6"},
                 {"Amplitude", ControlUse::Animate, "SparkUserFloat13"}, {"Invert", ControlUse::Animate, nullptr},
                 {"Restart", ControlUse::Value, nullptr}};
    for (const auto& c : cases) {
        const Control* found = p.resolve(c.text, c.use, &l.host, &error);
        EXPECT_EQ(found ? found->record : std::string("(refused)"), c.record ? c.record : "(refused)") << c.text;
    }
    EXPECT_NE(error.find("--press"), std::string::npos) << error;
    EXPECT_EQ(p.resolve("Ofset", ControlUse::Value, &l.host, &error), nullptr);
    EXPECT_NE(error.find("unknown control 'Ofset'; closest: \"Offset\" (7)"), std::string::npos) << error;
}

TEST(Panel, ValuesAreParsedAndRangeChecked) {
    Loaded l;
    const Panel& p = l.plugin.panel();
    const Control& offset = *p.find(ControlKind::Int, 7);
    const Control& gain = *p.find(ControlKind::Float, 8);
    const Control& invert = *p.find(ControlKind::Boolean, 9);
    const Control& list = *p.find(ControlKind::List, 10);
    const Control& colour = *p.find(ControlKind::Colour, 11);
    const auto value = [&](const Control& c) -> double {
        if (&c == &offset) return c.asInt()->Value;
        if (&c == &gain) return c.asFloat()->Value;
        if (&c == &invert) return c.asBoolean()->Value;
        if (&c == &list) return c.asList()->Value;
        return double(c.asColour()->Color);
    };
    // List entries by their text, with or without the shared prefix, or by position from 1;
    // colours pack red into the low byte and 0xFF into the top one. A refused text leaves the
    // value as it was.
    const struct {
        const Control* control;
        const char* text;
        bool ok;
        double after;
    } cases[] = {{&offset, "-10", true, -10}, {&offset, "2.5", false, -10}, {&gain, "4", true, 4},
                 {&gain, "4.01", false, 4}, {&invert, "on", true, 1}, {&invert, "No", true, 0},
                 {&invert, "maybe", false, 0}, {&list, "Green", true, 2}, {&list, "Channel: Blue", true, 3},
                 {&list, "2", true, 1}, {&list, "5", false, 1}, {&colour, "#102030", true, 0xFF302010u},
                 {&colour, "255, 0, 128", true, 0xFF8000FFu}, {&colour, "256,0,0", false, 0xFF8000FFu},
                 {&list, "Purple", false, 1}};
    std::string error;
    for (const auto& c : cases) {
        EXPECT_EQ(p.setValue(*c.control, c.text, &error), c.ok) << c.text;
        EXPECT_EQ(value(*c.control), c.after) << c.text;
    }
    EXPECT_NE(error.find("\"All\" \"Red\" \"Green\" \"Blue\""), std::string::npos) << error;
    EXPECT_FALSE(p.setValue(offset, "11", &error));
    EXPECT_NE(error.find("outside its range -10 to 10"), std::string::npos) << error;
    // A control locked at one value (greyed by range) refuses any other.
    gain.asFloat()->Min = gain.asFloat()->Max = 2.0f;
    EXPECT_FALSE(p.setValue(gain, "3", &error));
    EXPECT_NE(error.find("locked"), std::string::npos);
}

TEST(Edits, CallTheCallbackWithReasonOneAndReportARender) {
    Loaded l;
    l.plugin.prepareFrame(1);
    std::string error;
    unsigned long* rendered = nullptr;
    // Auto Preview is on in the fixture: an edit renders at once.
    ASSERT_TRUE(l.plugin.setControl("Invert", "on", &error, &rendered)) << error;
    EXPECT_EQ(rendered, l.host.buffer(1).words());
    ASSERT_TRUE(l.plugin.setControl("Auto Preview", "off", &error, &rendered));
    int draws = l.host.viewingDraws();
    ASSERT_TRUE(l.plugin.setControl("Gain", "2", &error, &rendered));
    EXPECT_EQ(rendered, nullptr);
    EXPECT_EQ(l.host.viewingDraws(), draws + 1);
    // A question answered no leaves the button without effect.
    l.host.setConfirmAnswer(false);
    ASSERT_TRUE(l.plugin.press("Restart", &error));
    EXPECT_EQ(l.fixtureInt("FixtureRestarts"), 0);
    l.host.setConfirmAnswer(true);
    ASSERT_TRUE(l.plugin.press("6", &error));
    EXPECT_EQ(l.fixtureInt("FixtureRestarts"), 1);
}

TEST(Curves, KeyedValuesReachTheRecordsRoundedForWholeNumbers) {
    Loaded l;
    l.host.curve(1, 8).setKey(1, 1.0f);
    l.host.curve(1, 8).setKey(3, 2.0f);
    l.host.curve(1, 7).setKey(1, 0.0f);
    l.host.curve(1, 7).setKey(2, 1.0f);   // integer records take the nearest whole value
    const Control& gain = *l.plugin.panel().find(ControlKind::Float, 8);
    const Control& offset = *l.plugin.panel().find(ControlKind::Int, 7);
    for (auto [frame, nearest] : {std::pair{1.4, 0}, {1.6, 1}}) {
        l.plugin.panel().applyCurves(l.host, frame);
        EXPECT_EQ(offset.asInt()->Value, nearest) << frame;
    }
    EXPECT_FLOAT_EQ(gain.asFloat()->Value, 1.3f);
    // A channel without keys answers the record's own value.
    l.host.curve(1, 7) = Curve();
    offset.asInt()->Value = 3;
    EXPECT_FLOAT_EQ(l.host.curveValue(1, 7, 5.0f), 3.0f);
}

TEST(Setups, RoundTripEveryValueAndKey) {
    std::string path = testing::TempDir() + "/sparkhost_roundtrip.setup";
    {
        Loaded l;
        std::string error;
        const Panel& p = l.plugin.panel();
        ASSERT_TRUE(p.setValue(*p.find(ControlKind::Float, 8), "0.3", &error));
        ASSERT_TRUE(p.setValue(*p.find(ControlKind::List, 10), "Blue", &error));
        ASSERT_TRUE(p.setValue(*p.find(ControlKind::Colour, 11), "#0A0B0C", &error));
        ASSERT_TRUE(p.setValue(*p.find(ControlKind::String, 1), "2: Plate # with = signs  ", &error));
        l.host.curve(0, 13).setKey(4, 0.1f);
        l.host.curve(0, 13).setKey(8, -7.25f);
        ASSERT_TRUE(writeSetup(p, l.host, path, &error)) << error;
    }
    std::string text = readFile(path);
    EXPECT_NE(text.find("SparkFloat8 = 0.300000012  # Gain\n"), std::string::npos) << text;
    EXPECT_NE(text.find("key SparkUserFloat13 8 -7.25\n"), std::string::npos) << text;
    // A fresh load starts from the defaults; the setup given in the frame record restores it.
    Host host;
    host.setEcho(false);
    host.setSetupName(path);
    Plugin plugin(host);
    std::string error;
    ASSERT_TRUE(plugin.load(kFixture, &error)) << error;
    const Panel& p = plugin.panel();
    EXPECT_FLOAT_EQ(p.find(ControlKind::Float, 8)->asFloat()->Value, 1.0f);
    plugin.initialise();
    EXPECT_FLOAT_EQ(p.find(ControlKind::Float, 8)->asFloat()->Value, 0.3f);
    EXPECT_EQ(p.find(ControlKind::List, 10)->asList()->Value, 3);
    EXPECT_EQ(p.find(ControlKind::Colour, 11)->asColour()->Color, 0xFF0C0B0Aul);
    EXPECT_STREQ(p.find(ControlKind::String, 1)->asString()->Value, "2: Plate # with = signs  ");
    ASSERT_NE(host.findCurve(0, 13), nullptr);
    EXPECT_FLOAT_EQ(host.curveValue(0, 13, 6.0f), (0.1f + -7.25f) / 2.0f);
    // Without a save request, the uninitialise hook leaves the file alone.
    std::string before = readFile(path);
    plugin.uninitialise();
    EXPECT_EQ(readFile(path), before);
    std::remove(path.c_str());
}

TEST(Setups, BadLinesAreReportedWithTheirLine) {
    std::string path = testing::TempDir() + "/sparkhost_bad.setup";
    {
        std::ofstream f(path);
        f << "# sparkhost setup\nSparkFloat8 = 2\nSparkNothing99 = 4\nSparkInt7 = seven\n";
    }
    Loaded l;
    std::string error;
    EXPECT_FALSE(readSetup(l.plugin.panel(), l.host, path, &error));
    EXPECT_NE(error.find(":4:"), std::string::npos) << error;
    // The unknown record was skipped with a note, the good line before it applied.
    EXPECT_NE(l.host.messageText(HostMessage::Note).find("SparkNothing99"), std::string::npos);
    EXPECT_FLOAT_EQ(l.plugin.panel().find(ControlKind::Float, 8)->asFloat()->Value, 2.0f);
    std::remove(path.c_str());
    // A float past single precision (saved as "inf", unreadable), an int past int and a text with a
    // line end are refused.
    const Control& f8 = *l.plugin.panel().find(ControlKind::Float, 8);
    const Control& i7 = *l.plugin.panel().find(ControlKind::Int, 7);
    EXPECT_FALSE(l.plugin.panel().setRawValue(f8, "1e39", &error));
    EXPECT_FALSE(l.plugin.panel().setRawValue(i7, "4294967297", &error));
    const Control& s0 = *l.plugin.panel().find(ControlKind::String, 0);
    EXPECT_FALSE(l.plugin.panel().setRawValue(s0, "clip\r", &error));
}
