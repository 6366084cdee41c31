// Overlay handles: picking, dragging and writing the dragged geometry to the host controls.
#include "framework/OverlayControlQ4.h"

#include <math.h>

namespace {

// Host controls hold unit-range geometry in hundredths. The maximum is tested before the
// minimum, so a minimum above the maximum wins.
float ClampMax(float v, const SparkFloatStruct* c) {
    if (c && v * 100.0f > c->Max) return c->Max / 100.0f;
    return v;
}

float ClampMin(float v, const SparkFloatStruct* c) {
    if (c && c->Min > v * 100.0f) return c->Min / 100.0f;
    return v;
}

void WriteControl(SparkFloatStruct* c, long number, float value) {
    if (!c) return;
    c->Value = value;
    sparkControlUpdate((int)number);
}

// Both values of a pair are in place before the host hears of either, so it never shows a point
// half moved.
void WritePair(SparkFloatStruct* x, SparkFloatStruct* y, long number, float vx, float vy) {
    if (x) x->Value = vx;
    if (y) y->Value = vy;
    if (x) sparkControlUpdate((int)number);
    if (y) sparkControlUpdate((int)number + 1);
}

int ImageWidth(const OverlayQ4* o) { return o ? o->overlay_width : 0; }
int ImageHeight(const OverlayQ4* o) { return o ? o->overlay_height : 0; }

}  // namespace

// ---- base -----------------------------------------------------------------------------------

OverlayControlQ4::OverlayControlQ4()
    : control(0), x_control(nullptr), y_control(nullptr), colour_r(0xFFFF), colour_g(0xFFFF),
      colour_b(0xFFFF), colour_a(0xFFFF), grabbed(0), highlighted(0), overlay(nullptr),
      visible(1) {}

OverlayControlQ4::~OverlayControlQ4() {}

void OverlayControlQ4::HandleInteraction(InterType, float, float) {}

void OverlayControlQ4::HandleInteractionPlat(InterType, float, float) {}

void OverlayControlQ4::Bind(long number, SparkFloatStruct* x, SparkFloatStruct* y) {
    control = number;
    x_control = x;
    y_control = y;
}

void OverlayControlQ4::SetColour(int r, int g, int b, int a) {
    colour_r = r;
    colour_g = g;
    colour_b = b;
    colour_a = a;
}

void OverlayControlQ4::SetOverlay(OverlayQ4* owner) { overlay = owner; }

bool OverlayControlQ4::PickTest(float hx, float hy, float x, float y) const {
    if (!overlay) return false;
    const float g = overlay->GrabHandleSize();
    return x - g < hx && hx < x + g && y - g < hy && hy < y + g;
}

// ---- crosshair ------------------------------------------------------------------------------

CrosshairOverlayQ4::CrosshairOverlayQ4()
    : pos_x(0.0f), pos_y(0.0f), handle_x(0.0f), handle_y(0.0f), diagonals(0) {}

void CrosshairOverlayQ4::SetPosition(float x, float y) {
    pos_x = x;
    pos_y = y;
}

void CrosshairOverlayQ4::HandleInteraction(InterType type, float x, float y) {
    switch (type) {
    case INTER_MOVE:
        highlighted = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        HandleInteractionPlat(INTER_MOVE, x, y);
        break;
    case INTER_PRESS:
        highlighted = grabbed = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        HandleInteractionPlat(INTER_PRESS, x, y);
        break;
    case INTER_DRAG:
        if (grabbed && ImageWidth(overlay) > 0 && ImageHeight(overlay) > 0) {
            pos_x = x / (float)ImageWidth(overlay);
            pos_y = y / (float)ImageHeight(overlay);
        }
        HandleInteractionPlat(INTER_DRAG, x, y);
        break;
    case INTER_RELEASE:
        HandleInteractionPlat(INTER_RELEASE, x, y);
        grabbed = 0;
        break;
    default:
        break;
    }
}

void CrosshairOverlayQ4::HandleInteractionPlat(InterType type, float, float) {
    if (type != INTER_DRAG || !grabbed) return;
    pos_x = ClampMax(pos_x, x_control);
    pos_y = ClampMax(pos_y, y_control);
    pos_x = ClampMin(pos_x, x_control);
    pos_y = ClampMin(pos_y, y_control);
    WritePair(x_control, y_control, control, pos_x * 100.0f, pos_y * 100.0f);
}

// ---- line -----------------------------------------------------------------------------------

LineOverlayQ4::LineOverlayQ4()
    : end_control(0), end_x_control(nullptr), end_y_control(nullptr), start_x(0.0f),
      start_y(0.0f), end_x(0.0f), end_y(0.0f), handle_x(0.0f), handle_y(0.0f), last_x(0.0f),
      last_y(0.0f) {}

void LineOverlayQ4::BindEnd(long number, SparkFloatStruct* x, SparkFloatStruct* y) {
    end_control = number;
    end_x_control = x;
    end_y_control = y;
}

void LineOverlayQ4::SetLine(float x0, float y0, float x1, float y1) {
    start_x = x0;
    start_y = y0;
    end_x = x1;
    end_y = y1;
}

void LineOverlayQ4::HandleInteraction(InterType type, float x, float y) {
    switch (type) {
    case INTER_MOVE:
        highlighted = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        HandleInteractionPlat(INTER_MOVE, x, y);
        break;
    case INTER_PRESS:
        highlighted = grabbed = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        last_x = x;
        last_y = y;
        HandleInteractionPlat(INTER_PRESS, x, y);
        break;
    case INTER_DRAG:
        // The one handle carries the whole line: both points follow the pointer's movement.
        if (grabbed && ImageWidth(overlay) > 0 && ImageHeight(overlay) > 0) {
            const float dx = (x - last_x) / (float)ImageWidth(overlay);
            const float dy = (y - last_y) / (float)ImageHeight(overlay);
            start_x += dx;
            start_y += dy;
            end_x += dx;
            end_y += dy;
            last_x = x;
            last_y = y;
        }
        HandleInteractionPlat(INTER_DRAG, x, y);
        break;
    case INTER_RELEASE:
        HandleInteractionPlat(INTER_RELEASE, x, y);
        grabbed = 0;
        break;
    default:
        break;
    }
}

void LineOverlayQ4::HandleInteractionPlat(InterType type, float, float) {
    if (type != INTER_DRAG || !grabbed) return;
    start_x = ClampMax(start_x, x_control);
    start_y = ClampMax(start_y, y_control);
    // The end x's clamp lands in the start x and leaves the end x as it was: kept, as lines have
    // always behaved this way at the edge of their range.
    if (end_x_control && end_x * 100.0f > end_x_control->Max) start_x = end_x_control->Max / 100.0f;
    end_y = ClampMax(end_y, end_y_control);
    start_x = ClampMin(start_x, x_control);
    start_y = ClampMin(start_y, y_control);
    if (end_x_control && end_x_control->Min > end_x * 100.0f) start_x = end_x_control->Min / 100.0f;
    end_y = ClampMin(end_y, end_y_control);
    WritePair(x_control, y_control, control, start_x * 100.0f, start_y * 100.0f);
    WritePair(end_x_control, end_y_control, end_control, end_x * 100.0f, end_y * 100.0f);
}

// ---- angle ----------------------------------------------------------------------------------

AngleOverlayQ4::AngleOverlayQ4()
    : centre_x(0.0f), centre_y(0.0f), length(0.0f), angle(0.0f), handle_x(0.0f),
      handle_y(0.0f) {}

void AngleOverlayQ4::SetAngle(float cx, float cy, float len, float degrees) {
    centre_x = cx;
    centre_y = cy;
    length = len;
    angle = degrees;
}

void AngleOverlayQ4::HandleInteraction(InterType type, float x, float y) {
    switch (type) {
    case INTER_MOVE:
        highlighted = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        HandleInteractionPlat(INTER_MOVE, x, y);
        break;
    case INTER_PRESS:
        highlighted = grabbed = PickTest(handle_x, handle_y, x, y) ? 1 : 0;
        HandleInteractionPlat(INTER_PRESS, x, y);
        break;
    case INTER_DRAG:
        if (grabbed) {
            const float cx = centre_x * (float)ImageWidth(overlay);
            const float cy = centre_y * (float)ImageHeight(overlay);
            angle = (float)(atan2f(y - cy, x - cx) * 57.29577950560105);
            // A control that counts only upwards from 0 gets the full turn, 0 to 360; a signed
            // control keeps the signed angle.
            if (x_control && x_control->Min >= 0.0f && angle < 0.0f) angle += 360.0f;
        }
        HandleInteractionPlat(INTER_DRAG, x, y);
        break;
    case INTER_RELEASE:
        HandleInteractionPlat(INTER_RELEASE, x, y);
        grabbed = 0;
        break;
    default:
        break;
    }
}

void AngleOverlayQ4::HandleInteractionPlat(InterType type, float, float) {
    if (type != INTER_DRAG || !grabbed || !x_control) return;
    if (angle > x_control->Max) angle = x_control->Max;
    if (angle < x_control->Min) angle = x_control->Min;
    WriteControl(x_control, control, angle);
}

// ---- circle ---------------------------------------------------------------------------------

CircleOverlayQ4::CircleOverlayQ4()
    : width_control(0), width_record(nullptr), height_control(0), height_record(nullptr),
      centre_x(0.0f), centre_y(0.0f), width(0.0f), height(0.0f), angle(0.0f), lock(0),
      dotted(0), third_mode(0), handle_x{0.0f, 0.0f, 0.0f}, handle_y{0.0f, 0.0f, 0.0f} {}

void CircleOverlayQ4::BindSize(long wn, SparkFloatStruct* w, long hn, SparkFloatStruct* h) {
    width_control = wn;
    width_record = w;
    height_control = hn;
    height_record = h;
}

void CircleOverlayQ4::SetCircle(float cx, float cy, float w, float h, float degrees) {
    centre_x = cx;
    centre_y = cy;
    width = w;
    height = h;
    angle = degrees;
}

void CircleOverlayQ4::SetModes(int lock_flag, int dotted_flag, int third_flag) {
    lock = lock_flag;
    dotted = dotted_flag;
    third_mode = third_flag;
}

int CircleOverlayQ4::Pick(float x, float y) const {
    for (int k = 1; k <= 3; ++k) {
        if (lock && k != 2) continue;   // a locked ellipse offers only its width handle
        if (PickTest(handle_x[k - 1], handle_y[k - 1], x, y)) return k;
    }
    return 0;
}

void CircleOverlayQ4::HandleInteraction(InterType type, float x, float y) {
    switch (type) {
    case INTER_MOVE:
        highlighted = Pick(x, y);
        HandleInteractionPlat(INTER_MOVE, x, y);
        break;
    case INTER_PRESS:
        highlighted = grabbed = Pick(x, y);
        HandleInteractionPlat(INTER_PRESS, x, y);
        break;
    case INTER_DRAG: {
        const float W = (float)ImageWidth(overlay);
        const float H = (float)ImageHeight(overlay);
        if (W > 0.0f) {
            const float cx = centre_x * W;
            const float cy = centre_y * H;
            const float dx = x - cx;
            const float dy = y - cy;
            if (grabbed == 2) {
                width = 2.0f * sqrtf(dx * dx + dy * dy) / W;
            } else if (grabbed == 3) {
                // The height is a fraction of the image width too, like the width.
                height = 2.0f * sqrtf(dx * dx + dy * dy) / W;
            } else if (grabbed == 1 && width != 0.0f) {
                // Only the pointer's x enters: the ellipse keeps its proportions. An ellipse of
                // no width has no proportion to keep, and the diagonal leaves it alone.
                const float r = height / width;
                const float a = angle * 0.017453292f;
                const float q = -0.7853982f;
                const float u = dx / (cosf(a) * cosf(q) - sinf(a) * sinf(q) * r);
                width = 2.0f * u / W;
                height = 2.0f * (r * u) / W;
            }
        }
        HandleInteractionPlat(INTER_DRAG, x, y);
        break;
    }
    case INTER_RELEASE:
        HandleInteractionPlat(INTER_RELEASE, x, y);
        grabbed = 0;
        break;
    default:
        break;
    }
}

void CircleOverlayQ4::HandleInteractionPlat(InterType type, float, float) {
    if (type != INTER_DRAG) return;
    width = ClampMax(width, width_record);
    height = ClampMax(height, height_record);
    width = ClampMin(width, width_record);
    height = ClampMin(height, height_record);
    switch (grabbed) {
    case 2:
        WriteControl(width_record, width_control, width * 100.0f);
        break;
    case 3:
        WriteControl(height_record, height_control, height * 100.0f);
        break;
    case 1:
        if (width_record) width_record->Value = width * 100.0f;
        if (height_record) height_record->Value = height * 100.0f;
        if (width_record) sparkControlUpdate((int)width_control);
        if (height_record) sparkControlUpdate((int)height_control);
        break;
    default:
        break;
    }
}

// ---- rectangle ------------------------------------------------------------------------------

namespace {

// The pointer's offset from the rectangle's centre turned into the rectangle's own frame.
void RectangleFrame(const RectangleOverlayQ4& r, float x, float y, float* u, float* v) {
    const OverlayQ4* o = r.overlay;
    const float k = o ? o->AspectQuotient() : 1.0f;
    const float a = -r.angle * 0.017453292f;
    const float dx = x - r.centre_x * (float)ImageWidth(o);
    const float dy = y - r.centre_y * (float)ImageHeight(o);
    *u = cosf(a) * dx - (dy / k) * sinf(a);
    *v = dx * k * sinf(a) + cosf(a) * dy;
}

}  // namespace

RectangleOverlayQ4::RectangleOverlayQ4()
    : width_control(0), width_record(nullptr), height_control(0), height_record(nullptr),
      centre_x(0.0f), centre_y(0.0f), width(0.0f), height(0.0f), angle(0.0f),
      handle_x{0.0f, 0.0f, 0.0f}, handle_y{0.0f, 0.0f, 0.0f}, square_lock(0) {}

void RectangleOverlayQ4::BindSize(long wn, SparkFloatStruct* w, long hn, SparkFloatStruct* h) {
    width_control = wn;
    width_record = w;
    height_control = hn;
    height_record = h;
}

void RectangleOverlayQ4::SetRectangle(float cx, float cy, float w, float h, float degrees) {
    centre_x = cx;
    centre_y = cy;
    width = w;
    height = h;
    angle = degrees;
}

int RectangleOverlayQ4::Pick(float x, float y) const {
    for (int k = 1; k <= 3; ++k)
        if (PickTest(handle_x[k - 1], handle_y[k - 1], x, y)) return k;
    return 0;
}

void RectangleOverlayQ4::HandleInteraction(InterType type, float x, float y) {
    switch (type) {
    case INTER_MOVE:
        highlighted = Pick(x, y);
        HandleInteractionPlat(INTER_MOVE, x, y);
        break;
    case INTER_PRESS:
        highlighted = grabbed = Pick(x, y);
        HandleInteractionPlat(INTER_PRESS, x, y);
        break;
    case INTER_DRAG: {
        const float W = (float)ImageWidth(overlay);
        const float H = (float)ImageHeight(overlay);
        if (W > 0.0f && H > 0.0f) {
            float u, v;
            RectangleFrame(*this, x, y, &u, &v);
            if (grabbed == 2) {
                width = 2.0f * sqrtf(u * u + v * v) / W;
            } else if (grabbed == 3) {
                height = 2.0f * sqrtf(u * u + v * v) / H;
            } else if (grabbed == 1) {
                width = 2.0f * fabsf(u) / W;
                height = 2.0f * fabsf(v) / H;
            }
        }
        HandleInteractionPlat(INTER_DRAG, x, y);
        break;
    }
    case INTER_RELEASE:
        HandleInteractionPlat(INTER_RELEASE, x, y);
        grabbed = 0;
        break;
    default:
        break;
    }
}

void RectangleOverlayQ4::HandleInteractionPlat(InterType type, float x, float y) {
    if (type != INTER_DRAG) return;
    width = ClampMax(width, width_record);
    height = ClampMax(height, height_record);
    width = ClampMin(width, width_record);
    height = ClampMin(height, height_record);
    if (!square_lock) {
        switch (grabbed) {
        case 2:
            WriteControl(width_record, width_control, width * 100.0f);
            break;
        case 3:
            WriteControl(height_record, height_control, height * 100.0f);
            break;
        case 1:
            if (width_record) width_record->Value = width * 100.0f;
            if (height_record) height_record->Value = height * 100.0f;
            if (width_record) sparkControlUpdate((int)width_control);
            if (height_record) sparkControlUpdate((int)height_control);
            break;
        default:
            break;
        }
        return;
    }
    // A square rectangle has one size: the width control carries it, whichever handle moved,
    // and the height handle drives it as the width handle would.
    if (!width_record) return;
    if (grabbed == 3) {
        float u, v;
        RectangleFrame(*this, x, y, &u, &v);
        const float W = (float)ImageWidth(overlay);
        width_record->Value = W > 0.0f ? 100.0f * 2.0f * sqrtf(u * u + v * v) / W : 0.0f;
    } else {
        width_record->Value = width * 100.0f;
    }
    sparkControlUpdate((int)width_control);
}
