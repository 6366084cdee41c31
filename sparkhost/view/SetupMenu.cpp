// The window's menus: setups, keys and the plug-in file; the viewer's magnification; and how
// time behaves.
#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QMenuBar>
#include <QSignalBlocker>
#include <QStatusBar>

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
}

}  // namespace sparkhost
