#include "sparkhost/view/ViewerWidget.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

#include "sparkhost/view/ViewSession.h"

namespace sparkhost {

ViewerWidget::ViewerWidget(ViewSession& session, QWidget* parent) : QWidget(parent), session_(session) {
    setObjectName("viewer");
    setMouseTracking(true);
    // The picture keeps room to work in however small the window gets: the panel under it
    // scrolls instead (a 90-pixel picture left nothing to drag the handles in).
    setMinimumSize(320, 240);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void ViewerWidget::place(float magnification, double originX, double originY) {
    session_.setCanvas(std::max(1, width()), std::max(1, height()), magnification,
                       int(std::lround(originX)), int(std::lround(originY)));
    redraw();
}

void ViewerWidget::fit() {
    fitted_ = true;
    const Host& host = session_.host();
    const double displayed = host.frameWidth() * double(host.viewerRatio());
    const double m = std::min(width() / displayed, height() / double(host.frameHeight()));
    const float magnification = float(m > 0.0 ? m : 1.0);
    place(magnification, (width() - displayed * magnification) / 2.0,
          (height() - host.frameHeight() * double(magnification)) / 2.0);
}

void ViewerWidget::actualSize() {
    fitted_ = false;
    const Host& host = session_.host();
    place(1.0f, (width() - host.frameWidth() * double(host.viewerRatio())) / 2.0,
          (height() - host.frameHeight()) / 2.0);
}

void ViewerWidget::redraw() {
    session_.redraw();
    repaint();
}

QPointF ViewerWidget::toCanvas(double frameX, double frameY) const {
    const double m = session_.magnification();
    return {session_.originX() + frameX * m * double(session_.host().viewerRatio()),
            session_.originY() + frameY * m};
}

void ViewerWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const Viewer& viewer = session_.viewer();
    if (viewer.width() != width() || viewer.height() != height() || viewer.rgba().empty()) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    const QImage picture(reinterpret_cast<const uchar*>(viewer.rgba().data()), viewer.width(),
                         viewer.height(), viewer.width() * 8, QImage::Format_RGBX64);
    painter.drawImage(0, 0, picture);
}

void ViewerWidget::resizeEvent(QResizeEvent*) {
    if (fitted_) {
        fit();
        return;
    }
    place(session_.magnification(), session_.originX(), session_.originY());
}

void ViewerWidget::send(const QPointF& at, float pressure) {
    PointerEvent e;
    e.x = float(at.x());
    e.y = float(at.y());
    e.pressure = pressure;
    const bool rendered = session_.pointer(e);
    updateCursor();
    repaint();
    if (rendered && rendered_) rendered_();
}

void ViewerWidget::updateCursor() {
    switch (session_.cursor()) {
    case 14: setCursor(Qt::ClosedHandCursor); break;
    case 20: setCursor(Qt::OpenHandCursor); break;
    default: setCursor(Qt::ArrowCursor); break;
    }
}

void ViewerWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton) {
        panning_ = true;
        panFrom_ = event->position();
        panOriginX_ = session_.originX();
        panOriginY_ = session_.originY();
        setCursor(Qt::SizeAllCursor);
    } else if (event->button() == Qt::LeftButton) {
        leftDown_ = true;
        send(event->position(), 1.0f);
    }
}

void ViewerWidget::mouseMoveEvent(QMouseEvent* event) {
    if (panning_) {
        fitted_ = false;
        const QPointF d = event->position() - panFrom_;
        place(session_.magnification(), panOriginX_ + d.x(), panOriginY_ + d.y());
        return;
    }
    send(event->position(), leftDown_ ? 1.0f : 0.0f);
}

void ViewerWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::MiddleButton && panning_) {
        panning_ = false;
        updateCursor();
    } else if (event->button() == Qt::LeftButton && leftDown_) {
        leftDown_ = false;
        send(event->position(), 0.0f);
    }
}

void ViewerWidget::wheelEvent(QWheelEvent* event) {
    const double notches = event->angleDelta().y() / 120.0;
    if (notches == 0.0) return;
    fitted_ = false;
    const double old = session_.magnification();
    const double m = std::clamp(old * std::pow(1.25, notches), 1.0 / 16.0, 32.0);
    // The frame pixel under the pointer stays under it.
    const QPointF at = event->position();
    const double ox = at.x() - (at.x() - session_.originX()) * m / old;
    const double oy = at.y() - (at.y() - session_.originY()) * m / old;
    place(float(m), ox, oy);
}

}  // namespace sparkhost
