// The plug-in's panel as a host loads it: every exported control record with its label, factory
// value, range, step, flags and callback, the AuxQ4 records, and nothing else under those names.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace {

// The panel, row by row: record, label(s), factory value, min, max, step, flags, callback name
// (empty: no callback). Records sharing a callback name share one callback.
struct Row {
    const char* record;
    std::vector<std::string> titles;
    const char* value;
    const char* min;
    const char* max;
    const char* step;
    const char* flags;
    const char* callback;
};

const Row kPanel[] = {
    {"SparkString0", {"%s"}, "1: Background Clip", "", "", "", "16", ""},
    {"SparkString1", {"%s"}, "2: Shape Colour", "", "", "", "16", ""},
    {"SparkString2", {"%s"}, "3: Shape Matte", "", "", "", "16", ""},
    {"SparkString3", {"%s"}, "4: Birth Matte", "", "", "", "16", ""},
    {"SparkString4", {"%s"}, "5: Avoidance Matte", "", "", "", "16", ""},
    {"SparkPush6", {"Restart   "}, "", "", "", "", "", "dlcb_6"},
    {"SparkPush7", {"Restart+PreRoll   "}, "", "", "", "", "", "dlcb_7"},
    {"SparkPush8", {"PreRoll   "}, "", "", "", "", "", "dlcb_8"},
    {"SparkInt9", {"PreRoll: %d"}, "40", "1", "1000", "1", "8", "dlcb_9"},
    {"SparkPush10", {"Advance   "}, "", "", "", "", "", "dlcb_10"},
    {"SparkInt11", {"Vesk Size: %d"}, "20", "1", "5000", "1", "0", "dlcb_11"},
    {"SparkInt12", {"Seed: %d"}, "165", "1", "999", "17", "0", "dlcb_12"},
    {"SparkFloat13", {"Birth X: %.2f"}, "84", "-150", "250", "0.05", "0", "dlcb_13"},
    {"SparkFloat14", {"Birth Y: %.2f"}, "84", "-150", "250", "0.05", "0", "dlcb_13"},
    {"SparkFloat15", {"Birth Radius: %.2f"}, "50", "0", "200", "0.05", "0", "dlcb_15"},
    {"SparkBoolean20", {"Use Birth Matte   "}, "0", "", "", "", "0", "dlcb_20"},
    {"SparkBoolean21", {"Invert Birth Matte   "}, "0", "", "", "", "0", "dlcb_21"},
    {"SparkFloat27", {"Blend: %.2f"}, "0", "0", "100", "0.1", "0", "Blend1CB"},
    {"SparkBoolean28", {"Clear Overlay"}, "0", "", "", "", "0", "Overlay1CB"},
    {"SparkPush31", {"Help"}, "", "", "", "", "", "HelpCB"},
    {"SparkPush32", {"Reset"}, "", "", "", "", "", "Reset1CB"},
    {"SparkPup33", {"FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32"}, "0", "", "", "", "", "SetRes1CB"},
    {"SparkBoolean34", {"Auto Preview"}, "1", "", "", "", "0", "Auto1CB"},
    {"SparkPush35", {"Restart   "}, "", "", "", "", "", "dlcb_35"},
    {"SparkPush36", {"Restart+PreRoll   "}, "", "", "", "", "", "dlcb_36"},
    {"SparkPush37", {"PreRoll   "}, "", "", "", "", "", "dlcb_37"},
    {"SparkBoolean38", {"Texturing Cycle   "}, "0", "", "", "", "0", "dlcb_38"},
    {"SparkBoolean39", {"Random Start   "}, "0", "", "", "", "0", "dlcb_39"},
    {"SparkInt40", {"Frames in Cycle: %d"}, "5", "1", "10000", "1", "0", "dlcb_40"},
    {"SparkPup42", {"Shape: Blob  ", "Shape: Rectangle  ", "Shape: Triangle  ", "Shape: Diamond  ", "Shape: Four Point Star  ", "Shape: Five Point Star  ", "Shape: Cols with Matte  ", "Shape: Matte over Cols  ", "Shape: Colour in Matte  "}, "0", "", "", "", "", "dlcb_42"},
    {"SparkFloat43", {"Shape Width: %.2f"}, "72", "1", "100", "0.5", "0", "dlcb_43"},
    {"SparkFloat44", {"Shape Height: %.2f"}, "57", "1", "100", "0.5", "0", "dlcb_44"},
    {"SparkFloat45", {"Random Sizes: %.2f"}, "60", "0", "100", "0.5", "0", "dlcb_45"},
    {"SparkFloat46", {"Star Sharpness: %.2f"}, "50", "1", "100", "0.5", "0", "dlcb_46"},
    {"SparkBoolean47", {"Living Rotate   "}, "0", "", "", "", "0", "dlcb_47"},
    {"SparkFloat48", {"Base Rotation: %.2f"}, "0", "-360", "360", "0.01", "0", "dlcb_48"},
    {"SparkColor49", {}, "0xFFFFFFFF", "", "", "", "", "dlcb_49"},
    {"SparkFloat50", {"Shape Colour R: %.2f"}, "100", "0", "100", "0.2", "0", "SetShapeColCB"},
    {"SparkFloat51", {"Shape Colour G: %.2f"}, "100", "0", "100", "0.2", "0", "SetShapeColCB"},
    {"SparkFloat52", {"Shape Colour B: %.2f"}, "100", "0", "100", "0.2", "0", "SetShapeColCB"},
    {"SparkFloat53", {"Random Colours: %.2f"}, "0", "0", "100", "0.5", "0", "dlcb_53"},
    {"SparkFloat54", {"Shape Density: %.2f"}, "100", "0", "100", "0.5", "0", "dlcb_54"},
    {"SparkBoolean55", {"Use Shapes over Cols   "}, "0", "", "", "", "0", "dlcb_55"},
    {"SparkBoolean57", {"Clear Overlay"}, "0", "", "", "", "0", "Overlay2CB"},
    {"SparkPup59", {"Render Mode: Render  ", "Render Mode: Wireframe  "}, "1", "", "", "", "", "dlcb_59"},
    {"SparkPush60", {"Help"}, "", "", "", "", "", "HelpCB"},
    {"SparkPush61", {"Reset"}, "", "", "", "", "", "Reset2CB"},
    {"SparkPup62", {"FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32"}, "0", "", "", "", "", "SetRes2CB"},
    {"SparkBoolean63", {"Auto Preview"}, "1", "", "", "", "0", "Auto2CB"},
    {"SparkPush64", {"Restart   "}, "", "", "", "", "", "dlcb_64"},
    {"SparkPush65", {"Restart+PreRoll   "}, "", "", "", "", "", "dlcb_65"},
    {"SparkPush66", {"PreRoll   "}, "", "", "", "", "", "dlcb_66"},
    {"SparkBoolean67", {"Avoid Predator   "}, "0", "", "", "", "0", "dlcb_67"},
    {"SparkFloat68", {"Predator X: %.2f"}, "40", "-150", "250", "0.05", "0", "dlcb_68"},
    {"SparkFloat69", {"Predator Y: %.2f"}, "40", "-150", "250", "0.05", "0", "dlcb_68"},
    {"SparkFloat70", {"Fear of Predator: %.2f"}, "18", "1", "100", "0.5", "0", "dlcb_70"},
    {"SparkBoolean71", {"Hunt Food   "}, "1", "", "", "", "0", "dlcb_71"},
    {"SparkFloat72", {"Food X: %.2f"}, "20", "-150", "250", "0.05", "0", "dlcb_72"},
    {"SparkFloat73", {"Food Y: %.2f"}, "15", "-150", "250", "0.05", "0", "dlcb_72"},
    {"SparkBoolean75", {"Use Avoid Matte   "}, "0", "", "", "", "0", "dlcb_75"},
    {"SparkFloat76", {"Avoid Forward: %.2f"}, "10", "1", "100", "0.5", "0", "dlcb_76"},
    {"SparkFloat77", {"Avoid Sides: %.2f"}, "5", "1", "100", "0.5", "0", "dlcb_77"},
    {"SparkBoolean78", {"Match Velocity   "}, "0", "", "", "", "0", "dlcb_78"},
    {"SparkFloat79", {"Speed: %.2f"}, "20", "0", "100", "0.5", "0", "dlcb_79"},
    {"SparkFloat80", {"Acceleration: %.2f"}, "3.5", "0", "100", "0.5", "0", "dlcb_80"},
    {"SparkBoolean81", {"Avoid Others   "}, "0", "", "", "", "0", "dlcb_81"},
    {"SparkFloat82", {"Personal Space: %.2f"}, "15", "1", "100", "0.5", "0", "dlcb_82"},
    {"SparkBoolean83", {"Vesk Gathering   "}, "0", "", "", "", "0", "dlcb_83"},
    {"SparkFloat84", {"Vesk Grouping: %.2f"}, "10", "0", "100", "0.5", "0", "dlcb_84"},
    {"SparkBoolean86", {"Clear Overlay"}, "0", "", "", "", "0", "Overlay3CB"},
    {"SparkPush89", {"Help"}, "", "", "", "", "", "HelpCB"},
    {"SparkPush90", {"Reset"}, "", "", "", "", "", "Reset3CB"},
    {"SparkPup91", {"FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32"}, "0", "", "", "", "", "SetRes3CB"},
    {"SparkBoolean92", {"Auto Preview"}, "1", "", "", "", "0", "Auto3CB"},
    {"SparkPush93", {"Restart   "}, "", "", "", "", "", "dlcb_93"},
    {"SparkUserFloat93", {"Amplitude Import: %.1f"}, "0", "-1000", "1000", "0.001", "0", ""},
    {"SparkPush94", {"Restart+PreRoll   "}, "", "", "", "", "", "dlcb_94"},
    {"SparkPush95", {"PreRoll   "}, "", "", "", "", "", "dlcb_95"},
    {"SparkPush100", {"Simple Food Hunt   "}, "", "", "", "", "", "dlcb_100"},
    {"SparkBoolean101", {"Add Predator   "}, "0", "", "", "", "0", "dlcb_101"},
    {"SparkBoolean102", {"Add Living Rotate   "}, "0", "", "", "", "0", "dlcb_102"},
    {"SparkBoolean103", {"Add Personal Space   "}, "0", "", "", "", "0", "dlcb_103"},
    {"SparkBoolean104", {"Add Vesk Centring   "}, "0", "", "", "", "0", "dlcb_104"},
    {"SparkBoolean105", {"Add Match Velocity   "}, "0", "", "", "", "0", "dlcb_105"},
    {"SparkPush114", {"Import Amplitude File"}, "", "", "", "", "", "import_aiff_CB"},
    {"SparkBoolean115", {"Clear Overlay"}, "0", "", "", "", "0", "Overlay4CB"},
    {"SparkPush118", {"Help"}, "", "", "", "", "", "HelpCB"},
    {"SparkPush119", {"Reset"}, "", "", "", "", "", "Reset4CB"},
    {"SparkPup120", {"FULL", "1/2", "1/3", "1/4", "1/6", "1/8", "1/12", "1/16", "1/32"}, "0", "", "", "", "", "SetRes4CB"},
    {"SparkBoolean121", {"Auto Preview"}, "1", "", "", "", "0", "Auto4CB"},
};

bool starts_with(const std::string& s, const char* prefix) { return s.rfind(prefix, 0) == 0; }

double number(const char* text) { return std::strtod(text, nullptr); }

// Size of a data symbol of the loaded object, from its symbol table entry.
size_t symbol_size(const void* address)
{
    Dl_info info;
    void* entry = nullptr;
    if (dladdr1(address, &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr)
        return 0;
    const ElfW(Sym)* sym = static_cast<const ElfW(Sym)*>(entry);
    if (sym == nullptr)
        return 0;
    return sym->st_size;
}

class PanelRecordsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.setEcho(false);
        host.setFrameSize(32, 18);
        std::string error;
        ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
    }
    const Row* row(const std::string& record) const
    {
        for (const Row& r : kPanel)
            if (record == r.record) return &r;
        return nullptr;
    }

    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
};

TEST_F(PanelRecordsTest, EveryRecordIsExportedWithItsLabelValueRangeAndFlags)
{
    for (const Row& r : kPanel) {
        SCOPED_TRACE(r.record);
        void* p = plugin.symbol(r.record);
        ASSERT_NE(p, nullptr);
        const std::string name = r.record;
        if (starts_with(name, "SparkString")) {
            auto* s = static_cast<SparkStringStruct*>(p);
            EXPECT_EQ(symbol_size(p), 224u);
            EXPECT_STREQ(s->Value, r.value);
            EXPECT_STREQ(s->Title, r.titles.at(0).c_str());
            EXPECT_EQ(s->Flags, unsigned(number(r.flags)));
            EXPECT_EQ(s->Callback, nullptr);
        } else if (starts_with(name, "SparkPush")) {
            auto* s = static_cast<SparkPushStruct*>(p);
            EXPECT_EQ(symbol_size(p), 16u);
            EXPECT_STREQ(s->Title, r.titles.at(0).c_str());
        } else if (starts_with(name, "SparkInt")) {
            auto* s = static_cast<SparkIntStruct*>(p);
            EXPECT_EQ(symbol_size(p), 40u);
            EXPECT_STREQ(s->Title, r.titles.at(0).c_str());
            EXPECT_EQ(s->Value, int(number(r.value)));
            EXPECT_EQ(s->Min, int(number(r.min)));
            EXPECT_EQ(s->Max, int(number(r.max)));
            EXPECT_EQ(s->Increment, int(number(r.step)));
            EXPECT_EQ(s->Flags, unsigned(number(r.flags)));
        } else if (starts_with(name, "SparkFloat") || starts_with(name, "SparkUserFloat")) {
            auto* s = static_cast<SparkFloatStruct*>(p);
            EXPECT_EQ(symbol_size(p), 40u);
            EXPECT_STREQ(s->Title, r.titles.at(0).c_str());
            EXPECT_FLOAT_EQ(s->Value, float(number(r.value)));
            EXPECT_FLOAT_EQ(s->Min, float(number(r.min)));
            EXPECT_FLOAT_EQ(s->Max, float(number(r.max)));
            EXPECT_FLOAT_EQ(s->Increment, float(number(r.step)));
            EXPECT_EQ(s->Flags, unsigned(number(r.flags)));
        } else if (starts_with(name, "SparkBoolean")) {
            auto* s = static_cast<SparkBooleanStruct*>(p);
            EXPECT_EQ(symbol_size(p), 24u);
            EXPECT_STREQ(s->Title, r.titles.at(0).c_str());
            EXPECT_EQ(s->Value, int(number(r.value)));
            EXPECT_EQ(s->Flags, int(number(r.flags)));
        } else if (starts_with(name, "SparkPup")) {
            auto* s = static_cast<SparkPupStruct*>(p);
            EXPECT_EQ(symbol_size(p), 176u);
            EXPECT_EQ(s->Value, int(number(r.value)));
            ASSERT_EQ(s->TitleCount, int(r.titles.size()));
            for (size_t i = 0; i < SPARK_PUP_MAX_TITLES; ++i) {
                if (i < r.titles.size())
                    EXPECT_STREQ(s->Titles[i], r.titles[i].c_str());
                else
                    EXPECT_EQ(s->Titles[i], nullptr);
            }
        } else if (starts_with(name, "SparkColor")) {
            auto* s = static_cast<SparkColorStruct*>(p);
            EXPECT_EQ(symbol_size(p), 16u);
            EXPECT_EQ(s->Color & 0xFFFFFFFFul, std::strtoul(r.value, nullptr, 16));
        } else {
            ADD_FAILURE() << "unknown record kind";
        }
    }
}

TEST_F(PanelRecordsTest, CallbacksArePresentAndSharedExactlyWhereTheyShouldBe)
{
    std::map<std::string, SparkCallback> by_name;
    std::set<SparkCallback> seen;
    for (const Row& r : kPanel) {
        SCOPED_TRACE(r.record);
        const sparkhost::Control* c = plugin.panel().findRecord(r.record);
        ASSERT_NE(c, nullptr);
        SparkCallback cb = plugin.panel().callback(*c);
        if (std::strlen(r.callback) == 0) {
            EXPECT_EQ(cb, nullptr);
            continue;
        }
        ASSERT_NE(cb, nullptr);
        auto it = by_name.find(r.callback);
        if (it == by_name.end()) {
            EXPECT_EQ(seen.count(cb), 0u) << r.callback << " is another record's callback";
            by_name[r.callback] = cb;
            seen.insert(cb);
        } else {
            EXPECT_EQ(cb, it->second) << r.callback;
        }
    }
}

TEST_F(PanelRecordsTest, NoOtherControlRecordsAreExported)
{
    std::set<std::string> expected;
    for (const Row& r : kPanel) expected.insert(r.record);
    std::set<std::string> found;
    for (const sparkhost::Control& c : plugin.panel().controls()) found.insert(c.record);
    EXPECT_EQ(found, expected);
    const int* sync = static_cast<const int*>(plugin.symbol("DL_Sync_Ctrl"));
    ASSERT_NE(sync, nullptr);
    EXPECT_EQ(*sync, 1);
}

TEST_F(PanelRecordsTest, AuxRecordsCarryTheirControlsRangesAndSizes)
{
    const char* names[] = {
        "AuxQ4Integer9",    "AuxQ4Integer11",   "AuxQ4Integer12",   "AuxQ4Position13",
        "AuxQ4Size15",      "AuxQ4Checkbox20",  "AuxQ4Checkbox21",  "AuxQ4Checkbox38",
        "AuxQ4Checkbox39",  "AuxQ4Integer40",   "AuxQ4List42",      "AuxQ4Float43",
        "AuxQ4Float44",     "AuxQ4Float45",     "AuxQ4Float46",     "AuxQ4Checkbox47",
        "AuxQ4Angle48",     "AuxQ4Colour49",    "AuxQ4Float53",     "AuxQ4Float54",
        "AuxQ4Checkbox55",  "AuxQ4List59",      "AuxQ4Checkbox67",  "AuxQ4Position68",
        "AuxQ4Float70",     "AuxQ4Checkbox71",  "AuxQ4Position72",  "AuxQ4Checkbox75",
        "AuxQ4Float76",     "AuxQ4Float77",     "AuxQ4Checkbox78",  "AuxQ4Float79",
        "AuxQ4Float80",     "AuxQ4Checkbox81",  "AuxQ4Float82",     "AuxQ4Checkbox83",
        "AuxQ4Float84",     "AuxQ4Checkbox101", "AuxQ4Checkbox102", "AuxQ4Checkbox103",
        "AuxQ4Checkbox104", "AuxQ4Checkbox105",
    };
    for (const char* name : names) {
        SCOPED_TRACE(name);
        const unsigned char* p = static_cast<const unsigned char*>(plugin.symbol(name));
        ASSERT_NE(p, nullptr);
        std::string kind = std::string(name).substr(5);
        const std::string digits = kind.substr(kind.find_first_of("0123456789"));
        kind = kind.substr(0, kind.find_first_of("0123456789"));
        const size_t size = symbol_size(p);
        // Bytes past the leading fields are zero.
        auto zero_from = [&](size_t offset) {
            for (size_t i = offset; i < size; ++i)
                if (p[i] != 0) return false;
            return true;
        };
        if (kind == "Float" || kind == "Size" || kind == "Angle") {
            EXPECT_EQ(size, 1036u);
            const Row* host_row = row("SparkFloat" + digits);
            ASSERT_NE(host_row, nullptr);
            const float* range = reinterpret_cast<const float*>(p);
            EXPECT_FLOAT_EQ(range[0], float(number(host_row->min)));
            EXPECT_FLOAT_EQ(range[1], float(number(host_row->max)));
            EXPECT_TRUE(zero_from(8));
        } else if (kind == "Integer") {
            EXPECT_EQ(size, 1036u);
            const Row* host_row = row("SparkInt" + digits);
            ASSERT_NE(host_row, nullptr);
            const int* range = reinterpret_cast<const int*>(p);
            EXPECT_EQ(range[0], int(number(host_row->min)));
            EXPECT_EQ(range[1], int(number(host_row->max)));
            EXPECT_TRUE(zero_from(8));
        } else if (kind == "Position") {
            EXPECT_EQ(size, 1044u);
            const float* range = reinterpret_cast<const float*>(p);
            EXPECT_FLOAT_EQ(range[0], -150.0f);
            EXPECT_FLOAT_EQ(range[1], 250.0f);
            EXPECT_FLOAT_EQ(range[2], -150.0f);
            EXPECT_FLOAT_EQ(range[3], 250.0f);
            EXPECT_TRUE(zero_from(16));
        } else if (kind == "Colour") {
            EXPECT_EQ(size, 1040u);
            const unsigned* words = reinterpret_cast<const unsigned*>(p);
            EXPECT_EQ(words[0], 0xFFFFFFFFu);
            EXPECT_EQ(words[1], 0u);
            EXPECT_TRUE(zero_from(8));
        } else if (kind == "List") {
            EXPECT_EQ(size, 1200u);
            const Row* host_row = row("SparkPup" + digits);
            ASSERT_NE(host_row, nullptr);
            const int* head = reinterpret_cast<const int*>(p);
            EXPECT_EQ(head[1], int(host_row->titles.size()));
            const char* const* titles = reinterpret_cast<const char* const*>(p + 8);
            for (size_t i = 0; i < host_row->titles.size(); ++i) {
                // The framework's entries are the host's without the shared prefix.
                const std::string& full = host_row->titles[i];
                ASSERT_NE(titles[i], nullptr);
                EXPECT_EQ(std::string(titles[i]), full.substr(full.find(": ") + 2));
            }
        } else if (kind == "Checkbox") {
            EXPECT_EQ(size, 2528u);
            EXPECT_TRUE(zero_from(0));
        } else {
            ADD_FAILURE() << "unknown AuxQ4 kind " << kind;
        }
    }
}

}  // namespace
