#include "sparkhost/lib/ShotCatchUp.h"

#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/ShotEvents.h"

namespace sparkhost {

namespace {

// Calls a control's callback as a person's edit would, with the buffers withheld, so that no
// frame is processed by the edit itself.
void callWithheld(Plugin& plugin, const Control& control) {
    Host& host = plugin.host();
    bool ready = host.buffersReady();
    host.setBuffersReady(false);
    plugin.callCallback(control);
    host.setBuffersReady(ready);
}

// Sets a list control's record to an entry and calls its callback, as a person's choice would.
void chooseEntry(Plugin& plugin, const Control& list, int entry) {
    plugin.panel().setRawValue(list, std::to_string(entry), nullptr);
    callWithheld(plugin, list);
}

// The plug-in's wireframe preview for as long as this lives, when it has one and is not in it.
class WireframeMode {
public:
    explicit WireframeMode(Plugin& plugin) : plugin_(plugin) {
        int wireframe = 0;
        mode_ = wireframeSwitch(plugin, &wireframe);
        saved_ = mode_ ? mode_->asList()->Value : 0;
        if (mode_ && saved_ != wireframe)
            chooseEntry(plugin, *mode_, wireframe);
        else
            mode_ = nullptr;
    }
    ~WireframeMode() {
        if (mode_) chooseEntry(plugin_, *mode_, saved_);
    }
    WireframeMode(const WireframeMode&) = delete;
    WireframeMode& operator=(const WireframeMode&) = delete;

private:
    Plugin& plugin_;
    const Control* mode_ = nullptr;
    int saved_ = 0;
};

bool processDiscarded(Plugin& plugin, int frame, std::string* error) {
    if (plugin.renderFrame(frame)) return true;
    if (error) *error = "the plug-in rendered nothing for frame " + std::to_string(frame) +
                        " while catching up with the shot";
    return false;
}

}  // namespace

const Control* wireframeSwitch(const Plugin& plugin, int* entry) {
    const Panel& panel = plugin.panel();
    for (const auto& c : panel.controls()) {
        if (c.kind != ControlKind::List) continue;
        int count = int(panel.listEntries(c).size());
        for (int i = 0; i < count; ++i) {
            if (normaliseName(panel.listEntryName(c, i)) != "wireframe") continue;
            if (entry) *entry = i;
            return &c;
        }
    }
    return nullptr;
}

bool replayEvents(Plugin& plugin, int firstFrame, int lastFrame, std::string* error) {
    // A plug-in that keeps its own time holds the events itself (see Plugin::keepsOwnTime).
    if (plugin.keepsOwnTime()) return true;
    Host& host = plugin.host();
    for (const ShotEvent& event : host.events()) {
        if (event.frame < firstFrame || event.frame > lastFrame) continue;
        const Control* button = plugin.panel().findRecord(event.record);
        EventAction action = button ? eventAction(plugin.panel(), *button) : EventAction::None;
        if (action == EventAction::None) {
            if (error) *error = "the event at frame " + std::to_string(event.frame) + " names '" + event.record +
                                "', which is not a simulation button of this plug-in";
            return false;
        }
        host.setCurrentFrame(event.frame);
        callWithheld(plugin, *button);
        if (action == EventAction::Step) {
            WireframeMode cheap(plugin);
            if (!processDiscarded(plugin, event.frame, error)) return false;
        }
    }
    return true;
}

bool catchUp(Plugin& plugin, int fromFrame, int toFrameExclusive, const CatchUpProgress& progress,
             std::string* error, int step) {
    if (step < 1) step = 1;
    if (plugin.keepsOwnTime()) return true;   // its frames need nothing before them
    int total = fromFrame < toFrameExclusive ? (toFrameExclusive - fromFrame + step - 1) / step : 0;
    if (total == 0) return true;

    WireframeMode cheap(plugin);
    int done = 0;
    for (int frame = fromFrame; frame < toFrameExclusive; frame += step) {
        // Events at frames stepped over are acted on at the next frame processed.
        int firstEvent = frame == fromFrame ? frame : frame - step + 1;
        if (!replayEvents(plugin, firstEvent, frame, error)) return false;
        if (!processDiscarded(plugin, frame, error)) return false;
        ++done;
        if (progress && !progress(done, total)) {
            if (error) *error = "catching up with the shot was stopped at frame " + std::to_string(frame);
            return false;
        }
    }
    return true;
}

}  // namespace sparkhost
