#include "sparkhost/view/ViewWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPixmap>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
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
    timeline_->setRate(session.playRate());
    addMenus(*this);

    panel_->build();
    panel_->setEdited([this] { afterChange(); });
    viewer_->setRendered([this] { afterChange(); });
    timeline_->setGoTo([this](int frame) { return goTo(frame); });
    timeline_->setScrub([this](int frame) { requestFrame(frame); });
    timeline_->setRemoveEvent([this](int index) {
        session_.removeEvent(size_t(index));
        goTo(session_.currentFrame());
    });
    setupPath_ = session.setupPath();

    // While a chase runs: how far it is, and a way to stop it.
    busyText_ = new QLabel(this);
    busyBar_ = new QProgressBar(this);
    busyBar_->setMaximumWidth(160);
    busyStop_ = new QPushButton("Stop", this);
    statusBar()->addPermanentWidget(busyText_);
    statusBar()->addPermanentWidget(busyBar_);
    statusBar()->addPermanentWidget(busyStop_);
    showBusy(false);
    connect(busyStop_, &QPushButton::clicked, this, [this] {
        target_ = -1;
        showBusy(false);
        timeline_->showFrame(session_.currentFrame());
    });

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
    // Small enough for a laptop beside other windows, large enough that the viewer stays a
    // picture; the panel scrolls when it does not fit.
    setMinimumSize(800, 600);
    resize(1280, 1000);
}

bool ViewWindow::goTo(int frame) {
    target_ = -1;
    showBusy(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool ok = session_.goTo(frame);
    QApplication::restoreOverrideCursor();
    if (ok) shown(frame);
    afterChange();
    return ok;
}

void ViewWindow::shown(int frame) {
    timeline_->showFrame(frame);
    shownLog_.push_back(frame);
}

void ViewWindow::requestFrame(int frame) {
    if (session_.showKept(frame)) {
        target_ = -1;
        showBusy(false);
        shown(frame);
        panel_->refresh();
        viewer_->redraw();
        return;
    }
    target_ = frame;
    if (!sliceDue_) {
        sliceDue_ = true;
        QTimer::singleShot(0, this, [this] { chaseSlice(); });
    }
}

// One slice of a chase, short enough that the pointer's next move is taken within a frame of
// the screen; the next slice is queued behind whatever events arrived meanwhile.
void ViewWindow::chaseSlice() {
    sliceDue_ = false;
    if (target_ < 0) return;
    const int from = session_.simulatedFrame();
    const ViewSession::Chase state = session_.chase(target_, 25.0);
    if (state == ViewSession::Chase::Working) {
        const int first = session_.frames().front();
        busyText_->setText(QString("frame %1 → %2").arg(session_.simulatedFrame()).arg(target_));
        busyBar_->setRange(first, target_);
        busyBar_->setValue(std::max(first, session_.simulatedFrame()));
        if (from >= 0 && session_.simulatedFrame() > from + 8) showBusy(true);
        sliceDue_ = true;
        QTimer::singleShot(0, this, [this] { chaseSlice(); });
        return;
    }
    const int frame = target_;
    target_ = -1;
    showBusy(false);
    if (state == ViewSession::Chase::Shown) shown(frame);
    else timeline_->showFrame(session_.currentFrame());
    afterChange();
}

void ViewWindow::showBusy(bool busy) {
    busyText_->setVisible(busy);
    busyBar_->setVisible(busy);
    busyStop_->setVisible(busy);
}

void ViewWindow::afterChange() {
    timeline_->setMarks(session_.keyFrames(), session_.eventMarks());
    panel_->refresh();
    log_->add(session_.takeMessages());
    viewer_->redraw();
}

bool ViewWindow::openSetup(const std::string& path, std::string* error) {
    if (!session_.loadSetup(path, error)) return false;
    setupPath_ = path;
    goTo(session_.currentFrame());
    return true;
}

bool ViewWindow::saveSetup(const std::string& path, std::string* error) {
    if (!session_.saveSetup(path, error)) return false;
    setupPath_ = path;
    return true;
}

void ViewWindow::setPlayRate(double fps) { timeline_->setRate(fps); }

// Closing with unsaved settings, keys or events asks first, as an editor does.
void ViewWindow::closeEvent(QCloseEvent* event) {
    if (askToSave()) event->accept();
    else event->ignore();
}

bool ViewWindow::askToSave() {
    if (!session_.unsaved()) return true;
    lastQuestion_ = "The settings have changed since they were last saved. Save them before closing?";
    std::string answer = closeAnswer_;
    if (!scripted_) {
        const auto choice = QMessageBox::question(this, "Save the setup?", QString::fromStdString(lastQuestion_),
                                                  QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel,
                                                  QMessageBox::Save);
        if (choice == QMessageBox::Cancel) return false;
        if (choice == QMessageBox::Discard) return true;
        const QString path = QFileDialog::getSaveFileName(this, "Save setup", QString::fromStdString(setupPath_),
                                                          "Setups (*.setup);;All (*)");
        if (path.isEmpty()) return false;
        answer = "save " + path.toStdString();
    }
    if (answer == "discard") return true;
    if (answer.rfind("save ", 0) != 0) return false;
    std::string error;
    if (saveSetup(answer.substr(5), &error)) return true;
    statusBar()->showMessage(QString::fromStdString(error));
    return false;
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
