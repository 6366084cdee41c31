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

// Clearing leaves every byte black wherever the picture was drawn into: in the first word, in the
// middle, in the spare word past the last row.
TEST(FrameBufferClear, LeavesNothingBehindWhereverItWasDrawn) {
    for (int depth : {kDepth8, kDepth12}) {
        FrameBuffer b(37, 23, depth);
        // The frame's bytes rounded up to whole words, and one spare word.
        const size_t bytes = ((b.bytes() + 7) / 8 + 1) * 8;
        for (size_t at : {size_t(0), bytes / 2, bytes - 1}) {
            b.data()[at] = 0x5A;
            b.clear();
            for (size_t i = 0; i < bytes; ++i) ASSERT_EQ(b.data()[i], 0) << "byte " << i << " after a mark at " << at;
        }
    }
}
