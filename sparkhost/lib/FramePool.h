// Frame-sized buffers kept for reuse. A render passes the same few frame sizes through the
// read-ahead and the writers on every frame; taking their buffers from here instead of the heap
// keeps a large block from being mapped, faulted in, zeroed and unmapped again for each frame
// (at 4K every such block is tens of megabytes, which the C library maps afresh each time).
#ifndef SPARKHOST_LIB_FRAMEPOOL_H
#define SPARKHOST_LIB_FRAMEPOOL_H

#include <cstddef>
#include <mutex>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

class FramePool {
public:
    // maxIdle: how many returned buffers are kept at most; more are freed.
    explicit FramePool(size_t maxIdle = 16) : maxIdle_(maxIdle) {}

    // A buffer of this size and depth: an idle one when there is one (its pixels are whatever its
    // last user left), else a new zeroed one. Asking for another size frees the idle buffers of
    // the size before, which a render will not ask for again.
    FrameBuffer take(int width, int height, int depthCode);
    // Hands a buffer back; kept only while it has the size last asked for.
    void give(FrameBuffer&& frame);

    size_t idle() const;

private:
    bool current(const FrameBuffer& frame) const {
        return frame.width() == width_ && frame.height() == height_ && frame.depthCode() == depth_;
    }

    size_t maxIdle_;
    mutable std::mutex mutex_;  // read-ahead and writer threads take and give at once
    std::vector<FrameBuffer> idle_;
    int width_ = 0, height_ = 0, depth_ = 0;
};

}  // namespace sparkhost

#endif
