// sparkhost as an OFX host, seen from inside an effect: the order of the actions, the answers of
// the property and parameter suites, and the parameters as the panel shows them.
#include <algorithm>

#include "ofx_support.h"
#include "sparkhost/lib/Panel.h"

using namespace ofxtest;

namespace {

// The log without the suites' check lines and values: the actions and their main arguments.
std::vector<std::string> actions(const ActionLog& log) {
    std::vector<std::string> out;
    for (const auto& l : log.entries())
        if (l.rfind("check ", 0) != 0 && l.rfind("values ", 0) != 0 && l.rfind("type ", 0) != 0 &&
            l.rfind("contexts ", 0) != 0 && l.rfind("host api", 0) != 0 && l.rfind("version label", 0) != 0 &&
            l.rfind("gain keys", 0) != 0)
            out.push_back(l);
    return out;
}

std::string checkValue(const ActionLog& log, const std::string& name) {
    for (const auto& l : log.entries())
        if (l.rfind("check " + name + " = ", 0) == 0) return l.substr(l.find('=') + 2);
    return "(not logged)";
}

}  // namespace

TEST(OfxHostActions, LifeOfAnEffectGoesInTheStandardOrder) {
    ActionLog log;
    {
        OfxHostFixture f;
        ASSERT_TRUE(f.open(bundle("Recorder")));
        f.render({1, 2, 3});
        f.plugin.uninitialise();
        f.plugin.unload();
    }
    const std::string render = "render t=%d window=0,0,24,16 seq=1 gain=1.000000 depth=OfxBitDepthByte rowbytes=96";
    std::vector<std::string> expected = {
        "OfxActionLoad", "OfxActionDescribe", "OfxImageEffectActionDescribeInContext",
        "context OfxImageEffectContextGeneral", "OfxActionCreateInstance",
        // The connected input is announced once the instance exists; the optional matte is not given.
        "OfxActionBeginInstanceChanged", "changed OfxTypeClip Source OfxChangeUserEdited t=1",
        "OfxActionEndInstanceChanged", "OfxImageEffectActionGetClipPreferences"};
    for (int t = 1; t <= 3; ++t) {
        for (const char* a : {"OfxImageEffectActionGetRegionOfDefinition", "OfxImageEffectActionGetRegionsOfInterest",
                              "OfxImageEffectActionIsIdentity"})
            expected.push_back(a);
        if (t == 1) expected.push_back("begin 1-3 seq=1");
        char line[160];
        std::snprintf(line, sizeof line, render.c_str(), t);
        expected.push_back(line);
    }
    for (const char* a : {"end 1-3 seq=0", "OfxActionSyncPrivateData", "OfxActionDestroyInstance", "OfxActionUnload"})
        expected.push_back(a);
    EXPECT_EQ(actions(log), expected);
}

TEST(OfxHostActions, PropertySuiteGivesTheStandardsStatusCodes) {
    ActionLog log;
    OfxHostFixture f;
    ASSERT_TRUE(f.open(bundle("Recorder")));
    EXPECT_EQ(checkValue(log, "unknown-name"), "3");     // kOfxStatErrUnknown: plug-ins probe with it
    EXPECT_EQ(checkValue(log, "host-read-only"), "11");  // the host's own properties refuse writes
    EXPECT_EQ(checkValue(log, "index-beyond"), "10");    // kOfxStatErrBadIndex
    EXPECT_EQ(checkValue(log, "wrong-type"), "11");      // an int read of a string property
    EXPECT_EQ(checkValue(log, "bad-handle"), "9");       // kOfxStatErrBadHandle
    EXPECT_EQ(checkValue(log, "reset"), "0");
    EXPECT_EQ(checkValue(log, "unknown-suite"), "1");    // fetchSuite answers NULL
    EXPECT_EQ(checkValue(log, "duplicate-param"), "6");  // kOfxStatErrExists
    EXPECT_EQ(checkValue(log, "unknown-type"), "3");
    EXPECT_EQ(checkValue(log, "parametric"), "5");       // known to OFX, not offered here
    std::vector<std::string> all = log.entries();
    auto has = [&](const std::string& l) { return std::find(all.begin(), all.end(), l) != all.end(); };
    EXPECT_TRUE(has("type OfxTypeImageEffect"));
    EXPECT_TRUE(has("contexts 2"));
    EXPECT_TRUE(has("host api 1.4"));
    EXPECT_TRUE(has("version label after reset ''"));
    // Instance values start at the defaults the descriptor set.
    EXPECT_TRUE(has("values gain=1 count=3 mode=1 centre=10,20 tint=1,0.5,0 note=hello"));
}

TEST(OfxHostActions, ParametersBecomeThePanelOnTheirPage) {
    OfxHostFixture f;
    ASSERT_TRUE(f.open(bundle("Recorder")));
    const sparkhost::Panel& panel = f.plugin.panel();
    auto control = [&](const std::string& name, sparkhost::ControlUse use = sparkhost::ControlUse::Value) {
        std::string error;
        const sparkhost::Control* c = panel.resolve(name, use, &f.host, &error);
        EXPECT_NE(c, nullptr) << error;
        return c;
    };
    const sparkhost::Control* gain = control("Gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->kind, sparkhost::ControlKind::Float);
    EXPECT_EQ(sparkhost::Panel::page(*gain), 1);
    double lo, hi, step;
    ASSERT_TRUE(panel.range(*gain, &lo, &hi, &step));
    EXPECT_EQ(lo, 0.0);
    EXPECT_EQ(hi, 2.0);
    EXPECT_EQ(panel.displayDefault(*gain), "1");
    const sparkhost::Control* count = control("Count");
    ASSERT_NE(count, nullptr);
    EXPECT_EQ(count->kind, sparkhost::ControlKind::Int);
    const sparkhost::Control* mode = control("Mode");
    ASSERT_NE(mode, nullptr);
    EXPECT_EQ(panel.listEntryName(*mode, 2), "Off");
    EXPECT_EQ(panel.displayValue(*mode), "Hard");
    // A pair is a control per dimension, named by the dimension's label.
    const sparkhost::Control* cx = control("Centre X");
    const sparkhost::Control* cy = control("Centre Y");
    ASSERT_TRUE(cx && cy);
    EXPECT_EQ(panel.displayValue(*cy), "20");
    // A colour is a number per channel, exact.
    const sparkhost::Control* green = control("Tint G");
    ASSERT_NE(green, nullptr);
    EXPECT_EQ(panel.displayValue(*green), "0.5");
    EXPECT_NE(control("Bump", sparkhost::ControlUse::Press), nullptr);
    EXPECT_EQ(f.host.pageTitles().at(0), "Main");
    // A secret parameter is on the panel, greyed; the others are live.
    const sparkhost::Control* hidden = control("Hidden Box");
    ASSERT_NE(hidden, nullptr);
    EXPECT_FALSE(f.host.parameterEnabled(1, hidden->number));
    EXPECT_TRUE(f.host.parameterEnabled(1, gain->number));
    // The clips' names are listed where a Spark panel has them.
    EXPECT_EQ(f.plugin.clips(), 2);
    EXPECT_EQ(f.plugin.clipNames(), (std::vector<std::string>{"Source", "Matte"}));
}

TEST(OfxHostActions, EditsAndButtonsReachTheEffectAndItsOwnEditsComeBack) {
    ActionLog log;
    OfxHostFixture f;
    ASSERT_TRUE(f.open(bundle("Recorder")));
    f.host.setCurrentFrame(7);
    log.clear();
    std::string error;
    ASSERT_TRUE(f.plugin.setControl("Gain", "0.25", &error)) << error;
    ASSERT_TRUE(f.plugin.press("Bump", &error)) << error;
    std::vector<std::string> all = log.entries();
    std::vector<std::string> expected = {
        "OfxActionBeginInstanceChanged", "changed OfxTypeParameter gain OfxChangeUserEdited t=7",
        "values gain=0.25 count=3 mode=1 centre=10,20 tint=1,0.5,0 note=hello", "OfxActionEndInstanceChanged",
        "OfxActionBeginInstanceChanged", "changed OfxTypeParameter bump OfxChangeUserEdited t=7", "gain keys 1",
        "OfxActionEndInstanceChanged",
        // The button's two writes come back as one round of "plug-in edited" changes.
        "OfxActionBeginInstanceChanged", "changed OfxTypeParameter count OfxChangePluginEdited t=7",
        "changed OfxTypeParameter gain OfxChangePluginEdited t=7",
        "values gain=0.5 count=4 mode=1 centre=10,20 tint=1,0.5,0 note=hello", "OfxActionEndInstanceChanged"};
    EXPECT_EQ(all, expected);
    // The effect's writes are on the panel: the count, and the gain as a key of its curve.
    const sparkhost::Control* count = f.plugin.panel().resolve("Count", sparkhost::ControlUse::Value, &f.host, &error);
    ASSERT_NE(count, nullptr);
    EXPECT_EQ(f.plugin.panel().displayValue(*count), "4");
    const sparkhost::Control* gain = f.plugin.panel().resolve("Gain", sparkhost::ControlUse::Value, &f.host, &error);
    ASSERT_NE(gain, nullptr);
    const sparkhost::Curve* curve = f.host.findCurve(1, gain->number);
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->keys().size(), 1u);
    EXPECT_EQ(curve->keys().at(7), 0.5f);
}
