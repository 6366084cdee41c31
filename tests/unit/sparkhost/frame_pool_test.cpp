// Frame buffers reused from frame to frame: the same block for the same size and depth, none of
// the old ones kept once the size changes, and a queued frame that no longer depends on the
// caller's buffer.
#include <gtest/gtest.h>

#include <map>
#include <mutex>

#include "sparkhost/lib/FramePool.h"
#include "sparkhost/lib/FrameWriters.h"

using namespace sparkhost;

TEST(FramePool, SameSizeGetsTheSameBlockAndANewSizeDropsTheOldOnes) {
    FramePool pool;
    FrameBuffer first = pool.take(8, 4, kDepth8);
    const uint8_t* block = first.data();
    first.data()[5] = 9;
    pool.give(std::move(first));
    FrameBuffer again = pool.take(8, 4, kDepth8);
    EXPECT_EQ(again.data(), block);
    EXPECT_EQ(again.data()[5], 9);  // handed back as it was left, not cleared
    pool.give(std::move(again));
    ASSERT_EQ(pool.idle(), 1u);

    struct Case {
        int width, height, depth;
    };
    for (const Case& c : {Case{8, 4, kDepth12}, Case{9, 4, kDepth12}, Case{9, 5, kDepth12}}) {
        FrameBuffer other = pool.take(c.width, c.height, c.depth);
        EXPECT_EQ(pool.idle(), 0u);  // the blocks of the size before are freed
        EXPECT_TRUE(other.width() == c.width && other.height() == c.height && other.depthCode() == c.depth);
        EXPECT_EQ(other.data()[other.bytes() - 1], 0);  // a fresh block is zeroed
        pool.give(FrameBuffer(8, 4, kDepth8));          // a stale size is not kept
        EXPECT_EQ(pool.idle(), 0u);
        pool.give(std::move(other));
        EXPECT_EQ(pool.idle(), 1u);
    }
}

TEST(FrameWriters, AQueuedFrameIsACopyOfTheCallersBuffer) {
    std::mutex mutex;
    std::map<std::string, unsigned> written;
    FrameWriters writers(2, "", [&](const std::string& path, const FrameBuffer& frame, std::string*,
                                    const ImageWriteSettings&) {
        std::lock_guard<std::mutex> lock(mutex);
        written[path] = frame.value(3, 2, 1);
        return true;
    });
    FrameBuffer frame(4, 3, kDepth12);
    for (unsigned n = 1; n <= 8; ++n) {
        frame.setValue(3, 2, 1, n * 100);
        ASSERT_TRUE(writers.submit(std::to_string(n), frame));
    }
    frame.setValue(3, 2, 1, 0);  // the caller renders on into its buffer
    std::string error;
    ASSERT_TRUE(writers.finish(&error)) << error;
    for (unsigned n = 1; n <= 8; ++n) EXPECT_EQ(written[std::to_string(n)], n * 100);
}
