// Frames written by a team of writer threads while the plug-in renders the next frame. Each file
// is written under a temporary name and renamed in frame order, so that the frames on disk are
// always a complete prefix of the render, whatever order the writers finish in.
#ifndef SPARKHOST_LIB_FRAMEWRITERS_H
#define SPARKHOST_LIB_FRAMEWRITERS_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/FramePool.h"
#include "sparkhost/lib/ImageFiles.h"

namespace sparkhost {

class FrameWriters {
public:
    // threads: how many files are encoded at once. At most twice as many frames wait in memory.
    // write: what encodes a file (called from several threads at once); empty: writeImage.
    FrameWriters(int threads, const std::string& compression, FrameWriteFunction write = {});
    ~FrameWriters();  // finishes every queued frame
    FrameWriters(const FrameWriters&) = delete;
    FrameWriters& operator=(const FrameWriters&) = delete;

    // Queues a copy of the frame (the caller's buffer is free again on return), waiting while the
    // queue is full. False once a write has failed: the frames still queued are dropped and
    // nothing later is written.
    bool submit(const std::string& path, const FrameBuffer& frame);
    // Waits until every queued frame is written; false with the first failure's message.
    bool finish(std::string* error);
    // Seconds the writers spent encoding and writing, summed over frames.
    double busySeconds() const;

private:
    struct Job {
        long sequence;
        std::string path;
        FrameBuffer frame;
    };
    void writerLoop();
    void dropQueued();  // after a failure; the lock is held
    void waitForTurn(long sequence);

    std::string compression_;
    FrameWriteFunction write_;
    size_t capacity_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Job> queue_;
    long submitted_ = 0;
    long published_ = 0;  // frames renamed (or given up) so far, in order
    int busy_ = 0;
    bool stopping_ = false;
    std::string error_;
    double busySeconds_ = 0.0;
    FramePool pool_;  // the queued copies' buffers, reused from frame to frame
    int width_ = 0, height_ = 0, depth_ = 0;  // of the frames the pool was filled for (submit's thread)
    std::vector<std::thread> threads_;
};

}  // namespace sparkhost

#endif
