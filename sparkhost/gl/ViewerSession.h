// The viewer as `sparkhost render` uses it: with --overlay every frame written is the viewer's
// picture (the rendered frame with the plug-in's handles and guides drawn over it); with
// --drag X0,Y0:X1,Y1 a pointer drag is made in the viewer once the first frame is shown.
//
//     ViewerSession viewer(plugin, options.overlay, options.drag);
//     if (viewer.active() && !viewer.start(&error)) ...;      // after the controls are set
//     for (int frame : frames) {
//         ... plugin.renderFrame(frame) ...
//         const FrameBuffer* image = ...;                       // what would be written
//         if (viewer.active()) image = &viewer.frame(*image);
//         ... write *image ...
//     }
#ifndef SPARKHOST_GL_VIEWERSESSION_H
#define SPARKHOST_GL_VIEWERSESSION_H

#include <string>

#include "sparkhost/gl/Gesture.h"
#include "sparkhost/gl/Viewer.h"
#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

class Plugin;

class ViewerSession {
public:
    // drag: empty for none, else "X0,Y0:X1,Y1" in viewer pixels.
    ViewerSession(Plugin& plugin, bool overlay, const std::string& drag);

    bool active() const { return overlay_ || !dragText_.empty(); }
    // Checks the drag and opens the offscreen viewer; false with a message naming the problem.
    bool start(std::string* error);
    // Takes each rendered frame in order and returns what to write in its place. The first
    // frame is shown before the drag is made; a frame the plug-in renders when the drag ends
    // replaces it, as the viewer would then show that one.
    const FrameBuffer& frame(const FrameBuffer& rendered);
    // Frames the plug-in rendered in reply to the drag.
    int dragRenders() const { return dragRenders_; }

private:
    Plugin& plugin_;
    Viewer viewer_;
    bool overlay_;
    std::string dragText_;
    DragGesture drag_;
    bool dragDone_ = false;
    int dragRenders_ = 0;
    FrameBuffer shown_;
    FrameBuffer picture_;
};

}  // namespace sparkhost

#endif
