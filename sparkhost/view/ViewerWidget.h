// The viewer: the shown frame with the plug-in's overlay, as the plug-in drew it with OpenGL into
// the session's viewer canvas (Mesa's offscreen context, the same one `render --overlay` uses, so
// the plug-in's gl… calls always reach it whatever the display's own OpenGL). The canvas is the
// widget's size; the frame sits at the viewer origin, magnified.
//
// Mouse: the left button drags the plug-in's handles (a hover has pressure 0, a press and drag 1,
// a release 0, all in frame pixels); the wheel zooms about the pointer; the middle button pans.
#ifndef SPARKHOST_VIEW_VIEWERWIDGET_H
#define SPARKHOST_VIEW_VIEWERWIDGET_H

#include <QWidget>

#include <functional>

namespace sparkhost {

class ViewSession;

class ViewerWidget : public QWidget {
public:
    ViewerWidget(ViewSession& session, QWidget* parent = nullptr);

    // Magnification so that the whole frame fits, centred; or one frame pixel per screen pixel.
    void fit();
    void actualSize();
    // Draws the overlay again over the shown frame and repaints.
    void redraw();
    // Canvas position of a frame pixel, for scripted pointer events.
    QPointF toCanvas(double frameX, double frameY) const;
    // Called when a pointer event made the plug-in render a new frame.
    void setRendered(std::function<void()> rendered) { rendered_ = std::move(rendered); }

    QSize sizeHint() const override { return {960, 540}; }

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseReleaseEvent(QMouseEvent*) override;
    void wheelEvent(QWheelEvent*) override;

private:
    void place(float magnification, double originX, double originY);
    void send(const QPointF& at, float pressure);
    void updateCursor();

    ViewSession& session_;
    bool fitted_ = true;          // keep fitting on resize until the person zooms or pans
    bool leftDown_ = false;
    bool panning_ = false;
    QPointF panFrom_;
    double panOriginX_ = 0.0, panOriginY_ = 0.0;
    std::function<void()> rendered_;
};

}  // namespace sparkhost

#endif
