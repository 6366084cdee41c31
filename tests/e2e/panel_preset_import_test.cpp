// Through the command-line host, as a person uses it: the "Simple Food Hunt" button leaves every
// control at its preset value in host units (and the Add switches as they were), and the amplitude
// import reads a key file chosen in the host's file browser onto the amplitude channel.
#include <fstream>
#include <map>
#include <sstream>

#include "harness.h"

using harness::Outcome;
using harness::runSparkhost;

namespace {

// Parses the "RECORD = VALUE" and "key RECORD FRAME VALUE" lines of a saved setup.
struct SavedSetup {
    std::map<std::string, double> values;
    std::map<std::string, std::map<int, double>> keys;
};

SavedSetup readSetup(const std::string& path) {
    SavedSetup setup;
    std::istringstream in(harness::readFile(path));
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first == "key") {
            std::string record;
            int frame = 0;
            double value = 0;
            words >> record >> frame >> value;
            setup.keys[record][frame] = value;
            continue;
        }
        std::string equals, value;
        if (first.compare(0, 5, "Spark") != 0 || !(words >> equals >> value) || equals != "=") continue;
        setup.values[first] = std::stod(value, nullptr);
    }
    return setup;
}

TEST(PanelThroughTheHost, SimpleFoodHuntAndAmplitudeImport) {
    const std::string dir = harness::freshDir("panel_preset_import");
    const std::string keyFile = dir + "/amplitude.key";
    // The third key lacks its Value line: the import stops there and keeps the first two.
    std::ofstream(keyFile) << "Channel Amplitude 3:\n\tSize 3\n"
                              "\tKey 1\n\t\tFrame 10\n\t\tValue 0.5\n\t\tEnd\n"
                              "\tKey 2\n\t\tFrame 20\n\t\tValue -3.25\n\t\tEnd\n"
                              "\tKey 3\n\t\tFrame 30\n\t\tEnd\n";
    Outcome run = runSparkhost({"render", harness::vesk(), "--frames", "1", "--size", "64x36",
                                "--set", "Add Predator=on", "--set", "Shape=Blob",
                                "--press", "Simple Food Hunt",
                                "--file", keyFile, "--press", "Import Amplitude File",
                                "--save-setup", dir + "/after.setup", "-o", dir + "/frame.####.png"});
    ASSERT_EQ(run.code, 0) << run.err;
    SavedSetup setup = readSetup(dir + "/after.setup");

    // The preset in host units: positions, radius and percentages as the panel shows them, lists
    // counted from 0, switches 0 or 1, Seed 1650 passed as is although the panel stops at 999.
    const std::map<std::string, double> preset = {
        {"SparkInt9", 40},      {"SparkInt12", 1650},   {"SparkFloat13", 80},   {"SparkFloat14", 80},
        {"SparkFloat15", 25},   {"SparkBoolean20", 0},  {"SparkBoolean21", 0},  {"SparkInt11", 40},
        {"SparkPup42", 5},      {"SparkFloat43", 50},   {"SparkFloat44", 50},   {"SparkFloat45", 100},
        {"SparkFloat46", 50},   {"SparkPup59", 0},      {"SparkFloat53", 50},   {"SparkFloat54", 100},
        {"SparkBoolean55", 0},  {"SparkBoolean47", 0},  {"SparkFloat48", 0},    {"SparkBoolean38", 0},
        {"SparkBoolean39", 0},  {"SparkInt40", 5},      {"SparkBoolean71", 1},  {"SparkFloat72", 20},
        {"SparkFloat73", 20},   {"SparkBoolean67", 0},  {"SparkFloat68", 50},   {"SparkFloat69", 50},
        {"SparkFloat70", 20},   {"SparkBoolean75", 0},  {"SparkFloat76", 5},    {"SparkFloat77", 10},
        {"SparkBoolean78", 0},  {"SparkFloat79", 20},   {"SparkFloat80", 10},   {"SparkBoolean81", 0},
        {"SparkFloat82", 20},   {"SparkBoolean83", 0},  {"SparkFloat84", 20},
    };
    for (const auto& entry : preset) {
        ASSERT_TRUE(setup.values.count(entry.first)) << entry.first << " missing from the setup";
        EXPECT_NEAR(setup.values[entry.first], entry.second, 1e-3) << entry.first;
    }
    // The preset's switches page is left alone: Add Predator stays on, the others off.
    EXPECT_EQ(setup.values["SparkBoolean101"], 1);
    EXPECT_EQ(setup.values["SparkBoolean102"], 0);

    // Keys land by key number on the amplitude channel, user float 93.
    const std::map<int, double> expected = {{1, 0.5}, {2, -3.25}};
    EXPECT_EQ(setup.keys["SparkUserFloat93"], expected);
}

}  // namespace
