// Where an OpenFX overlay lies in sparkhost's viewer. The viewer shows a frame at a canvas
// position (its origin) and magnification, stretched horizontally by the viewer ratio; canvas
// pixels run from the top-left corner, y down the frame's rows, and so does the viewer's GL
// window (memory row r is canvas row r). An overlay draws and is pointed at in canonical
// coordinates: square units, y up from the bottom of the frame, pixel aspect and render scale
// undone. This is the one place that translates between the two, so that what an overlay draws
// at a canonical point is where a pen event at that point lands.
#ifndef SPARKHOST_OFX_VIEWERGEOMETRY_H
#define SPARKHOST_OFX_VIEWERGEOMETRY_H

namespace sparkhost {
namespace ofx {

struct ViewerGeometry {
    int frameWidth = 0, frameHeight = 0;   // the frame shown, in its pixels
    double pixelAspect = 1.0;
    double renderScale[2] = {1.0, 1.0};    // of the frame shown
    double ratio = 1.0;                    // viewer ratio: displayed width / frame width
    double magnification = 1.0;            // canvas pixels per displayed frame pixel
    double originX = 0.0, originY = 0.0;   // canvas position of the frame's top-left corner
    int canvasWidth = 0, canvasHeight = 0;

    // A point in frame pixels (x right, y down from the top edge) in canonical coordinates.
    void frameToCanonical(double fx, double fy, double* cx, double* cy) const;
    // Canonical units per canvas pixel, x and y.
    void pixelScale(double* sx, double* sy) const;
    // The orthographic projection (glOrtho's left, right, bottom, top) that puts canonical
    // coordinates on the canvas as the frame is shown.
    void projection(double* left, double* right, double* bottom, double* top) const;
    // A canvas pixel as the viewport position an overlay reads: 0,0 at the bottom-left of the
    // picture on screen.
    void viewportPosition(int canvasX, int canvasY, int* vx, int* vy) const;
};

// The viewer's magnification from the zoom the Spark interface passes (see Viewer::hostZoom):
// reductions come as 2 - 1/s.
double magnificationFromHostZoom(float zoom);

}  // namespace ofx
}  // namespace sparkhost

#endif
