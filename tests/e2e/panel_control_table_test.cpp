// The plug-in's panel as a host loads it: every exported control record with its label, factory
// value, range, step, flags and callback, the AuxQ4 records, and nothing else under those names.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace {

// One row per record: "Kind N|titles (';' between list entries)|value|min|max|step|flags"
// then "|callback" (empty: none). Records naming the same callback share it.
std::vector<std::string> panel_rows()
{
    std::vector<std::string> rows = {
        "String0|%s|1: Background Clip||||16|", "String1|%s|2: Shape Colour||||16|",
        "String2|%s|3: Shape Matte||||16|", "String3|%s|4: Birth Matte||||16|",
        "String4|%s|5: Avoidance Matte||||16|",
        "Int9|PreRoll: %d|40|1|1000|1|8|dlcb_9", "Push10|Advance   ||||||dlcb_10",
        "Int11|Vesk Size: %d|20|1|5000|1|0|dlcb_11", "Int12|Seed: %d|165|1|999|17|0|dlcb_12",
        "Float13|Birth X: %.2f|84|-150|250|0.05|0|dlcb_13",
        "Float14|Birth Y: %.2f|84|-150|250|0.05|0|dlcb_13",
        "Float15|Birth Radius: %.2f|50|0|200|0.05|0|dlcb_15",
        "Boolean20|Use Birth Matte   |0||||0|dlcb_20",
        "Boolean21|Invert Birth Matte   |0||||0|dlcb_21",
        "Float27|Blend: %.2f|0|0|100|0.1|0|Blend1CB",
        "Boolean38|Texturing Cycle   |0||||0|dlcb_38", "Boolean39|Random Start   |0||||0|dlcb_39",
        "Int40|Frames in Cycle: %d|5|1|10000|1|0|dlcb_40",
        "Pup42|Shape: Blob  ;Shape: Rectangle  ;Shape: Triangle  ;Shape: Diamond  ;"
        "Shape: Four Point Star  ;Shape: Five Point Star  ;Shape: Cols with Matte  ;"
        "Shape: Matte over Cols  ;Shape: Colour in Matte  |0|||||dlcb_42",
        "Float43|Shape Width: %.2f|72|1|100|0.5|0|dlcb_43",
        "Float44|Shape Height: %.2f|57|1|100|0.5|0|dlcb_44",
        "Float45|Random Sizes: %.2f|60|0|100|0.5|0|dlcb_45",
        "Float46|Star Sharpness: %.2f|50|1|100|0.5|0|dlcb_46",
        "Boolean47|Living Rotate   |0||||0|dlcb_47",
        "Float48|Base Rotation: %.2f|0|-360|360|0.01|0|dlcb_48",
        "Color49||0xFFFFFFFF|||||dlcb_49",
        "Float50|Shape Colour R: %.2f|100|0|100|0.2|0|SetShapeColCB",
        "Float51|Shape Colour G: %.2f|100|0|100|0.2|0|SetShapeColCB",
        "Float52|Shape Colour B: %.2f|100|0|100|0.2|0|SetShapeColCB",
        "Float53|Random Colours: %.2f|0|0|100|0.5|0|dlcb_53",
        "Float54|Shape Density: %.2f|100|0|100|0.5|0|dlcb_54",
        "Boolean55|Use Shapes over Cols   |0||||0|dlcb_55",
        "Pup59|Render Mode: Render  ;Render Mode: Wireframe  |1|||||dlcb_59",
        "Boolean67|Avoid Predator   |0||||0|dlcb_67",
        "Float68|Predator X: %.2f|40|-150|250|0.05|0|dlcb_68",
        "Float69|Predator Y: %.2f|40|-150|250|0.05|0|dlcb_68",
        "Float70|Fear of Predator: %.2f|18|1|100|0.5|0|dlcb_70",
        "Boolean71|Hunt Food   |1||||0|dlcb_71",
        "Float72|Food X: %.2f|20|-150|250|0.05|0|dlcb_72",
        "Float73|Food Y: %.2f|15|-150|250|0.05|0|dlcb_72",
        "Boolean75|Use Avoid Matte   |0||||0|dlcb_75",
        "Float76|Avoid Forward: %.2f|10|1|100|0.5|0|dlcb_76",
        "Float77|Avoid Sides: %.2f|5|1|100|0.5|0|dlcb_77",
        "Boolean78|Match Velocity   |0||||0|dlcb_78", "Float79|Speed: %.2f|20|0|100|0.5|0|dlcb_79",
        "Float80|Acceleration: %.2f|3.5|0|100|0.5|0|dlcb_80",
        "Boolean81|Avoid Others   |0||||0|dlcb_81",
        "Float82|Personal Space: %.2f|15|1|100|0.5|0|dlcb_82",
        "Boolean83|Vesk Gathering   |0||||0|dlcb_83",
        "Float84|Vesk Grouping: %.2f|10|0|100|0.5|0|dlcb_84",
        "UserFloat93|Amplitude Import: %.1f|0|-1000|1000|0.001|0|",
        "Push100|Simple Food Hunt   ||||||dlcb_100",
        "Boolean101|Add Predator   |0||||0|dlcb_101",
        "Boolean102|Add Living Rotate   |0||||0|dlcb_102",
        "Boolean103|Add Personal Space   |0||||0|dlcb_103",
        "Boolean104|Add Vesk Centring   |0||||0|dlcb_104",
        "Boolean105|Add Match Velocity   |0||||0|dlcb_105",
        "Push114|Import Amplitude File||||||import_aiff_CB",
    };
    // Every page (29 places from 6) opens with the restart buttons and closes with the
    // standard block at fixed offsets.
    for (int page = 1; page <= 4; ++page) {
        const int first = 6 + 29 * (page - 1);
        auto n = [&](int offset) { return std::to_string(first + offset); };
        const std::string p = std::to_string(page);
        rows.push_back("Push" + n(0) + "|Restart   ||||||dlcb_" + n(0));
        rows.push_back("Push" + n(1) + "|Restart+PreRoll   ||||||dlcb_" + n(1));
        rows.push_back("Push" + n(2) + "|PreRoll   ||||||dlcb_" + n(2));
        rows.push_back("Boolean" + n(22) + "|Clear Overlay|0||||0|Overlay" + p + "CB");
        rows.push_back("Push" + n(25) + "|Help||||||HelpCB");
        rows.push_back("Push" + n(26) + "|Reset||||||Reset" + p + "CB");
        rows.push_back("Pup" + n(27) + "|FULL;1/2;1/3;1/4;1/6;1/8;1/12;1/16;1/32|0|||||SetRes" +
                       p + "CB");
        rows.push_back("Boolean" + n(28) + "|Auto Preview|1||||0|Auto" + p + "CB");
    }
    return rows;
}

// The same description of a loaded record, without its callback.
std::string describe(const sparkhost::Control& c)
{
    char t[512];
    const char* kind = c.record.c_str() + 5;
    switch (c.kind) {
    case sparkhost::ControlKind::String: {
        const SparkStringStruct* r = c.asString();
        std::snprintf(t, sizeof t, "%s|%s|%s||||%u", kind, r->Title, r->Value, r->Flags);
        break;
    }
    case sparkhost::ControlKind::Push:
        std::snprintf(t, sizeof t, "%s|%s|||||", kind, c.asPush()->Title);
        break;
    case sparkhost::ControlKind::Boolean: {
        const SparkBooleanStruct* r = c.asBoolean();
        std::snprintf(t, sizeof t, "%s|%s|%d||||%d", kind, r->Title, r->Value, r->Flags);
        break;
    }
    case sparkhost::ControlKind::Int: {
        const SparkIntStruct* r = c.asInt();
        std::snprintf(t, sizeof t, "%s|%s|%d|%d|%d|%d|%u", kind, r->Title, r->Value, r->Min,
                      r->Max, r->Increment, r->Flags);
        break;
    }
    case sparkhost::ControlKind::Colour:
        std::snprintf(t, sizeof t, "%s||0x%08lX||||", kind, c.asColour()->Color);
        break;
    case sparkhost::ControlKind::List: {
        const SparkPupStruct* r = c.asList();
        std::string titles;
        for (int i = 0; i < SPARK_PUP_MAX_TITLES; ++i)
            if (i < r->TitleCount || r->Titles[i] != nullptr)
                titles += (i > 0 ? ";" : "") + std::string(r->Titles[i] ? r->Titles[i] : "(null)");
        std::snprintf(t, sizeof t, "%s|%s|%d||||", kind, titles.c_str(), r->Value);
        break;
    }
    default: {
        const SparkFloatStruct* r = c.asFloat();
        std::snprintf(t, sizeof t, "%s|%s|%g|%g|%g|%g|%u", kind, r->Title, r->Value, r->Min,
                      r->Max, r->Increment, r->Flags);
    }
    }
    return t;
}

class PanelRecordsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.setEcho(false);
        std::string error;
        ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
    }
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
};

TEST_F(PanelRecordsTest, EveryRecordHasItsLabelValueRangeFlagsAndCallback)
{
    std::set<std::string> expected;
    std::map<std::string, SparkCallback> by_name;
    for (const std::string& row : panel_rows()) {
        const std::string::size_type cut = row.rfind('|');
        const std::string record = "Spark" + row.substr(0, row.find('|'));
        const std::string callback = row.substr(cut + 1);
        SCOPED_TRACE(record);
        expected.insert(record);
        const sparkhost::Control* c = plugin.panel().findRecord(record);
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(describe(*c), row.substr(0, cut));
        SparkCallback cb = plugin.panel().callback(*c);
        if (callback.empty()) {
            EXPECT_EQ(cb, nullptr);
            continue;
        }
        ASSERT_NE(cb, nullptr);
        auto known = by_name.emplace(callback, cb).first;
        EXPECT_EQ(cb, known->second) << callback;  // shared where named alike
        for (const auto& other : by_name)
            if (other.first != callback) {
                EXPECT_NE(cb, other.second) << other.first;
            }
    }
    std::set<std::string> found;
    for (const sparkhost::Control& c : plugin.panel().controls()) found.insert(c.record);
    EXPECT_EQ(found, expected);
    const int* sync = static_cast<const int*>(plugin.symbol("DL_Sync_Ctrl"));
    ASSERT_NE(sync, nullptr);
    EXPECT_EQ(*sync, 1);
}

// Size of a data symbol of the loaded object, from its symbol table entry.
size_t symbol_size(const void* address)
{
    Dl_info info;
    void* entry = nullptr;
    if (dladdr1(address, &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr) return 0;
    return static_cast<const ElfW(Sym)*>(entry)->st_size;
}

TEST_F(PanelRecordsTest, AuxRecordsCarryTheirControlsRangesAndSizes)
{
    // Kind and control number, then the leading fields; every byte after them is zero.
    std::vector<std::string> aux = {
        "Integer9 1 1000", "Integer11 1 5000", "Integer12 1 999", "Integer40 1 10000",
        "Position13 -150 250 -150 250", "Position68 -150 250 -150 250",
        "Position72 -150 250 -150 250", "Size15 0 200", "Angle48 -360 360", "Float43 1 100",
        "Float44 1 100", "Float45 0 100", "Float46 1 100", "Float53 0 100", "Float54 0 100",
        "Float70 1 100", "Float76 1 100", "Float77 1 100", "Float79 0 100", "Float80 0 100",
        "Float82 1 100", "Float84 0 100", "Colour49 -1 0", "List42 0 9", "List59 1 2"};
    for (int n : {20, 21, 38, 39, 47, 55, 67, 71, 75, 78, 81, 83, 101, 102, 103, 104, 105})
        aux.push_back("Checkbox" + std::to_string(n));
    const std::map<std::string, size_t> sizes = {
        {"Integer", 1036}, {"Float", 1036}, {"Size", 1036},  {"Angle", 1036},
        {"Position", 1044}, {"Colour", 1040}, {"List", 1200}, {"Checkbox", 2528}};
    for (const std::string& row : aux) {
        std::istringstream in(row);
        std::string name;
        in >> name;
        const std::string kind = name.substr(0, name.find_first_of("0123456789"));
        const bool ints = kind == "Integer" || kind == "Colour" || kind == "List";
        const auto* p = static_cast<const unsigned char*>(plugin.symbol(("AuxQ4" + name).c_str()));
        ASSERT_NE(p, nullptr) << name;
        EXPECT_EQ(symbol_size(p), sizes.at(kind)) << name;
        size_t offset = 0;
        for (double v; in >> v; offset += 4) {
            int i;
            float f;
            std::memcpy(&i, p + offset, 4);
            std::memcpy(&f, p + offset, 4);
            EXPECT_EQ(ints ? double(i) : double(f), v) << name << " at " << offset;
        }
        // A list's entry titles follow its two words.
        const size_t end = kind == "List" ? 0 : sizes.at(kind);
        for (size_t b = offset; b < end; ++b)
            if (p[b] != 0) {
                ADD_FAILURE() << name << " byte " << b;
                break;
            }
    }
    // The framework's list entries are the host's without their "Shape: " / "Render Mode: ".
    for (int n : {42, 59}) {
        const auto* host_list = static_cast<const SparkPupStruct*>(
            plugin.symbol(("SparkPup" + std::to_string(n)).c_str()));
        const auto* entries = static_cast<const char* const*>(
            plugin.symbol(("AuxQ4List" + std::to_string(n)).c_str())) + 1;
        for (int i = 0; i < host_list->TitleCount; ++i) {
            const std::string full = host_list->Titles[i];
            EXPECT_STREQ(entries[i], full.substr(full.find(": ") + 2).c_str()) << n;
        }
    }
}

}  // namespace
