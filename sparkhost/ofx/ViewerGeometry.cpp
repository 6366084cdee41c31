#include "sparkhost/ofx/ViewerGeometry.h"

namespace sparkhost {
namespace ofx {

namespace {
double positive(double v) { return v > 0.0 ? v : 1.0; }
}  // namespace

void ViewerGeometry::frameToCanonical(double fx, double fy, double* cx, double* cy) const {
    // Frame rows count from the top; canonical y counts up from the bottom edge.
    *cx = fx * positive(pixelAspect) / positive(renderScale[0]);
    *cy = (double(frameHeight) - fy) / positive(renderScale[1]);
}

void ViewerGeometry::pixelScale(double* sx, double* sy) const {
    *sx = positive(pixelAspect) / (positive(renderScale[0]) * positive(magnification) * positive(ratio));
    *sy = 1.0 / (positive(renderScale[1]) * positive(magnification));
}

void ViewerGeometry::projection(double* left, double* right, double* bottom, double* top) const {
    // Canvas x = originX + cx * kx; canvas y = originY + (frameHeight - cy * scaleY) * magnification.
    const double kx = positive(renderScale[0]) * positive(magnification) * positive(ratio) / positive(pixelAspect);
    const double m = positive(magnification), sy = positive(renderScale[1]);
    *left = -originX / kx;
    *right = (double(canvasWidth) - originX) / kx;
    *bottom = (double(frameHeight) + originY / m) / sy;                          // canvas row 0
    *top = (double(frameHeight) - (double(canvasHeight) - originY) / m) / sy;   // past the last row
}

void ViewerGeometry::viewportPosition(int canvasX, int canvasY, int* vx, int* vy) const {
    *vx = canvasX;
    *vy = canvasHeight - 1 - canvasY;
}

double magnificationFromHostZoom(float zoom) {
    if (zoom != zoom) return 1.0;
    // 1 and more as they are; below 1 (a reduction to half is 0, to a third -1) 1 / (2 - zoom).
    return zoom >= 1.0f ? double(zoom) : 1.0 / (2.0 - double(zoom));
}

}  // namespace ofx
}  // namespace sparkhost
