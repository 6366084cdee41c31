// Input clips read one frame ahead: while the plug-in renders frame N, a reader thread loads every
// clip's file for the next frame, so that the plug-in's request finds it in memory. Requests for
// frames that were not read ahead (a plug-in's random access to other frames) are read at once.
// After it is made, every read of the clip set goes through this object.
#ifndef SPARKHOST_LIB_READAHEAD_H
#define SPARKHOST_LIB_READAHEAD_H

#include <future>
#include <map>
#include <mutex>
#include <string>

#include "sparkhost/lib/ClipSet.h"
#include "sparkhost/lib/FramePool.h"

namespace sparkhost {

class ReadAhead {
public:
    ReadAhead(ClipSet& clips, int clipCount) : clips_(clips), clipCount_(clipCount) {}
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    // Starts reading every clip's frame in the background at the given size and depth. The frame
    // read ahead before stays available until the next prefetch, so a loop calls prefetch(N + 1)
    // just before it renders frame N.
    void prefetch(int frame, int width, int height, int depthCode);
    // What the host's clip provider calls: the frame read ahead when it is this one, else a read.
    bool read(int clip, int frame, FrameBuffer& destination);
    // The first read failure since the last call, and clears it.
    std::string takeError();
    // Seconds spent reading files, and seconds callers of read() spent waiting in it.
    double readSeconds();
    double waitSeconds();

private:
    struct Entry {
        bool found = false;
        FrameBuffer frame;
        std::string error;
    };
    bool readNow(int clip, int frame, FrameBuffer& destination, std::string* error);
    void settle();  // takes the background read's result, if any
    void recycle(std::map<int, Entry>& entries);  // their buffers back to the pool


    ClipSet& clips_;
    int clipCount_;
    std::mutex clipsMutex_;  // ClipSet is not thread-safe
    std::mutex stateMutex_;  // what follows; a plug-in may ask for frames from its jobs
    FramePool pool_;         // the entries' buffers, the same few blocks from frame to frame
    std::future<std::map<int, Entry>> pending_;
    int pendingFrame_ = 0;
    std::map<int, Entry> ready_;  // clip → its frame readyFrame_
    int readyFrame_ = 0;
    std::string error_;
    double waitSeconds_ = 0.0;
};

}  // namespace sparkhost

#endif
