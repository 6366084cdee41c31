#include "sparkhost/view/ViewSession.h"

#include <algorithm>
#include <chrono>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/PluginChoice.h"
#include "sparkhost/lib/Setup.h"
#include "sparkhost/lib/ShotCatchUp.h"
#include "sparkhost/lib/ShotEvents.h"

namespace sparkhost {

namespace {

// Decoded clip frames kept for replays: about 380 frames of 1280x720 at 8 bits.
constexpr size_t kKeptClipBytes = size_t(1) << 30;
// Rendered pictures kept for scrubbing back: about 140 frames of 1280x720.
constexpr size_t kKeptPictureBytes = size_t(512) << 20;

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

ViewSession::ViewSession() = default;

ViewSession::~ViewSession() {
    viewer_.reset();
    if (plugin_) plugin_->unload();
    if (!freshSetup_.empty()) ::unlink(freshSetup_.c_str());
    if (!freshFolder_.empty()) ::rmdir(freshFolder_.c_str());
}

bool ViewSession::open(const ViewOptions& o, std::string* error) {
    options_ = o;
    if (!parseFrameRange(o.frames, &frames_, error)) return false;
    if (o.depth != 8 && o.depth != 12) {
        *error = "--depth must be 8 or 12";
        return false;
    }
    // Clips named by the plug-in's own clip names, as render takes them.
    std::vector<std::string> clips = o.clips;
    if (!numberClipsByName(o.plugin, o.choice, &clips, error)) return false;
    for (const auto& given : clips) {
        size_t eq = given.find('=');
        std::string number = given.substr(0, eq);
        if (eq == std::string::npos || number.size() != 1 || number[0] < '1' || number[0] > '5') {
            *error = "bad --clip '" + given + "': write N=PATTERN with N from 1 to 5";
            return false;
        }
        if (!clips_.setClip(number[0] - '1', given.substr(eq + 1), error)) return false;
    }
    // The frame size as `render` takes it: as asked, else clip 1's, else the default plate's.
    int width = o.width > 0 ? o.width : 1280, height = o.height > 0 ? o.height : 720;
    if (o.width <= 0 && clips_.hasClip(0)) {
        const std::string path = clips_.clips().at(0).path(frames_.front());
        if (::access(path.c_str(), F_OK) != 0) {
            *error = "clip 1: missing input file '" + path + "'";
            return false;
        }
        if (!imageSize(path, &width, &height, error)) {
            *error = "clip 1: " + *error;
            return false;
        }
    }
    if (!clips_.hasClip(0)) clips_.setDefaultPlate(0);
    if (!clips_.check(frames_, width, height, error)) return false;
    if (!o.setup.empty() && ::access(o.setup.c_str(), R_OK) != 0) {
        *error = "cannot read setup file '" + o.setup + "'";
        return false;
    }

    host_.setFrameSize(width, height);
    host_.setBitDepth(o.depth);
    host_.setTotalFrames(unsigned(frames_.size()));
    host_.setSetupName(o.setup);
    host_.setCurrentFrame(frames_.front());
    host_.setEcho(false);
    clips_.keepFrames(kKeptClipBytes);
    host_.setClipProvider([this](int clip, int frame, FrameBuffer& destination) {
        return clips_.read(clip, frame, destination);
    });
    if (!makeFreshFolder(error)) return false;
    current_ = frames_.front();
    // A setup the plug-in asks for while it starts is refused as render refuses it, rather than
    // shown half-loaded in a window.
    host_.setKeepSetupErrors(true);
    const bool loaded = loadPlugin(error);
    host_.setKeepSetupErrors(false);
    if (!loaded) return false;
    if (!host_.setupError().empty()) {
        *error = host_.setupError();
        return false;
    }
    if (!o.setup.empty() && host_.setupLoads().empty() && !readSetup(panel(), host_, o.setup, error))
        return false;
    if (!o.keys.empty() && !loadKeys(o.keys, error)) return false;
    replayed_ = !o.everyFrameSteps;
    host_.setBuffersReady(!replayed_);
    savedFingerprint_ = fingerprint();
    return true;
}

bool ViewSession::loadPlugin(std::string* error) {
    if (!plugin_) plugin_ = std::make_unique<Plugin>(host_);
    applyChoice(options_.choice, *plugin_);
    if (!plugin_->load(options_.plugin, error)) return false;
    plugin_->initialise();
    // The viewer and its offscreen context outlive a reload: they depend on the frame and canvas
    // sizes only, and making a context again costs as much as a short catch-up.
    if (!viewer_) viewer_ = std::make_unique<Viewer>(*plugin_);
    stepped_ = -1;
    fresh_ = false;
    return true;
}

// The setup a reload passes on lives in a folder of this session's own, made where the user keeps
// temporary files: a fixed name in /tmp could be read or replaced by another user, and two viewers
// must never share one.
bool ViewSession::makeFreshFolder(std::string* error) {
    if (!freshFolder_.empty()) return true;
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/sparkhost-view-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (::mkdtemp(name.data()) == nullptr) {
        *error = "cannot make a temporary folder '" + pattern + "': " + std::strerror(errno);
        return false;
    }
    freshFolder_ = name.data();
    freshSetup_ = freshFolder_ + "/settings.setup";
    return true;
}

// A fresh plug-in with the settings of the one it replaces: the settings go into a setup that the
// new instance loads while it initialises, as it would a setup of the host's.
bool ViewSession::reload(std::string* error) {
    std::string problem;
    if (!writeSetup(panel(), host_, freshSetup_, &problem)) {
        if (error) *error = problem;
        return false;
    }
    const std::string setupName = host_.setupName();
    host_.setSetupName(freshSetup_);
    const size_t loadsBefore = host_.setupLoads().size();
    bool ok = loadPlugin(&problem);
    if (ok && host_.setupLoads().size() == loadsBefore) ok = readSetup(panel(), host_, freshSetup_, &problem);
    host_.setSetupName(setupName);
    if (!ok) {
        if (error) *error = problem;
        return false;
    }
    return true;
}

void ViewSession::setReplayed(bool replayed) {
    replayed_ = replayed;
    host_.setBuffersReady(!replayed_);
    invalidate();
}

int ViewSession::indexOf(int frame) const {
    for (size_t i = 0; i < frames_.size(); ++i)
        if (frames_[i] == frame) return int(i);
    return -1;
}

bool ViewSession::goTo(int frame) {
    if (indexOf(frame) < 0) return false;
    const int pace = sliceFrames_;
    sliceFrames_ = int(frames_.size());   // one run, so that progress counts the whole way
    Chase state = Chase::Working;
    while (state == Chase::Working) state = chase(frame, 1e9);
    sliceFrames_ = pace;
    return state == Chase::Shown;
}

void ViewSession::invalidate() {
    nothingNoted_ = false;
    stepped_ = -1;
    fresh_ = false;
    kept_.clear();
    keptBytes_ = 0;
}

int ViewSession::simulatedFrame() const {
    return stepped_ >= 0 ? frames_[size_t(stepped_)] : -1;
}

// A fresh instance of the plug-in at the start of the range: the only way back in time.
bool ViewSession::restart() {
    std::string error;
    if (!reload(&error)) {
        host_.report(HostMessage::Error, error);
        return false;
    }
    plugin_->startRender();
    fresh_ = true;
    return true;
}

ViewSession::Chase ViewSession::chase(int frame, double budgetMs) {
    const int index = indexOf(frame);
    if (index < 0) return Chase::Failed;
    if (!replayed_) return render(frame) ? Chase::Shown : Chase::Failed;
    // A plug-in that keeps its own time makes any frame directly, without a fresh instance.
    if (plugin_->keepsOwnTime()) return renderedHere(frame) ? Chase::Shown : Chase::Failed;
    const auto start = std::chrono::steady_clock::now();
    // Forward of the live frame with nothing changed since, the simulation simply continues;
    // anything else brings a fresh state forward from the first frame of the range.
    if (!fresh_ && !(stepped_ >= 0 && stepped_ < index)) {
        stepped_ = -1;
        if (!restart()) return Chase::Failed;
    }
    const int from = stepped_ + 1;
    if (from < index) {
        // As many frames as the budget allows, judged by the last slice's pace; the frame itself
        // is rendered in the same slice once they are done, so that a target that moves on a
        // little between slices still gets shown.
        const int count = std::clamp(sliceFrames_, 1, index - from);
        const bool ok = stepThrough(from, from + count);
        host_.setBuffersReady(false);
        if (!ok) {
            invalidate();
            return Chase::Failed;
        }
        stepped_ = from + count - 1;
        fresh_ = false;
        const double spent = millisecondsSince(start);
        const double each = std::max(spent / count, 0.05);
        sliceFrames_ = std::clamp(int(budgetMs / each), 1, 100000);
        if (stepped_ < index - 1) return Chase::Working;
    }
    // The events the simulation passes on its way to the frame act before it.
    std::string error;
    const int firstEvent = stepped_ >= 0 ? frames_[size_t(stepped_)] + 1 : frames_.front();
    if (!replayEvents(*plugin_, std::min(firstEvent, frame), frame, &error)) {
        host_.report(HostMessage::Error, error);
        invalidate();
        host_.setBuffersReady(false);
        return Chase::Failed;
    }
    const bool ok = renderedHere(frame);
    stepped_ = ok ? index : -1;
    fresh_ = false;
    host_.setBuffersReady(false);
    return ok ? Chase::Shown : Chase::Failed;
}

// The frame rendered where the simulation stands, and kept for a later look back.
bool ViewSession::renderedHere(int frame) {
    if (!render(frame)) return false;
    int entry = 0;
    const Control* mode = wireframeSwitch(*plugin_, &entry);
    if (mode && mode->asList()->Value == entry) return true;   // the overlay is the picture
    const int index = indexOf(frame);
    if (!kept_.count(index)) {
        if (keptBytes_ + shown_.bytes() > kKeptPictureBytes) {
            // The kept frame farthest from this one makes room.
            auto far = std::abs(kept_.begin()->first - index) > std::abs(kept_.rbegin()->first - index)
                           ? kept_.begin() : std::prev(kept_.end());
            keptBytes_ -= far->second.bytes();
            kept_.erase(far);
        }
        keptBytes_ += shown_.bytes();
    } else {
        keptBytes_ -= kept_[index].bytes();
        keptBytes_ += shown_.bytes();
    }
    kept_[index] = shown_;
    return true;
}

bool ViewSession::showKept(int frame) {
    const int index = indexOf(frame);
    auto it = kept_.find(index);
    if (!replayed_ || it == kept_.end()) return false;
    current_ = frame;
    shown_ = it->second;
    panel().applyCurves(host_, frame);
    viewer_->show(shown_);
    return true;
}

// Processes the frames of the range from index `from` up to, not including, `to`, as a render
// processes them, in runs of one step each, so that the catch-up switches the plug-in's preview
// mode once per run rather than once per frame.
bool ViewSession::stepThrough(int from, int to) {
    for (int i = from; i < to;) {
        int j = i + 1;
        const int step = j < to ? frames_[size_t(j)] - frames_[size_t(i)] : 1;
        while (step > 0 && j < to && frames_[size_t(j)] - frames_[size_t(j - 1)] == step) ++j;
        const int done = i - from, total = to - from;
        auto progress = [&](int k, int) { return !progress_ || progress_(done + k, total); };
        std::string error;
        // Events at frames between the runs act before the run that follows them.
        if (i > 0 && frames_[size_t(i)] - frames_[size_t(i - 1)] > 1 &&
            !replayEvents(*plugin_, frames_[size_t(i - 1)] + 1, frames_[size_t(i)] - 1, &error)) {
            host_.report(HostMessage::Error, error);
            return false;
        }
        if (!catchUp(*plugin_, frames_[size_t(i)], frames_[size_t(j - 1)] + 1, progress, &error,
                     step > 0 ? step : 1)) {
            host_.report(HostMessage::Error, error);
            return false;
        }
        i = j;
    }
    return true;
}

bool ViewSession::refresh() {
    invalidate();
    return goTo(current_);
}

bool ViewSession::render(int frame) {
    current_ = frame;
    unsigned long* result = plugin_->renderFrame(frame);
    if (!result) return false;
    showOutput(result);
    noteNothingDrawn();
    return true;
}

// A frame that is exactly its background while inputs are left unconnected most likely misses
// them (a shape made of clips without its matte draws nothing): say which, once per change.
void ViewSession::noteNothingDrawn() {
    if (nothingNoted_ || !host_.hasBuffer(kFirstInputBuffer)) return;
    int entry = 0;
    const Control* mode = wireframeSwitch(*plugin_, &entry);
    if (mode && mode->asList()->Value == entry) return;   // a preview draws over the viewer only
    const FrameBuffer& background = host_.buffer(kFirstInputBuffer);
    if (background.bytes() != shown_.bytes() || !background.samePixels(shown_)) return;
    std::string missing;
    for (int clip = 1; clip < plugin_->clips(); ++clip) {
        if (clips_.hasClip(clip)) continue;
        const Control* name = panel().find(ControlKind::String, clip);
        missing += (missing.empty() ? "" : ", ") + std::to_string(clip + 1) +
                   (name ? " (" + trimRight(panel().label(*name)) + ")" : std::string());
    }
    if (missing.empty()) return;
    nothingNoted_ = true;
    host_.report(HostMessage::Note, "frame " + std::to_string(current_) +
                                        " shows nothing of the effect over clip 1; not connected: clip " + missing +
                                        ". A shape made of clips needs its colour and matte clips (--clip N=FILE).");
}

void ViewSession::showOutput(unsigned long* result) {
    FrameBuffer& out = host_.buffer(kOutputBuffer);
    if (out.words() == result) {
        shown_ = out;
    } else {
        shown_.resize(host_.frameWidth(), host_.frameHeight(), host_.depthCode());
        const auto* bytes = reinterpret_cast<const uint8_t*>(result);
        std::copy(bytes, bytes + shown_.bytes(), shown_.data());
    }
    viewer_->show(shown_);
}

// After a callback or pointer event: a frame it returned is shown; in the replayed mode a frame
// it asked for is made by replaying, so that it is the frame a render would give. A plug-in that
// keeps its own time (OFX) makes each frame from the frame number and the values alone: an edit
// shows the frame as it now is, whether or not the plug-in rendered it itself.
bool ViewSession::afterCallback(unsigned long* result, int refusedBefore) {
    if (plugin_->keepsOwnTime()) {
        invalidate();
        ++renders_;
        if (result) {
            showOutput(result);
            return true;
        }
        return replayed_ ? renderedHere(current_) : render(current_);
    }
    if (!replayed_) {
        if (!result) return false;
        ++renders_;
        showOutput(result);
        return true;
    }
    invalidate();
    if (host_.refusedBufferRequests() == refusedBefore) return false;
    ++renders_;
    return refresh();
}

ViewSession::Values ViewSession::keyedValues() const {
    Values values;
    for (const Control& c : plugin_->panel().controls())
        if (keyed(c)) values.emplace_back(&c, plugin_->panel().numericValue(c));
    return values;
}

bool ViewSession::keyed(const Control& c) const {
    if (!plugin_->panel().isNumeric(c)) return false;
    const Curve* curve = host_.findCurve(Panel::channelType(c), c.number);
    return curve && !curve->empty();
}

// A keyed control the edit moved takes a key at the current frame, so the frames that follow
// keep the edit instead of the curve taking it back at the next frame.
void ViewSession::keyChanged(const Values& before) {
    for (const auto& [control, was] : before) {
        const double now = panel().numericValue(*control);
        if (now != was) host_.curve(Panel::channelType(*control), control->number).setKey(current_, float(now));
    }
}

std::vector<int> ViewSession::keyFrames() const {
    std::vector<int> frames;
    for (const auto& entry : host_.curves())
        for (const auto& key : entry.second.keys()) frames.push_back(key.first);
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
}

bool ViewSession::setValue(const Control& control, const std::string& value, std::string* error) {
    const int refused = host_.refusedBufferRequests();
    const Values before = keyedValues();
    unsigned long* result = nullptr;
    if (!plugin_->setControl(control, value, error, &result)) return false;
    keyChanged(before);
    afterCallback(result, refused);
    return true;
}

bool ViewSession::setNumber(const Control& control, double value) {
    const Values before = keyedValues();
    panel().setNumericValue(control, value);
    const int refused = host_.refusedBufferRequests();
    unsigned long* result = plugin_->callCallback(control);
    keyChanged(before);
    afterCallback(result, refused);
    return true;
}

bool ViewSession::setColour(const Control& control, unsigned packed) {
    const Values before = keyedValues();
    control.asColour()->Color = packed;
    const int refused = host_.refusedBufferRequests();
    unsigned long* result = plugin_->callCallback(control);
    keyChanged(before);
    afterCallback(result, refused);
    return true;
}

void ViewSession::press(const Control& control) {
    // In replayed time a button that acts on the simulation is an event at the current frame.
    // (A plug-in that keeps its own time places the event itself when its button is pressed.)
    if (replayed_ && !plugin_->keepsOwnTime() && eventAction(panel(), control) != EventAction::None) {
        host_.addEvent(ShotEvent{current_, control.record});
        host_.report(HostMessage::Note, panel().name(control) + " placed at frame " + std::to_string(current_) +
                                            " (right-click its mark on the timeline to remove it)");
        ++renders_;
        refresh();
        return;
    }
    const Values before = keyedValues();
    const int refused = host_.refusedBufferRequests();
    unsigned long* result = plugin_->callCallback(control);
    keyChanged(before);
    afterCallback(result, refused);
}

bool ViewSession::pointer(const PointerEvent& e) {
    const size_t cursorsBefore = host_.cursors().size();
    const int drawsBefore = host_.viewingDraws();
    const int refused = host_.refusedBufferRequests();
    const Values before = keyedValues();
    const float ratio = host_.viewerRatio() > 0.0f ? host_.viewerRatio() : 1.0f;
    // Canvas pixels to frame pixels: the plug-in multiplies x by the viewer ratio itself.
    const float fx = (e.x - float(originX_)) / (magnification_ * ratio);
    const float fy = (e.y - float(originY_)) / magnification_;
    unsigned long* result = plugin_->interact(int(e.x), int(e.y), e.pressure, fx, fy,
                                              Viewer::hostZoom(magnification_));
    if (host_.cursors().size() > cursorsBefore) cursor_ = host_.cursors().back();
    // A hover changes nothing but the cursor, so the simulation stays where it was; a press,
    // drag or release may have moved a control. A drag moves a keyed control's key at its release.
    const bool hover = e.pressure <= 0.0f && lastPressure_ <= 0.0f;
    const bool press = e.pressure > 0.0f && lastPressure_ <= 0.0f;
    const bool release = e.pressure <= 0.0f && lastPressure_ > 0.0f;
    lastPressure_ = e.pressure;
    if (press) pressed_ = before;
    if (release) keyChanged(pressed_);
    if (hover && !result && host_.refusedBufferRequests() == refused) {
        if (host_.viewingDraws() != drawsBefore) redraw();
        return false;
    }
    if (plugin_->keepsOwnTime() && !result) {
        // Such a plug-in hands back the new frame itself at the release; until then only the
        // overlay follows the pointer.
        if (host_.viewingDraws() != drawsBefore) redraw();
        return false;
    }
    const bool shownNew = afterCallback(result, refused);
    if (shownNew || host_.viewingDraws() != drawsBefore) redraw();
    return shownNew;
}

void ViewSession::setCanvas(int width, int height, float magnification, int originX, int originY) {
    canvasWidth_ = width;
    canvasHeight_ = height;
    magnification_ = magnification > 0.0f ? magnification : 1.0f;
    originX_ = originX;
    originY_ = originY;
    host_.setViewerOrigin(originX, originY);
    viewer_->setCanvasSize(width, height);
    viewer_->setZoom(magnification_);
    std::string error;
    canvasOpen_ = viewer_->open(&error);
    if (!canvasOpen_) host_.report(HostMessage::Error, error);
}

void ViewSession::redraw() {
    if (canvasOpen_) viewer_->redraw();
}

bool ViewSession::loadSetup(const std::string& path, std::string* error) {
    if (!readSetup(panel(), host_, path, error)) return false;
    invalidate();
    savedFingerprint_ = fingerprint();
    return true;
}

bool ViewSession::saveSetup(const std::string& path, std::string* error) {
    if (!writeSetup(panel(), host_, path, error)) return false;
    savedFingerprint_ = fingerprint();
    return true;
}

// Everything a setup holds, as text: records by their raw values, then every curve's keys.
std::string ViewSession::fingerprint() const {
    std::string text;
    for (const Control& c : plugin_->panel().controls())
        if (c.kind != ControlKind::Push) text += c.record + "=" + plugin_->panel().rawValue(c) + "\n";
    for (const auto& entry : host_.curves())
        for (const auto& key : entry.second.keys())
            text += "key " + std::to_string(entry.first.first) + " " + std::to_string(entry.first.second) + " " +
                    std::to_string(key.first) + " " + std::to_string(key.second) + "\n";
    for (const ShotEvent& event : host_.events()) text += "event " + std::to_string(event.frame) + " " + event.record + "\n";
    return text;
}

std::vector<std::pair<int, std::string>> ViewSession::eventMarks() const {
    std::vector<std::pair<int, std::string>> marks;
    for (const ShotEvent& event : host_.events()) {
        const Control* c = plugin_->panel().findRecord(event.record);
        marks.emplace_back(event.frame, c ? plugin_->panel().name(*c) : event.record);
    }
    return marks;
}

bool ViewSession::removeEvent(size_t index) {
    if (!host_.removeEvent(index)) return false;
    invalidate();
    return true;
}

bool ViewSession::unsaved() const { return fingerprint() != savedFingerprint_; }

bool ViewSession::loadKeys(const std::string& path, std::string* error) {
    std::vector<KeyLine> keys;
    if (!readKeyframes(path, &keys, error)) return false;
    for (const auto& key : keys) {
        const Control* c = panel().resolve(key.control, ControlUse::Animate, &host_, error);
        if (!c) {
            *error = path + ":" + std::to_string(key.line) + ": " + *error;
            return false;
        }
        host_.curve(Panel::channelType(*c), c->number).setKey(key.frame, key.value);
    }
    invalidate();
    return true;
}

std::vector<HostMessage> ViewSession::takeMessages() {
    std::vector<HostMessage> all = host_.messages();
    std::vector<HostMessage> fresh(all.begin() + long(std::min(messagesTaken_, all.size())), all.end());
    messagesTaken_ = all.size();
    return fresh;
}

}  // namespace sparkhost
