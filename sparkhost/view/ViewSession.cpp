#include "sparkhost/view/ViewSession.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/Setup.h"
#include "sparkhost/lib/ShotCatchUp.h"

namespace sparkhost {

namespace {

// Decoded clip frames kept for replays: about 380 frames of 1280x720 at 8 bits.
constexpr size_t kKeptClipBytes = size_t(1) << 30;

}  // namespace

ViewSession::ViewSession() = default;

ViewSession::~ViewSession() {
    viewer_.reset();
    if (plugin_) plugin_->unload();
    if (!freshSetup_.empty()) ::unlink(freshSetup_.c_str());
}

bool ViewSession::open(const ViewOptions& o, std::string* error) {
    options_ = o;
    if (!parseFrameRange(o.frames, &frames_, error)) return false;
    if (o.depth != 8 && o.depth != 12) {
        *error = "--depth must be 8 or 12";
        return false;
    }
    for (const auto& given : o.clips) {
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
    freshSetup_ = "/tmp/sparkhost-view-" + std::to_string(::getpid()) + ".setup";
    current_ = frames_.front();
    if (!loadPlugin(error)) return false;
    if (!o.setup.empty() && host_.setupLoads().empty() && !readSetup(panel(), host_, o.setup, error))
        return false;
    if (!o.keys.empty() && !loadKeys(o.keys, error)) return false;
    replayed_ = !o.everyFrameSteps;
    host_.setBuffersReady(!replayed_);
    return true;
}

bool ViewSession::loadPlugin(std::string* error) {
    if (!plugin_) plugin_ = std::make_unique<Plugin>(host_);
    if (!plugin_->load(options_.plugin, error)) return false;
    plugin_->initialise();
    // The viewer and its offscreen context outlive a reload: they depend on the frame and canvas
    // sizes only, and making a context again costs as much as a short catch-up.
    if (!viewer_) viewer_ = std::make_unique<Viewer>(*plugin_);
    stepped_ = -1;
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
    stepped_ = -1;
}

int ViewSession::indexOf(int frame) const {
    for (size_t i = 0; i < frames_.size(); ++i)
        if (frames_[i] == frame) return int(i);
    return -1;
}

bool ViewSession::goTo(int frame) {
    int index = indexOf(frame);
    if (index < 0) return false;
    if (!replayed_) return render(frame);
    // Forward of the live frame with nothing changed since, the simulation simply continues;
    // anything else brings a fresh state forward from the first frame of the range.
    int from = stepped_ >= 0 && stepped_ < index ? stepped_ + 1 : 0;
    if (from == 0) {
        std::string error;
        if (!reload(&error)) {
            host_.report(HostMessage::Error, error);
            return false;
        }
        plugin_->startRender();
    }
    if (!stepThrough(from, index)) {
        stepped_ = -1;
        host_.setBuffersReady(false);
        return false;
    }
    const bool ok = render(frame);
    stepped_ = ok ? index : -1;
    host_.setBuffersReady(false);
    return ok;
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
    stepped_ = -1;
    return goTo(current_);
}

bool ViewSession::render(int frame) {
    current_ = frame;
    unsigned long* result = plugin_->renderFrame(frame);
    if (!result) return false;
    showOutput(result);
    return true;
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
// it asked for is made by replaying, so that it is the frame a render would give.
bool ViewSession::afterCallback(unsigned long* result, int refusedBefore) {
    if (!replayed_) {
        if (!result) return false;
        ++renders_;
        showOutput(result);
        return true;
    }
    stepped_ = -1;
    if (host_.refusedBufferRequests() == refusedBefore) return false;
    ++renders_;
    return refresh();
}

bool ViewSession::setValue(const Control& control, const std::string& value, std::string* error) {
    const int refused = host_.refusedBufferRequests();
    unsigned long* result = nullptr;
    if (!plugin_->setControl(control, value, error, &result)) return false;
    afterCallback(result, refused);
    return true;
}

bool ViewSession::setNumber(const Control& control, double value) {
    panel().setNumericValue(control, value);
    const int refused = host_.refusedBufferRequests();
    afterCallback(plugin_->callCallback(control), refused);
    return true;
}

bool ViewSession::setColour(const Control& control, unsigned packed) {
    control.asColour()->Color = packed;
    const int refused = host_.refusedBufferRequests();
    afterCallback(plugin_->callCallback(control), refused);
    return true;
}

void ViewSession::press(const Control& control) {
    const int refused = host_.refusedBufferRequests();
    afterCallback(plugin_->callCallback(control), refused);
}

bool ViewSession::pointer(const PointerEvent& e) {
    const size_t cursorsBefore = host_.cursors().size();
    const int drawsBefore = host_.viewingDraws();
    const int refused = host_.refusedBufferRequests();
    const float ratio = host_.viewerRatio() > 0.0f ? host_.viewerRatio() : 1.0f;
    // Canvas pixels to frame pixels: the plug-in multiplies x by the viewer ratio itself.
    const float fx = (e.x - float(originX_)) / (magnification_ * ratio);
    const float fy = (e.y - float(originY_)) / magnification_;
    unsigned long* result = plugin_->interact(int(e.x), int(e.y), e.pressure, fx, fy,
                                              Viewer::hostZoom(magnification_));
    if (host_.cursors().size() > cursorsBefore) cursor_ = host_.cursors().back();
    // A hover changes nothing but the cursor, so the simulation stays where it was; a press,
    // drag or release may have moved a control.
    const bool hover = e.pressure <= 0.0f && lastPressure_ <= 0.0f;
    lastPressure_ = e.pressure;
    const int stepped = stepped_;
    const bool shownNew = afterCallback(result, refused);
    if (hover && !shownNew) stepped_ = stepped;
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
    stepped_ = -1;
    return true;
}

bool ViewSession::saveSetup(const std::string& path, std::string* error) {
    return writeSetup(panel(), host_, path, error);
}

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
    stepped_ = -1;
    return true;
}

std::vector<HostMessage> ViewSession::takeMessages() {
    std::vector<HostMessage> all = host_.messages();
    std::vector<HostMessage> fresh(all.begin() + long(std::min(messagesTaken_, all.size())), all.end());
    messagesTaken_ = all.size();
    return fresh;
}

}  // namespace sparkhost
