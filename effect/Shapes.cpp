// Polygonal particle shapes: each routine builds its polygon around the particle's pixel centre
// from the particle's width and height, turns it by the base rotation (plus the direction of
// travel with Living Rotate) and hands it to the rasteriser of its band.
#include <cmath>

#include "effect/Particles.h"
#include "effect/Shapes.h"
#include "effect/Vesk.h"

namespace {

tagPOS turn_about(tagPOS p, int cx, int cy, float angle)
{
    float c, s;
    cos_sin_deg(angle, c, s);
    const float dx = p.x - (float)cx;
    const float dy = p.y - (float)cy;
    p.x = c * dx + s * dy + (float)cx;
    p.y = c * dy - s * dx + (float)cy;
    return p;
}

tagPOS at(double x, double y)
{
    tagPOS p;
    p.x = (float)x;
    p.y = (float)y;
    p.z = 0.0f;
    return p;
}

}  // namespace

// Only the conversion factor is double: the radians are held as a float and their cosine and
// sine are single precision, so every rotation turns by exactly the same float pair.
void cos_sin_deg(float angle, float& c, float& s)
{
    const float t = (float)((double)angle * DEG_TO_RAD);
    c = std::cos(t);
    s = std::sin(t);
}

// The arc cosine and its scaling are double, rounded once to float; the turn for a downward
// heading and the sum with the base rotation are float.
float orientation_angle(float base_rotation, int living_rotate, const float heading[2])
{
    if (!living_rotate) return base_rotation;
    float theta = (float)(std::acos((double)heading[0]) * RAD_TO_DEG);
    if (heading[1] > 0.0f) theta = 360.0f - theta;
    return base_rotation + theta;
}

tagPOS Rotate(tagPOS p, int cx, int cy, float angle) { return turn_about(p, cx, cy, angle); }

tagPOS VRotate(tagPOS p, int cx, int cy, float angle) { return turn_about(p, cx, cy, angle); }

tagPOS RotateInZ(tagPOS p, float angle)
{
    float c, s;
    cos_sin_deg(angle, c, s);
    const float x = p.x, y = p.y;
    p.x = c * x + s * y;
    p.y = c * y - s * x;
    return p;
}

tagPOS RotateInX(tagPOS p, float angle)
{
    float c, s;
    cos_sin_deg(angle, c, s);
    const float y = p.y, z = p.z;
    p.y = s * z + c * y;
    p.z = c * z - s * y;
    return p;
}

tagPOS RotateInY(tagPOS p, float angle)
{
    float c, s;
    cos_sin_deg(angle, c, s);
    const float x = p.x, z = p.z;
    p.x = c * x - s * z;
    p.z = c * z + s * x;
    return p;
}

// The heading's angle: 0 along +x, 90 straight up the image, 270 straight down (image y runs
// downward, so a positive y component turns the other way round).
float Vesk::shape_angle(tagPART* p)
{
    return orientation_angle(set->base_rotation, set->living_rotate, p->heading);
}

namespace {

// The culling radius is the plain half size for every shape, even for the diamond and the
// triangle whose points reach 1.5 times further: a shape near the edge may be skipped while its
// tip would still show. Kept so existing setups render the same pixels.
bool visible(int cx, int cy, float r, int y0, int y1, int width)
{
    return (int)((float)cx + r) >= 0 && (int)((float)cx - r) < width &&
           (int)((float)cy + r) >= y0 && (int)((float)cy - r) < y1;
}

}  // namespace

void Vesk::draw_square(int cx, int cy, int W, int H, int y0, int y1, tagPART* p, int band)
{
    const float hx = (float)(W / 2) + 0.5f;
    const float hy = (float)(H / 2) + 0.5f;
    if (!visible(cx, cy, hy > hx ? hy : hx, y0, y1, set->width2)) return;
    const float fx = (float)cx, fy = (float)cy;
    tagPOS v[4] = {at(fx - hx, fy + hy), at(fx + hx, fy + hy), at(fx + hx, fy - hy),
                   at(fx - hx, fy - hy)};
    const float angle = shape_angle(p);
    for (tagPOS& q : v) q = Rotate(q, cx, cy, angle);
    concave_d(4, v, p, band);
}

void Vesk::draw_triangle(int cx, int cy, int W, int H, int y0, int y1, tagPART* p, int band)
{
    const float rx = (float)(W / 2);
    const float ry = (float)(H / 2);
    if (!visible(cx, cy, ry > rx ? ry : rx, y0, y1, set->width2)) return;
    const float fx = (float)cx, fy = (float)cy;
    // The tip points along +x: right at angle 0, along the heading with Living Rotate.
    tagPOS v[3] = {at(fx + 1.5f * rx, fy), at(fx - 0.5f * rx, fy + ry), at(fx - 0.5f * rx, fy - ry)};
    const float angle = shape_angle(p);
    for (tagPOS& q : v) q = Rotate(q, cx, cy, angle);
    concave_d(3, v, p, band);
}

void Vesk::draw_diamond(int cx, int cy, int W, int H, int y0, int y1, tagPART* p, int band)
{
    const float rx = (float)(W / 2);
    const float ry = (float)(H / 2);
    if (!visible(cx, cy, ry > rx ? ry : rx, y0, y1, set->width2)) return;
    const float fx = (float)cx, fy = (float)cy;
    tagPOS v[4] = {at(fx + 1.5f * rx, fy), at(fx, fy + 1.5f * ry), at(fx - 1.5f * rx, fy),
                   at(fx, fy - 1.5f * ry)};
    const float angle = shape_angle(p);
    for (tagPOS& q : v) q = Rotate(q, cx, cy, angle);
    concave_d(4, v, p, band);
}

void Vesk::draw_star4pt(int cx, int cy, int W, int H, int y0, int y1, tagPART* p, int band)
{
    const float rx = (float)(W / 2);
    const float ry = (float)(H / 2);
    if (!visible(cx, cy, ry > rx ? ry : rx, y0, y1, set->width2)) return;
    // Star coefficients are worked in double from the float radii and stored as float.
    const double x = cx, y = cy, X = rx, Y = ry, k = set->star_sharpness, q = 0.7071;
    tagPOS v[8] = {
        at(x, y + Y),
        at(x + k * X * q, y + k * Y * q),
        at(x + X, y),
        at(x + k * X * q, y - k * Y * q),
        at(x, y - Y),
        at(x - k * X * q, y - k * Y * q),
        at(x - X, y),
        at(x - k * X * q, y + k * Y * q),
    };
    const float angle = shape_angle(p);
    for (tagPOS& pt : v) pt = Rotate(pt, cx, cy, angle);
    concave_d(8, v, p, band);
}

void Vesk::draw_star5pt(int cx, int cy, int W, int H, int y0, int y1, tagPART* p, int band)
{
    const float rx = (float)(W / 2);
    const float ry = (float)(H / 2);
    if (!visible(cx, cy, ry > rx ? ry : rx, y0, y1, set->width2)) return;
    // Outer and inner points carry differently rounded coefficients; they are used exactly as
    // they have always been so the stars keep their shape.
    const double x = cx, y = cy, X = rx, Y = ry, k = set->star_sharpness;
    tagPOS v[10] = {
        at(x, y + Y),
        at(x + k * X * 0.5878, y + k * Y * 0.809),
        at(x + X * 0.95106, y + Y * 0.30902),
        at(x + k * X * 0.95105, y - k * Y * 0.309),
        at(x + X * 0.58778, y - Y * 0.80902),
        at(x, y - k * Y),
        at(x - X * 0.58778, y - Y * 0.80902),
        at(x - k * X * 0.95105, y - k * Y * 0.309),
        at(x - X * 0.95106, y + Y * 0.30902),
        at(x - k * X * 0.5878, y + k * Y * 0.809),
    };
    const float angle = shape_angle(p);
    for (tagPOS& pt : v) pt = Rotate(pt, cx, cy, angle);
    concave_d(10, v, p, band);
}
