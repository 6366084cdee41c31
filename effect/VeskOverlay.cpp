// The effect's drawing over the host's viewer: in "Render Mode: Wireframe" an outline of every
// particle in its own colour, and always the handles by which the birth point, the birth area,
// the food and the predator are dragged.
#include <math.h>

#include "effect/Particles.h"
#include "effect/Shapes.h"
#include "effect/Vesk.h"

namespace {

// "Render Mode: Render" is the first entry; lists count from 1.
const int kRenderModeRender = 1;

// Particles this far outside the picture (a fifth of the frame) are still outlined, so that
// shapes entering from the edge can be seen before they arrive.
const float kMarginLow = -0.2f;
const float kMarginHigh = 1.2f;

// The outline turns with the rendered shape: base rotation, plus the direction of travel with
// Living Rotate.
float OutlineAngle(const tagPARTSET* s, const tagPART* p) {
    return orientation_angle(s->base_rotation, s->living_rotate, p->heading);
}

tagPOS Point(double x, double y) {
    tagPOS p;
    p.x = (float)x;
    p.y = (float)y;
    p.z = 0.0f;
    return p;
}

// Vertices of the polygon shapes around (cx, cy), in the renderer's order; returns the count.
int ShapeVertices(int mode, float cx, float cy, float rxf, float ryf, float kf, tagPOS* v) {
    switch (mode) {
    case 2:   // triangle, tip along +x
        v[0] = Point(cx + 1.5f * rxf, cy);
        v[1] = Point(cx - 0.5f * rxf, cy + ryf);
        v[2] = Point(cx - 0.5f * rxf, cy - ryf);
        return 3;
    case 3:   // diamond
        v[0] = Point(cx + 1.5f * rxf, cy);
        v[1] = Point(cx, cy + 1.5f * ryf);
        v[2] = Point(cx - 1.5f * rxf, cy);
        v[3] = Point(cx, cy - 1.5f * ryf);
        return 4;
    case 4: {   // four-point star; worked in double from the float radii, as the renderer does
        const double q = 0.7071, k = kf, rx = rxf, ry = ryf;
        v[0] = Point(cx, (double)cy + ry);
        v[1] = Point(cx + k * rx * q, cy + k * ry * q);
        v[2] = Point((double)cx + rx, cy);
        v[3] = Point(cx + k * rx * q, cy - k * ry * q);
        v[4] = Point(cx, (double)cy - ry);
        v[5] = Point(cx - k * rx * q, cy - k * ry * q);
        v[6] = Point((double)cx - rx, cy);
        v[7] = Point(cx - k * rx * q, cy + k * ry * q);
        return 8;
    }
    case 5: {   // five-point star; outer and inner coefficients are rounded differently
        const double k = kf, rx = rxf, ry = ryf;
        v[0] = Point(cx, (double)cy + ry);
        v[1] = Point(cx + k * rx * 0.5878, cy + k * ry * 0.809);
        v[2] = Point(cx + rx * 0.95106, cy + ry * 0.30902);
        v[3] = Point(cx + k * rx * 0.95105, cy - k * ry * 0.309);
        v[4] = Point(cx + rx * 0.58778, cy - ry * 0.80902);
        v[5] = Point(cx, cy - k * ry);
        v[6] = Point(cx - rx * 0.58778, cy - ry * 0.80902);
        v[7] = Point(cx - k * rx * 0.95105, cy - k * ry * 0.309);
        v[8] = Point(cx - rx * 0.95106, cy + ry * 0.30902);
        v[9] = Point(cx - k * rx * 0.5878, cy + k * ry * 0.809);
        return 10;
    }
    default:
        return 0;
    }
}

}  // namespace

void Vesk::PartDrawGL(tagPARTSET* s, int mode) {
    if (!s || !s->live_list) return;
    if (info.render_mode.GetValue(-1.0) == kRenderModeRender) return;

    const float width = (float)overlay_width;
    const float height = (float)overlay_height;
    const float ratio = (float)pixel_ratio;
    const float divisor = res_scale;

    for (tagPART* p = s->live_list; p; p = p->next) {
        if (p->pos.x < kMarginLow || p->pos.x > kMarginHigh || p->pos.y < kMarginLow ||
            p->pos.y > kMarginHigh)
            continue;
        // Particle colours are on the 15-bit pixel scale; the overlay takes 16-bit values.
        SetColour((int)(2.0f * p->colour[0]), (int)(2.0f * p->colour[1]),
                  (int)(2.0f * p->colour[2]), 65535);
        const float cx = p->pos.x * width;
        const float cy = p->pos.y * height;

        tagPOS v[10];
        int count = 0;
        if (mode == 0) {
            const float w = (float)p->isize_full / divisor;
            DrawEllipse(cx, cy, w, w * ratio, 0.0f, 0, 10, 0.0f, 360.0f);
            continue;
        } else if (mode == 1 || (mode >= 6 && mode <= 8)) {
            // The height takes the pixel ratio and not the resolution divisor; outlines of
            // rectangles and textures have always been drawn this way.
            const float hw = 0.5f * p->size_full[0] / divisor;
            const float hh = 0.5f * p->size_full[1] * ratio;
            v[0] = Point(cx - hw, cy + hh);
            v[1] = Point(cx + hw, cy + hh);
            v[2] = Point(cx + hw, cy - hh);
            v[3] = Point(cx - hw, cy - hh);
            count = 4;
        } else if (mode >= 2 && mode <= 5) {
            const float rx = 0.5f * p->size_full[0] / divisor;
            const float ry = 0.5f * p->size_full[1] / divisor;
            count = ShapeVertices(mode, cx, cy, rx, ry, s->star_sharpness, v);
        }
        if (count == 0) continue;

        const float angle = OutlineAngle(s, p);
        for (int i = 0; i < count; ++i) v[i] = VRotate(v[i], (int)cx, (int)cy, angle);
        for (int i = 0; i < count; ++i) {
            const tagPOS& a = v[i];
            const tagPOS& b = v[(i + 1) % count];
            DrawLine(a.x, a.y, b.x, b.y);
        }
    }
}

void Vesk::RenderOverlay() {
    BeginRender();
    if (set) PartDrawGL(set, set->shape);

    VeskInfo& in = info;
    const float bx = (float)in.birth_pos.cache_x;
    const float by = (float)in.birth_pos.cache_y;
    if (in.birth_handle.visible) {
        in.birth_handle.SetPosition(bx, by);
        DrawCrosshairOverlay(&in.birth_handle);
    }
    if (in.radius_handle.visible) {
        // The birth area is drawn dotted, with all three of its handles offered.
        const float r = (float)in.birth_radius.cache;
        in.radius_handle.SetCircle(bx, by, r, r * AspectQuotient(), in.radius_handle.angle);
        in.radius_handle.SetModes(0, 1, 0);
        DrawCircleOverlay(&in.radius_handle);
    }
    if (in.food_handle.visible && in.hunt_food.GetValue(-1.0)) {
        in.food_handle.SetPosition((float)in.food_pos.cache_x, (float)in.food_pos.cache_y);
        DrawCrosshairOverlay(&in.food_handle);
    }
    if (in.predator_handle.visible && in.avoid_predator.GetValue(-1.0)) {
        in.predator_handle.SetPosition((float)in.predator_pos.cache_x,
                                       (float)in.predator_pos.cache_y);
        DrawCrosshairOverlay(&in.predator_handle);
    }
    EndRender();
}

void Vesk::HandleInteraction(InterType type, float x, float y) {
    VeskInfo& in = info;
    in.birth_handle.HandleInteraction(type, x, y);
    in.radius_handle.HandleInteraction(type, x, y);
    if (in.avoid_predator.GetValue(-1.0)) in.predator_handle.HandleInteraction(type, x, y);
    if (in.hunt_food.GetValue(-1.0)) in.food_handle.HandleInteraction(type, x, y);
}
