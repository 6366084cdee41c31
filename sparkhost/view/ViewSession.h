// What the window shows and edits, without the window: the host, the plug-in, its clips and keys,
// the frame range and the current frame, and the viewer canvas the plug-in draws its overlay in.
// The window, the script runner and the benchmark all drive the plug-in through this one object.
//
// Time. In the default, replayed mode the frame shown at N is the frame `sparkhost render`
// writes at N for the same clips, settings and range: moving forward with nothing edited since
// continues the simulation (the frames between are stepped as a catch-up steps them), any other
// move (a step back, a jump after an edit, an edit that asks for a new frame) brings a
// fresh state forward from the first frame of the range and then renders N. In that mode control
// callbacks run with no frame loaded, as in the command-line host, and a callback that asks for
// its buffers is answered by this replay. In the other mode every processed frame advances the
// swarm and nothing is replayed, as in an IFFFS host.
#ifndef SPARKHOST_VIEW_VIEWSESSION_H
#define SPARKHOST_VIEW_VIEWSESSION_H

#include <functional>
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

    bool loadSetup(const std::string& path, std::string* error);
    bool saveSetup(const std::string& path, std::string* error);
    bool loadKeys(const std::string& path, std::string* error);
    // Unloads and loads the plug-in file again, keeping the settings and keys. Control records
    // move with the new instance: look controls up again afterwards.
    bool reload(std::string* error);
    float magnification() const { return magnification_; }
    int originX() const { return originX_; }
    int originY() const { return originY_; }

    // Messages of the plug-in not yet taken by the window.
    std::vector<HostMessage> takeMessages();

private:
    bool render(int frame);
    bool stepThrough(int from, int to);
    bool afterCallback(unsigned long* result, int refusedBefore);
    void showOutput(unsigned long* result);
    bool loadPlugin(std::string* error);
    int indexOf(int frame) const;

    Host host_;
    ClipSet clips_;
    std::unique_ptr<Plugin> plugin_;
    std::unique_ptr<Viewer> viewer_;
    ViewOptions options_;
    std::vector<int> frames_;
    int current_ = 1;
    int stepped_ = -1;    // index of the frame the live simulation last stepped, -1 none
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
    std::string freshSetup_;   // where a reload passes the settings to the new instance
};

}  // namespace sparkhost

#endif
