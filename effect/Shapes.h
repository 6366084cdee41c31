// Polygonal particle shapes and the effect's rotation routines.
//
// The shape routines themselves (draw_square, draw_triangle, draw_diamond, draw_star4pt,
// draw_star5pt) are members of Vesk (effect/Vesk.h): they build a polygon around the particle's
// pixel centre, turn it, and hand it to the rasteriser of their rendering band.
//
// Angles are in degrees. The conversion factors are fixed to these exact values (the first is
// 3.141592654 / 180) so that existing setups turn their shapes by the same amount.
#ifndef EFFECT_SHAPES_H
#define EFFECT_SHAPES_H

#include "effect/Raster.h"

const double DEG_TO_RAD = 0.017453292522222223;
const double RAD_TO_DEG = 57.29577950560105;

// Cosine and sine of `angle` degrees as every rotation (and the texture turn) uses them: the
// radians rounded to float, then single-precision cosine and sine.
void cos_sin_deg(float angle, float& c, float& s);
// The angle a shape is turned by: the base rotation, plus with Living Rotate the heading's angle
// (0 along +x, 90 straight up the image, 270 straight down).
float orientation_angle(float base_rotation, int living_rotate, const float heading[2]);

// The point turned by `angle` degrees about (cx, cy) in the x-y plane; z unchanged.
tagPOS Rotate(tagPOS p, int cx, int cy, float angle);
// The same computation, kept as its own entry for the wireframe preview.
tagPOS VRotate(tagPOS p, int cx, int cy, float angle);
// Turned about the z axis through the origin: x' = c x + s y, y' = c y - s x.
tagPOS RotateInZ(tagPOS p, float angle);
// Turned about the x axis: y' = s z + c y, z' = c z - s y.
tagPOS RotateInX(tagPOS p, float angle);
// Turned about the y axis: x' = c x - s z, z' = c z + s x.
tagPOS RotateInY(tagPOS p, float angle);

#endif
