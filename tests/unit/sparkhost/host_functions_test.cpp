// The spark… functions as a plug-in sees them: buffers and their layouts, parallel jobs,
// messages, questions, pauses, random frame access and the file browser.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>
#include <unistd.h>

#include "spark/spark.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Pauses.h"

using namespace sparkhost;

namespace {

void quietHost(Host& host) { host.setEcho(false); }

}  // namespace

TEST(Buffers, EightBitIsThreeBytesTwelveBitIsUpperBitsOfThreeWords) {
    Host host;
    quietHost(host);
    host.setFrameSize(5, 3);
    host.setBitDepth(8);
    host.buffer(2).setValue(4, 2, 1, 100);
    SparkMemBufStruct rec;
    ASSERT_NE(sparkMemGetBuffer(2, &rec), 0);
    EXPECT_TRUE(rec.BufWidth == 5 && rec.BufHeight == 3 && rec.BufDepth == 24);
    EXPECT_TRUE(rec.Inc == 3 && rec.Stride == 15 && rec.BufSize == 45);
    // Pixel (x, y) starts at (y * width + x) * 3, red first.
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(rec.Buffer)[(2 * 5 + 4) * 3 + 1], 100);

    host.setFrameSize(4, 2);
    host.setBitDepth(12);
    EXPECT_EQ(host.depthCode(), 48);
    FrameBuffer& out = host.buffer(1);
    // The host's own low bits of a word survive a store of a new value.
    out.setRaw(3, 1, 1, 0x000B);
    out.setValue(3, 1, 1, 0xABC);
    ASSERT_NE(sparkMemGetBuffer(1, &rec), 0);
    EXPECT_TRUE(rec.Inc == 6 && rec.Stride == 24 && rec.BufSize == 48 && rec.BufDepth == 48);
    EXPECT_EQ(reinterpret_cast<const uint16_t*>(rec.Buffer)[(1 * 4 + 3) * 3 + 1], 0xABCB);
    EXPECT_EQ(out.value(3, 1, 1), 0xABCu);
    // 64 is a 12-bit depth code too.
    EXPECT_EQ(bytesPerPixel(64), 6);
    EXPECT_EQ(bytesPerPixel(32), 3);
}

TEST(Buffers, RegisteredBuffersFailuresAndAvailability) {
    Host host;
    quietHost(host);
    host.setFrameSize(8, 8);
    int id = sparkMemRegisterBuffer();
    EXPECT_GT(id, 6);                       // never one of the output and clip ids
    EXPECT_NE(sparkMemRegisterBuffer(), id);
    SparkMemBufStruct rec;
    EXPECT_NE(sparkMemGetBuffer(id, &rec), 0);
    EXPECT_EQ(sparkMemGetBuffer(99, &rec), 0);
    host.setFailingBuffer(3);
    EXPECT_EQ(sparkMemGetBuffer(3, &rec), 0);
    EXPECT_NE(sparkMemGetBuffer(2, &rec), 0);
    host.setBuffersReady(false);
    EXPECT_EQ(sparkMemGetBuffer(1, &rec), 0);
}

namespace {

struct Jobs {
    std::mutex mutex;
    std::multiset<unsigned long> seen;
    std::atomic<int> running{0}, peak{0};
    unsigned long sum = 0;
};

void recordJob(Jobs* jobs, int tag, char* text) {
    unsigned long offset = 99, count = 0;
    sparkMpInfo(&offset, &count);
    int now = ++jobs->running;
    for (int peak = jobs->peak; now > peak && !jobs->peak.compare_exchange_weak(peak, now);) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    --jobs->running;
    std::lock_guard<std::mutex> lock(jobs->mutex);
    jobs->seen.insert(offset / count);
    jobs->sum += unsigned(tag) + (text[0] == 'x' ? 1000 : 0);
}

}  // namespace

TEST(MpFork, OneJobPerProcessorWithItsIndexAndTheArguments) {
    Host host;
    quietHost(host);
    host.setProcessors(4);
    Jobs four, two;
    char text[] = "x";
    sparkMpFork(reinterpret_cast<void (*)()>(recordJob), 3, &four, 5, text);
    EXPECT_EQ(four.seen, std::multiset<unsigned long>({0, 1, 2, 3}));
    EXPECT_EQ(four.sum, 4u * 1005u);
    EXPECT_GE(four.peak.load(), 2);   // the jobs overlap in time
    // A second fork with fewer processors reuses the pool with indices from 0 again.
    host.setProcessors(2);
    sparkMpFork(reinterpret_cast<void (*)()>(recordJob), 3, &two, 0, text);
    EXPECT_EQ(two.seen, std::multiset<unsigned long>({0, 1}));
    // Outside a job the index reads as 0.
    unsigned long offset = 7, count = 7;
    sparkMpInfo(&offset, &count);
    EXPECT_TRUE(offset == 0u && count == 1u);
}

namespace {

void nestedJob(std::atomic<int>* inner) {
    unsigned long outer = 0, count = 1;
    sparkMpInfo(&outer, &count);
    sparkMpFork(reinterpret_cast<void (*)()>(+[](std::atomic<int>* n) {
                    unsigned long index = 0, c = 1;
                    sparkMpInfo(&index, &c);
                    n->fetch_add(int(index) + 1);
                }),
                1, inner);
    unsigned long after = 0;
    sparkMpInfo(&after, &count);
    // The job's own index comes back once the inner fork is over.
    if (after != outer) inner->fetch_add(1000000);
}

}  // namespace

TEST(MpFork, AForkInsideAJobRunsItsJobsInTurn) {
    Host host;
    quietHost(host);
    host.setProcessors(3);
    std::atomic<int> inner{0};
    sparkMpFork(reinterpret_cast<void (*)()>(nestedJob), 1, &inner);
    // Three outer jobs, each running inner jobs 0, 1, 2 (adding 1 + 2 + 3).
    EXPECT_EQ(inner.load(), 3 * 6);
}

TEST(Messages, KeptInOrderAndEchoedWithThePrefix) {
    Host host;
    host.setMessagePrefix("test-host: ");
    testing::internal::CaptureStderr();
    sparkMessage(const_cast<char*>(" Q4-Vesk cannot run due to insufficient buffers."));
    sparkError(const_cast<char*>("bad\n"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "test-host:  Q4-Vesk cannot run due to insufficient buffers.\ntest-host: error: bad\n");
    auto messages = host.messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_TRUE(messages[0].kind == HostMessage::Message && messages[1].kind == HostMessage::Error);
}

// A message the plug-in pauses on is one it writes to standard error itself: printed once, by it.
TEST(Messages, AMessageThePluginPausesOnIsLeftToThePlugin) {
    Host host;
    host.setMessagePrefix("test-host: ");
    testing::internal::CaptureStderr();
    sparkMessage(const_cast<char*>("Tried many times to create a particle\n"));
    sleep(2);
    sparkMessage(const_cast<char*>("shown by the host"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    host.setCurrentFrame(2);
    host.setCurrentFrame(3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "test-host: shown by the host\n");
    EXPECT_EQ(host.messages().size(), 2u);
}

TEST(Pauses, SleepIsRecordedNotWaited) {
    resetPauses();
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(sleep(5), 0u);
    EXPECT_EQ(sleep(2), 0u);
    double waited = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(waited, 1.0);
    EXPECT_EQ(pauseCount(), 2);
    EXPECT_EQ(pauseSeconds(), 7u);
    EXPECT_EQ(pauseRequests(), std::vector<unsigned>({5, 2}));
}

TEST(RandomAccess, GetFrameAsksTheProviderForAnyFrameOfAnyClip) {
    Host host;
    quietHost(host);
    host.setFrameSize(3, 2);
    host.setBitDepth(12);
    host.setClipProvider([](int clip, int frame, FrameBuffer& dest) {
        if (frame < 0) return false;
        for (int y = 0; y < dest.height(); ++y)
            for (int x = 0; x < dest.width(); ++x)
                for (int c = 0; c < 3; ++c) dest.setValue(x, y, c, unsigned(clip * 1000 + frame + c));
        return true;
    });
    std::vector<unsigned long> dest(3 * 2 * 6 / 8 + 1, ~0ul);
    sparkGetFrame(2, 41, dest.data());
    const uint16_t* words = reinterpret_cast<const uint16_t*>(dest.data());
    EXPECT_EQ(words[0], uint16_t((2041) << 4));
    sparkGetFrame(0, -1, dest.data());   // no frame there: black
    EXPECT_EQ(words[0], 0);
    // The current frame's clips are loaded the same way into buffers 2 and up.
    host.loadInputs(7);
    EXPECT_EQ(host.buffer(6).value(2, 1, 1), 4008u);
}

TEST(FrameRecord, CarriesTheHostConfiguration) {
    Host host;
    quietHost(host);
    host.setBitDepth(12);
    host.setPixelAspectRatio(1.5f);
    EXPECT_EQ(host.info().FrameDepth, 48);
    SparkGraphInfoStruct g;
    sparkGraphSetup(&g);
    EXPECT_FLOAT_EQ(g.PixelAspectRatio, 1.5f);
    host.setProcessors(500);
    EXPECT_EQ(host.info().NumProcessors, 127);   // a signed byte carries the count
}

TEST(CurrentHost, FollowsTheNewestHostAndSurvivesAnyOrderOfDestruction) {
    auto first = std::make_unique<Host>();
    auto second = std::make_unique<Host>();
    first->setEcho(false);
    second->setEcho(false);
    first->setFreeMemory(3);
    second->setFreeMemory(4);
    EXPECT_EQ(sparkMemGetFreeMemory(), 4);
    first->makeCurrent();
    EXPECT_EQ(sparkMemGetFreeMemory(), 3);
    // The current host goes first: the one still alive answers, not a destroyed one.
    first.reset();
    EXPECT_EQ(sparkMemGetFreeMemory(), 4);
    auto third = std::make_unique<Host>();
    third->setFreeMemory(5);
    second.reset();
    EXPECT_EQ(sparkMemGetFreeMemory(), 5);
}
