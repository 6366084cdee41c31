// The window of `sparkhost view`: the viewer above, the timeline, the plug-in's panel below, the
// message log at the side, and the menus (SetupMenu.h).
#ifndef SPARKHOST_VIEW_VIEWWINDOW_H
#define SPARKHOST_VIEW_VIEWWINDOW_H

#include <QMainWindow>

#include <string>

class QAction;
class QProgressDialog;

namespace sparkhost {

class MessageLog;
class PanelWidget;
class TimelineBar;
class ViewSession;
class ViewerWidget;

class ViewWindow : public QMainWindow {
public:
    explicit ViewWindow(ViewSession& session);

    ViewSession& session() { return session_; }
    ViewerWidget* viewer() const { return viewer_; }
    PanelWidget* panel() const { return panel_; }
    TimelineBar* timeline() const { return timeline_; }

    // Shows a frame of the range, with a progress dialog while a replay takes a moment.
    bool goTo(int frame);
    // Everything the plug-in may have changed: panel, messages, viewer.
    void afterChange();

    bool openSetup(const std::string& path, std::string* error);
    bool saveSetup(const std::string& path, std::string* error);
    bool loadKeys(const std::string& path, std::string* error);
    bool reloadPlugin(std::string* error);
    void setReplayed(bool replayed);
    // The whole window as a picture file; written under a temporary name, then renamed.
    bool screenshot(const std::string& path, std::string* error);

    // Questions the plug-in asks and its file browser, answered by a person unless a script
    // answers them (see ScriptRunner.h).
    void setScripted(bool scripted) { scripted_ = scripted; }

private:
    ViewSession& session_;
    ViewerWidget* viewer_;
    PanelWidget* panel_;
    TimelineBar* timeline_;
    MessageLog* log_;
    QAction* replayAction_ = nullptr;
    QProgressDialog* progress_ = nullptr;   // made when a replay first reports
    bool scripted_ = false;
    friend void addMenus(ViewWindow& window);
};

// File (setups, keys, reload, screenshot, quit), View (fit, 1:1) and Time menus.
void addMenus(ViewWindow& window);

}  // namespace sparkhost

#endif
