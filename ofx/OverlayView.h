// Where the effect's overlay lies in a compositor's viewer. The effect draws its handles and
// wireframe in the pixels of a Spark viewer: x to the right, y down the frame's rows from the top,
// sizes in screen pixels divided by the zoom. An OpenFX viewer draws in canonical coordinates:
// square units, y up, the project's pixel aspect already applied. The overlay is placed as a Spark
// viewer whose ratio is the pixel aspect shows it (displayed width = frame width x aspect), so one
// overlay pixel is one canonical unit and handles stay square on screen.
#ifndef OFX_OVERLAYVIEW_H
#define OFX_OVERLAYVIEW_H

#include "ofxapi/ofx.h"

namespace vesk_ofx {

struct OverlayView {
    // The full-resolution frame the effect works on, in its pixels, and where it sits.
    int frame_width = 0, frame_height = 0;
    double pixel_aspect = 1.0;
    double left = 0.0;   // canonical x of the frame's left edge
    double top = 0.0;    // canonical y of the frame's top edge
    // What the effect's overlay drawing is told (OverlayQ4::SetOverlayGeometry).
    int overlay_width = 0, overlay_height = 0;
    float zoom = 1.0f;         // screen pixels per overlay pixel
    float aspect_num = 1.0f;   // the Spark bridge's aspect correction, (aspect + 1) - ratio

    bool valid() const { return overlay_width > 0 && overlay_height > 0; }
    // A canonical point in overlay pixels, and back.
    void ToOverlay(double x, double y, float* ox, float* oy) const;
    void ToCanonical(float ox, float oy, double* x, double* y) const;
};

// The view of a frame whose region of definition is `rod` (canonical), drawn with
// `pixel_scale` canonical units per screen pixel. The frame's pixel grid is the one the render
// works on: width and height rounded from the region, its origin rounded from the corner.
OverlayView MakeOverlayView(const OfxRectD& rod, double pixel_aspect, const double pixel_scale[2]);

}  // namespace vesk_ofx

#endif
