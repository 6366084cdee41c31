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

// Renders every frame and writes it; 0 when done, else kFailed with the message in error.
int renderLoop(Plugin& plugin, ReadAhead& clips, ViewerSession& viewer, const std::vector<int>& frames,
               const SequencePattern& output, Progress& progress, const LoopSettings& settings,
               LoopTimes* times, std::string* error);

// "; per frame: read 1.2 ms, plug-in 20.1 ms, write 8.3 ms, wall 21.0 ms"
std::string stageSummary(const LoopTimes& times);

}  // namespace sparkhost

#endif
