// The host side of the Spark interface: everything a plug-in can ask of its host through the
// spark… functions lives in one Host object, which programs and tests configure before they load
// a plug-in and inspect afterwards.
//
// The spark… functions are plain C functions without a context argument, so they answer for the
// current host (Host::current()): the host a Plugin last called its plug-in for, else the most
// recently constructed Host still alive, or a process-wide default one when none was made.
#ifndef SPARKHOST_LIB_HOST_H
#define SPARKHOST_LIB_HOST_H

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "spark/spark.h"
#include "sparkhost/lib/Curve.h"
#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

class Panel;

// A button placed at a frame of the shot (see ShotEvents.h): when the simulation reaches the
// frame, the button is pressed before the frame's own processing. record is the button's record
// name (e.g. "SparkPush6").
struct ShotEvent {
    int frame;
    std::string record;
    bool operator==(const ShotEvent& o) const { return frame == o.frame && record == o.record; }
};

struct HostMessage {
    enum Kind { Message, Error, Confirm, Note };
    Kind kind;
    std::string text;
};

// Answers a request for one frame of an input clip. clip counts from 0 (0 = the first input clip,
// buffer id 2); the destination already has the host frame's size and depth. Returns false when
// the clip has nothing for that frame, in which case the host shows black.
using ClipProvider = std::function<bool(int clip, int frame, FrameBuffer& destination)>;

// One line of the channel editor's tree, as the plug-in built it.
struct ChannelEntry {
    bool folder = false;
    int level = 0;
    int type = 0;         // for controls: 1 = panel control, 0 = user float channel
    int control = 0;
    std::string name;     // folder name
};

constexpr int kOutputBuffer = 1;
constexpr int kFirstInputBuffer = 2;
constexpr int kMaxInputClips = 5;

class Host {
public:
    Host();
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    static Host& current();
    void makeCurrent();

    // ---- configuration -------------------------------------------------------------------
    void setFrameSize(int width, int height);
    void setDepthCode(int depthCode);   // 24 (8-bit) or 48 (12-bit); 64 is taken as 12-bit too
    void setBitDepth(int bits);         // 8 or 12
    // The processor count the plug-in is told: NumProcessors in the record, the answer of
    // get_nprocs() while this host is current, and the number of jobs of every sparkMpFork.
    // Frames depend on it, so it is fixed (4 by default) rather than taken from the machine.
    void setProcessors(int count);
    // How many of a fork's jobs run at once (0: one per processor of the machine); jobs beyond
    // it wait for a free thread. Frames never depend on it.
    void setConcurrency(int threads) { concurrency_ = threads < 0 ? 0 : threads; }
    void setFreeMemory(int buffers) { freeMemory_ = buffers; }
    void setPixelAspectRatio(float ratio) { pixelAspect_ = ratio; }
    void setViewerRatio(float ratio) { viewerRatio_ = ratio; }
    void setApiVersion(float version) { apiVersion_ = version; }
    void setProgramName(const std::string& name) { programName_ = name; }
    void setWorkingDir(const std::string& dir) { workingDir_ = dir; }
    void setConfirmAnswer(bool yes) { confirmAnswer_ = yes; }
    // The file the host's file browser hands back; empty means the user cancels.
    void setBrowserAnswer(const std::string& path) { browserAnswer_ = path; }
    void setClipProvider(ClipProvider provider) { provider_ = std::move(provider); }
    // Makes sparkMemGetBuffer fail for one buffer id (0 = none), to exercise a plug-in's failure path.
    void setFailingBuffer(int id) { failingBuffer_ = id; }
    // Buffers are handed out only while a frame is loaded; see Plugin.
    void setBuffersReady(bool ready) { buffersReady_ = ready; }
    void setSetupName(const std::string& name) { setupName_ = name; }
    // When on, sparkSaveSetup writes the setup file it is given; off, the request is only recorded.
    void setSaveSetups(bool save) { saveSetups_ = save; }
    // When on, a setup the plug-in asks for that cannot be read is not shown as a message but
    // kept in setupError() for the caller, which refuses to go on with a half-loaded setup.
    void setKeepSetupErrors(bool keep) { keepSetupErrors_ = keep; }
    const std::string& setupError() const { return setupError_; }
    // When on (the default), messages are also written to standard error with a prefix.
    void setEcho(bool echo) { echo_ = echo; }
    void setMessagePrefix(const std::string& prefix) { prefix_ = prefix; }
    // Called before a message is echoed (a progress display uses it to clear its line).
    void setBeforeEcho(std::function<void()> hook) { beforeEcho_ = std::move(hook); }
    void setTotalFrames(unsigned total) { totalFrames_ = total; }
    // The first frame of the shot a render belongs to, which setups carry so that every chunk of
    // a shot steps its simulation from the same frame; -1 when none is set.
    void setShotStart(int frame) { shotStart_ = frame; }
    int shotStart() const { return shotStart_; }
    void setMode(char mode) { mode_ = mode; }
    void setViewerOrigin(int x, int y) { originX_ = x; originY_ = y; }
    // An interactive front end asks the person: a handler replaces the fixed confirmation answer,
    // another the fixed file-browser answer (it returns the chosen path, empty for cancel).
    void setConfirmHandler(std::function<bool(const std::string& question)> handler) {
        confirmHandler_ = std::move(handler);
    }
    void setBrowserHandler(
        std::function<std::string(const std::string& path, const std::string& extension)> handler) {
        browserHandler_ = std::move(handler);
    }
    bool confirm(const std::string& question) const {
        return confirmHandler_ ? confirmHandler_(question) : confirmAnswer_;
    }

    int frameWidth() const { return width_; }
    int frameHeight() const { return height_; }
    int depthCode() const { return depth_; }
    bool twelveBit() const { return isTwelveBit(depth_); }
    int processors() const { return processors_; }
    int concurrency() const { return concurrency_; }
    int freeMemory() const { return freeMemory_; }
    float pixelAspectRatio() const { return pixelAspect_; }
    float viewerRatio() const { return viewerRatio_; }
    float apiVersion() const { return apiVersion_; }
    const std::string& programName() const { return programName_; }
    const std::string& workingDir() const { return workingDir_; }
    bool confirmAnswer() const { return confirmAnswer_; }
    const std::string& setupName() const { return setupName_; }
    bool buffersReady() const { return buffersReady_; }
    // Buffer requests refused because no frame was loaded: a plug-in that asks for its buffers
    // inside a callback wanted to render a frame.
    int refusedBufferRequests() const { return refusedBufferRequests_; }

    // ---- frame record and buffers ----------------------------------------------------------
    void setCurrentFrame(int frame) {
        flushHeldMessage();
        frame_ = frame;
    }
    int currentFrame() const { return frame_; }
    // The frame information record as the host passes it for the current frame.
    SparkInfoStruct info() const;

    void setInputClips(int count);
    int inputClips() const { return inputClips_; }
    // Buffer 1 is the output, 2..6 the input clips, then registered temporary buffers.
    bool hasBuffer(int id) const;
    FrameBuffer& buffer(int id);
    int registerBuffer();
    const std::vector<int>& registeredBuffers() const { return registered_; }
    // Fills every input clip buffer with the clip's frame (black where the provider has none).
    void loadInputs(int frame);
    // Fetches one frame of an input clip into a buffer of the frame's size and depth.
    bool fetchFrame(int clip, int frame, FrameBuffer& destination);
    bool fillBufferRecord(int id, SparkMemBufStruct* record);
    std::vector<std::pair<int, int>> frameRequests() const;  // (clip, frame) of sparkGetFrame

    // ---- messages --------------------------------------------------------------------------
    void report(HostMessage::Kind kind, const std::string& text);
    // A text for the plug-in's message line (sparkMessage). It is kept, and printed once the
    // plug-in goes on, unless the plug-in pauses on it at once: a plug-in that holds a message on
    // screen writes it to standard error itself after the pause, and printing it as well said
    // everything twice.
    void showMessage(const std::string& text);
    void pausedOnMessage();
    // Prints a message still held (at the next message, the next frame, the end of the run).
    void flushHeldMessage();
    std::vector<HostMessage> messages() const;
    // Every message text of one kind, each followed by a newline.
    std::string messageText(HostMessage::Kind kind) const;
    void clearMessages();

    // ---- viewer, cursor, panel state -------------------------------------------------------
    void noteViewingDraw() { ++viewingDraws_; }
    void noteCursor(int cursor) { cursors_.push_back(cursor); }
    void noteCursorBusy() { ++cursorBusy_; }
    void noteControlUpdate(int control) { controlUpdates_.push_back(control); }
    int viewingDraws() const { return viewingDraws_; }
    int cursorBusyCount() const { return cursorBusy_; }
    const std::vector<int>& cursors() const { return cursors_; }
    const std::vector<int>& controlUpdates() const { return controlUpdates_; }

    void setParameterEnabled(int type, int control, bool enabled);
    bool parameterEnabled(int type, int control) const;
    void setPageTitle(int page, const std::string& title) { pageTitles_[page] = title; }
    void setClipTitle(int clip, const std::string& title) { clipTitles_[clip] = title; }
    const std::map<int, std::string>& pageTitles() const { return pageTitles_; }
    const std::map<int, std::string>& clipTitles() const { return clipTitles_; }
    void setControlName(int type, int control, const std::string& name);
    std::string controlName(int type, int control) const;

    void addChannelFolder(int level, const std::string& name);
    void addChannelControl(int level, int type, int control);
    const std::vector<ChannelEntry>& channels() const { return channels_; }
    void clearChannels() { channels_.clear(); }

    // ---- animation -------------------------------------------------------------------------
    // type 1 is a panel control (SparkFloatN / SparkIntN), type 0 a user float channel.
    Curve& curve(int type, int control) { return curves_[{type, control}]; }
    const Curve* findCurve(int type, int control) const;
    const std::map<std::pair<int, int>, Curve>& curves() const { return curves_; }
    void clearCurves() { curves_.clear(); }
    // The curve's value at a frame, or the control's current value when it has no keys.
    float curveValue(int type, int control, float frame) const;

    // ---- events ----------------------------------------------------------------------------
    // The shot's events, ordered by frame; events of one frame in the order they were placed.
    const std::vector<ShotEvent>& events() const { return events_; }
    // Places an event after every event already at its frame.
    void addEvent(const ShotEvent& event);
    // Removes the event at a position of events(); false when there is none.
    bool removeEvent(size_t index);
    void clearEvents() { events_.clear(); }
    // The records of the events at frames first .. last (both included), in replay order.
    std::vector<std::string> eventsBetween(int first, int last) const;

    void setPanel(Panel* panel) { panel_ = panel; }
    Panel* panel() const { return panel_; }

    // ---- setups and files ------------------------------------------------------------------
    void loadSetupRequest(const char* name);
    void saveSetupRequest(const char* name);
    const std::vector<std::string>& setupLoads() const { return setupLoads_; }
    const std::vector<std::string>& setupSaves() const { return setupSaves_; }
    void fileBrowser(const char* path, const char* extension, void (*done)(char*));
    const std::vector<std::string>& browserRequests() const { return browserRequests_; }

    // ---- parallel jobs ---------------------------------------------------------------------
    // Runs job(args...) once per processor in parallel and returns when all have finished. The
    // arguments are integers or pointers, passed on exactly as the plug-in gave them.
    void fork(void (*job)(), int nargs, const unsigned long* args);
    int forkCount() const { return forkCount_; }

private:
    int width_ = 1280;
    int height_ = 720;
    int depth_ = kDepth8;
    int processors_ = 4;
    int concurrency_ = 0;
    int freeMemory_ = 8;
    float pixelAspect_ = 1.0f;
    float viewerRatio_ = 1.0f;
    float apiVersion_ = 4.0f;
    std::string programName_ = "sparkhost";
    std::string workingDir_;
    bool confirmAnswer_ = true;
    std::string browserAnswer_;
    ClipProvider provider_;
    int failingBuffer_ = 0;
    bool buffersReady_ = true;
    std::string setupName_;
    bool saveSetups_ = false;
    bool keepSetupErrors_ = false;
    std::string setupError_;
    bool echo_ = true;
    std::string prefix_ = "sparkhost: ";
    std::function<void()> beforeEcho_;
    void printHeldLocked();
    void printLocked(HostMessage::Kind kind, const std::string& text);
    std::string heldMessage_;
    bool holding_ = false;
    unsigned totalFrames_ = 1;
    int shotStart_ = -1;
    char mode_ = 1;
    int originX_ = 0;
    int originY_ = 0;
    std::function<bool(const std::string&)> confirmHandler_;
    std::function<std::string(const std::string&, const std::string&)> browserHandler_;
    int refusedBufferRequests_ = 0;

    int frame_ = 1;
    int inputClips_ = kMaxInputClips;
    std::map<int, FrameBuffer> buffers_;
    std::vector<int> registered_;
    std::vector<std::pair<int, int>> frameRequests_;

    mutable std::mutex messageMutex_;
    std::vector<HostMessage> messages_;

    int viewingDraws_ = 0;
    int cursorBusy_ = 0;
    std::vector<int> cursors_;
    std::vector<int> controlUpdates_;
    std::map<std::pair<int, int>, bool> enabled_;
    std::map<int, std::string> pageTitles_;
    std::map<int, std::string> clipTitles_;
    std::map<std::pair<int, int>, std::string> controlNames_;
    std::vector<ChannelEntry> channels_;
    std::map<std::pair<int, int>, Curve> curves_;
    std::vector<ShotEvent> events_;
    Panel* panel_ = nullptr;

    std::vector<std::string> setupLoads_;
    std::vector<std::string> setupSaves_;
    std::vector<std::string> browserRequests_;
    // Jobs of a fork may fork in turn, from several threads at once.
    std::atomic<int> forkCount_{0};
};

}  // namespace sparkhost

#endif
