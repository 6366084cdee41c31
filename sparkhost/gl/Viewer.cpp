// The offscreen viewer: an OSMesa context rendering into 16-bit RGBA memory, set up as an IFFFS
// viewer sets up its drawing (pixel coordinates, the frame as the background), in which the
// plug-in's overlay is drawn.
#include "sparkhost/gl/Viewer.h"

#include <GL/gl.h>
#include <GL/osmesa.h>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace sparkhost {

namespace {
OSMesaContext Context(void* c) { return static_cast<OSMesaContext>(c); }
}  // namespace

float Viewer::hostZoom(float magnification) {
    if (!(magnification > 0.0f)) return 1.0f;
    return magnification >= 1.0f ? magnification : 2.0f - 1.0f / magnification;
}

Viewer::Viewer(Plugin& plugin) : plugin_(plugin) {}

Viewer::~Viewer() {
    if (context_) OSMesaDestroyContext(Context(context_));
}

bool Viewer::open(std::string* error) {
    Host& host = plugin_.host();
    ratio_ = host.viewerRatio();
    if (!(ratio_ > 0.0f)) ratio_ = 1.0f;
    if (!(zoom_ > 0.0f)) zoom_ = 1.0f;
    const int displayed = int(float(host.frameWidth()) * ratio_);
    width_ = canvasWidth_ > 0 ? canvasWidth_ : int(float(displayed) * zoom_);
    height_ = canvasHeight_ > 0 ? canvasHeight_ : int(float(host.frameHeight()) * zoom_);
    if (width_ < 1 || height_ < 1) {
        if (error) *error = "viewer: the frame has no pixels to show";
        return false;
    }
    if (!context_) {
        // A compatibility profile: the plug-in draws in immediate mode.
        const int attributes[] = {OSMESA_FORMAT,       OSMESA_RGBA,          OSMESA_DEPTH_BITS, 0,
                                  OSMESA_STENCIL_BITS, 0,                    OSMESA_ACCUM_BITS, 0,
                                  OSMESA_PROFILE,      OSMESA_COMPAT_PROFILE, 0};
        context_ = OSMesaCreateContextAttribs(attributes, nullptr);
        if (!context_) {
            if (error) *error = "viewer: Mesa could not create an offscreen OpenGL context";
            return false;
        }
    }
    pixels_.assign(size_t(width_) * size_t(height_) * 4, 0);
    if (!makeCurrent()) {
        if (error) *error = "viewer: could not make the offscreen OpenGL context current";
        return false;
    }
    return true;
}

bool Viewer::makeCurrent() {
    if (!context_) return false;
    // Rows from the bottom of the window up: memory row r is window row r, which shows frame
    // row r, so the picture needs no flip.
    if (!OSMesaMakeCurrent(Context(context_), pixels_.data(), GL_UNSIGNED_SHORT, width_, height_))
        return false;
    OSMesaPixelStore(OSMESA_Y_UP, 1);
    return true;
}

void Viewer::show(const FrameBuffer& frame) { shown_ = frame; }

void Viewer::drawBackground() {
    const SparkInfoStruct info = plugin_.host().info();
    glViewport(0, 0, width_, height_);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, double(width_), 0.0, double(height_), -1.0, 1.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_LINE_SMOOTH);
    glLineWidth(1.0f);
    glPointSize(1.0f);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);

    if (!shown_.empty()) {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        // The raster position is set inside the window and then moved by a null bitmap, which
        // stays valid when the origin lies outside the window (a frame panned half out of view).
        glRasterPos2i(0, 0);
        glBitmap(0, 0, 0.0f, 0.0f, float(info.FrameBufferX), float(info.FrameBufferY), nullptr);
        glPixelZoom(zoom_ * ratio_, zoom_);
        // 12-bit frames hold their value in the top twelve bits of each word, so the words read
        // as 16-bit intensities directly.
        glDrawPixels(shown_.width(), shown_.height(), GL_RGB,
                     isTwelveBit(shown_.depthCode()) ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE,
                     shown_.data());
        glPixelZoom(1.0f, 1.0f);
    }
    glColor3f(1.0f, 1.0f, 1.0f);
}

bool Viewer::redrawPictureOnly() {
    if (!makeCurrent()) return false;
    drawBackground();
    glFinish();
    return true;
}

bool Viewer::redraw() {
    if (!makeCurrent()) return false;
    drawBackground();
    // The plug-in sets its own model-view transform (origin and zoom) from here.
    plugin_.overlay(hostZoom(zoom_));
    glFinish();
    return true;
}

int Viewer::interact(const std::vector<PointerEvent>& events) {
    Host& host = plugin_.host();
    cursors_.clear();
    redraw();
    const SparkInfoStruct info = host.info();
    int renders = 0;
    for (const PointerEvent& e : events) {
        const size_t cursorsBefore = host.cursors().size();
        const int drawsBefore = host.viewingDraws();
        // Viewer pixels to frame pixels: the plug-in multiplies x by the viewer ratio itself.
        const float fx = (e.x - float(info.FrameBufferX)) / (zoom_ * ratio_);
        const float fy = (e.y - float(info.FrameBufferY)) / zoom_;
        unsigned long* rendered =
            plugin_.interact(int(e.x), int(e.y), e.pressure, fx, fy, hostZoom(zoom_));
        const std::vector<int>& cursors = host.cursors();
        cursors_.insert(cursors_.end(), cursors.begin() + long(cursorsBefore), cursors.end());
        if (rendered) {
            ++renders;
            show(host.buffer(kOutputBuffer));
        }
        if (rendered || host.viewingDraws() != drawsBefore) redraw();
    }
    return renders;
}

unsigned Viewer::pixel(int x, int y, int c) const {
    if (x < 0 || y < 0 || x >= width_ || y >= height_ || c < 0 || c > 3) return 0;
    return pixels_[(size_t(y) * size_t(width_) + size_t(x)) * 4 + size_t(c)];
}

FrameBuffer Viewer::picture(int depthCode) const {
    FrameBuffer out(width_, height_, depthCode);
    const bool twelve = isTwelveBit(depthCode);
    for (int y = 0; y < height_; ++y)
        for (int x = 0; x < width_; ++x)
            for (int c = 0; c < 3; ++c) {
                const unsigned v = pixel(x, y, c);
                out.setValue(x, y, c, twelve ? v >> 4 : v >> 8);
            }
    return out;
}

}  // namespace sparkhost
