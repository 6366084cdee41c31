// Overlay primitives in immediate-mode OpenGL, drawn while the host has its viewer's context
// current. Sizes meant in screen pixels are divided by the zoom.
#include "framework/OverlayQ4.h"

#include <GL/gl.h>
#include <math.h>

namespace {
const float kPi = 3.14159265358979f;
const double kDegToRad = 0.017453292522222223;
}

OverlayQ4::OverlayQ4()
    : overlay_width(0), overlay_height(0), overlay_aspect_num(1.0f), overlay_aspect_den(1.0f),
      overlay_zoom(1.0f) {}

OverlayQ4::~OverlayQ4() {}

void OverlayQ4::RenderOverlay() {}

void OverlayQ4::HandleInteraction(InterType, float, float) {}

void OverlayQ4::SetOverlayGeometry(float zoom, float aspect_num, float aspect_den, int width,
                                   int height) {
    overlay_zoom = zoom;
    overlay_aspect_num = aspect_num;
    overlay_aspect_den = aspect_den;
    overlay_width = width;
    overlay_height = height;
}

float OverlayQ4::GrabHandleSize() const { return 5.0f / overlay_zoom; }

float OverlayQ4::AspectQuotient() const { return overlay_aspect_num / overlay_aspect_den; }

void OverlayQ4::BeginRender() {}

void OverlayQ4::EndRender() {}

void OverlayQ4::SetColour(int r, int g, int b, int) {
    glColor3f((float)r / 65535.0f, (float)g / 65535.0f, (float)b / 65535.0f);
}

void OverlayQ4::DrawPixel(float x, float y) {
    glBegin(GL_POINTS);
    glVertex2f(x, y);
    glEnd();
}

void OverlayQ4::DrawLine(float x0, float y0, float x1, float y1) {
    glBegin(GL_LINES);
    glVertex2f(x0, y0);
    glVertex2f(x1, y1);
    glEnd();
}

// The selection flag is accepted but a handle looks the same selected or not, so that its
// on-screen size never changes under the pointer.
void OverlayQ4::DrawHandle(float x, float y, bool) {
    const float h = 5.0f / overlay_zoom;
    glBegin(GL_POLYGON);
    glVertex2f(x - h, y - h);
    glVertex2f(x + h, y - h);
    glVertex2f(x + h, y + h);
    glVertex2f(x - h, y + h);
    glEnd();
}

// Dashes of `dash` pixels alternating with gaps of the same length, starting with a gap; the
// last dash is cut where it would pass the end point.
void OverlayQ4::DrawLineDotted(float x0, float y0, float x1, float y1, int dash) {
    if (dash <= 0) return;
    const float dx = x1 - x0;
    const float dy = y1 - y0;
    const float length = sqrtf(dx * dx + dy * dy);
    const float steps = length / (float)dash;
    // Beyond 2^24 dashes the step count no longer counts in whole steps: such a line is not a
    // guide anyone could see, and drawing it would never finish.
    if (!(steps > 0.0f) || steps > 16777216.0f) return;
    const float sx = dx / steps;
    const float sy = dy / steps;
    float cx = x0;
    float cy = y0;
    for (int i = 0; (float)i < steps; ++i) {
        if (i & 1) {
            float ex = cx + sx;
            float ey = cy + sy;
            if ((sx > 0.0f && ex > x1) || (sx < 0.0f && ex < x1)) ex = x1;
            if ((sy > 0.0f && ey > y1) || (sy < 0.0f && ey < y1)) ey = y1;
            DrawLine(cx, cy, ex, ey);
        }
        cx += sx;
        cy += sy;
    }
}

// width and height are the diameters in pixels. Small ellipses are not drawn at all: below five
// pixels they would only clutter the handle they belong to.
void OverlayQ4::DrawEllipse(float cx, float cy, float width, float height, float angle,
                            int dotted, int divisions, float start, float end) {
    if (width < 5.0f || height < 5.0f) return;
    if (divisions <= 0) return;
    float step = 360.0f / (width * kPi / (float)divisions);
    if (step > 36.0f) step = 36.0f;
    if (!(step > 0.0f)) return;
    const float theta = (float)(angle * kDegToRad);
    const float ct = cosf(theta);
    const float st = sinf(theta);

    float first_x = 0.0f, first_y = 0.0f, prev_x = 0.0f, prev_y = 0.0f;
    int n = 0;
    for (float a = start; a <= end;) {
        const float ar = (float)(a * kDegToRad);
        const float u = cosf(ar) * width / 2.0f;
        const float v = sinf(ar) * height / 2.0f;
        const float px = u * ct - v * st + cx;
        const float py = u * st + v * ct + cy;
        if (n == 0) {
            first_x = prev_x = px;
            first_y = prev_y = py;
        }
        if (!dotted || (n & 1)) DrawLine(prev_x, prev_y, px, py);
        prev_x = px;
        prev_y = py;
        ++n;
        // An ellipse so large that the step no longer moves the angle ends here.
        const float next = a + step;
        if (!(next > a)) break;
        a = next;
    }
    if (n > 0 && start == 0.0f && end == 360.0f) DrawLine(first_x, first_y, prev_x, prev_y);
}

// The rectangle's height is given in picture rows; it is turned with the pixel aspect so that a
// rotated rectangle keeps its shape on a non-square-pixel picture.
void OverlayQ4::DrawRectangle(float cx, float cy, float width, float height, float angle,
                              int dotted, int dash) {
    const float k = AspectQuotient();
    const float h = height / k;
    const float theta = (float)(angle * kDegToRad);
    const float ct = cosf(theta);
    const float st = sinf(theta);
    static const int signs[5][2] = {{1, 1}, {1, -1}, {-1, -1}, {-1, 1}, {1, 1}};
    float px[5], py[5];
    for (int i = 0; i < 5; ++i) {
        const float ox = (float)signs[i][0] * width / 2.0f;
        const float oy = (float)signs[i][1] * h / 2.0f;
        px[i] = cx + (ox * ct - oy * st);
        py[i] = cy + (ox * st + oy * ct) * k;
    }
    for (int i = 0; i < 4; ++i) {
        if (dotted)
            DrawLineDotted(px[i], py[i], px[i + 1], py[i + 1], dash);
        else
            DrawLine(px[i], py[i], px[i + 1], py[i + 1]);
    }
}

void OverlayQ4::DrawCrosshair(float x, float y, int diagonals) {
    const float r1 = 10.0f / overlay_zoom;
    const float r2 = 25.0f / overlay_zoom;
    DrawLine(x + r1, y, x + r2, y);
    DrawLine(x - r1, y, x - r2, y);
    DrawLine(x, y + r1, x, y + r2);
    DrawLine(x, y - r1, x, y - r2);
    if (diagonals) {
        const float d1 = r1 / 2.0f;
        const float d2 = r2 / 2.0f;
        DrawLine(x + d1, y + d1, x + d2, y + d2);
        DrawLine(x - d1, y + d1, x - d2, y + d2);
        DrawLine(x - d1, y - d1, x - d2, y - d2);
        DrawLine(x + d1, y - d1, x + d2, y - d2);
    }
}

// An arrow head at (x0, y0): two barbs running back towards (x1, y1), so the head points away
// from it.
void OverlayQ4::DrawArrow(float x0, float y0, float x1, float y1) {
    const float theta0 =
        (float)(atan2f(fabsf(y1 - y0), fabsf(x1 - x0)) * 57.29577950560105);
    float theta = theta0;
    if (x0 > x1 && y1 >= y0)
        theta = 180.0f - theta0;
    else if (x0 >= x1 && y0 > y1)
        theta = 180.0f + theta0;
    else if (x1 > x0 && y0 > y1)
        theta = 360.0f - theta0;
    const float barb = 40.0f / overlay_zoom;
    for (int side = 1; side >= -1; side -= 2) {   // the barb at theta + 20 first
        const float a = (float)((theta + 20.0f * (float)side) * kDegToRad);
        DrawLine(x0, y0, x0 + barb * cosf(a), y0 + barb * sinf(a));
    }
}
