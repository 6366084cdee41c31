// Draw-overlay members: each sets the handle object's colour, turns its unit-range geometry into
// image pixels, draws the shape and its handles, and records where the handles went, so that
// picking always uses the place last drawn.
#include "framework/OverlayControlQ4.h"
#include "framework/OverlayQ4.h"

#include <math.h>

namespace {

const double kDegToRad = 0.017453292522222223;

void UseColour(OverlayQ4* o, const OverlayControlQ4* h) {
    o->SetColour(h->colour_r, h->colour_g, h->colour_b, h->colour_a);
}

}  // namespace

void OverlayQ4::DrawCrosshairOverlay(CrosshairOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    const float px = h->pos_x * (float)overlay_width;
    const float py = h->pos_y * (float)overlay_height;
    DrawCrosshair(px, py, h->diagonals);
    DrawHandle(px, py, h->highlighted != 0);
    h->handle_x = px;
    h->handle_y = py;
}

void OverlayQ4::DrawLineOverlay(LineOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    const float x0 = h->start_x * (float)overlay_width;
    const float y0 = h->start_y * (float)overlay_height;
    const float x1 = h->end_x * (float)overlay_width;
    const float y1 = h->end_y * (float)overlay_height;
    DrawLine(x0, y0, x1, y1);
    const float mx = (x0 + x1) / 2.0f;
    const float my = (y0 + y1) / 2.0f;
    DrawHandle(mx, my, h->highlighted != 0);
    h->handle_x = mx;
    h->handle_y = my;
}

namespace {

// End of an angle pointer in pixels; its length is a fraction of the image width, and the
// vertical part follows the pixel aspect.
void AngleEnd(const OverlayQ4* o, const AngleOverlayQ4* h, float* cx, float* cy, float* ex,
              float* ey) {
    const float W = (float)o->overlay_width;
    const float H = (float)o->overlay_height;
    const float a = (float)(h->angle * kDegToRad);
    *cx = h->centre_x * W;
    *cy = h->centre_y * H;
    *ex = *cx + cosf(a) * h->length * W;
    *ey = *cy + sinf(a) * h->length * W * o->AspectQuotient();
}

}  // namespace

void OverlayQ4::DrawAngleOverlay(AngleOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    float cx, cy, ex, ey;
    AngleEnd(this, h, &cx, &cy, &ex, &ey);
    DrawLine(cx, cy, ex, ey);
    DrawHandle(ex, ey, h->highlighted != 0);
    h->handle_x = ex;
    h->handle_y = ey;
}

void OverlayQ4::DrawPointyAngleOverlay(AngleOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    float cx, cy, ex, ey;
    AngleEnd(this, h, &cx, &cy, &ex, &ey);
    DrawCrosshair(cx, cy, 1);
    DrawLine(cx, cy, ex, ey);
    DrawArrow(ex, ey, cx, cy);
    DrawHandle(ex, ey, h->highlighted != 0);
    h->handle_x = ex;
    h->handle_y = ey;
}

void OverlayQ4::DrawCircleOverlay(CircleOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    const float W = (float)overlay_width;
    const float cx = h->centre_x * W;
    const float cy = h->centre_y * (float)overlay_height;
    // Both diameters are fractions of the image width, so a circle stays round.
    const float w = h->width * W;
    const float ht = h->height * W;
    DrawEllipse(cx, cy, w, ht, h->angle, h->dotted, 4, 0.0f, 360.0f);

    // Handles sit on the ellipse, turned with it: 1 diagonal at -45 degrees, 2 width at 0,
    // 3 height at -90.
    static const float kHandleDegrees[3] = {-45.0f, 0.0f, -90.0f};
    const float t = (float)(h->angle * kDegToRad);
    for (int k = 0; k < 3; ++k) {
        if (h->lock && k != 1) continue;
        const float a = (float)(kHandleDegrees[k] * kDegToRad);
        const float u = cosf(a) * w / 2.0f;
        const float v = sinf(a) * ht / 2.0f;
        const float px = u * cosf(t) - v * sinf(t) + cx;
        const float py = u * sinf(t) + v * cosf(t) + cy;
        DrawHandle(px, py, h->highlighted == k + 1);
        h->handle_x[k] = px;
        h->handle_y[k] = py;
    }
}

void OverlayQ4::DrawRectangleOverlay(RectangleOverlayQ4* h) {
    if (!h) return;
    h->overlay = this;
    UseColour(this, h);
    const float cx = h->centre_x * (float)overlay_width;
    const float cy = h->centre_y * (float)overlay_height;
    const float w = h->width * (float)overlay_width;
    const float ht = h->height * (float)overlay_height;
    DrawRectangle(cx, cy, w, ht, h->angle, 0, 0);

    // Handles at the (+, +) corner and the middles of the +x and +y edges, placed exactly as
    // the rectangle's own corners are, so that a drag finds the size where the handle was.
    const float k = AspectQuotient();
    const float t = (float)(h->angle * kDegToRad);
    const float ct = cosf(t);
    const float st = sinf(t);
    const float offsets[3][2] = {{w / 2.0f, ht / k / 2.0f}, {w / 2.0f, 0.0f}, {0.0f, ht / k / 2.0f}};
    for (int i = 0; i < 3; ++i) {
        const float ox = offsets[i][0];
        const float oy = offsets[i][1];
        const float px = cx + (ox * ct - oy * st);
        const float py = cy + (ox * st + oy * ct) * k;
        DrawHandle(px, py, h->highlighted == i + 1);
        h->handle_x[i] = px;
        h->handle_y[i] = py;
    }
}
