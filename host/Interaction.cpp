// The viewer bridge: the host draws the effect's handles with SparkOverlay on every viewer redraw
// and passes every pointer event to SparkInteract, which classifies it by pen pressure and hands
// it to the effect's handles.
#include <GL/gl.h>

#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "spark/spark.h"

extern "C" SPARK_EXPORT unsigned long* SparkProcess(SparkInfoStruct info);

namespace {

// Host cursor shapes, by use.
const int kCursorNormal = 1;
const int kCursorGrabbing = 14;
const int kCursorOverHandle = 20;

// Event states between the classification and the end of SparkInteract.
enum EventState { kHover = 0, kPress = 1, kDrag = 2, kRelease = 3, kReleaseHandled = 4 };

// Kept for the whole load; the event state is back at 0 whenever SparkInteract returns, so only
// the pressure and the dragged flag carry over from one event to the next.
float last_pressure = 0.0f;
int event_state = kHover;
int handle_dragged = 0;

bool On(const SparkBooleanStruct& b) { return (b.Value & 0xFF) != 0; }

OverlayControlQ4* const kHandles[4] = {&Instance.info.birth_handle, &Instance.info.radius_handle,
                                       &Instance.info.predator_handle,
                                       &Instance.info.food_handle};

bool AnyGrabbed() {
    for (const OverlayControlQ4* h : kHandles)
        if (h->grabbed) return true;
    return false;
}

bool AnyHighlighted() {
    for (const OverlayControlQ4* h : kHandles)
        if (h->highlighted) return true;
    return false;
}

}  // namespace

// Each handle is tied to the controls it edits and drawn in its own colour: white birth point,
// yellow birth area (its two sizes both on the birth radius), red predator, green food.
void BindOverlayHandles() {
    VeskInfo& in = Instance.info;
    in.birth_handle.Bind(13, &SparkFloat13, &SparkFloat14);
    in.birth_handle.SetColour(0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF);
    in.radius_handle.Bind(15, &SparkFloat15, &SparkFloat15);
    in.radius_handle.BindSize(15, &SparkFloat15, 15, &SparkFloat15);
    in.radius_handle.SetColour(0xFFFF, 0xFFFF, 0, 0xFFFF);
    in.predator_handle.Bind(68, &SparkFloat68, &SparkFloat69);
    in.predator_handle.SetColour(0xFFFF, 0, 0, 0xFFFF);
    in.food_handle.Bind(72, &SparkFloat72, &SparkFloat73);
    in.food_handle.SetColour(0, 0xFFFF, 0, 0xFFFF);
    for (OverlayControlQ4* h : kHandles) h->SetOverlay(static_cast<OverlayQ4*>(&Instance));
}

extern "C" {

SPARK_EXPORT void SparkOverlay(SparkInfoStruct info, float zoom) {
    if (On(SparkBoolean28)) return;   // "Clear Overlay": nothing over the picture

    SparkGraphInfoStruct graph;
    sparkGraphSetup(&graph);
    const float aspect = graph.PixelAspectRatio;
    const float ratio = sparkGetViewerRatio();
    // Zoomed out, handles shrink more gently than the picture, so they stay usable.
    if (zoom < 1.0f) zoom = 1.0f / (2.0f - zoom);

    const float aspect_correction = (aspect + 1.0f) - ratio;
    Instance.SetOverlayGeometry(zoom, aspect_correction, 1.0f,
                                (int)((float)info.FrameWidth * ratio), info.FrameHeight);
    CopyOverlayControlValues();
    BindOverlayHandles();

    glLoadIdentity();
    glTranslatef((float)info.FrameBufferX, (float)info.FrameBufferY, 0.0f);
    glScalef(zoom, zoom, 1.0f);
    static_cast<OverlayQ4&>(Instance).RenderOverlay();
    glFlush();
}

SPARK_EXPORT unsigned long* SparkInteract(SparkInfoStruct info, int, int, float pressure,
                                          float x, float y, float) {
    if (info.Mode == 0) return nullptr;

    SparkGraphInfoStruct graph;
    sparkGraphSetup(&graph);
    const float ratio = sparkGetViewerRatio();
    Instance.pen_pressure = pressure;
    if (On(SparkBoolean28)) return nullptr;

    OverlayQ4& overlay = Instance;
    // Only x is in the viewer's stretched picture; y is passed as it stands.
    const float vx = x * ratio;
    const float previous = last_pressure;
    if (previous == 0.0f && pressure > 0.0f) {
        event_state = kPress;
        overlay.HandleInteraction(INTER_PRESS, vx, y);
        if (AnyGrabbed()) {
            handle_dragged = 1;
            sparkViewingCursor(kCursorGrabbing);
        } else {
            handle_dragged = 0;
            sparkViewingCursor(kCursorNormal);
        }
    } else if (previous > 0.0f && pressure > 0.0f) {
        event_state = kDrag;
        overlay.HandleInteraction(INTER_DRAG, vx, y);
    } else if (previous > 0.0f && pressure == 0.0f) {
        event_state = kRelease;
        overlay.HandleInteraction(INTER_RELEASE, vx, y);
        sparkViewingCursor(kCursorNormal);
        event_state = kReleaseHandled;
    } else {
        event_state = kHover;
        overlay.HandleInteraction(INTER_MOVE, vx, y);
        sparkViewingCursor(AnyHighlighted() ? kCursorOverHandle : kCursorNormal);
    }
    last_pressure = pressure;

    if (event_state != kHover) sparkViewingDraw();

    // The frame is rendered once when a handle drag ends, never during it, so dragging stays
    // interactive on heavy swarms.
    if (handle_dragged && event_state == kReleaseHandled && On(SparkBoolean34)) {
        event_state = kHover;
        return SparkProcess(info);
    }
    event_state = kHover;
    return nullptr;
}

}  // extern "C"

unsigned long* OverlayCB() {
    sparkViewingDraw();
    return nullptr;
}
