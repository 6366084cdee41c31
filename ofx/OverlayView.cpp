#include "ofx/OverlayView.h"

#include <cmath>

namespace vesk_ofx {

void OverlayView::ToOverlay(double x, double y, float* ox, float* oy) const {
    *ox = (float)(x - left);
    *oy = (float)(top - y);
}

void OverlayView::ToCanonical(float ox, float oy, double* x, double* y) const {
    *x = left + ox;
    *y = top - oy;
}

OverlayView MakeOverlayView(const OfxRectD& rod, double pixel_aspect, const double pixel_scale[2]) {
    OverlayView v;
    v.pixel_aspect = pixel_aspect > 0.0 ? pixel_aspect : 1.0;
    const double par = v.pixel_aspect;
    // The same grid the render lays the frame on.
    const long x0 = std::lround(rod.x1 / par);
    const long y0 = std::lround(rod.y1);
    v.frame_width = (int)std::lround((rod.x2 - rod.x1) / par);
    v.frame_height = (int)std::lround(rod.y2 - rod.y1);
    if (v.frame_width <= 0 || v.frame_height <= 0) return OverlayView();
    v.left = (double)x0 * par;
    v.top = (double)(y0 + v.frame_height);

    // A Spark viewer of ratio = pixel aspect: the displayed width is truncated as it does.
    const float ratio = (float)par;
    v.overlay_width = (int)((float)v.frame_width * ratio);
    v.overlay_height = v.frame_height;
    v.aspect_num = ((float)par + 1.0f) - ratio;
    // Handles keep their size in screen pixels: 10 screen pixels are 10 / zoom overlay pixels.
    const double scale = pixel_scale && pixel_scale[0] > 0.0 ? pixel_scale[0] : 1.0;
    v.zoom = (float)(1.0 / scale);
    return v;
}

}  // namespace vesk_ofx
