// The window of `sparkhost view`: the viewer above, the timeline, the plug-in's panel below, the
// message log at the side, and the menus (SetupMenu.h).
#ifndef SPARKHOST_VIEW_VIEWWINDOW_H
#define SPARKHOST_VIEW_VIEWWINDOW_H

#include <QMainWindow>

#include <functional>
#include <string>
#include <vector>

class QAction;
class QLabel;
class QProgressBar;
class QProgressDialog;
class QPushButton;

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
    MessageLog* log() const { return log_; }

    // Shows a frame of the range, with a progress dialog while a replay takes a moment.
    bool goTo(int frame);
    // Asks for a frame without waiting for it (scrubbing): a picture kept from before is shown at
    // once; otherwise the simulation is brought there in slices between the person's events, the
    // latest frame asked for winning, and the frame is shown when it is ready.
    void requestFrame(int frame);
    bool chasing() const { return target_ >= 0; }
    // Every frame shown, in order, for scripts that check how scrubbing followed the pointer.
    const std::vector<int>& shownLog() const { return shownLog_; }
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
    // How a script answers the question asked on closing with unsaved changes: "save FILE",
    // "discard" or "cancel"; the question asked last, for the script to print.
    void setCloseAnswer(const std::string& answer) { closeAnswer_ = answer; }
    const std::string& lastQuestion() const { return lastQuestion_; }

    // Frames per second of play; 0 plays as fast as frames are made.
    void setPlayRate(double fps);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void chaseSlice();
    void shown(int frame);
    bool askToSave();
    void showBusy(bool busy);
    ViewSession& session_;
    ViewerWidget* viewer_;
    PanelWidget* panel_;
    TimelineBar* timeline_;
    MessageLog* log_;
    QAction* replayAction_ = nullptr;
    QProgressDialog* progress_ = nullptr;   // made when a replay first reports
    bool scripted_ = false;
    std::string closeAnswer_ = "cancel";
    std::string lastQuestion_;
    std::string setupPath_;                 // the setup last opened or saved, offered on closing
    int target_ = -1;                       // the frame a chase is bringing, -1 none
    bool sliceDue_ = false;
    std::vector<int> shownLog_;
    QLabel* busyText_ = nullptr;
    QProgressBar* busyBar_ = nullptr;
    QPushButton* busyStop_ = nullptr;
    friend void addMenus(ViewWindow& window);
};

// File (setups, keys, reload, screenshot, quit), View (fit, 1:1) and Time menus.
void addMenus(ViewWindow& window);

}  // namespace sparkhost

#endif
