#include "sparkhost/lib/ShotCatchUp.h"

#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"

namespace sparkhost {

namespace {

// Sets a list control's record to an entry and calls its callback, as a person's choice would,
// with the buffers withheld so that no frame is processed by the edit itself.
void chooseEntry(Plugin& plugin, const Control& list, int entry) {
    Host& host = plugin.host();
    bool ready = host.buffersReady();
    host.setBuffersReady(false);
    plugin.panel().setRawValue(list, std::to_string(entry), nullptr);
    plugin.callCallback(list);
    host.setBuffersReady(ready);
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

bool catchUp(Plugin& plugin, int fromFrame, int toFrameExclusive, const CatchUpProgress& progress,
             std::string* error, int step) {
    if (step < 1) step = 1;
    int total = fromFrame < toFrameExclusive ? (toFrameExclusive - fromFrame + step - 1) / step : 0;
    if (total == 0) return true;

    int wireframe = 0;
    const Control* mode = wireframeSwitch(plugin, &wireframe);
    int saved = mode ? mode->asList()->Value : 0;
    bool switched = mode && saved != wireframe;
    if (switched) chooseEntry(plugin, *mode, wireframe);

    bool ok = true;
    int done = 0;
    for (int frame = fromFrame; frame < toFrameExclusive; frame += step) {
        if (!plugin.renderFrame(frame)) {
            if (error) *error = "the plug-in rendered nothing for frame " + std::to_string(frame) +
                                " while catching up with the shot";
            ok = false;
            break;
        }
        ++done;
        if (progress && !progress(done, total)) {
            if (error) *error = "catching up with the shot was stopped at frame " + std::to_string(frame);
            ok = false;
            break;
        }
    }
    if (switched) chooseEntry(plugin, *mode, saved);
    return ok;
}

}  // namespace sparkhost
