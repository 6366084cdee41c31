// A render's claim on the frames it writes: two renders into the same output would leave a
// sequence mixed from both. The claim is a lock on a hidden file beside the frames, one per output
// pattern, with one byte per frame number locked: renders of other frames of the same pattern (the
// chunks of a farm render) go on side by side, a second render of any of the same frames is
// refused with the process that holds them. The system releases the locks of a process that ends
// in any way, so a crashed render never blocks the next one.
#ifndef SPARKHOST_LIB_OUTPUTLOCK_H
#define SPARKHOST_LIB_OUTPUTLOCK_H

#include <string>
#include <vector>

#include "sparkhost/lib/SequencePattern.h"

namespace sparkhost {

class OutputLock {
public:
    OutputLock() = default;
    ~OutputLock();  // releases the frames; the last render out removes the lock file
    OutputLock(const OutputLock&) = delete;
    OutputLock& operator=(const OutputLock&) = delete;

    // Claims the frames of the output; false with a message naming the process that holds one of
    // them, or why the lock file cannot be made.
    bool take(const SequencePattern& output, const std::vector<int>& frames, std::string* error);

    // The lock file of an output: ".NAME.sparkhost-lock" in the output's folder, NAME the file
    // name of the pattern with its frame number written as '#'s.
    static std::string lockPath(const SequencePattern& output);

private:
    int fd_ = -1;
    std::string path_;
};

// Removes the lock file of the render under way when no other render holds it. Async-signal-safe:
// the handler of an interrupting signal calls it.
void releaseOutputLock();

}  // namespace sparkhost

#endif
