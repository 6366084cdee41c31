#include "sparkhost/lib/FrameWriters.h"

#include <chrono>
#include <cstring>

namespace sparkhost {

FrameWriters::FrameWriters(int threads, const std::string& compression, FrameWriteFunction write)
    : compression_(compression),
      write_(write ? std::move(write) : FrameWriteFunction(writeImage)),
      capacity_(size_t(threads < 1 ? 1 : threads) * 2),
      pool_(capacity_ + size_t(threads < 1 ? 1 : threads)) {  // queued and being written
    for (int i = 0; i < (threads < 1 ? 1 : threads); ++i) threads_.emplace_back([this] { writerLoop(); });
}

FrameWriters::~FrameWriters() {
    std::string ignored;
    finish(&ignored);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    for (auto& t : threads_) t.join();
}

bool FrameWriters::submit(const std::string& path, const FrameBuffer& frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return queue_.size() < capacity_ || !error_.empty(); });
    if (!error_.empty()) return false;
    lock.unlock();  // the copy is made while the writers go on
    if (frame.width() != width_ || frame.height() != height_ || frame.depthCode() != depth_) {
        // Every buffer the queue and the writers can hold at once is made now, on the first frame
        // of a size, rather than whenever the writers happen to fall behind.
        width_ = frame.width();
        height_ = frame.height();
        depth_ = frame.depthCode();
        std::vector<FrameBuffer> all;
        for (size_t i = 0; i < capacity_ + threads_.size(); ++i) all.push_back(pool_.take(width_, height_, depth_));
        for (auto& b : all) pool_.give(std::move(b));
    }
    FrameBuffer copy = pool_.take(frame.width(), frame.height(), frame.depthCode());
    if (!frame.empty()) std::memcpy(copy.data(), frame.data(), frame.bytes());
    lock.lock();
    if (!error_.empty()) {
        pool_.give(std::move(copy));
        return false;
    }
    queue_.push_back({submitted_++, path, std::move(copy)});
    changed_.notify_all();
    return true;
}

bool FrameWriters::finish(std::string* error) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return (queue_.empty() && busy_ == 0) || !error_.empty(); });
    // After a failure the writers under way still end (each stops at its turn).
    changed_.wait(lock, [&] { return busy_ == 0; });
    if (error_.empty()) return true;
    if (error) *error = error_;
    return false;
}

double FrameWriters::busySeconds() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return busySeconds_;
}

void FrameWriters::waitForTurn(long sequence) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return published_ == sequence; });
}

void FrameWriters::dropQueued() {
    for (auto& job : queue_) pool_.give(std::move(job.frame));
    queue_.clear();
}

void FrameWriters::writerLoop() {
    for (;;) {
        Job job;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            changed_.wait(lock, [&] { return stopping_ || !queue_.empty(); });
            if (queue_.empty()) return;
            job = std::move(queue_.front());
            queue_.pop_front();
            ++busy_;
            changed_.notify_all();
        }
        auto start = std::chrono::steady_clock::now();
        bool failedBefore, ok = false;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            failedBefore = !error_.empty();
        }
        std::string why;
        bool turnTaken = false;
        if (!failedBefore) {
            ImageWriteSettings settings;
            settings.compression = compression_;
            // The rename waits for every earlier frame, and is skipped once one of them failed.
            settings.beforeRename = [&] {
                waitForTurn(job.sequence);
                turnTaken = true;
                std::lock_guard<std::mutex> lock(mutex_);
                return error_.empty();
            };
            ok = write_(job.path, job.frame, &why, settings);
        }
        if (!turnTaken) waitForTurn(job.sequence);
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!ok && !failedBefore && error_.empty()) error_ = why;
            if (!error_.empty()) dropQueued();
            busySeconds_ += seconds;
            ++published_;
            --busy_;
        }
        pool_.give(std::move(job.frame));
        changed_.notify_all();
    }
}

}  // namespace sparkhost
