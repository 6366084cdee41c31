// The frame loop of `sparkhost render`: clips read one frame ahead, the plug-in rendering, and a
// team of writers encoding the frames before, all at once; or, to measure each stage alone, one
// after the other.
#ifndef SPARKHOST_CLI_RENDERLOOP_H
#define SPARKHOST_CLI_RENDERLOOP_H

#include <string>
#include <vector>

#include "Progress.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/SequencePattern.h"

namespace sparkhost {

class Plugin;
class ReadAhead;
class ViewerSession;

// Which frames a render processes and which it writes. In shot time (the default) file N holds
// frame N of the shot: the frames asked are written once each in ascending order, and every
// frame of the shot before them (from its start) is stepped cheaply, as a catch-up does. In
// IFFFS order each frame asked is processed and written as asked, in that order, one step of the
// simulation each, as a host that renders frames in order does.
struct FramePlan {
    std::vector<int> written;   // the frames written, in the order written
    int shotStart = 0;          // the first frame processed (shot time), or the catch-up's start
    bool shotTime = true;
    int catchUpStep = 1;        // IFFFS order: the catch-up follows the range's step
    std::vector<int> repeated;  // shot time: frames asked more than once, written once
};

// shotStart < 0: the shot starts at the first frame processed.
FramePlan planFrames(const std::vector<int>& asked, int shotStart, bool ifffsOrder);
// Every frame the plan processes, ascending and each once: the frames whose clip files are read.
std::vector<int> processedFrames(const FramePlan& plan);

struct LoopSettings {
    bool overlap = true;
    int writers = 2;           // files encoded at once when overlapping
    std::string compression;   // empty: the writers' fast defaults
    FrameWriteFunction write;  // empty: writeImage
};

// Seconds per stage over the whole loop: reading clip files, the plug-in, encoding and writing,
// and the wall time from the first frame to the last file renamed.
struct LoopTimes {
    double read = 0, plugin = 0, write = 0, wall = 0;
    int frames = 0;
};

// Processes the plan's frames (events replayed on the way) and writes those it names; 0 when
// done, else kFailed with the message in error.
int renderLoop(Plugin& plugin, ReadAhead& clips, ViewerSession& viewer, const FramePlan& plan,
               const SequencePattern& output, Progress& progress, const LoopSettings& settings,
               LoopTimes* times, std::string* error);

// "; per frame: read 1.2 ms, plug-in 20.1 ms, write 8.3 ms, wall 21.0 ms"
std::string stageSummary(const LoopTimes& times);

}  // namespace sparkhost

#endif
