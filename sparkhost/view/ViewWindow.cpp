#include "sparkhost/view/ViewWindow.h"

#include <QApplication>
#include <QDockWidget>
#include <QFileDialog>
#include <QMessageBox>
#include <QPixmap>
#include <QProgressDialog>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include <cstdio>

#include "sparkhost/view/MessageLog.h"
#include "sparkhost/view/PanelWidget.h"
#include "sparkhost/view/TimelineBar.h"
#include "sparkhost/view/ViewSession.h"
#include "sparkhost/view/ViewerWidget.h"

namespace sparkhost {

ViewWindow::ViewWindow(ViewSession& session) : session_(session) {
    setWindowTitle(QString::fromStdString("sparkhost view - " + session.plugin().path()));
    auto* centre = new QWidget(this);
    auto* layout = new QVBoxLayout(centre);
    layout->setContentsMargins(2, 2, 2, 2);
    auto* split = new QSplitter(Qt::Vertical, centre);
    viewer_ = new ViewerWidget(session, split);
    auto* lower = new QWidget(split);
    auto* lowerLayout = new QVBoxLayout(lower);
    lowerLayout->setContentsMargins(0, 0, 0, 0);
    timeline_ = new TimelineBar(session.frames(), lower);
    panel_ = new PanelWidget(session, lower);
    lowerLayout->addWidget(timeline_);
    lowerLayout->addWidget(panel_, 1);
    split->addWidget(viewer_);
    split->addWidget(lower);
    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 0);
    split->setSizes({560, 380});
    layout->addWidget(split);
    setCentralWidget(centre);

    log_ = new MessageLog(statusBar(), this);
    auto* dock = new QDockWidget("Messages", this);
    dock->setObjectName("messages");
    dock->setWidget(log_);
    addDockWidget(Qt::BottomDockWidgetArea, dock);
    resizeDocks({dock}, {90}, Qt::Vertical);
    addMenus(*this);

    panel_->build();
    panel_->setEdited([this] { afterChange(); });
    viewer_->setRendered([this] { afterChange(); });
    timeline_->setGoTo([this](int frame) { return goTo(frame); });

    Host& host = session.host();
    host.setConfirmHandler([this](const std::string& question) {
        if (scripted_) return session_.host().confirmAnswer();
        return QMessageBox::question(this, "Question", QString::fromStdString(question)) == QMessageBox::Yes;
    });
    host.setBrowserHandler([this](const std::string& path, const std::string& extension) -> std::string {
        if (scripted_) return "";
        const QString filter = extension.empty() ? QString() : QString("*%1").arg(QString::fromStdString(extension));
        return QFileDialog::getOpenFileName(this, "Choose a file", QString::fromStdString(path), filter)
            .toStdString();
    });
    session.setProgress([this](int done, int total) {
        if (!progress_) {
            progress_ = new QProgressDialog("Bringing the simulation to the frame…", "Stop", 0, total, this);
            progress_->setWindowModality(Qt::WindowModal);
            progress_->setMinimumDuration(400);
        }
        QProgressDialog* dialog = progress_;
        dialog->setMaximum(total);
        dialog->setValue(done);
        const bool stopped = dialog->wasCanceled();
        if (done >= total || stopped) dialog->reset();
        return !stopped;
    });
    resize(1280, 1000);
}

bool ViewWindow::goTo(int frame) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ok = session_.goTo(frame);
    QApplication::restoreOverrideCursor();
    if (ok) timeline_->showFrame(frame);
    afterChange();
    return ok;
}

void ViewWindow::afterChange() {
    panel_->refresh();
    log_->add(session_.takeMessages());
    viewer_->redraw();
}

bool ViewWindow::openSetup(const std::string& path, std::string* error) {
    if (!session_.loadSetup(path, error)) return false;
    goTo(session_.currentFrame());
    return true;
}

bool ViewWindow::saveSetup(const std::string& path, std::string* error) {
    return session_.saveSetup(path, error);
}

bool ViewWindow::loadKeys(const std::string& path, std::string* error) {
    if (!session_.loadKeys(path, error)) return false;
    goTo(session_.currentFrame());
    return true;
}

bool ViewWindow::reloadPlugin(std::string* error) {
    if (!session_.reload(error)) return false;
    panel_->build();
    return goTo(session_.currentFrame());
}

void ViewWindow::setReplayed(bool replayed) {
    session_.setReplayed(replayed);
    goTo(session_.currentFrame());
}

bool ViewWindow::screenshot(const std::string& path, std::string* error) {
    const QPixmap picture = grab();
    const std::string partial = path + ".partial.png";
    if (!picture.save(QString::fromStdString(partial), "PNG") || std::rename(partial.c_str(), path.c_str()) != 0) {
        std::remove(partial.c_str());
        if (error) *error = "cannot write the screenshot '" + path + "'";
        return false;
    }
    return true;
}

}  // namespace sparkhost
