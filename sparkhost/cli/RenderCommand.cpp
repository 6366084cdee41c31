#include "RenderCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <thread>
#include <unistd.h>

#include "Progress.h"
#include "sparkhost/gl/ViewerSession.h"
#include "sparkhost/lib/ClipSet.h"
#include "sparkhost/lib/FrameRange.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/Setup.h"
#include "sparkhost/lib/ShotCatchUp.h"

namespace sparkhost {

namespace {

constexpr int kBadInput = 2;
constexpr int kFailed = 1;

int complain(const std::string& text, int code = kBadInput) {
    std::cerr << "sparkhost: " << text << "\n";
    return code;
}

std::string folderOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Tries to create a file in the folder: permission bits alone say nothing for the superuser or
// for read-only file systems.
bool canWriteIn(const std::string& folder) {
    std::string probe = folder + "/.sparkhost-probe-" + std::to_string(::getpid());
    int fd = ::open(probe.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    if (fd < 0) return false;
    ::close(fd);
    ::unlink(probe.c_str());
    return true;
}

std::string rangeText(const std::vector<int>& frames, const std::string& written) {
    if (frames.size() == 1) return "frame " + std::to_string(frames[0]);
    return "frames " + trim(written);
}

// Finds which host buffer a plug-in's result points at; frames outside every buffer are copied
// from the pointer as a frame of the host's size and depth.
const FrameBuffer* resultFrame(Host& host, unsigned long* result, FrameBuffer* scratch) {
    if (host.buffer(kOutputBuffer).words() == result) return &host.buffer(kOutputBuffer);
    for (int id : host.registeredBuffers())
        if (host.buffer(id).words() == result) return &host.buffer(id);
    for (int clip = 0; clip < host.inputClips(); ++clip)
        if (host.buffer(kFirstInputBuffer + clip).words() == result)
            return &host.buffer(kFirstInputBuffer + clip);
    scratch->resize(host.frameWidth(), host.frameHeight(), host.depthCode());
    std::copy_n(reinterpret_cast<const uint8_t*>(result), scratch->bytes(), scratch->data());
    return scratch;
}

// The step between the first two frames of the range: a chunk of a shot rendered every other
// frame catches up every other frame too, as the long render processed them.
int rangeStep(const std::vector<int>& frames) {
    return frames.size() > 1 && frames[1] > frames[0] ? frames[1] - frames[0] : 1;
}

}  // namespace

bool parseSize(const std::string& text, int* width, int* height, std::string* error) {
    size_t x = text.find_first_of("xX");
    auto whole = [](const std::string& s, int* out) {
        if (s.empty() || s.size() > 6 || s.find_first_not_of("0123456789") != std::string::npos) return false;
        *out = std::stoi(s);
        return *out >= 1;
    };
    if (x == std::string::npos || !whole(text.substr(0, x), width) || !whole(text.substr(x + 1), height)) {
        if (error) *error = "bad size '" + text + "': write WIDTHxHEIGHT, for example 1920x1080";
        return false;
    }
    return true;
}

int runRender(const RenderOptions& o) {
    std::string error;
    std::vector<int> frames;
    if (!parseFrameRange(o.frames, &frames, &error)) return complain(error);
    if (o.depth != 8 && o.depth != 12) return complain("--depth must be 8 or 12");
    if (o.yes && o.no) return complain("--yes and --no exclude each other");

    // Input clips.
    ClipSet clips;
    for (const auto& spec : o.clips) {
        size_t eq = spec.find('=');
        std::string number = spec.substr(0, eq);
        if (eq == std::string::npos || number.size() != 1 || number[0] < '1' || number[0] > '5')
            return complain("bad --clip '" + spec + "': write N=PATTERN with N from 1 to 5");
        int clip = number[0] - '1';
        if (clips.hasClip(clip)) return complain("clip " + number + " is given twice");
        if (!clips.setClip(clip, spec.substr(eq + 1), &error)) return complain(error);
    }

    // Frame size: as asked, else that of the first clip's first frame, else the default plate's.
    int width = 1280, height = 720;
    if (!o.size.empty()) {
        if (!parseSize(o.size, &width, &height, &error)) return complain(error);
    } else if (clips.hasClip(0)) {
        const SequencePattern& first = clips.clips().at(0);
        std::string path = first.path(frames.front());
        if (access(path.c_str(), F_OK) != 0) return complain("clip 1: missing input file '" + path + "'");
        if (!imageSize(path, &width, &height, &error)) return complain("clip 1: " + error);
    }
    if (!clips.hasClip(0)) clips.setDefaultPlate(0);
    if (!clips.check(frames, width, height, &error)) return complain(error);

    // Output.
    if (o.output.empty()) return complain("no output given: add -o PATTERN, for example -o out/frame.####.png");
    SequencePattern output;
    if (!output.parse(o.output, &error)) return complain(error);
    if (!output.isSequence() && frames.size() > 1)
        return complain("the output '" + o.output + "' has no frame number (#### or %04d) but " +
                        std::to_string(frames.size()) + " frames are rendered");
    std::string outFolder = folderOf(o.output);
    if (access(outFolder.c_str(), F_OK) != 0)
        return complain("output folder '" + outFolder + "' does not exist");
    if (!canWriteIn(outFolder))
        return complain("output folder '" + outFolder + "' is not writable");

    std::vector<KeyLine> keys;
    if (!o.keys.empty() && !readKeyframes(o.keys, &keys, &error)) return complain(error);
    if (!o.setup.empty() && access(o.setup.c_str(), R_OK) != 0)
        return complain("cannot read setup file '" + o.setup + "'");
    if (!o.saveSetup.empty() && !canWriteIn(folderOf(o.saveSetup)))
        return complain("cannot write setup file '" + o.saveSetup + "': its folder is not writable");

    // The host.
    Host host;
    Progress progress(isatty(2) != 0);
    host.setBeforeEcho([&progress] { progress.clearLine(); });
    host.setFrameSize(width, height);
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
    host.setClipProvider([&clips](int clip, int frame, FrameBuffer& destination) {
        return clips.read(clip, frame, destination);
    });

    Plugin plugin(host);
    if (!plugin.load(o.plugin, &error)) return complain(error);
    plugin.initialise();
    if (!host.setupError().empty()) return complain(host.setupError());
    if (o.shotStart >= 0) host.setShotStart(o.shotStart);
    if (host.shotStart() > frames.front())
        return complain("the shot starts at frame " + std::to_string(host.shotStart()) +
                        ", after the first frame rendered (" + std::to_string(frames.front()) + ")");
    // A plug-in that never asks for its setup still gets the one given.
    if (!o.setup.empty() && std::find(host.setupLoads().begin(), host.setupLoads().end(), o.setup) ==
                                host.setupLoads().end()) {
        if (!readSetup(plugin.panel(), host, o.setup, &error)) return complain(error);
    }
    for (const auto& entry : clips.clips())
        if (entry.first >= plugin.clips())
            return complain("clip " + std::to_string(entry.first + 1) + " is given but the plug-in takes " +
                            std::to_string(plugin.clips()) + " clip" + (plugin.clips() == 1 ? "" : "s"));

    // Edits come before any frame is loaded: a preview a callback asks for finds no buffers and
    // renders nothing, so the frames written depend only on the settings, not on how many edits
    // it took to make them.
    host.setBuffersReady(false);
    if (!o.resolution.empty()) {
        const Control* list = nullptr;
        for (const auto& c : plugin.panel().controls()) {
            if (c.kind != ControlKind::List) continue;
            for (const auto& e : plugin.panel().listEntries(c))
                if (normaliseName(e) == normaliseName(o.resolution)) list = &c;
            if (list) break;
        }
        if (!list) return complain("the plug-in has no resolution list with an entry '" + o.resolution + "'");
        if (!plugin.setControl(*list, o.resolution, &error)) return complain(error);
    }
    std::vector<RenderOptions::Edit> edits = o.edits;
    if (edits.empty()) {
        for (const auto& set : o.sets) edits.push_back({false, set});
        for (const auto& press : o.presses) edits.push_back({true, press});
    }
    for (const auto& edit : edits) {
        if (edit.press) {
            if (!plugin.press(edit.text, &error)) return complain(error);
            continue;
        }
        size_t eq = edit.text.find('=');
        if (eq == std::string::npos) return complain("bad --set '" + edit.text + "': write NAME=VALUE");
        if (!plugin.setControl(trim(edit.text.substr(0, eq)), edit.text.substr(eq + 1), &error))
            return complain(error);
    }
    for (const auto& key : keys) {
        const Control* c = plugin.panel().resolve(key.control, ControlUse::Animate, &host, &error);
        if (!c) return complain(o.keys + ":" + std::to_string(key.line) + ": " + error);
        double lo, hi, step;
        plugin.panel().range(*c, &lo, &hi, &step);
        if (key.value < lo || key.value > hi) {
            char text[256];
            std::snprintf(text, sizeof text, "%s:%d: value %g of \"%s\" (%d) is outside its range %g to %g",
                          o.keys.c_str(), key.line, double(key.value), plugin.panel().name(*c).c_str(),
                          c->number, lo, hi);
            return complain(text);
        }
        host.curve(Panel::channelType(*c), c->number).setKey(key.frame, key.value);
    }

    // The viewer, when the overlay is wanted or a drag is to be made in it.
    ViewerSession viewer(plugin, o.overlay, o.drag);
    if (viewer.active() && !viewer.start(&error)) return complain(error);

    // The render.
    plugin.startRender();
    if (host.shotStart() >= 0) {
        if (!catchUp(plugin, host.shotStart(), frames.front(), nullptr, &error, rangeStep(frames)))
            return complain(error, kFailed);
    }
    progress.start(int(frames.size()));
    FrameBuffer scratch;
    int done = 0;
    double frameSeconds = 0.0, writeSeconds = 0.0;
    auto since = [](std::chrono::steady_clock::time_point t) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
    };
    double readBefore = clips.readSeconds();
    for (int frame : frames) {
        clips.clearError();
        auto frameStart = std::chrono::steady_clock::now();
        unsigned long* result = plugin.renderFrame(frame);
        frameSeconds += since(frameStart);
        if (!clips.lastError().empty()) {
            progress.clearLine();
            return complain(clips.lastError(), kFailed);
        }
        if (!result) {
            progress.clearLine();
            return complain("the plug-in rendered nothing for frame " + std::to_string(frame), kFailed);
        }
        const FrameBuffer* image = resultFrame(host, result, &scratch);
        if (viewer.active()) image = &viewer.frame(*image);
        auto writeStart = std::chrono::steady_clock::now();
        if (!writeImage(output.path(frame), *image, &error)) {
            progress.clearLine();
            return complain(error, kFailed);
        }
        writeSeconds += since(writeStart);
        progress.frameDone(++done, frame);
    }
    double readSeconds = clips.readSeconds() - readBefore;
    char times[160];
    std::snprintf(times, sizeof times, "; plug-in %.2f s, reading %.2f s, writing %.2f s",
                  frameSeconds - readSeconds, readSeconds, writeSeconds);
    progress.finish(", " + rangeText(frames, o.frames) + ", to " + o.output + times);

    if (!o.saveSetup.empty()) {
        host.setSetupName(o.saveSetup);
        host.setSaveSetups(true);
    }
    plugin.uninitialise();
    // A plug-in that never hands its setup to the host still gets it saved.
    if (!o.saveSetup.empty() && std::find(host.setupSaves().begin(), host.setupSaves().end(),
                                          o.saveSetup) == host.setupSaves().end()) {
        if (!writeSetup(plugin.panel(), host, o.saveSetup, &error)) return complain(error, kFailed);
    }
    return 0;
}

}  // namespace sparkhost
