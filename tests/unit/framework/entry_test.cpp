// The host entry points driving the real effect in-process: start-up reports and titles, the
// buffer checks, preview resolutions, the blend and the bookkeeping the effect relies on.
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>
#include <vector>

#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "host/HostState.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/Pauses.h"

extern "C" {
unsigned int SparkInitialise(SparkInfoStruct);
int SparkClips(void);
int SparkMemoryTempBuffers(void);
int SparkProcessStart(SparkInfoStruct);
unsigned long* SparkProcess(SparkInfoStruct);
void SparkUnInitialise(SparkInfoStruct);
}

namespace {

const int kWidth = 16;
const int kHeight = 12;

unsigned background_value(int x, int y, int channel) {
    return unsigned((x * 13 + y * 7 + channel * 50) % 256);
}

class EntryTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.setEcho(false);
        host.setFrameSize(kWidth, kHeight);
        host.setDepthCode(24);
        host.setProcessors(2);
        host.setFreeMemory(8);
        host.setSetupName("/tmp/vesk_entry_test.setup");
        host.setClipProvider([](int clip, int, sparkhost::FrameBuffer& dest) {
            if (clip != 0) return false;  // only the background has pictures
            for (int y = 0; y < dest.height(); ++y)
                for (int x = 0; x < dest.width(); ++x)
                    for (int c = 0; c < 3; ++c) dest.setValue(x, y, c, background_value(x, y, c));
            return true;
        });
        panel.discover([](const char* name) { return dlsym(RTLD_DEFAULT, name); });
        host.setPanel(&panel);
        sparkhost::resetPauses();
        saved_resolution = SparkPup33.Value;
        saved_blend = SparkFloat27.Value;
    }
    void TearDown() override {
        SparkPup33.Value = saved_resolution;
        SparkFloat27.Value = saved_blend;
        host.setPanel(nullptr);
    }

    // Start-up as a host does it; returns what SparkInitialise printed.
    std::string start(int depth_code = 24) {
        SparkInfoStruct info = host.info();
        info.FrameDepth = depth_code;
        testing::internal::CaptureStdout();
        result = SparkInitialise(info);
        std::string out = testing::internal::GetCapturedStdout();
        temp_id = SparkMemoryTempBuffers();
        return out;
    }

    // What the plug-in told the user (the host's own notes left out).
    std::vector<sparkhost::HostMessage> shown() const {
        std::vector<sparkhost::HostMessage> out;
        for (const auto& m : host.messages())
            if (m.kind != sparkhost::HostMessage::Note) out.push_back(m);
        return out;
    }

    unsigned long* frame(int number) {
        host.setCurrentFrame(number);
        host.loadInputs(number);
        SparkInfoStruct info = host.info();
        SparkProcessStart(info);
        return SparkProcess(info);
    }

    sparkhost::Host host;
    sparkhost::Panel panel;
    unsigned result = 0;
    int temp_id = 0;
    int saved_resolution = 0;
    float saved_blend = 0;
};

TEST_F(EntryTest, StartUpReportsTheBuildAndModeAndTitlesThePages) {
    std::string out = start(24);
    EXPECT_EQ(result, 2u);
    EXPECT_EQ(SparkClips(), 5);
    EXPECT_EQ(host.registeredBuffers(), std::vector<int>{temp_id});
    EXPECT_EQ(DLtempBufferId, temp_id);

    const std::string equals(51, '='), pluses(51, '+');
    EXPECT_EQ(out.rfind("\n\nINTERACTIVE BUILD. The HOST PROGRAM is called: sparkhost\n" + equals +
                            "\nCorvane MP-V5.0.7 Bramble 4-Vesk for Discreet  \n    UCAPI  Built ",
                        0),
              0u)
        << out;
    EXPECT_NE(out.find("\n" + equals + "\n... 8-10 bit mode selected.\nAvailable buffers = 8\n" +
                       pluses + "\n\n"),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find("ERROR"), std::string::npos);

    // The fourth page ends titled "Presets", after a first title.
    EXPECT_EQ(host.pageTitles(), (std::map<int, std::string>{
                                     {0, "Vesk"}, {1, "Shape"}, {2, "Influence"}, {3, "Presets"}}));
    EXPECT_EQ(host.clipTitles(),
              (std::map<int, std::string>{{0, "Back"}, {1, "SColour"}, {2, "SMatte"}}));
    EXPECT_EQ(host.setupLoads(), std::vector<std::string>{"/tmp/vesk_entry_test.setup"});
    EXPECT_EQ(DL_Sync_Ctrl, 1);
    EXPECT_TRUE(shown().empty());

    SparkUnInitialise(host.info());
    EXPECT_EQ(host.setupSaves(), std::vector<std::string>{"/tmp/vesk_entry_test.setup"});

    for (int depth : {48, 64, 32}) {  // only 48 and 64 select twelve-bit mode
        const bool twelve = depth != 32;
        EXPECT_NE(start(depth).find(twelve ? "... 12 bit mode selected.\n"
                                           : "... 8-10 bit mode selected.\n"),
                  std::string::npos);
        EXPECT_EQ(DLtwelveBit, twelve) << depth;
    }
}

TEST_F(EntryTest, AnOldHostIsToldButStartUpGoesOn) {
    host.setApiVersion(3.5f);
    start();
    EXPECT_EQ(result, 2u);
    ASSERT_EQ(shown().size(), 1u);
    EXPECT_EQ(shown()[0].kind, sparkhost::HostMessage::Error);
    EXPECT_EQ(shown()[0].text,
              "This version of \"4-Vesk\" needs IFFFS 7.0/4.0 (sparks API 4.0) or higher.");
    EXPECT_EQ(host.pageTitles().at(3), "Presets");
}

TEST_F(EntryTest, TooFewBuffersTurnProcessingOff) {
    host.setFreeMemory(1);
    std::string out = start();
    EXPECT_EQ(result, 2u);
    EXPECT_NE(out.find("Available buffers = 1\n"
                       "+++++++++++++++++++++++++++++++++++++++++++++++++++\n\n"
                       "ERROR: we need 2 image buffers, but we only got 1.\n"
                       "... Processing will be turned off ...\n"),
              std::string::npos)
        << out;
    ASSERT_EQ(shown().size(), 1u);
    EXPECT_EQ(shown()[0].text, "Insufficient image buffers available! Giving up!");
    EXPECT_EQ(host.pageTitles().at(0), "Vesk");  // the panel is set up all the same
    // Every frame is refused with a readable message.
    EXPECT_EQ(frame(1), nullptr);
    ASSERT_EQ(shown().size(), 2u);
    EXPECT_EQ(shown()[1].text, " Q4-Vesk cannot run due to insufficient buffers.");
    EXPECT_EQ(sparkhost::pauseRequests(), (std::vector<unsigned>{5, 5}));

    host.setFreeMemory(2);  // exactly enough
    start();
    EXPECT_FALSE(DLprocessingDisabled);
}

TEST_F(EntryTest, AFrameSetsTheStateTheEffectReads) {
    start();
    Instance.pen_pressure = 0.7f;
    Instance.second_flag = true;
    host.setProcessors(3);
    host.setTotalFrames(250);
    SparkPup33.Value = 0;
    const int busy = host.cursorBusyCount();
    unsigned long* out = frame(17);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out, host.buffer(1).words());
    EXPECT_EQ(Instance.pen_pressure, 0.0f);
    EXPECT_FALSE(Instance.second_flag);
    EXPECT_EQ(Instance.frame, 17.0);
    EXPECT_EQ(Instance.frame_next, 250.0);
    EXPECT_EQ(DLnumProc, 3);
    EXPECT_EQ(DLwidth * 100 + DLheight, kWidth * 100 + kHeight);
    EXPECT_EQ(DL_Sync_Ctrl, 0);  // the first frame resynchronised the controls
    EXPECT_EQ(host.cursorBusyCount(), busy + 1);
    EXPECT_EQ(host.cursors(), std::vector<int>{1});
    EXPECT_EQ(Instance.info.result.image, nullptr);  // frame images live for one frame
    EXPECT_EQ(Instance.info.source4.index, 3);       // linked for random frame access
    EXPECT_EQ(Instance.info.source4.temp_record, &DLtempRecord);
}

TEST_F(EntryTest, AMissingBufferEndsTheFrameWithoutOutput) {
    start();
    for (int id : {temp_id, 2, 6, 1}) {
        host.setFailingBuffer(id);
        EXPECT_EQ(frame(3), nullptr) << "buffer " << id;
        EXPECT_EQ(Instance.info.source1.image, nullptr) << "buffer " << id;  // released
    }
    host.setFailingBuffer(0);
    EXPECT_NE(frame(3), nullptr);
}

TEST_F(EntryTest, ResolutionListEntriesMapToTheirDivisors) {
    start();
    // "1/6" is the fifth entry, "1/32" the ninth; anything past the list is full resolution.
    const int entries[4] = {4, 8, 12, -1}, divisors[4] = {6, 32, 1, 1};
    for (int k = 0; k < 4; ++k) {
        SparkPup33.Value = entries[k];
        ASSERT_NE(frame(1 + k), nullptr);
        EXPECT_EQ(DLscalesr, divisors[k]) << entries[k];
    }
}

// The blend mixes the background back only for values above zero: a negative value (which a
// host can write past the record's minimum) leaves the effect's picture as it is.
TEST_F(EntryTest, OnlyAPositiveBlendMixesTheBackgroundBack) {
    start();
    const int saved_mode = SparkPup59.Value;
    SparkPup59.Value = 0;  // "Render Mode: Render"
    SparkInt11.Value = 200;  // a crowd, so the picture differs from the background
    auto render = [&](float blend) {
        SparkFloat27.Value = blend;
        Instance.restart_flag = 1;  // the same swarm every time
        EXPECT_NE(frame(1), nullptr);
        return host.buffer(1);
    };
    sparkhost::FrameBuffer plain = render(0.0f);
    sparkhost::FrameBuffer negative = render(-50.0f);
    sparkhost::FrameBuffer half = render(50.0f);
    sparkhost::FrameBuffer full = render(100.0f);
    EXPECT_TRUE(negative.samePixels(plain));
    EXPECT_FALSE(half.samePixels(plain));
    // A full blend gives back the background clip exactly, through the 8-bit conversions and,
    // in twelve-bit mode, through the 12-bit ones (which must not truncate to ten bits).
    host.setDepthCode(48);
    start(48);
    sparkhost::FrameBuffer full12 = render(100.0f);
    SparkPup59.Value = saved_mode;
    SparkInt11.Value = 20;
    int wrong = 0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 3; ++c)
                wrong += (full.value(x, y, c) != background_value(x, y, c)) +
                         (full12.value(x, y, c) != background_value(x, y, c));
    EXPECT_EQ(full12.depthCode(), 48);
    EXPECT_EQ(wrong, 0);
}

}  // namespace
