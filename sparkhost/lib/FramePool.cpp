#include "sparkhost/lib/FramePool.h"

#include <utility>

namespace sparkhost {

FrameBuffer FramePool::take(int width, int height, int depthCode) {
    std::vector<FrameBuffer> stale;  // freed outside the lock
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (width != width_ || height != height_ || depthCode != depth_) {
            stale.swap(idle_);
            width_ = width;
            height_ = height;
            depth_ = depthCode;
        } else if (!idle_.empty()) {
            FrameBuffer frame = std::move(idle_.back());
            idle_.pop_back();
            return frame;
        }
    }
    return FrameBuffer(width, height, depthCode);
}

void FramePool::give(FrameBuffer&& frame) {
    FrameBuffer unwanted;
    std::lock_guard<std::mutex> lock(mutex_);
    if (frame.words() && current(frame) && idle_.size() < maxIdle_) idle_.push_back(std::move(frame));
    else unwanted = std::move(frame);
}

size_t FramePool::idle() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return idle_.size();
}

}  // namespace sparkhost
