// What the window shows and edits, without the window: the host, the plug-in, its clips and keys,
// the frame range and the current frame, and the viewer canvas the plug-in draws its overlay in.
// The window, the script runner and the benchmark all drive the plug-in through this one object.
//
// Time. In the default, replayed mode the frame shown at N is the frame `sparkhost render`
// writes at N for the same clips, settings and range: moving forward with nothing edited since
// continues the simulation (the frames between are stepped as a catch-up steps them), any other
// move (a step back, a jump after an edit, an edit that asks for a new frame) brings a
// fresh state forward from the first frame of the range and then renders N. A Spark plug-in's
// state cannot be copied and put back, so going back always replays; what makes it quick is that
// the pictures already rendered since the last edit are kept and shown at once, while the
// simulation follows in slices of work (chase()) that a window runs between a person's events.
// In that mode control
// callbacks run with no frame loaded, as in the command-line host, and a callback that asks for
// its buffers is answered by this replay. In the other mode every processed frame advances the
// swarm and nothing is replayed, as in an IFFFS host.
#ifndef SPARKHOST_VIEW_VIEWSESSION_H
#define SPARKHOST_VIEW_VIEWSESSION_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sparkhost/gl/Gesture.h"
#include "sparkhost/gl/Viewer.h"
#include "sparkhost/lib/ClipSet.h"
#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/view/ViewOptions.h"

namespace sparkhost {

class ViewSession {
public:
    // Called while a replay runs: frames done and to do; return false to give up.
    using Progress = std::function<bool(int done, int total)>;

    ViewSession();
    ~ViewSession();

    // Checks the options, loads and initialises the plug-in, loads the setup and the keys.
    bool open(const ViewOptions& options, std::string* error);

    Host& host() { return host_; }
    Plugin& plugin() { return *plugin_; }
    Panel& panel() { return plugin_->panel(); }
    Viewer& viewer() { return *viewer_; }
    const std::vector<int>& frames() const { return frames_; }
    int currentFrame() const { return current_; }
    const FrameBuffer& shownFrame() const { return shown_; }

    bool replayed() const { return replayed_; }
    void setReplayed(bool replayed);
    void setProgress(Progress progress) { progress_ = std::move(progress); }

    // Shows frame N of the range (rendering it). False when the plug-in renders nothing.
    bool goTo(int frame);

    // One slice of the work of showing frame N: a fresh start when the simulation is past N, up
    // to `budgetMs` of frames caught up, or N itself rendered. Working means more slices are due.
    enum class Chase { Working, Shown, Failed };
    Chase chase(int frame, double budgetMs);
    // Frame N's picture when it was rendered since the last edit (replayed mode, and not while
    // the plug-in draws its simulation over the picture, as a wireframe preview does): shown at
    // once, with the keyed values of N in the records. The simulation is not moved.
    bool showKept(int frame);
    // The frame the simulation last processed, or -1 when it has processed none since its start.
    int simulatedFrame() const;
    // Forgets the kept pictures and the live simulation: after anything that changes frames.
    void invalidate();
    // The current frame again, from a fresh state in the replayed mode.
    bool refresh();

    // An edit as a person makes it: the record written, its callback called with reason 1. A
    // frame the callback renders (or, replayed, asks for) becomes the shown frame.
    bool setValue(const Control& control, const std::string& value, std::string* error);
    bool setNumber(const Control& control, double value);
    bool setColour(const Control& control, unsigned packed);
    void press(const Control& control);

    // One pointer event in canvas pixels (see Viewer.h). Returns true when a new frame is shown.
    bool pointer(const PointerEvent& event);
    // The cursor code the plug-in last chose (1 when it never chose one).
    int cursor() const { return cursor_; }
    // Frames the plug-in rendered (or asked for) in reply to edits and pointer events.
    int renders() const { return renders_; }

    // Viewer canvas: size, magnification and origin of frame pixel (0, 0) in canvas pixels.
    void setCanvas(int width, int height, float magnification, int originX, int originY);
    // Draws the shown frame and the overlay into the canvas.
    void redraw();

    // The play rate asked for on the command line (0: as fast as possible).
    double playRate() const { return options_.fps; }
    // The setup the session was opened with (empty for none).
    const std::string& setupPath() const { return options_.setup; }
    bool loadSetup(const std::string& path, std::string* error);
    bool saveSetup(const std::string& path, std::string* error);
    bool loadKeys(const std::string& path, std::string* error);
    // Unloads and loads the plug-in file again, keeping the settings and keys. Control records
    // move with the new instance: look controls up again afterwards.
    bool reload(std::string* error);
    float magnification() const { return magnification_; }
    int originX() const { return originX_; }
    int originY() const { return originY_; }

    // Whether the settings, keys or events differ from those last opened or saved.
    bool unsaved() const;
    // Keyed controls: an edit of one at the current frame sets its key there.
    bool keyed(const Control& control) const;
    // Frames holding a key of any curve, in order.
    std::vector<int> keyFrames() const;
    // The shot's events (a simulation button pressed in replayed time is placed at the current
    // frame; see ShotEvents.h) as frame and button name, in replay order; and removing one.
    std::vector<std::pair<int, std::string>> eventMarks() const;
    bool removeEvent(size_t index);

    // Messages of the plug-in not yet taken by the window.
    std::vector<HostMessage> takeMessages();

private:
    using Values = std::vector<std::pair<const Control*, double>>;
    Values keyedValues() const;
    void keyChanged(const Values& before);
    std::string fingerprint() const;
    bool renderedHere(int frame);
    bool restart();
    bool render(int frame);
    void noteNothingDrawn();
    bool stepThrough(int from, int to);
    bool afterCallback(unsigned long* result, int refusedBefore);
    void showOutput(unsigned long* result);
    bool loadPlugin(std::string* error);
    bool makeFreshFolder(std::string* error);
    int indexOf(int frame) const;

    Host host_;
    ClipSet clips_;
    std::unique_ptr<Plugin> plugin_;
    std::unique_ptr<Viewer> viewer_;
    ViewOptions options_;
    std::vector<int> frames_;
    int current_ = 1;
    int stepped_ = -1;    // index of the frame the live simulation last stepped, -1 none
    bool fresh_ = false;  // the plug-in was just started and has processed no frame
    int sliceFrames_ = 4; // frames a chase slice catches up, adapted to its time budget
    std::map<int, FrameBuffer> kept_;   // pictures rendered since the last edit, by index
    size_t keptBytes_ = 0;
    std::string savedFingerprint_;
    bool replayed_ = true;
    Progress progress_;
    FrameBuffer shown_;
    int cursor_ = 1;
    int renders_ = 0;
    size_t messagesTaken_ = 0;
    bool canvasOpen_ = false;
    int canvasWidth_ = 0, canvasHeight_ = 0;
    float magnification_ = 1.0f;
    int originX_ = 0, originY_ = 0;
    float lastPressure_ = 0.0f;
    Values pressed_;           // keyed values when the pointer was pressed
    bool nothingNoted_ = false;
    std::string freshFolder_;  // this session's own temporary folder
    std::string freshSetup_;   // where a reload passes the settings to the new instance
};

}  // namespace sparkhost

#endif
