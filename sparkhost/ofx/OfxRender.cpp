// Rendering a frame of an OpenFX effect: the per-frame actions in order, the images handed out,
// and the host modes that render frames on fresh instances and several threads.
#include <algorithm>
#include <cmath>
#include <thread>

#include "sparkhost/ofx/OfxImages.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

// One Render action in progress: the time and the output image's pixels.
struct OfxKind::Render {
    EffectObject* effect = nullptr;
    double time = 0;
    std::string depth, components;
    std::vector<unsigned char> output;
    int width = 0, height = 0;
};

namespace {

thread_local OfxKind::Render* tRender = nullptr;

bool failed(OfxStatus s) { return s != kOfxStatOK && s != kOfxStatReplyDefault; }

void imageProperties(ImageObject& img, const std::string& depth, const std::string& comps, int w, int h,
                     double par, const std::string& premult, const std::string& id) {
    img.defineString(kOfxPropType, {kOfxTypeImage});
    img.defineString(kOfxImageEffectPropPixelDepth, {depth});
    img.defineString(kOfxImageEffectPropComponents, {comps});
    img.defineString(kOfxImageEffectPropPreMultiplication, {premult});
    img.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    img.defineDouble(kOfxImagePropPixelAspectRatio, {par});
    img.defineInt(kOfxImagePropBounds, {0, 0, w, h}, 4);
    img.defineInt(kOfxImagePropRegionOfDefinition, {0, 0, w, h}, 4);
    img.defineInt(kOfxImagePropRowBytes, {w * componentBytes(depth) * componentCount(comps)});
    img.defineString(kOfxImagePropField, {kOfxImageFieldNone});
    img.defineString(kOfxImagePropUniqueIdentifier, {id});
}

}  // namespace

std::string OfxKind::renderDepth() const {
    std::vector<std::string> depths = descriptor_ ? descriptor_->props.strings(kOfxImageEffectPropSupportedPixelDepths)
                                                  : std::vector<std::string>();
    auto has = [&](const char* d) { return std::find(depths.begin(), depths.end(), d) != depths.end(); };
    // 12-bit frames go out as 16-bit images, 8-bit ones as bytes; float when the effect takes neither.
    const char* wanted = host_.twelveBit() ? kOfxBitDepthShort : kOfxBitDepthByte;
    if (has(wanted)) return wanted;
    if (has(kOfxBitDepthFloat)) return kOfxBitDepthFloat;
    if (has(kOfxBitDepthShort)) return kOfxBitDepthShort;
    return kOfxBitDepthByte;
}

bool OfxKind::fetchInput(int input, int frame, FrameBuffer& destination) {
    // The clip provider and its read-ahead serve one caller at a time.
    std::lock_guard<std::mutex> lock(fetchMutex_);
    destination.resize(host_.frameWidth(), host_.frameHeight(), host_.depthCode());
    return host_.fetchFrame(input, frame, destination);
}

OfxStatus OfxKind::getImage(ClipObject& clip, double time, OfxPropertySetHandle* handle) {
    EffectObject& e = *clip.effect;
    std::string depth = clip.props.getString(kOfxImageEffectPropPixelDepth);
    std::string comps = clip.props.getString(kOfxImageEffectPropComponents);
    double par = e.props.getDouble(kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    std::unique_ptr<ImageObject> img(new ImageObject);
    img->effect = &e;
    if (clip.input < 0) {
        // The output exists only inside Render, at the time rendered.
        Render* r = tRender;
        if (!r || r->effect != &e || r->time != time) return kOfxStatFailed;
        imageProperties(*img, r->depth, r->components, r->width, r->height, par,
                        clip.props.getString(kOfxImageEffectPropPreMultiplication), "output");
        img->setPointer(kOfxImagePropData, 0, r->output.data());
    } else {
        if (!clip.props.getInt(kOfxImageClipPropConnected)) return kOfxStatFailed;
        FrameBuffer frame;
        int f = int(std::floor(time + 0.5));
        if (!fetchInput(clip.input, f, frame)) return kOfxStatFailed;
        frameToImage(frame, depth, comps, &img->pixels);
        imageProperties(*img, depth, comps, frame.width(), frame.height(), par, kOfxImageOpaque,
                        clip.name + "@" + std::to_string(f));
        img->setPointer(kOfxImagePropData, 0, img->pixels.data());
    }
    *handle = img->handle();
    std::lock_guard<std::mutex> lock(imagesMutex_);
    liveImages_.push_back(std::move(img));
    return kOfxStatOK;
}

OfxStatus OfxKind::releaseImage(OfxPropertySetHandle handle) {
    std::lock_guard<std::mutex> lock(imagesMutex_);
    for (auto it = liveImages_.begin(); it != liveImages_.end(); ++it)
        if ((*it)->handle() == handle) {
            liveImages_.erase(it);
            return kOfxStatOK;
        }
    return kOfxStatErrBadHandle;
}

OfxStatus OfxKind::clipRegion(ClipObject& clip, double, OfxRectD* bounds) {
    double par = clip.effect->props.getDouble(kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    *bounds = {0, 0, host_.frameWidth() * par, double(host_.frameHeight())};
    if (clip.input >= 0 && !clip.props.getInt(kOfxImageClipPropConnected)) *bounds = {0, 0, 0, 0};
    return kOfxStatOK;
}

void OfxKind::beginSequence(EffectObject& e, int first, int last, bool sequential) {
    PropertySet in;
    in.defineDouble(kOfxImageEffectPropFrameRange, {double(first), double(last)}, 2);
    in.defineDouble(kOfxImageEffectPropFrameStep, {1.0});
    in.defineInt(kOfxPropIsInteractive, {0});
    in.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    in.defineInt(kOfxImageEffectPropSequentialRenderStatus, {sequential ? 1 : 0});
    in.defineInt(kOfxImageEffectPropInteractiveRenderStatus, {0});
    call(kOfxImageEffectActionBeginSequenceRender, &e, &in, nullptr);
    if (&e == instance_.get()) {
        inSequence_ = true;
        sequenceFirst_ = first;
        sequenceLast_ = last;
    }
}

void OfxKind::endSequence(EffectObject& e) {
    PropertySet in;
    int first = &e == instance_.get() ? sequenceFirst_ : int(currentTime());
    int last = &e == instance_.get() ? sequenceLast_ : int(currentTime());
    in.defineDouble(kOfxImageEffectPropFrameRange, {double(first), double(last)}, 2);
    in.defineDouble(kOfxImageEffectPropFrameStep, {1.0});
    in.defineInt(kOfxPropIsInteractive, {0});
    in.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    in.defineInt(kOfxImageEffectPropSequentialRenderStatus, {0});
    in.defineInt(kOfxImageEffectPropInteractiveRenderStatus, {0});
    call(kOfxImageEffectActionEndSequenceRender, &e, &in, nullptr);
    if (&e == instance_.get()) inSequence_ = false;
}

OfxStatus OfxKind::renderOn(EffectObject& e, int frame, FrameBuffer& out, bool sequential, std::string* error) {
    const int w = host_.frameWidth(), h = host_.frameHeight();
    const double par = e.props.getDouble(kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    const double t = frame;
    auto fail = [&](const char* action, OfxStatus s) {
        *error = "the OpenFX effect '" + identifier_ + "' failed to render frame " + std::to_string(frame) + " (" +
                 action + " action: " + (s == kOfxStatFailed ? "failed" : "status " + std::to_string(s)) + ")";
        return s;
    };
    out.resize(w, h, host_.depthCode());
    out.clear();

    PropertySet rodIn, rodOut;
    rodIn.defineDouble(kOfxPropTime, {t});
    rodIn.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    rodOut.defineDouble(kOfxImageEffectPropRegionOfDefinition, {0, 0, w * par, double(h)}, 4, Access::PluginWrites);
    OfxStatus s = call(kOfxImageEffectActionGetRegionOfDefinition, &e, &rodIn, &rodOut);
    if (failed(s)) return fail("GetRegionOfDefinition", s);
    std::vector<double> rod = rodOut.doubles(kOfxImageEffectPropRegionOfDefinition);
    // The render window: the frame, cut to the region the effect defines (pixels outside stay black).
    OfxRectI window = {std::max(0, int(std::floor(rod[0] / par))), std::max(0, int(std::floor(rod[1]))),
                       std::min(w, int(std::ceil(rod[2] / par))), std::min(h, int(std::ceil(rod[3])))};
    if (window.x2 <= window.x1 || window.y2 <= window.y1) return kOfxStatOK;

    PropertySet roiIn, roiOut;
    roiIn.defineDouble(kOfxPropTime, {t});
    roiIn.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    roiIn.defineDouble(kOfxImageEffectPropRegionOfInterest,
                       {window.x1 * par, double(window.y1), window.x2 * par, double(window.y2)}, 4);
    for (const auto& c : e.clips)
        if (c->input >= 0)
            roiOut.defineDouble(std::string(kOfxImageClipPropRoI_) + c->name,
                                roiIn.doubles(kOfxImageEffectPropRegionOfInterest), 4, Access::PluginWrites);
    s = call(kOfxImageEffectActionGetRegionsOfInterest, &e, &roiIn, &roiOut);
    if (failed(s)) return fail("GetRegionsOfInterest", s);

    if (e.props.getInt(kOfxImageEffectPropTemporalClipAccess)) {
        PropertySet fnIn, fnOut;
        fnIn.defineDouble(kOfxPropTime, {t});
        for (const auto& c : e.clips)
            if (c->input >= 0)
                fnOut.defineDouble(std::string(kOfxImageClipPropFrameRange_) + c->name, {t, t}, 0, Access::PluginWrites);
        s = call(kOfxImageEffectActionGetFramesNeeded, &e, &fnIn, &fnOut);
        if (failed(s)) return fail("GetFramesNeeded", s);
    }

    PropertySet idIn, idOut;
    idIn.defineDouble(kOfxPropTime, {t});
    idIn.defineString(kOfxImageEffectPropFieldToRender, {kOfxImageFieldNone});
    idIn.defineInt(kOfxImageEffectPropRenderWindow, {window.x1, window.y1, window.x2, window.y2}, 4);
    idIn.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    idOut.defineString(kOfxPropName, {""}, 1, Access::PluginWrites);
    idOut.defineDouble(kOfxPropTime, {t}, 1, Access::PluginWrites);
    s = call(kOfxImageEffectActionIsIdentity, &e, &idIn, &idOut);
    if (failed(s)) return fail("IsIdentity", s);
    if (s == kOfxStatOK) {
        ClipObject* source = e.clip(idOut.getString(kOfxPropName));
        if (source && source->input >= 0) {
            FrameBuffer frameIn;
            int f = int(std::floor(idOut.getDouble(kOfxPropTime, 0, t) + 0.5));
            // The clip's own values, exact at every depth.
            if (source->props.getInt(kOfxImageClipPropConnected) && fetchInput(source->input, f, frameIn))
                out = frameIn;
            return kOfxStatOK;
        }
    }

    bool ownSequence = &e != instance_.get() || !inSequence_;
    if (&e == instance_.get() && !inSequence_) {
        double first, last;
        timeBounds(&first, &last);
        beginSequence(e, std::min(int(first), frame), std::max(int(last), frame), sequential);
        ownSequence = false;
    } else if (&e != instance_.get()) {
        beginSequence(e, frame, frame, sequential);
    }

    ClipObject* output = e.clip(kOfxImageEffectOutputClipName);
    Render r;
    r.effect = &e;
    r.time = t;
    r.depth = output->props.getString(kOfxImageEffectPropPixelDepth);
    r.components = output->props.getString(kOfxImageEffectPropComponents);
    r.width = w;
    r.height = h;
    r.output.assign(size_t(w) * size_t(h) * size_t(componentBytes(r.depth) * componentCount(r.components)), 0);
    PropertySet in;
    in.defineDouble(kOfxPropTime, {t});
    in.defineString(kOfxImageEffectPropFieldToRender, {kOfxImageFieldNone});
    in.defineInt(kOfxImageEffectPropRenderWindow, {window.x1, window.y1, window.x2, window.y2}, 4);
    in.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    in.defineInt(kOfxImageEffectPropSequentialRenderStatus, {sequential ? 1 : 0});
    in.defineInt(kOfxImageEffectPropInteractiveRenderStatus, {0});
    in.defineInt(kOfxImageEffectPropRenderQualityDraft, {0});
    Render* saved = tRender;
    tRender = &r;
    s = call(kOfxImageEffectActionRender, &e, &in, nullptr);
    tRender = saved;
    if (ownSequence) endSequence(e);
    if (s != kOfxStatOK) return fail("Render", s);
    imageToFrame(r.output.data(), ptrdiff_t(w) * componentBytes(r.depth) * componentCount(r.components),
                 {0, 0, w, h}, r.depth, r.components, window, &out);
    return kOfxStatOK;
}

bool OfxKind::renderFrame(int frame, FrameBuffer& out, std::string* error) {
    auto cached = frameCache_.find(frame);
    if (cached != frameCache_.end()) {
        out = std::move(cached->second);
        frameCache_.erase(cached);
        return true;
    }
    const bool inOrder = mode_.isDefault() && (lastFrame_ < 0 || frame == lastFrame_ + 1);
    if (mode_.threads <= 1) {
        lastFrame_ = frame;
        if (!mode_.instancePerFrame) return renderOn(*instance_, frame, out, inOrder, error) == kOfxStatOK;
        std::unique_ptr<EffectObject> fresh = newInstance(error);
        if (!fresh) return false;
        bool ok = renderOn(*fresh, frame, out, false, error) == kOfxStatOK;
        destroyInstance(fresh);
        return ok;
    }

    // Several threads: the frame asked for and those after it up to the thread count, and the frame
    // asked for once more at the same time, which must come out the same.
    std::vector<int> frames = {frame};
    for (int f = frame + 1; int(frames.size()) < mode_.threads && f <= planLast_; ++f)
        if (!frameCache_.count(f)) frames.push_back(f);
    frames.push_back(frame);
    std::string safety = descriptor_->props.getString(kOfxImageEffectPluginRenderThreadSafety, 0,
                                                      kOfxImageEffectRenderInstanceSafe);
    const bool shared = safety == kOfxImageEffectRenderFullySafe && !mode_.instancePerFrame;
    const bool serial = safety == kOfxImageEffectRenderUnsafe;
    std::vector<std::unique_ptr<EffectObject>> instances(frames.size());
    if (!shared)
        for (auto& inst : instances) {
            inst = newInstance(error);
            if (!inst) return false;
        }
    std::vector<FrameBuffer> results(frames.size());
    std::vector<std::string> errors(frames.size());
    std::vector<OfxStatus> status(frames.size(), kOfxStatOK);
    auto job = [&](size_t i) {
        EffectObject& e = shared ? *instance_ : *instances[i];
        status[i] = renderOn(e, frames[i], results[i], false, &errors[i]);
    };
    if (serial) {
        for (size_t i = 0; i < frames.size(); ++i) job(i);
    } else {
        // Render actions on other threads reach the host through the suites only; the edits
        // they may leave are sent once all have returned.
        ++actionDepth_;
        std::vector<std::thread> threads;
        for (size_t i = 0; i < frames.size(); ++i) threads.emplace_back(job, i);
        for (auto& th : threads) th.join();
        --actionDepth_;
    }
    for (auto& inst : instances) destroyInstance(inst);
    flushPluginEdits();
    for (size_t i = 0; i < frames.size(); ++i)
        if (status[i] != kOfxStatOK) {
            *error = errors[i];
            return false;
        }
    if (!results.back().samePixels(results.front())) {
        *error = "the OpenFX effect '" + identifier_ + "' rendered frame " + std::to_string(frame) +
                 " differently on two threads at once";
        return false;
    }
    for (size_t i = 1; i + 1 < frames.size(); ++i) frameCache_[frames[i]] = std::move(results[i]);
    out = std::move(results.front());
    lastFrame_ = frames[frames.size() - 2];
    return true;
}

int OfxKind::startRender() {
    if (!instance_) return 0;
    syncFromRecords();
    placeHostEvents();
    frameCache_.clear();
    lastFrame_ = -1;
    return 0;
}

unsigned long* OfxKind::process() {
    if (!instance_) return nullptr;
    host_.makeCurrent();
    syncFromRecords();
    std::string error;
    FrameBuffer& out = host_.buffer(kOutputBuffer);
    if (!renderFrame(host_.currentFrame(), out, &error)) {
        setError(error);
        return nullptr;
    }
    return out.words();
}

}  // namespace ofx
}  // namespace sparkhost
