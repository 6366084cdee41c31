#include "sparkhost/lib/ReadAhead.h"

#include <chrono>
#include <cstring>

namespace sparkhost {

ReadAhead::~ReadAhead() {
    if (pending_.valid()) pending_.wait();
}

void ReadAhead::recycle(std::map<int, Entry>& entries) {
    for (auto& entry : entries) pool_.give(std::move(entry.second.frame));
    entries.clear();
}

bool ReadAhead::readNow(int clip, int frame, FrameBuffer& destination, std::string* error) {
    std::lock_guard<std::mutex> lock(clipsMutex_);
    clips_.clearError();
    bool found = clips_.read(clip, frame, destination);
    *error = clips_.lastError();
    clips_.clearError();
    return found;
}

void ReadAhead::prefetch(int frame, int width, int height, int depthCode) {
    std::lock_guard<std::mutex> lock(stateMutex_);
    settle();
    pendingFrame_ = frame;
    // The buffers are taken here, not by the reader: the pool then grows to its full size (the
    // frame being rendered and the next) on the first two frames, whatever the threads' timing.
    std::map<int, Entry> entries;
    for (int clip = 0; clip < clipCount_; ++clip) entries[clip].frame = pool_.take(width, height, depthCode);
    pending_ = std::async(std::launch::async, [this, frame, entries = std::move(entries)]() mutable {
        for (auto& e : entries) e.second.found = readNow(e.first, frame, e.second.frame, &e.second.error);
        return std::move(entries);
    });
}

void ReadAhead::settle() {
    if (!pending_.valid()) return;
    recycle(ready_);  // frames read ahead that nobody asked for
    ready_ = pending_.get();
    readyFrame_ = pendingFrame_;
}

bool ReadAhead::read(int clip, int frame, FrameBuffer& destination) {
    std::lock_guard<std::mutex> lock(stateMutex_);
    auto start = std::chrono::steady_clock::now();
    if (pending_.valid() && pendingFrame_ == frame) settle();
    auto entry = readyFrame_ == frame ? ready_.find(clip) : ready_.end();
    bool found;
    std::string error;
    if (entry != ready_.end() && entry->second.frame.width() == destination.width() &&
        entry->second.frame.height() == destination.height() &&
        entry->second.frame.depthCode() == destination.depthCode()) {
        found = entry->second.found;
        error = entry->second.error;
        // Copied into the host's own block, which keeps its address from frame to frame.
        if (found) std::memcpy(destination.data(), entry->second.frame.data(), destination.bytes());
        pool_.give(std::move(entry->second.frame));
        ready_.erase(entry);  // each frame read ahead is handed out once
    } else {
        found = readNow(clip, frame, destination, &error);
    }
    if (!error.empty() && error_.empty()) error_ = error;
    waitSeconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return found;
}

std::string ReadAhead::takeError() {
    std::lock_guard<std::mutex> lock(stateMutex_);
    std::string e;
    e.swap(error_);
    return e;
}

double ReadAhead::readSeconds() {
    std::lock_guard<std::mutex> lock(clipsMutex_);
    return clips_.readSeconds();
}

double ReadAhead::waitSeconds() {
    std::lock_guard<std::mutex> lock(stateMutex_);
    return waitSeconds_;
}

}  // namespace sparkhost
