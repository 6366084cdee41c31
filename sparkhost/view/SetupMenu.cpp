// The window's menus: setups, keys and the plug-in file; the viewer's magnification; and how
// time behaves.
#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFileDialog>
#include <QMenuBar>
#include <QSignalBlocker>
#include <QStatusBar>

#include "sparkhost/view/TimelineBar.h"
#include "sparkhost/view/ViewSession.h"
#include "sparkhost/view/ViewWindow.h"
#include "sparkhost/view/ViewerWidget.h"

namespace sparkhost {

namespace {

// Runs an action that takes a chosen file; a failure goes to the message log.
void withFile(ViewWindow& w, bool save, const char* title, const char* filter,
              bool (ViewWindow::*action)(const std::string&, std::string*)) {
    const QString path = save ? QFileDialog::getSaveFileName(&w, title, QString(), filter)
                              : QFileDialog::getOpenFileName(&w, title, QString(), filter);
    if (path.isEmpty()) return;
    std::string error;
    if (!(w.*action)(path.toStdString(), &error)) w.statusBar()->showMessage(QString::fromStdString(error));
}

}  // namespace

void addMenus(ViewWindow& w) {
    QMenu* file = w.menuBar()->addMenu("&File");
    file->addAction("&Open setup…", &w, [&w] { withFile(w, false, "Open setup", "Setups (*.setup);;All (*)", &ViewWindow::openSetup); });
    file->addAction("&Save setup…", &w, [&w] { withFile(w, true, "Save setup", "Setups (*.setup);;All (*)", &ViewWindow::saveSetup); });
    file->addAction("Load &keys…", &w, [&w] { withFile(w, false, "Load keys", "Keys (*.keys);;All (*)", &ViewWindow::loadKeys); });
    file->addAction("&Reload plug-in", &w, [&w] {
        std::string error;
        if (!w.reloadPlugin(&error)) w.statusBar()->showMessage(QString::fromStdString(error));
    });
    file->addAction("Save screens&hot…", &w, [&w] { withFile(w, true, "Save screenshot", "PNG (*.png)", &ViewWindow::screenshot); });
    file->addSeparator();
    file->addAction("&Quit", QKeySequence::Quit, &w, [&w] { w.close(); });

    QMenu* view = w.menuBar()->addMenu("&View");
    view->addAction("&Fit", QKeySequence("F"), &w, [&w] { w.viewer()->fit(); });
    view->addAction("&1:1", QKeySequence("1"), &w, [&w] { w.viewer()->actualSize(); });

    QMenu* time = w.menuBar()->addMenu("&Time");
    w.replayAction_ = time->addAction("Every processed frame advances the swarm (as an IFFFS host)");
    w.replayAction_->setCheckable(true);
    {
        const QSignalBlocker block(w.replayAction_);
        w.replayAction_->setChecked(!w.session().replayed());
    }
    QObject::connect(w.replayAction_, &QAction::toggled, &w, [&w](bool ifffs) { w.setReplayed(!ifffs); });

    // Play at the shot's frame rate, or as fast as frames are made.
    QMenu* rate = time->addMenu("Play &rate");
    auto* rates = new QActionGroup(&w);
    const double current = w.timeline()->rate();
    for (double fps : {0.0, 12.0, 23.976, 24.0, 25.0, 29.97, 30.0, 48.0, 50.0, 60.0}) {
        QAction* a = rate->addAction(fps > 0.0 ? QString("%1 frames a second").arg(fps) : QString("As fast as possible"));
        a->setCheckable(true);
        a->setChecked(fps == current);
        rates->addAction(a);
        QObject::connect(a, &QAction::triggered, &w, [&w, fps] { w.setPlayRate(fps); });
    }
    if (!rates->checkedAction()) {
        QAction* a = rate->addAction(QString("%1 frames a second").arg(current));
        a->setCheckable(true);
        a->setChecked(true);
        rates->addAction(a);
    }
}

}  // namespace sparkhost
