// The effect base class: band dispatch, library jobs, the packed float plane, the message
// printer and the title helpers.
#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "Library/Q4Image.h"
#include "framework/PluginQ4.h"
#include "host/HostState.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Pauses.h"

namespace {

using Bands = std::vector<std::pair<int, int>>;

struct BandRecorder : PluginQ4 {
    void record(int first, int last) {
        std::lock_guard<std::mutex> lock(mutex);
        bands.emplace_back(first, last);
    }
    std::mutex mutex;
    Bands bands;
};

class PluginTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.setEcho(false);
        sparkhost::resetPauses();
    }
    void TearDown() override { DLnumProc = 1; }
    Bands bands(int processors, int rows) {
        host.setProcessors(processors);
        DLnumProc = processors;
        BandRecorder plugin;
        plugin.MultiProcess(static_cast<PluginQ4::BandMethod>(&BandRecorder::record), rows);
        std::sort(plugin.bands.begin(), plugin.bands.end());
        return plugin.bands;
    }
    sparkhost::Host host;
};

TEST_F(PluginTest, BandsSplitRowsAndTheLastTakesTheRemainder) {
    EXPECT_EQ(bands(3, 100), (Bands{{0, 32}, {33, 65}, {66, 99}}));
    EXPECT_EQ(bands(4, 8), (Bands{{0, 1}, {2, 3}, {4, 5}, {6, 7}}));
    // 2 rows over 3 processors: no row per band, so the last band does them all.
    EXPECT_EQ(bands(3, 2), (Bands{{0, -1}, {0, -1}, {0, 1}}));
}

TEST_F(PluginTest, LibraryJobsCoverEveryRowOnce) {
    host.setProcessors(3);
    DLnumProc = 3;
    struct Hits {
        std::mutex mutex;
        std::vector<int> rows = std::vector<int>(50, 0);
    } hits;
    PluginQ4 plugin;
    lib_mp_exec(&plugin, [](void* arg, int first, int last) {
        Hits* h = static_cast<Hits*>(arg);
        std::lock_guard<std::mutex> lock(h->mutex);
        for (int row = first; row <= last; ++row) h->rows[row]++;
    }, 50, &hits);
    EXPECT_EQ(hits.rows, std::vector<int>(50, 1));
    EXPECT_EQ(lib_abort_render(&plugin), 0);
}

TEST_F(PluginTest, ImgToTVReadsSigned16BitHalvesOverTwoChannels) {
    // Word w is kept as w >> 1 in the upper channel and its lowest bit in bit 7 of the lower
    // one; it reads back as w taken signed, over 256.
    const uint16_t words[3][2] = {{0xFE80, 0x0101}, {0x7FFF, 0x8000}, {0x0000, 0xFFFF}};
    ImageQ4 image(3, 1);
    for (int x = 0; x < 3; ++x) {
        PixelQ4& p = image.rows[0][x];
        p.g = words[x][0] >> 1, p.r = (words[x][0] & 1) << 7;
        p.a = words[x][1] >> 1, p.b = (words[x][1] & 1) << 7;
    }
    std::vector<float> plane(6, -999.0f);
    PluginQ4 plugin;
    plugin.tv_source = &image;
    plugin.tv_plane = plane.data();
    plugin.mp_ImgToTV(0, 0);
    EXPECT_EQ(plane, (std::vector<float>{-384 / 256.0f, 257 / 256.0f, 32767 / 256.0f,
                                         -32768 / 256.0f, 0.0f, -1 / 256.0f}));
    // The lower channel's top eight bits are ORed in, not just one.
    image.rows[0][0].r = 32767, image.rows[0][0].g = 0;
    plugin.mp_ImgToTV(0, 0);
    EXPECT_EQ(plane[0], 255 / 256.0f);
}

TEST_F(PluginTest, PrintErrorShowsPausesThenWritesToStandardError) {
    testing::internal::CaptureStderr();
    PrintError("Tried many times to create a particle\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "SPARK_MESSAGE::\tTried many times to create a particle\n\n");
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_EQ(host.messages()[0].text, "Tried many times to create a particle\n");
    EXPECT_EQ(sparkhost::pauseRequests(), std::vector<unsigned>{2});
}

TEST(TitleHelpers, StripAndLockMarks) {
    char out[64];
    strcpy_strip(out, "Use Birth Matte \n \n");
    EXPECT_STREQ(out, "Use Birth Matte");
    strcpy_strip(out, "  inner  blanks*");
    EXPECT_STREQ(out, "  inner  blanks*");
    strcpy_strip(out, "   ");
    EXPECT_STREQ(out, "");
    strcpy_addlock(out, "Seed: %d");
    EXPECT_STREQ(out, "Seed: %d*");
    strcpy_dellock(out, "a*b***");
    EXPECT_STREQ(out, "a*b");
}

}  // namespace
