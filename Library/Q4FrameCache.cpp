// Per-instance cache of frame-sized pixel blocks (see Q4FrameCache.h).
#include "Library/Q4FrameCache.h"

#include <new>

#include "base/q4_heap.h"

static const char* const cache_tag = "Library/Q4FrameCache";

FrameBlockCacheQ4::~FrameBlockCacheQ4() {
    Release();
    // Blocks still lent belong to images that outlive the cache; they are freed here too, so
    // that unloading the plug-in returns all of its memory.
    for (Block& b : lent_) q4_image_free(b.pixels, cache_tag, __LINE__);
    lent_.clear();
}

ImageQ4* FrameBlockCacheQ4::Take(int w, int h) {
    if (w < 0 || h < 0) w = h = 0;
    const size_t bytes = (size_t)w * (size_t)h * sizeof(PixelQ4);
    void* pixels = nullptr;
    {
        std::lock_guard<std::mutex> hold(lock_);
        // The block given back last first: it is the one most likely to have been written (a
        // clip the frame did not read leaves its block untouched, its pages never mapped), so
        // its pages are mapped and warm in the caches.
        for (size_t i = idle_.size(); i-- > 0;) {
            if (idle_[i].bytes != bytes) continue;
            pixels = idle_[i].pixels;
            idle_.erase(idle_.begin() + (long)i);
            break;
        }
        if (!pixels) {
            // A new frame size: blocks of other sizes would only wait for a size that is gone.
            for (Block& b : idle_) q4_image_free(b.pixels, cache_tag, __LINE__);
            idle_.clear();
            pixels = q4_image_malloc(bytes ? bytes : 1, cache_tag, __LINE__);
            if (!pixels) return nullptr;
            ++allocations_;
        }
        lent_.push_back(Block{pixels, bytes});
    }
    ImageQ4* image = new (std::nothrow) ImageQ4(w, h, 1.0f, static_cast<PixelQ4*>(pixels));
    if (!image || (h > 0 && !image->rows)) {
        delete image;
        std::lock_guard<std::mutex> hold(lock_);
        lent_.pop_back();
        idle_.push_back(Block{pixels, bytes});
        return nullptr;
    }
    return image;
}

void FrameBlockCacheQ4::Give(ImageQ4* image) {
    if (!image) return;
    void* pixels = image->owns_pixels ? nullptr : image->pixels;
    delete image;
    if (!pixels) return;
    std::lock_guard<std::mutex> hold(lock_);
    for (size_t i = 0; i < lent_.size(); ++i) {
        if (lent_[i].pixels != pixels) continue;
        idle_.push_back(lent_[i]);
        lent_.erase(lent_.begin() + (long)i);
        return;
    }
}

void FrameBlockCacheQ4::Release() {
    std::lock_guard<std::mutex> hold(lock_);
    for (Block& b : idle_) q4_image_free(b.pixels, cache_tag, __LINE__);
    idle_.clear();
}
