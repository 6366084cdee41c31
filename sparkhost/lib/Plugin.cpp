#include "sparkhost/lib/Plugin.h"

#include <sys/stat.h>

#include "sparkhost/lib/SparkKind.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {

namespace {

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

bool isOfxPath(const std::string& path) {
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    if (endsWith(p, ".ofx.bundle") || endsWith(p, ".ofx")) return true;
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

Plugin::Plugin(Host& host) : host_(host) {}

Plugin::~Plugin() { unload(); }

bool Plugin::isOfx() const { return kind_ && dynamic_cast<const ofx::OfxKind*>(kind_.get()) != nullptr; }

bool Plugin::load(const std::string& path, std::string* error) {
    unload();
    std::unique_ptr<PluginKind> kind;
    if (isOfxPath(path))
        kind.reset(new ofx::OfxKind(host_, effectId_, hostMode_));
    else
        kind.reset(new SparkKind(host_));
    if (!kind->load(path, panel_, error)) {
        panel_.clear();
        return false;
    }
    kind_ = std::move(kind);
    path_ = path;
    host_.setPanel(&panel_);
    return true;
}

void Plugin::unload() {
    if (!kind_) return;
    if (initialised_) uninitialise();
    if (host_.panel() == &panel_) host_.setPanel(nullptr);
    kind_->unload();
    panel_.clear();
    kind_.reset();
    initialised_ = false;
}

unsigned Plugin::initialise() {
    if (!kind_) return 0;
    initResult_ = kind_->initialise();
    initialised_ = true;
    return initResult_;
}

int Plugin::startRender() { return kind_ ? kind_->startRender() : 0; }

void Plugin::prepareFrame(int frame) {
    host_.setCurrentFrame(frame);
    host_.loadInputs(frame);
    host_.setBuffersReady(true);
}

unsigned long* Plugin::renderFrame(int frame) {
    if (!kind_) return nullptr;
    host_.makeCurrent();
    prepareFrame(frame);
    panel_.applyCurves(host_, frame);
    return kind_->process();
}

unsigned long* Plugin::process() { return kind_ ? kind_->process() : nullptr; }

void Plugin::uninitialise() {
    if (!kind_ || !initialised_) return;
    kind_->uninitialise();
    initialised_ = false;
}

bool Plugin::setControl(const std::string& reference, const std::string& value,
                        std::string* error, unsigned long** rendered) {
    const Control* c = panel_.resolve(reference, ControlUse::Value, &host_, error);
    return c && setControl(*c, value, error, rendered);
}

bool Plugin::setControl(const Control& control, const std::string& value, std::string* error,
                        unsigned long** rendered) {
    if (!panel_.setValue(control, value, error)) return false;
    unsigned long* result = callCallback(control);
    if (rendered) *rendered = result;
    return true;
}

bool Plugin::press(const std::string& reference, std::string* error, unsigned long** rendered) {
    const Control* c = panel_.resolve(reference, ControlUse::Press, &host_, error);
    if (!c) return false;
    unsigned long* result = callCallback(*c);
    if (rendered) *rendered = result;
    return true;
}

unsigned long* Plugin::callCallback(const Control& control, int reason) {
    return kind_ ? kind_->controlChanged(control, reason) : nullptr;
}

unsigned long* Plugin::interact(int sx, int sy, float pressure, float vx, float vy, float zoom) {
    return kind_ ? kind_->interact(sx, sy, pressure, vx, vy, zoom) : nullptr;
}

bool Plugin::overlay(float zoom) { return kind_ && kind_->overlay(zoom); }

}  // namespace sparkhost
