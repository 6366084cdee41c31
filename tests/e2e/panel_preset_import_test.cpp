// Through the command-line host, as a person uses it: the "Simple Food Hunt" button and the
// amplitude import of a key file chosen in the host's file browser, both seen in the saved setup.
// Every value of the preset is checked in-process in tests/unit/panel/effect_controls_test.cpp.
#include <fstream>
#include <sstream>

#include "harness.h"

namespace {

// The value after "RECORD = " in a saved setup, or the value of "key RECORD FRAME" lines.
double saved(const std::string& setup, const std::string& prefix) {
    std::istringstream lines(setup);
    std::string line;
    while (std::getline(lines, line))
        if (line.rfind(prefix, 0) == 0) return std::stod(line.substr(prefix.size()));
    return -12345;
}

TEST(PanelThroughTheHost, SimpleFoodHuntAndAmplitudeImport) {
    const std::string dir = harness::freshDir("panel_preset_import");
    const std::string keyFile = dir + "/amplitude.key";
    // The third key lacks its Value line: the import stops there and keeps the first two.
    std::ofstream(keyFile) << "Channel Amplitude 3:\n\tSize 3\n"
                              "\tKey 1\n\t\tFrame 10\n\t\tValue 0.5\n\t\tEnd\n"
                              "\tKey 2\n\t\tFrame 20\n\t\tValue -3.25\n\t\tEnd\n"
                              "\tKey 3\n\t\tFrame 30\n\t\tEnd\n";
    harness::Outcome run = harness::runSparkhost(
        {"render", harness::vesk(), "--frames", "1", "--size", "64x36", "--set", "Add Predator=on",
         "--set", "Shape=Blob", "--press", "Simple Food Hunt", "--file", keyFile, "--press",
         "Import Amplitude File", "--save-setup", dir + "/after.setup", "-o", dir + "/frame.####.png"});
    ASSERT_EQ(run.code, 0) << run.err;
    const std::string setup = harness::readFile(dir + "/after.setup");
    // Seed 1650 passes as it is although the panel stops at 999 (the setup marks it as the
    // plug-in's own value); Five Point Star is entry 5.
    EXPECT_EQ(saved(setup, "stored SparkInt12 = "), 1650);
    EXPECT_EQ(saved(setup, "SparkPup42 = "), 5);
    EXPECT_EQ(saved(setup, "SparkFloat15 = "), 25);
    EXPECT_EQ(saved(setup, "SparkBoolean101 = "), 1);  // the switches page is left alone
    // Keys land by key number on the amplitude channel, user float 93.
    EXPECT_EQ(saved(setup, "key SparkUserFloat93 1 "), 0.5);
    EXPECT_EQ(saved(setup, "key SparkUserFloat93 2 "), -3.25);
    EXPECT_EQ(saved(setup, "key SparkUserFloat93 3 "), -12345);
}

}  // namespace
