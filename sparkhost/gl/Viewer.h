// The host's viewer, offscreen: a Mesa (OSMesa) OpenGL context in which the frame being shown is
// drawn as the background and the plug-in's SparkOverlay draws its handles and guides over it,
// exactly as an IFFFS viewer calls it; the picture is then read back. Pointer gestures go to the
// plug-in's SparkInteract, and the viewer redraws whenever the plug-in asks (sparkViewingDraw).
//
// Coordinates. Viewer pixels run from the top-left corner of the picture, x to the right and y
// down the frame's rows; the picture's row r shows row r of the frame. The overlay draws in frame
// pixels: at zoom 1 with the viewer origin at 0 (the default) a viewer pixel is a frame pixel.
// A viewer ratio other than 1 stretches the picture horizontally (displayed width =
// trunc(frame width x ratio)); pointer x is then divided by the ratio before it reaches the
// plug-in, which multiplies it back.
//
// Typical use (what `sparkhost render --overlay --drag X0,Y0:X1,Y1` does):
//
//     sparkhost::Viewer viewer(plugin);
//     if (!viewer.open(&error)) ...;
//     plugin.renderFrame(frame);
//     viewer.show(host.buffer(sparkhost::kOutputBuffer));
//     viewer.interact(sparkhost::dragEvents(gesture));   // optional
//     viewer.redraw();
//     sparkhost::FrameBuffer picture = viewer.picture(host.depthCode());
//
// The executable must link OSMesa (target sparkhost_gl does): the plug-in's gl… symbols bind to
// it when the plug-in is loaded.
#ifndef SPARKHOST_GL_VIEWER_H
#define SPARKHOST_GL_VIEWER_H

#include <cstdint>
#include <string>
#include <vector>

#include "sparkhost/gl/Gesture.h"
#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

class Plugin;

class Viewer {
public:
    explicit Viewer(Plugin& plugin);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    // Magnification of the picture (screen pixels per frame pixel), passed to SparkOverlay as
    // its zoom. Set before open(); 1 by default.
    void setZoom(float zoom) { zoom_ = zoom; }
    float zoom() const { return zoom_; }
    // The zoom as the Spark interface passes it: magnifications of 1 and more as they are, a
    // reduction to s < 1 as 2 - 1/s (the plug-in draws at 1 / (2 - zoom) below 1).
    static float hostZoom(float magnification);
    // A viewer window of its own size (an interactive window), in which the frame sits at the
    // host's viewer origin; 0 x 0 (the default) fits the window to the magnified frame.
    void setCanvasSize(int width, int height) { canvasWidth_ = width; canvasHeight_ = height; }

    // Makes the offscreen context for the host's current frame size, viewer ratio and zoom.
    // Fails with a message when Mesa cannot make one.
    bool open(std::string* error);
    bool isOpen() const { return context_ != nullptr; }
    int width() const { return width_; }
    int height() const { return height_; }

    // Shows a frame (8- or 12-bit host layout) as the viewer's picture; draws nothing yet.
    void show(const FrameBuffer& frame);
    // Draws the shown frame and, over it, the plug-in's overlay. Returns false without a context.
    bool redraw();
    // Draws the shown frame only, without calling the plug-in.
    bool redrawPictureOnly();

    // Sends the events to SparkInteract in order. Before the first event the viewer is drawn
    // once, as a host has always drawn its viewer before the user can point at it. After each
    // event the viewer redraws if the plug-in asked for it; a frame the plug-in renders in reply
    // (its output buffer) becomes the shown frame. Returns the number of frames rendered.
    int interact(const std::vector<PointerEvent>& events);
    // The cursor codes the plug-in chose during the last interact(), one per call it made.
    const std::vector<int>& cursors() const { return cursors_; }

    // Channel c (0 red, 1 green, 2 blue) of viewer pixel (x, y) as last drawn, 0 to 65535.
    unsigned pixel(int x, int y, int c) const;
    // The picture as a host frame of the given depth code, rows in the frame's order.
    FrameBuffer picture(int depthCode) const;
    // The picture as last drawn: RGBA, 16 bits a channel, row 0 first.
    const std::vector<uint16_t>& rgba() const { return pixels_; }

private:
    bool makeCurrent();
    void drawBackground();

    Plugin& plugin_;
    void* context_ = nullptr;            // OSMesaContext
    std::vector<uint16_t> pixels_;       // RGBA, 16 bits a channel, row 0 = frame row 0
    FrameBuffer shown_;
    float zoom_ = 1.0f;
    float ratio_ = 1.0f;
    int width_ = 0;
    int height_ = 0;
    int canvasWidth_ = 0;
    int canvasHeight_ = 0;
    std::vector<int> cursors_;
};

}  // namespace sparkhost

#endif
