// The preset page and the amplitude import, driven through the host as a person would use them.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"
#include "tests/e2e/panel_records.h"

namespace {

class PanelSessionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        host.setEcho(false);
        host.setFrameSize(32, 18);
        host.setDepthCode(24);
        std::string error;
        ASSERT_TRUE(plugin.load(VESK_PLUGIN_PATH, &error)) << error;
        testing::internal::CaptureStdout();
        plugin.initialise();
        testing::internal::GetCapturedStdout();
        plugin.prepareFrame(1);
    }
    int state(const char* record)
    {
        const sparkhost::Control* c = plugin.panel().findRecord(record);
        EXPECT_NE(c, nullptr) << record;
        return c ? (c->asBoolean()->Value & 0xFF) : -1;
    }
    void set(const char* reference, const char* text)
    {
        std::string error;
        ASSERT_TRUE(plugin.setControl(reference, text, &error)) << error;
    }

    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
};

TEST_F(PanelSessionTest, SimpleFoodHuntSetsThePresetInHostUnits)
{
    set("Add Predator", "on");
    set("Use Avoid Matte", "on");
    set("Texturing Cycle", "on");
    set("Invert Birth Matte", "on");
    std::string error;
    unsigned long* frame = nullptr;
    ASSERT_TRUE(plugin.press("Simple Food Hunt", &error, &frame)) << error;
    EXPECT_NE(frame, nullptr);  // "Auto Preview" is on: the preset is shown at once

    for (const panel_records::Expected& e : panel_records::kSimpleFoodHunt) {
        const sparkhost::Control* c = plugin.panel().findRecord(e.record);
        ASSERT_NE(c, nullptr) << e.record;
        EXPECT_NEAR(panel_records::value_of(*c), e.value, 1e-4) << e.record;
    }
    // The preset page's own switch stays as it was.
    EXPECT_EQ(state("SparkBoolean101"), 1);
}

TEST_F(PanelSessionTest, AmplitudeFileArrivesThroughTheFileBrowser)
{
    const std::string path = ::testing::TempDir() + "/panel_amplitude.key";
    std::ofstream(path) << "Channel Amplitude 4:\n\tSize 3\n"
                           "\tKey 1\n\t\tFrame 1\n\t\tValue 0.25\n\t\tEnd\n"
                           "\tKey 50\n\t\tFrame 50\n\t\tValue 12.5\n\t\tEnd\n"
                           "\tKey 100\n\t\tFrame 100\n\t\tValue -7\n\t\tEnd\n";
    host.setWorkingDir(::testing::TempDir());
    host.setBrowserAnswer(path);
    std::string error;
    ASSERT_TRUE(plugin.press("Import Amplitude File", &error)) << error;
    ASSERT_EQ(host.browserRequests().size(), 1u);
    const sparkhost::Curve* curve = host.findCurve(0, 93);
    ASSERT_NE(curve, nullptr);
    ASSERT_EQ(curve->size(), 3u);
    EXPECT_FLOAT_EQ(curve->keys().at(1), 0.25f);
    EXPECT_FLOAT_EQ(curve->keys().at(50), 12.5f);
    EXPECT_FLOAT_EQ(curve->keys().at(100), -7.0f);
    // Keys are interpolated by the host between whole frames.
    EXPECT_NEAR(curve->valueAt(75), (12.5 + -7.0) / 2, 1e-5);
    std::remove(path.c_str());
}

}  // namespace
