// Overlay handles: on-screen shapes tied to host controls. Dragging a handle in the viewer changes
// its controls; the shape is redrawn from the controls. The host bridge hands every pointer event to
// each handle's HandleInteraction, which picks and does the geometry; HandleInteractionPlat then
// clamps the result to the controls' ranges and writes it to the host.
//
// Positions are kept in the unit range (fractions of the image width and height); the host
// controls hold them in hundredths (a position of 0.84 is the control value 84).
#ifndef FRAMEWORK_OVERLAYCONTROLQ4_H
#define FRAMEWORK_OVERLAYCONTROLQ4_H

#include "framework/OverlayQ4.h"
#include "spark/spark.h"

class OverlayControlQ4 {
public:
    OverlayControlQ4();
    virtual ~OverlayControlQ4();
    virtual void HandleInteraction(InterType type, float x, float y);
    virtual void HandleInteractionPlat(InterType type, float x, float y);

    // Ties the handle to host control N (x) and N + 1 (y) and their records.
    void Bind(long control, SparkFloatStruct* x, SparkFloatStruct* y);
    void SetColour(int r, int g, int b, int a);   // 16-bit channel values
    void SetOverlay(OverlayQ4* owner);

    // True when the handle drawn at (hx, hy) lies strictly inside the grab square around (x, y).
    bool PickTest(float hx, float hy, float x, float y) const;

    long control;                   // host number N of the first control
    SparkFloatStruct* x_control;    // control N
    SparkFloatStruct* y_control;    // control N + 1
    int colour_r, colour_g, colour_b, colour_a;
    int grabbed;                    // circle and rectangle: which handle (0 none, 1, 2, 3)
    int highlighted;                // circle and rectangle: which handle the pointer is over
    OverlayQ4* overlay;             // image size and zoom
    int visible;                    // 1 after construction; an effect may hide a handle
};

// A point dragged freely: one handle at its centre.
class CrosshairOverlayQ4 : public OverlayControlQ4 {
public:
    CrosshairOverlayQ4();
    void HandleInteraction(InterType type, float x, float y) override;
    void HandleInteractionPlat(InterType type, float x, float y) override;
    void SetPosition(float x, float y);

    float pos_x, pos_y;             // unit range
    float handle_x, handle_y;       // where the handle was last drawn, image pixels
    int diagonals;                  // draw the diagonal arms
};

// A line between two points, moved as a whole by one handle at its middle.
class LineOverlayQ4 : public OverlayControlQ4 {
public:
    LineOverlayQ4();
    void HandleInteraction(InterType type, float x, float y) override;
    void HandleInteractionPlat(InterType type, float x, float y) override;
    // The end point's controls: M (x) and M + 1 (y).
    void BindEnd(long control_m, SparkFloatStruct* x, SparkFloatStruct* y);
    void SetLine(float x0, float y0, float x1, float y1);

    long end_control;
    SparkFloatStruct* end_x_control;
    SparkFloatStruct* end_y_control;
    float start_x, start_y, end_x, end_y;   // unit range
    float handle_x, handle_y;               // middle of the line as last drawn, image pixels
    float last_x, last_y;                   // pointer at the previous press or drag, image pixels
};

// A pointer of fixed length turning about a centre; control N holds its angle in degrees.
class AngleOverlayQ4 : public OverlayControlQ4 {
public:
    AngleOverlayQ4();
    void HandleInteraction(InterType type, float x, float y) override;
    void HandleInteractionPlat(InterType type, float x, float y) override;
    void SetAngle(float cx, float cy, float length, float degrees);

    float centre_x, centre_y;   // unit range
    float length;               // fraction of the image width
    float angle;                // degrees
    float handle_x, handle_y;   // end point as last drawn, image pixels
};

// An ellipse resized by up to three handles: 1 diagonal (-45 degrees), 2 width (0 degrees),
// 3 height (-90 degrees).
class CircleOverlayQ4 : public OverlayControlQ4 {
public:
    CircleOverlayQ4();
    void HandleInteraction(InterType type, float x, float y) override;
    void HandleInteractionPlat(InterType type, float x, float y) override;
    void BindSize(long width_number, SparkFloatStruct* width_record, long height_number,
                  SparkFloatStruct* height_record);
    void SetCircle(float cx, float cy, float w, float h, float degrees);
    // lock: only the width handle is offered; dotted: drawn dotted; the third word is carried
    // with the modes but changes neither drawing nor picking.
    void SetModes(int lock_flag, int dotted_flag, int third_flag);
    // Which handle (1, 2, 3) the pointer at (x, y) is over, 0 for none.
    int Pick(float x, float y) const;

    long width_control;
    SparkFloatStruct* width_record;
    long height_control;
    SparkFloatStruct* height_record;
    float centre_x, centre_y;   // unit range
    float width, height;        // diameters, both fractions of the image width
    float angle;                // degrees
    int lock;
    int dotted;
    int third_mode;
    float handle_x[3], handle_y[3];   // handles 1, 2, 3 as last drawn, image pixels
};

// A rotated rectangle with three handles: 1 corner, 2 width, 3 height.
class RectangleOverlayQ4 : public OverlayControlQ4 {
public:
    RectangleOverlayQ4();
    void HandleInteraction(InterType type, float x, float y) override;
    void HandleInteractionPlat(InterType type, float x, float y) override;
    void BindSize(long width_number, SparkFloatStruct* width_record, long height_number,
                  SparkFloatStruct* height_record);
    void SetRectangle(float cx, float cy, float w, float h, float degrees);
    int Pick(float x, float y) const;

    long width_control;
    SparkFloatStruct* width_record;
    long height_control;
    SparkFloatStruct* height_record;
    float centre_x, centre_y;   // unit range
    float width;                // fraction of the image width
    float height;               // fraction of the image height
    float angle;                // degrees
    float handle_x[3], handle_y[3];
    int square_lock;
};

#endif
