// An OpenFX effect's overlay interact in sparkhost's viewer: described and made for the effect
// instance the panel edits, drawn in the viewer's GL context after the frame (as a Spark
// plug-in's SparkOverlay is), and sent the viewer's pointer events as pen actions.
//
// The viewer's GL state is set up for Spark overlays (pixel coordinates); for the interact's Draw
// the projection is replaced by the canonical one and the model-view is the identity, both put
// back afterwards. OpenGL is reached through the process's own GL library (the one the viewer and
// the plug-ins bind to), looked up when first needed, so that programs built without a viewer
// link the host without OpenGL.
#include <GL/gl.h>
#include <dlfcn.h>

#include <algorithm>

#include "sparkhost/lib/Host.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

namespace {

struct GlCalls {
    void (*matrixMode)(GLenum) = nullptr;
    void (*pushMatrix)() = nullptr;
    void (*popMatrix)() = nullptr;
    void (*loadIdentity)() = nullptr;
    void (*ortho)(GLdouble, GLdouble, GLdouble, GLdouble, GLdouble, GLdouble) = nullptr;
    void (*getIntegerv)(GLenum, GLint*) = nullptr;
    bool ready() const { return matrixMode && pushMatrix && popMatrix && loadIdentity && ortho && getIntegerv; }
};

template <typename Fn>
void find(Fn* fn, const char* name) {
    *fn = reinterpret_cast<Fn>(dlsym(RTLD_DEFAULT, name));
}

const GlCalls& gl() {
    static const GlCalls calls = [] {
        GlCalls c;
        find(&c.matrixMode, "glMatrixMode");
        find(&c.pushMatrix, "glPushMatrix");
        find(&c.popMatrix, "glPopMatrix");
        find(&c.loadIdentity, "glLoadIdentity");
        find(&c.ortho, "glOrtho");
        find(&c.getIntegerv, "glGetIntegerv");
        return c;
    }();
    return calls;
}

// The viewer's canvas is a 16-bit RGBA buffer (see Viewer.cpp).
constexpr int kCanvasBitDepth = 16;

}  // namespace

OfxStatus OfxKind::callInteract(const char* action, PropertySet* in, bool* edited) {
    InteractObject* target = interactInstance_ ? interactInstance_.get() : interactDescriptor_.get();
    if (!overlayEntry_ || !target) return kOfxStatReplyDefault;
    ++actionDepth_;
    OfxStatus s = overlayEntry_(action, target, in ? in->handle() : nullptr, nullptr);
    --actionDepth_;
    // The effect's edits are told back to it (and shown in the panel) once the action returned,
    // as for every other action.
    if (edited) *edited = !pendingEdits_.empty();
    if (actionDepth_ == 0) flushPluginEdits();
    return s;
}

void OfxKind::createInteract() {
    destroyInteract();
    if (!overlayEntry_ || !instance_) return;
    if (!interactDescriptor_) {
        interactDescriptor_.reset(new InteractObject);
        interactDescriptor_->entry = overlayEntry_;
        PropertySet& d = interactDescriptor_->props;
        d.defineInt(kOfxInteractPropHasAlpha, {1});
        d.defineInt(kOfxInteractPropBitDepth, {kCanvasBitDepth});
        d.defineString(kOfxInteractPropSlaveToParam, {}, 0, Access::PluginWrites);
        OfxStatus s = callInteract(kOfxActionDescribe, nullptr);
        if (s != kOfxStatOK && s != kOfxStatReplyDefault) {
            // An interact that fails to describe itself is left out; the effect still renders.
            host_.report(HostMessage::Note, "the OpenFX effect '" + identifier_ +
                                                "' has an overlay that failed to describe itself; it is not shown");
            overlayEntry_ = nullptr;
            interactDescriptor_.reset();
            return;
        }
    }
    std::unique_ptr<InteractObject> i(new InteractObject);
    i->entry = overlayEntry_;
    i->effect = instance_.get();
    PropertySet& p = i->props;
    p.defineInt(kOfxInteractPropHasAlpha, {interactDescriptor_->props.getInt(kOfxInteractPropHasAlpha)});
    p.defineInt(kOfxInteractPropBitDepth, {interactDescriptor_->props.getInt(kOfxInteractPropBitDepth)});
    p.definePointer(kOfxPropEffectInstance, {instance_.get()});
    p.definePointer(kOfxPropInstanceData, {nullptr}, 1, Access::PluginWrites);
    p.defineDouble(kOfxInteractPropPixelScale, {1.0, 1.0}, 2);
    p.defineDouble(kOfxInteractPropBackgroundColour, {0.0, 0.0, 0.0}, 3);
    p.defineDouble(kOfxInteractPropSuggestedColour, {1.0, 1.0, 1.0}, 3);
    // Kept for overlays written before the property was dropped; the GL viewport says the same.
    p.defineDouble(kOfxInteractPropViewportSize, {double(host_.frameWidth()), double(host_.frameHeight())}, 2);
    p.defineString(kOfxInteractPropSlaveToParam, interactDescriptor_->props.strings(kOfxInteractPropSlaveToParam), 0,
                   Access::PluginWrites);
    interactInstance_ = std::move(i);
    interactFocused_ = false;
    penPressure_ = 0.0f;
    penEdited_ = false;
    OfxStatus s = callInteract(kOfxActionCreateInstance, nullptr);
    if (s != kOfxStatOK && s != kOfxStatReplyDefault) {
        host_.report(HostMessage::Note, "the OpenFX effect '" + identifier_ +
                                            "' could not make its overlay (CreateInstance failed); it is not shown");
        interactInstance_.reset();
    }
}

void OfxKind::destroyInteract() {
    if (!interactInstance_) return;
    if (interactFocused_) {
        // A drag still held ends where it is.
        PropertySet in;
        viewArgs(viewerGeometry(1.0f), &in);
        callInteract(kOfxInteractActionLoseFocus, &in);
        interactFocused_ = false;
    }
    callInteract(kOfxActionDestroyInstance, nullptr);
    interactInstance_.reset();
}

ViewerGeometry OfxKind::viewerGeometry(float zoom) const {
    ViewerGeometry g;
    g.frameWidth = host_.frameWidth();
    g.frameHeight = host_.frameHeight();
    g.pixelAspect = host_.pixelAspectRatio() > 0.0f ? host_.pixelAspectRatio() : 1.0;
    // sparkhost renders every frame at full resolution.
    g.renderScale[0] = g.renderScale[1] = 1.0;
    g.ratio = host_.viewerRatio() > 0.0f ? host_.viewerRatio() : 1.0;
    g.magnification = magnificationFromHostZoom(zoom);
    const SparkInfoStruct info = host_.info();
    g.originX = info.FrameBufferX;
    g.originY = info.FrameBufferY;
    g.canvasWidth = canvasWidth_;
    g.canvasHeight = canvasHeight_;
    return g;
}

// The arguments every draw, pen and focus action carries, and the instance's view properties.
void OfxKind::viewArgs(const ViewerGeometry& view, PropertySet* in) {
    double sx, sy;
    view.pixelScale(&sx, &sy);
    in->definePointer(kOfxPropEffectInstance, {instance_.get()});
    in->defineDouble(kOfxInteractPropPixelScale, {sx, sy}, 2);
    in->defineDouble(kOfxInteractPropBackgroundColour, {0.0, 0.0, 0.0}, 3);
    in->defineDouble(kOfxPropTime, {currentTime()});
    in->defineDouble(kOfxImageEffectPropRenderScale, {view.renderScale[0], view.renderScale[1]}, 2);
    if (!interactInstance_) return;
    interactInstance_->props.setDoubles(kOfxInteractPropPixelScale, {sx, sy});
    if (view.canvasWidth > 0 && view.canvasHeight > 0)
        interactInstance_->props.setDoubles(kOfxInteractPropViewportSize,
                                            {double(view.canvasWidth), double(view.canvasHeight)});
}

bool OfxKind::overlay(float zoom) {
    if (!interactInstance_ || !gl().ready()) return false;
    const GlCalls& g = gl();
    GLint viewport[4] = {0, 0, 0, 0};
    g.getIntegerv(GL_VIEWPORT, viewport);
    canvasWidth_ = viewport[2];
    canvasHeight_ = viewport[3];
    const ViewerGeometry view = viewerGeometry(zoom);
    double left, right, bottom, top;
    view.projection(&left, &right, &bottom, &top);
    g.matrixMode(GL_PROJECTION);
    g.pushMatrix();
    g.loadIdentity();
    g.ortho(left, right, bottom, top, -1.0, 1.0);
    g.matrixMode(GL_MODELVIEW);
    g.pushMatrix();
    g.loadIdentity();
    PropertySet in;
    viewArgs(view, &in);
    callInteract(kOfxInteractActionDraw, &in);
    g.matrixMode(GL_PROJECTION);
    g.popMatrix();
    g.matrixMode(GL_MODELVIEW);
    g.popMatrix();
    interactInstance_->redrawWanted = false;   // it has just been drawn
    return true;
}

unsigned long* OfxKind::interact(int sx, int sy, float pressure, float vx, float vy, float zoom) {
    if (!interactInstance_) return nullptr;
    const ViewerGeometry view = viewerGeometry(zoom);
    if (!interactFocused_) {
        // The pointer is over the viewer: it has the focus from its first event on.
        PropertySet focus;
        viewArgs(view, &focus);
        callInteract(kOfxInteractActionGainFocus, &focus);
        interactFocused_ = true;
    }
    const bool down = pressure > 0.0f;
    const char* action = down && penPressure_ <= 0.0f   ? kOfxInteractActionPenDown
                         : !down && penPressure_ > 0.0f ? kOfxInteractActionPenUp
                                                        : kOfxInteractActionPenMotion;
    if (down && penPressure_ <= 0.0f) penEdited_ = false;
    penPressure_ = pressure;

    PropertySet in;
    viewArgs(view, &in);
    double cx, cy;
    view.frameToCanonical(vx, vy, &cx, &cy);
    int px, py;
    view.viewportPosition(sx, sy, &px, &py);
    in.defineDouble(kOfxInteractPropPenPosition, {cx, cy}, 2);
    in.defineInt(kOfxInteractPropPenViewportPosition, {px, py}, 2);
    in.defineDouble(kOfxInteractPropPenPressure, {std::clamp(double(pressure), 0.0, 1.0)});
    bool edited = false;
    callInteract(action, &in, &edited);
    penEdited_ = penEdited_ || edited;
    // A redraw the interact asked for is a viewing draw, as a Spark plug-in asks for one.
    if (interactInstance_ && interactInstance_->redrawWanted) {
        interactInstance_->redrawWanted = false;
        host_.noteViewingDraw();
    }
    // As a Spark plug-in does with its handles, the frame is rendered anew once the pen is up
    // after it moved a parameter, not for every move of the drag (the overlay follows the pen).
    if (down || !penEdited_) return nullptr;
    penEdited_ = false;
    return process();
}

}  // namespace ofx
}  // namespace sparkhost
