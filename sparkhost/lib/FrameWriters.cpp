#include "sparkhost/lib/FrameWriters.h"

#include <chrono>

namespace sparkhost {

FrameWriters::FrameWriters(int threads, const std::string& compression, FrameWriteFunction write)
    : compression_(compression), write_(write ? std::move(write) : FrameWriteFunction(writeImage)), capacity_(size_t(threads < 1 ? 1 : threads) * 2) {
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

bool FrameWriters::submit(const std::string& path, FrameBuffer frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return queue_.size() < capacity_ || !error_.empty(); });
    if (!error_.empty()) return false;
    queue_.push_back({submitted_++, path, std::move(frame)});
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
            if (!error_.empty()) queue_.clear();
            busySeconds_ += seconds;
            ++published_;
            --busy_;
        }
        changed_.notify_all();
    }
}

}  // namespace sparkhost
