// The overlay interact: the effect's own handles and wireframe preview in the compositor's viewer,
// and pen drags on the handles written back into the parameters. Every action loads the
// parameters at the viewer's time into the effect's control records under the engine lock, lays
// the effect's overlay over the viewer's canonical coordinates and calls the effect's
// RenderOverlay or HandleInteraction, as the Spark viewer bridge does.
#include <GL/gl.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "ofx/ControlParams.h"
#include "ofx/Instance.h"
#include "ofx/Overlay.h"
#include "ofx/OverlaySwarm.h"
#include "ofx/OverlayView.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

// The parameters the handles edit, and those whose change shows in the overlay: the host
// redraws it when one of them changes.
const char* const kHandleParams[] = {"birth", "birthRadius", "food", "predator"};
const char* const kShownParams[] = {"birth",        "birthRadius",   "food",         "predator",
                                    "huntFood",     "avoidPredator", "clearOverlay", "renderMode",
                                    "shape",        "livingRotate",  "baseRotation", "starSharpness"};
constexpr int kHandleParamCount = 4;

// One viewer's interact. The effect's handles are one set for the whole binary, so each viewer
// keeps its own copy of them (where they were last drawn, which one is held) and lends it to the
// effect for the length of an action.
struct InteractData {
    OfxImageEffectHandle effect = nullptr;
    bool pen_down = false;
    bool editing = false;   // a drag's undoable edit is open
    bool drawn = false;     // the handles have been drawn in this viewer, so they can be picked
    CrosshairOverlayQ4 birth, food, predator;
    CircleOverlayQ4 radius;
    // The swarm last outlined and its frame, shown again while the cache has nothing newer.
    int shown_frame = 0;
    std::shared_ptr<const SimState> shown;
};

OfxPropertySetHandle interact_props(OfxInteractHandle interact) {
    OfxPropertySetHandle props = nullptr;
    if (!S().interact || S().interact->interactGetPropertySet(interact, &props) != kOfxStatOK) return nullptr;
    return props;
}

InteractData* Get(OfxInteractHandle interact) {
    OfxPropertySetHandle props = interact_props(interact);
    void* data = nullptr;
    if (!props || S().prop->propGetPointer(props, kOfxPropInstanceData, 0, &data) != kOfxStatOK) return nullptr;
    return static_cast<InteractData*>(data);
}

bool ClearOverlayOn() { return (SparkBoolean28.Value & 0xFF) != 0; }

void LendHandles(const InteractData& ix) {
    VeskInfo& in = Instance.info;
    in.birth_handle = ix.birth;
    in.radius_handle = ix.radius;
    in.food_handle = ix.food;
    in.predator_handle = ix.predator;
    BindOverlayHandles();
}

void TakeHandlesBack(InteractData& ix) {
    const VeskInfo& in = Instance.info;
    ix.birth = in.birth_handle;
    ix.radius = in.radius_handle;
    ix.food = in.food_handle;
    ix.predator = in.predator_handle;
}

bool AnyHandleGrabbed() {
    const VeskInfo& in = Instance.info;
    return in.birth_handle.grabbed || in.radius_handle.grabbed || in.food_handle.grabbed ||
           in.predator_handle.grabbed;
}

// The frame the viewer shows: the region the render lays the swarm in (Source's, or the
// project's), and the viewer's scale from the action's arguments.
OverlayView ViewAt(InstanceData& d, OfxPropertySetHandle in, double time) {
    OfxPropertySetHandle effect_props = nullptr;
    S().effect->getPropertySet(d.effect, &effect_props);
    const double par = PropDouble(effect_props, kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    OfxRectD rod{0, 0, 0, 0};
    if (!d.clips[0] || S().effect->clipGetRegionOfDefinition(d.clips[0], time, &rod) != kOfxStatOK ||
        rod.x2 <= rod.x1) {
        rod = OfxRectD{0, 0, PropDouble(effect_props, kOfxImageEffectPropProjectSize, 0, 0.0),
                       PropDouble(effect_props, kOfxImageEffectPropProjectSize, 1, 0.0)};
    }
    const double scale[2] = {PropDouble(in, kOfxInteractPropPixelScale, 0, 1.0),
                             PropDouble(in, kOfxInteractPropPixelScale, 1, 1.0)};
    return MakeOverlayView(rod, par, scale);
}

void SetGeometry(const OverlayView& view) {
    Instance.SetOverlayGeometry(view.zoom, view.aspect_num, 1.0f, view.overlay_width, view.overlay_height);
}

// The host's GL state around the effect's drawing: the effect sets colours and draws lines and
// polygons in overlay pixels, which the model-view maps onto the host's canonical projection.
class OverlayGl {
public:
    explicit OverlayGl(const OverlayView& view) {
        glPushAttrib(GL_CURRENT_BIT | GL_ENABLE_BIT | GL_TRANSFORM_BIT);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_LIGHTING);
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix();
        glTranslated(view.left, view.top, 0.0);
        glScaled(1.0, -1.0, 1.0);   // the effect's rows run down the frame
    }
    ~OverlayGl() {
        glMatrixMode(GL_MODELVIEW);
        glPopMatrix();
        glPopAttrib();
    }
    OverlayGl(const OverlayGl&) = delete;
    OverlayGl& operator=(const OverlayGl&) = delete;
};

std::vector<size_t> HandleParamIndices() {
    std::vector<size_t> indices;
    const std::vector<ControlParam>& params = ControlParams();
    for (const char* name : kHandleParams)
        for (size_t i = 0; i < params.size(); ++i)
            if (!strcmp(params[i].name, name)) indices.push_back(i);
    return indices;
}

OfxStatus Describe(OfxInteractHandle) { return kOfxStatOK; }

OfxStatus CreateInstance(OfxInteractHandle interact) {
    OfxPropertySetHandle props = interact_props(interact);
    if (!props) return kOfxStatFailed;
    void* effect = nullptr;
    if (S().prop->propGetPointer(props, kOfxPropEffectInstance, 0, &effect) != kOfxStatOK || !effect)
        return kOfxStatFailed;
    InteractData* ix = new InteractData;
    ix->effect = static_cast<OfxImageEffectHandle>(effect);
    S().prop->propSetPointer(props, kOfxPropInstanceData, 0, ix);
    int n = 0;
    for (const char* name : kShownParams) S().prop->propSetString(props, kOfxInteractPropSlaveToParam, n++, name);
    return kOfxStatOK;
}

OfxStatus DestroyInstance(OfxInteractHandle interact) {
    InteractData* ix = Get(interact);
    if (!ix) return kOfxStatOK;
    if (ix->editing) {
        if (InstanceData* d = Data(ix->effect)) S().param->paramEditEnd(d->params);
    }
    if (OfxPropertySetHandle props = interact_props(interact))
        S().prop->propSetPointer(props, kOfxPropInstanceData, 0, nullptr);
    delete ix;
    return kOfxStatOK;
}

OfxStatus Draw(InteractData& ix, OfxPropertySetHandle in) {
    InstanceData* d = Data(ix.effect);
    if (!d) return kOfxStatFailed;
    const double time = PropDouble(in, kOfxPropTime, 0, 0.0);
    const int frame = (int)std::lround(time);
    const OverlayView view = ViewAt(*d, in, time);
    if (!view.valid()) return kOfxStatOK;

    // Frames before the start have no swarm; otherwise what the render of this frame left.
    std::shared_ptr<const SimState> state;
    if (frame >= StartFrame(*d)) {
        state = StateAfterFrame(*d, frame);
        if (!state && ix.shown_frame == frame) state = ix.shown;
    }
    ix.shown = state;
    ix.shown_frame = frame;

    const FrameSettings settings = ReadSettings(*d, time);
    Engine::shared().edit(settings, SparkFrame(), [&] {
        if (ClearOverlayOn()) return;   // "Clear Overlay": nothing over the picture
        SetGeometry(view);
        LendHandles(ix);
        {
            ShownSwarm swarm(state.get(), time);
            OverlayGl gl(view);
            static_cast<OverlayQ4&>(Instance).RenderOverlay();
        }
        TakeHandlesBack(ix);
        ix.drawn = true;
    });
    return kOfxStatOK;
}

// A pen event for the effect's handles. A drag on a handle is one undoable edit from press to
// release; every move writes the handle's parameters at the viewer's time (as a key where the
// parameter is animated).
OfxStatus Pen(InteractData& ix, OfxInteractHandle interact, InterType type, OfxPropertySetHandle in) {
    InstanceData* d = Data(ix.effect);
    if (!d) return kOfxStatFailed;
    // A handle is picked where this viewer last drew it; before its first draw there is none.
    if (!ix.drawn) return kOfxStatReplyDefault;
    const double time = PropDouble(in, kOfxPropTime, 0, 0.0);
    const OverlayView view = ViewAt(*d, in, time);
    if (!view.valid()) return kOfxStatReplyDefault;
    float x = 0.0f, y = 0.0f;
    view.ToOverlay(PropDouble(in, kOfxInteractPropPenPosition, 0, 0.0),
                   PropDouble(in, kOfxInteractPropPenPosition, 1, 0.0), &x, &y);

    const std::vector<size_t> indices = HandleParamIndices();
    const std::vector<ControlParam>& params = ControlParams();
    ParamValue before[kHandleParamCount];
    bool ignored = false, grabbed = false;
    const bool was_grabbed = ix.editing;
    const FrameSettings settings = ReadSettings(*d, time);
    FrameSettings after = Engine::shared().edit(settings, SparkFrame(), [&] {
        if (ClearOverlayOn()) {
            ignored = true;
            return;
        }
        SetGeometry(view);
        LendHandles(ix);
        for (size_t k = 0; k < indices.size(); ++k) before[k] = LoadRecords(params[indices[k]]);
        static_cast<OverlayQ4&>(Instance).HandleInteraction(type, x, y);
        grabbed = AnyHandleGrabbed();
        TakeHandlesBack(ix);
    });
    if (ignored) return kOfxStatReplyDefault;

    if (type == INTER_PRESS && grabbed && !ix.editing) {
        S().param->paramEditBegin(d->params, "Move Handle");
        ix.editing = true;
    }
    if (ix.editing) {
        // Only what the handles changed goes back: the other controls pass through the records
        // unchanged in meaning, but not always in every bit of a double.
        FrameSettings base = after;
        for (size_t k = 0; k < indices.size(); ++k) base.values[indices[k]] = before[k];
        WriteChanged(*d, base, after, time);
    }
    if (type == INTER_RELEASE && ix.editing) {
        S().param->paramEditEnd(d->params);
        ix.editing = false;
    }
    if (type != INTER_MOVE && S().interact) S().interact->interactRedraw(interact);
    const bool consumed = (type == INTER_PRESS && grabbed) || ((type == INTER_DRAG || type == INTER_RELEASE) && was_grabbed);
    return consumed ? kOfxStatOK : kOfxStatReplyDefault;
}

OfxStatus Dispatch(const char* action, OfxInteractHandle interact, OfxPropertySetHandle in) {
    if (!strcmp(action, kOfxActionDescribe)) return Describe(interact);
    if (!strcmp(action, kOfxActionCreateInstance)) return CreateInstance(interact);
    if (!strcmp(action, kOfxActionDestroyInstance)) return DestroyInstance(interact);
    InteractData* ix = Get(interact);
    if (!ix) return kOfxStatReplyDefault;
    if (!strcmp(action, kOfxInteractActionDraw)) return Draw(*ix, in);
    if (!strcmp(action, kOfxInteractActionPenDown)) {
        ix->pen_down = true;
        return Pen(*ix, interact, INTER_PRESS, in);
    }
    if (!strcmp(action, kOfxInteractActionPenMotion))
        return Pen(*ix, interact, ix->pen_down ? INTER_DRAG : INTER_MOVE, in);
    if (!strcmp(action, kOfxInteractActionPenUp)) {
        ix->pen_down = false;
        return Pen(*ix, interact, INTER_RELEASE, in);
    }
    // Focus gone in the middle of a drag: the drag ends where it is.
    if (!strcmp(action, kOfxInteractActionLoseFocus) && ix->pen_down) {
        ix->pen_down = false;
        return Pen(*ix, interact, INTER_RELEASE, in);
    }
    return kOfxStatReplyDefault;
}

OfxStatus OverlayMain(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle) {
    if (!action || !handle || !S().prop) return kOfxStatErrBadHandle;
    OfxInteractHandle interact = static_cast<OfxInteractHandle>(const_cast<void*>(handle));
    try {
        return Dispatch(action, interact, in);
    } catch (const std::bad_alloc&) {
        return kOfxStatErrMemory;
    } catch (...) {
        return kOfxStatFailed;
    }
}

}  // namespace

// Offered only to hosts that draw overlays.
OfxPluginEntryPoint* OverlayEntryPoint() {
    if (!S().host || !S().prop) return nullptr;
    int supported = 0;
    if (S().prop->propGetInt(S().host->host, kOfxImageEffectPropSupportsOverlays, 0, &supported) != kOfxStatOK)
        return nullptr;
    return supported == 1 ? &OverlayMain : nullptr;
}

}  // namespace vesk_ofx
