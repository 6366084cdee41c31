// Bringing a stateful plug-in to a frame of its shot without keeping the frames on the way.
//
// A simulation such as Vesk's swarm advances one step per processed frame, so frame N of a shot
// depends on every frame processed before it. To render a chunk of a shot (a farm task) or to
// jump in time (a viewer), the host processes the frames from the shot's start up to the wanted
// one and throws them away. That is made cheap by switching the plug-in's render mode to its
// wireframe preview while catching up, when it has such a mode: the simulation steps alike and
// nothing is drawn.
#ifndef SPARKHOST_LIB_SHOTCATCHUP_H
#define SPARKHOST_LIB_SHOTCATCHUP_H

#include <functional>
#include <string>

namespace sparkhost {

class Plugin;
struct Control;

// Called after each frame caught up with the frames done so far and the total; returning false
// stops the catch-up there.
using CatchUpProgress = std::function<bool(int done, int total)>;

// The list control of the plug-in that switches it to a wireframe preview (a list with an entry
// named "Wireframe", compared without case and without the list's own prefix), and that entry's
// index; null when the plug-in has none.
const Control* wireframeSwitch(const Plugin& plugin, int* entry);

// Replays the host's events at frames firstFrame .. lastFrame in order (see ShotEvents.h): each
// button's callback with the buffers withheld, and for an Advance one extra processing of its
// frame, on wireframe when the plug-in has that mode, its picture discarded. Call it before the
// processing of lastFrame. False (with a message) when an event's record is not a simulation
// button or the plug-in renders nothing.
bool replayEvents(Plugin& plugin, int firstFrame, int lastFrame, std::string* error);

// Processes frames fromFrame, fromFrame + step, ... below toFrameExclusive, each as a render
// would (events replayed, clips loaded, curves applied, SparkProcess), with the render mode on
// wireframe when the plug-in has one; the mode is put back afterwards. The events of frames
// stepped over are replayed before the next frame processed. Control edits are made with the buffers
// withheld, so a preview a callback asks for renders nothing and steps nothing. Returns false
// (with a message) when the plug-in renders nothing for a frame or progress stops the catch-up.
bool catchUp(Plugin& plugin, int fromFrame, int toFrameExclusive, const CatchUpProgress& progress,
             std::string* error = nullptr, int step = 1);

}  // namespace sparkhost

#endif
