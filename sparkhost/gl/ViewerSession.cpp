#include "sparkhost/gl/ViewerSession.h"

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace sparkhost {

ViewerSession::ViewerSession(Plugin& plugin, bool overlay, const std::string& drag)
    : plugin_(plugin), viewer_(plugin), overlay_(overlay), dragText_(drag) {}

bool ViewerSession::start(std::string* error) {
    if (!dragText_.empty() && !parseDrag(dragText_, &drag_, error)) return false;
    const char* missing = nullptr;
    const char* option = nullptr;
    if (overlay_ && !plugin_.hasOverlay()) missing = "SparkOverlay", option = "--overlay";
    if (!dragText_.empty() && !plugin_.hasInteract()) missing = "SparkInteract", option = "--drag";
    if (missing) {
        // An OpenFX effect draws and takes drags through one overlay interact.
        if (error)
            *error = plugin_.isOfx() ? "the OpenFX effect in '" + plugin_.path() + "' has no overlay interact, which " +
                                           option + " needs"
                                     : "the plug-in '" + plugin_.path() + "' does not export " + missing +
                                           ", which " + option + " needs";
        return false;
    }
    return viewer_.open(error);
}

const FrameBuffer& ViewerSession::frame(const FrameBuffer& rendered) {
    viewer_.show(rendered);
    shown_ = rendered;
    if (!dragText_.empty() && !dragDone_) {
        dragDone_ = true;
        dragRenders_ = viewer_.interact(dragEvents(drag_));
        // A render in reply lands in the output buffer; that is the frame the viewer shows now.
        if (dragRenders_ > 0) shown_ = plugin_.host().buffer(kOutputBuffer);
    }
    if (!overlay_) return shown_;
    viewer_.show(shown_);
    viewer_.redraw();
    picture_ = viewer_.picture(plugin_.host().depthCode());
    return picture_;
}

}  // namespace sparkhost
