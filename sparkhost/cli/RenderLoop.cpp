#include "RenderLoop.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "RenderCommand.h"
#include "sparkhost/gl/ViewerSession.h"
#include "sparkhost/lib/FrameWriters.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/ReadAhead.h"
#include "sparkhost/lib/ShotCatchUp.h"

namespace sparkhost {

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point t) { return std::chrono::duration<double>(Clock::now() - t).count(); }

// Finds which host buffer a plug-in's result points at; frames outside every buffer are copied
// from the pointer as a frame of the host's size and depth.
const FrameBuffer* resultFrame(Host& host, unsigned long* result, FrameBuffer* scratch) {
    if (host.buffer(kOutputBuffer).words() == result) return &host.buffer(kOutputBuffer);
    for (int id : host.registeredBuffers())
        if (host.buffer(id).words() == result) return &host.buffer(id);
    for (int clip = 0; clip < host.inputClips(); ++clip)
        if (host.buffer(kFirstInputBuffer + clip).words() == result) return &host.buffer(kFirstInputBuffer + clip);
    scratch->resize(host.frameWidth(), host.frameHeight(), host.depthCode());
    std::copy_n(reinterpret_cast<const uint8_t*>(result), scratch->bytes(), scratch->data());
    return scratch;
}

}  // namespace

FramePlan planFrames(const std::vector<int>& asked, int shotStart, bool ifffsOrder) {
    FramePlan plan;
    if (ifffsOrder) {
        plan.shotTime = false;
        plan.written = asked;
        plan.shotStart = shotStart < 0 ? asked.front() : shotStart;
        // A chunk rendered every other frame catches up every other frame too, as the long
        // render processed them.
        if (asked.size() > 1 && asked[1] > asked[0]) plan.catchUpStep = asked[1] - asked[0];
        return plan;
    }
    plan.written = asked;
    std::sort(plan.written.begin(), plan.written.end());
    for (size_t i = 1; i < plan.written.size(); ++i)
        if (plan.written[i] == plan.written[i - 1] &&
            (plan.repeated.empty() || plan.repeated.back() != plan.written[i]))
            plan.repeated.push_back(plan.written[i]);
    plan.written.erase(std::unique(plan.written.begin(), plan.written.end()), plan.written.end());
    plan.shotStart = shotStart < 0 ? plan.written.front() : shotStart;
    return plan;
}

std::vector<int> processedFrames(const FramePlan& plan) {
    std::vector<int> frames;
    if (plan.shotTime) {
        for (int f = plan.shotStart; f <= plan.written.back(); ++f) frames.push_back(f);
        return frames;
    }
    for (int f = plan.shotStart; f < plan.written.front(); f += plan.catchUpStep) frames.push_back(f);
    frames.insert(frames.end(), plan.written.begin(), plan.written.end());
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
}

int renderLoop(Plugin& plugin, ReadAhead& clips, ViewerSession& viewer, const FramePlan& plan,
               const SequencePattern& output, Progress& progress, const LoopSettings& settings,
               LoopTimes* times, std::string* error) {
    Host& host = plugin.host();
    const std::vector<int>& frames = plan.written;
    std::unique_ptr<FrameWriters> writers;
    if (settings.overlap) writers.reset(new FrameWriters(settings.writers, settings.compression, settings.write));
    FrameWriteFunction write = settings.write ? settings.write : FrameWriteFunction(writeImage);
    ImageWriteSettings direct;
    direct.compression = settings.compression;

    auto fail = [&](const std::string& why) {
        progress.clearLine();
        *error = why;
        return kFailed;
    };
    double readBefore = clips.readSeconds(), waitBefore = clips.waitSeconds(), renderSeconds = 0;
    auto start = Clock::now();
    if (settings.overlap) clips.prefetch(frames.front(), host.frameWidth(), host.frameHeight(), host.depthCode());
    FrameBuffer scratch;
    int done = 0;
    for (size_t i = 0; i < frames.size(); ++i) {
        int frame = frames[i];
        if (settings.overlap && i + 1 < frames.size())
            clips.prefetch(frames[i + 1], host.frameWidth(), host.frameHeight(), host.depthCode());
        auto renderStart = Clock::now();
        if (plan.shotTime) {
            // The frames of the shot between the last one written and this one, stepped cheaply.
            int from = i == 0 ? plan.shotStart : frames[i - 1] + 1;
            if (!catchUp(plugin, from, frame, nullptr, error) || !replayEvents(plugin, frame, frame, error))
                return fail(*error);
        } else {
            // The events the simulation passes on its way to this frame act before it.
            int firstEvent = i > 0 && frame > frames[i - 1] ? frames[i - 1] + 1 : frame;
            if (!replayEvents(plugin, firstEvent, frame, error)) return fail(*error);
        }
        unsigned long* result = plugin.renderFrame(frame);
        renderSeconds += since(renderStart);
        std::string readError = clips.takeError();
        if (!readError.empty()) return fail(readError);
        if (!result) {
            std::string why = plugin.takeError();
            return fail(!why.empty() ? why : "the plug-in rendered nothing for frame " + std::to_string(frame));
        }
        const FrameBuffer* image = resultFrame(host, result, &scratch);
        if (viewer.active()) image = &viewer.frame(*image);
        if (writers) {
            if (!writers->submit(output.path(frame), *image)) break;  // the failure is reported below
        } else {
            auto writeStart = Clock::now();
            if (!write(output.path(frame), *image, error, direct)) return fail(*error);
            times->write += since(writeStart);
        }
        progress.frameDone(++done, frame);
    }
    if (writers) {
        if (!writers->finish(error)) return fail(*error);
        times->write = writers->busySeconds();
    }
    times->wall = since(start);
    times->read = clips.readSeconds() - readBefore;
    times->plugin = renderSeconds - (clips.waitSeconds() - waitBefore);
    times->frames = done;
    return 0;
}

std::string stageSummary(const LoopTimes& t) {
    double n = t.frames > 0 ? t.frames : 1;
    char text[160];
    std::snprintf(text, sizeof text, "; per frame: read %.1f ms, plug-in %.1f ms, write %.1f ms, wall %.1f ms",
                  1000 * t.read / n, 1000 * t.plugin / n, 1000 * t.write / n, 1000 * t.wall / n);
    return text;
}

}  // namespace sparkhost
