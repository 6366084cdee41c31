#include "RenderCommand.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <unistd.h>

#include "Progress.h"
#include "RenderChecks.h"
#include "RenderLoop.h"
#include "sparkhost/gl/ViewerSession.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/ReadAhead.h"
#include "sparkhost/lib/Setup.h"
#include "sparkhost/lib/ShotCatchUp.h"
#include "sparkhost/lib/ShotEvents.h"
#include "sparkhost/lib/ValueText.h"
#include "sparkhost/ofx/HostMode.h"

namespace sparkhost {

int complain(const std::string& text, int code) {
    std::cerr << "sparkhost: " << text << "\n";
    return code;
}

namespace {

std::string rangeText(const std::vector<int>& frames, const std::string& written) {
    if (frames.size() == 1) return "frame " + std::to_string(frames[0]);
    return "frames " + trim(written);
}

// The edits of the command line, in order, then the keys; the error names the option or file.
bool applyEdits(const RenderOptions& o, const RenderInputs& in, Plugin& plugin, std::string* error) {
    Host& host = plugin.host();
    if (!o.resolution.empty()) {
        const Control* list = nullptr;
        for (const auto& c : plugin.panel().controls()) {
            if (c.kind != ControlKind::List) continue;
            for (const auto& e : plugin.panel().listEntries(c))
                if (normaliseName(e) == normaliseName(o.resolution)) list = &c;
            if (list) break;
        }
        if (!list) {
            *error = "the plug-in has no resolution list with an entry '" + o.resolution + "'";
            return false;
        }
        if (!plugin.setControl(*list, o.resolution, error)) return false;
    }
    std::vector<RenderOptions::Edit> edits = o.edits;
    if (edits.empty()) {
        for (const auto& set : o.sets) edits.push_back({false, set});
        for (const auto& press : o.presses) edits.push_back({true, press});
    }
    for (const auto& edit : edits) {
        if (edit.press) {
            if (!plugin.press(edit.text, error)) return false;
            continue;
        }
        size_t eq = edit.text.find('=');
        if (eq == std::string::npos) {
            *error = "bad --set '" + edit.text + "': write NAME=VALUE";
            return false;
        }
        if (!plugin.setControl(trim(edit.text.substr(0, eq)), edit.text.substr(eq + 1), error)) return false;
    }
    for (const auto& text : o.events) {
        ShotEvent event;
        if (!parseEventOption(plugin.panel(), &host, text, &event, error)) return false;
        host.addEvent(event);
    }
    std::map<std::pair<const Control*, int>, int> keyed;  // the line of each control's key at a frame
    for (const auto& key : in.keys) {
        const Control* c = plugin.panel().resolve(key.control, ControlUse::Animate, &host, error);
        if (!c) {
            *error = o.keys + ":" + std::to_string(key.line) + ": " + *error;
            return false;
        }
        auto refuse = [&](const std::string& why) {
            *error = o.keys + ":" + std::to_string(key.line) + ": " + why;
            return false;
        };
        std::string why = plugin.panel().numberProblem(*c, key.value);
        if (!why.empty())
            return refuse("value " + formatNumber(key.value) + " of \"" + plugin.panel().name(*c) + "\" (" +
                          std::to_string(c->number) + ") " + why);
        Curve& curve = host.curve(Panel::channelType(*c), c->number);
        if (keyed.count({c, key.frame}))
            return refuse("a second key of \"" + plugin.panel().name(*c) + "\" at frame " + std::to_string(key.frame) +
                          " (the first is on line " + std::to_string(keyed[{c, key.frame}]) + ")");
        keyed[{c, key.frame}] = key.line;
        curve.setKey(key.frame, key.value);
    }
    return true;
}

}  // namespace

int runRender(const RenderOptions& o) {
    std::string error;
    // Colour management takes the "@SPACE" suffixes off the clips before they are checked.
    ColourManagement colour;
    RenderOptions plain = o;
    if (!numberClipsByName(o.plugin, o.choice, &plain.clips, &error)) return complain(error);
    if (!colour.configure(o.colour, &plain.clips, o.output, &error)) return complain(error);
    ofx::HostMode hostMode;
    if (!ofx::parseHostMode(o.choice.hostMode, &hostMode, &error)) return complain(error);
    RenderInputs in;
    if (!checkRenderInputs(plain, &in, &error)) return complain(error);
    in.clips.setReader([&colour](int clip, const std::string& path, int depthCode, FrameBuffer* out,
                                 std::string* why) { return colour.readClip(clip, path, depthCode, out, why); });
    const std::vector<int>& frames = in.frames;

    Host host;
    Progress progress(isatty(2) != 0);
    host.setBeforeEcho([&progress] { progress.clearLine(); });
    host.setFrameSize(in.width, in.height);
    host.setBitDepth(o.depth);
    host.setProcessors(o.layers);
    host.setConcurrency(o.threads);
    host.setKeepSetupErrors(true);
    host.setPixelAspectRatio(o.pixelAspect);
    host.setConfirmAnswer(!o.no);
    host.setBrowserAnswer(o.file);
    host.setTotalFrames(unsigned(frames.size()));
    host.setSetupName(o.setup);
    host.setCurrentFrame(frames.front());
    ReadAhead clips(in.clips, kMaxInputClips);
    host.setClipProvider([&clips](int clip, int frame, FrameBuffer& destination) {
        return clips.read(clip, frame, destination);
    });

    Plugin plugin(host);
    applyChoice(o.choice, plugin);
    if (!plugin.load(o.plugin, &error)) return complain(error);
    if (!hostMode.isDefault() && !plugin.isOfx())
        return complain("--ofx-host-mode is for OpenFX plug-ins; '" + o.plugin + "' is a " + plugin.kindName());
    plugin.initialise();
    if (!plugin.initialiseError().empty()) return complain(plugin.initialiseError());
    if (!host.setupError().empty()) return complain(host.setupError());
    // A plug-in that never asks for its setup still gets the one given.
    if (!o.setup.empty() &&
        std::find(host.setupLoads().begin(), host.setupLoads().end(), o.setup) == host.setupLoads().end()) {
        if (!readSetup(plugin.panel(), host, o.setup, &error)) return complain(error);
    }
    for (const auto& entry : in.clips.clips())
        if (entry.first >= plugin.clips())
            return complain("clip " + std::to_string(entry.first + 1) + " is given but the plug-in takes " +
                            std::to_string(plugin.clips()) + " clip" + (plugin.clips() == 1 ? "" : "s"));
    if (o.shotStart >= 0) host.setShotStart(o.shotStart);
    int first = o.ifffsOrder ? frames.front() : *std::min_element(frames.begin(), frames.end());
    if (host.shotStart() > first)
        return complain("the shot starts at frame " + std::to_string(host.shotStart()) +
                        ", after the first frame rendered (" + std::to_string(first) + ")");
    FramePlan plan = planFrames(frames, host.shotStart(), o.ifffsOrder);
    // Every clip file the frames processed read, the catch-up's included, exists and has the
    // frame's size: a chunk refuses what the whole render would.
    if (!in.clips.check(processedFrames(plan), in.width, in.height, &error)) return complain(error);
    for (int frame : plan.repeated)
        host.report(HostMessage::Note, "frame " + std::to_string(frame) + " is asked more than once; it is written once");

    // Edits come before any frame is loaded: a preview a callback asks for finds no buffers and
    // renders nothing, so the frames written depend only on the settings, not on how many edits
    // it took to make them.
    host.setBuffersReady(false);
    if (!applyEdits(o, in, plugin, &error)) return complain(error);

    // The viewer, when the overlay is wanted or a drag is to be made in it.
    ViewerSession viewer(plugin, o.overlay, o.drag);
    if (viewer.active() && !viewer.start(&error)) return complain(error);
    if (o.check) {
        std::cerr << "sparkhost: checked, nothing rendered: " << rangeText(frames, o.frames) << " to " << o.output
                  << " would render\n";
        return 0;
    }

    plugin.planFrames(plan.shotStart, *std::max_element(frames.begin(), frames.end()));
    plugin.startRender();
    if (!plan.shotTime && !catchUp(plugin, plan.shotStart, frames.front(), nullptr, &error, plan.catchUpStep))
        return complain(error, kFailed);
    progress.start(int(plan.written.size()));
    LoopSettings settings;
    settings.overlap = !o.noOverlap;
    settings.compression = o.compression;
    settings.write = [&colour](const std::string& path, const FrameBuffer& frame, std::string* why,
                               const ImageWriteSettings& write) { return colour.writeFrame(path, frame, why, write); };
    LoopTimes times;
    // Another host's order of frames, when asked for; the files keep their frames' names.
    if (!hostMode.isDefault()) plan.written = ofx::renderOrder(plan.written, hostMode);
    int code = renderLoop(plugin, clips, viewer, plan, in.output, progress, settings, &times, &error);
    if (code != 0) return complain(error, code);
    progress.finish(", " + rangeText(frames, o.frames) + ", to " + o.output + stageSummary(times));
    for (const auto& line : colour.report()) std::cerr << "sparkhost: " << line << "\n";

    if (!o.saveSetup.empty()) {
        host.setSetupName(o.saveSetup);
        host.setSaveSetups(true);
    }
    plugin.uninitialise();
    // A plug-in that never hands its setup to the host still gets it saved.
    if (!o.saveSetup.empty() &&
        std::find(host.setupSaves().begin(), host.setupSaves().end(), o.saveSetup) == host.setupSaves().end()) {
        if (!writeSetup(plugin.panel(), host, o.saveSetup, &error)) return complain(error, kFailed);
    }
    return 0;
}

}  // namespace sparkhost
