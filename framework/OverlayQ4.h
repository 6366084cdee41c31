// Overlay drawing: what an effect needs to know about the host's viewer, and the immediate-mode
// OpenGL primitives with which handles and guides are drawn over the picture.
//
// Every coordinate is in image pixels (floats). Sizes meant in screen pixels are divided by the
// zoom, so handles keep their on-screen size whatever the viewer's magnification.
// The gl… calls bind to the host that loads the plug-in; the plug-in does not link libGL.
#ifndef FRAMEWORK_OVERLAYQ4_H
#define FRAMEWORK_OVERLAYQ4_H

class CrosshairOverlayQ4;
class LineOverlayQ4;
class AngleOverlayQ4;
class CircleOverlayQ4;
class RectangleOverlayQ4;

// The kind of a pointer event in the viewer.
enum InterType : int {
    INTER_MOVE = 0,     // pointer moves with no button (hover)
    INTER_PRESS = 1,
    INTER_DRAG = 2,     // pointer moves with the button down
    INTER_RELEASE = 3,
};

class OverlayQ4 {
public:
    OverlayQ4();
    virtual ~OverlayQ4();

    // Called by the host bridge on every viewer redraw and every pointer event; the base does
    // nothing, an effect overrides them to draw and drive its handles.
    virtual void RenderOverlay();
    virtual void HandleInteraction(InterType type, float x, float y);

    // Viewer geometry, set by the host bridge before each draw.
    void SetOverlayGeometry(float zoom, float aspect_num, float aspect_den, int width, int height);
    // Pick tolerance of a handle in image pixels: 5 screen pixels.
    float GrabHandleSize() const;
    // Pixel aspect quotient used by rectangles and angle pointers.
    float AspectQuotient() const;

    // Primitives.
    void BeginRender();
    void EndRender();
    void SetColour(int r, int g, int b, int a);   // 16-bit channel values; alpha ignored
    void DrawPixel(float x, float y);
    void DrawLine(float x0, float y0, float x1, float y1);
    void DrawHandle(float x, float y, bool selected);
    void DrawLineDotted(float x0, float y0, float x1, float y1, int dash);
    void DrawEllipse(float cx, float cy, float width, float height, float angle, int dotted,
                     int divisions, float start, float end);
    void DrawRectangle(float cx, float cy, float width, float height, float angle, int dotted,
                       int dash);
    void DrawCrosshair(float x, float y, int diagonals);
    void DrawArrow(float x0, float y0, float x1, float y1);
    // Text in a stroke font: size = cap height in screen pixels (0 means 12), spacing = extra
    // gap between characters in screen pixels, align: 0 left, 1 centred, 2 right on x;
    // y is the baseline.
    void DrawText(float x, float y, const char* text, float size, float spacing, int align);

    // Draw-overlay members: draw a handle object and record where its handles went, for picking.
    void DrawCrosshairOverlay(CrosshairOverlayQ4* handle);
    void DrawLineOverlay(LineOverlayQ4* handle);
    void DrawRectangleOverlay(RectangleOverlayQ4* handle);
    void DrawAngleOverlay(AngleOverlayQ4* handle);
    void DrawPointyAngleOverlay(AngleOverlayQ4* handle);
    void DrawCircleOverlay(CircleOverlayQ4* handle);

    // Size in pixels of the picture shown; unit-range handle positions are multiplied by them.
    int overlay_width;
    int overlay_height;
    // Their quotient is the pixel aspect used by rectangles.
    float overlay_aspect_num;
    float overlay_aspect_den;
    // Screen pixels per image pixel.
    float overlay_zoom;
};

#endif
