// A per-instance store of frame-sized pixel blocks. The effect makes a dozen frame-sized images
// every frame (the converted clips, the result, the layers, the scratch images) and destroys them
// at its end; taking their blocks from here keeps the memory mapped from frame to frame, so a
// steady run of one frame size allocates no frame-sized block and faults in no fresh pages. The
// process-wide allocator settings are left alone: the plug-in lives in the host's process.
#ifndef Q4FRAMECACHE_H
#define Q4FRAMECACHE_H

#include <stddef.h>

#include <mutex>
#include <vector>

#include "Library/Q4Image.h"

class FrameBlockCacheQ4 {
public:
    FrameBlockCacheQ4() = default;
    FrameBlockCacheQ4(const FrameBlockCacheQ4&) = delete;
    FrameBlockCacheQ4& operator=(const FrameBlockCacheQ4&) = delete;
    ~FrameBlockCacheQ4();

    // A w x h image over a cached block (the image itself does not own it). Its pixels hold
    // whatever the block last held, as a freshly allocated image's are undefined. Null when
    // memory runs out.
    ImageQ4* Take(int w, int h);
    // Destroys the image and keeps its block for the next Take; an image that did not come
    // from Take is simply destroyed. Null is ignored.
    void Give(ImageQ4* image);
    // Frees every block not lent out.
    void Release();

    // Blocks allocated so far (for the steady-state check of the benchmarks and tests).
    long allocations() const { return allocations_; }

private:
    struct Block {
        void* pixels;
        size_t bytes;
    };
    std::mutex lock_;
    std::vector<Block> idle_;
    std::vector<Block> lent_;
    long allocations_ = 0;
};

#endif
