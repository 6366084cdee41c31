// The OpenFX kind: finding the effect, describing it, and the life of its instances.
#include "sparkhost/ofx/OfxKind.h"

#include <algorithm>
#include <cstring>

#include "sparkhost/lib/Host.h"

namespace sparkhost {
namespace ofx {

namespace {

std::string statusName(OfxStatus s) {
    switch (s) {
    case kOfxStatOK: return "OK";
    case kOfxStatFailed: return "failed";
    case kOfxStatErrFatal: return "fatal error";
    case kOfxStatErrUnknown: return "unknown object";
    case kOfxStatErrMissingHostFeature: return "missing host feature";
    case kOfxStatErrUnsupported: return "unsupported";
    case kOfxStatErrExists: return "already exists";
    case kOfxStatErrFormat: return "wrong format";
    case kOfxStatErrMemory: return "out of memory";
    case kOfxStatErrBadHandle: return "bad handle";
    case kOfxStatErrBadIndex: return "bad index";
    case kOfxStatErrValue: return "bad value";
    case kOfxStatReplyDefault: return "not handled";
    case kOfxStatErrImageFormat: return "wrong image format";
    default: return "status " + std::to_string(s);
    }
}

bool failed(OfxStatus s) { return s != kOfxStatOK && s != kOfxStatReplyDefault; }

void defineDescriptorProperties(EffectObject& e, const std::string& bundle) {
    PropertySet& s = e.props;
    const Access rw = Access::PluginWrites;
    s.defineString(kOfxPropType, {kOfxTypeImageEffect});
    s.defineString(kOfxPropLabel, {""}, 1, rw);
    s.defineString(kOfxPropShortLabel, {""}, 1, rw);
    s.defineString(kOfxPropLongLabel, {""}, 1, rw);
    s.defineInt(kOfxPropVersion, {}, 0, rw);
    s.defineString(kOfxPropVersionLabel, {""}, 1, rw);
    s.defineString(kOfxPropPluginDescription, {""}, 1, rw);
    s.defineString(kOfxImageEffectPropSupportedContexts, {}, 0, rw);
    s.defineString(kOfxImageEffectPropSupportedPixelDepths, {}, 0, rw);
    s.defineString(kOfxImageEffectPluginPropGrouping, {""}, 1, rw);
    s.defineInt(kOfxImageEffectPluginPropSingleInstance, {0}, 1, rw);
    s.defineString(kOfxImageEffectPluginRenderThreadSafety, {kOfxImageEffectRenderInstanceSafe}, 1, rw);
    s.defineInt(kOfxImageEffectPluginPropHostFrameThreading, {1}, 1, rw);
    s.definePointer(kOfxImageEffectPluginPropOverlayInteractV1, {nullptr}, 1, rw);
    s.definePointer(kOfxImageEffectPluginPropOverlayInteractV2, {nullptr}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsMultiResolution, {1}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsTiles, {1}, 1, rw);
    s.defineInt(kOfxImageEffectPropTemporalClipAccess, {0}, 1, rw);
    s.defineInt(kOfxImageEffectPluginPropFieldRenderTwiceAlways, {1}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsMultipleClipDepths, {0}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsMultipleClipPARs, {0}, 1, rw);
    s.defineString(kOfxImageEffectPropClipPreferencesSlaveParam, {}, 0, rw);
    s.defineInt(kOfxImageEffectInstancePropSequentialRender, {0}, 1, rw);
    s.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"}, 1, rw);
    s.defineString(kOfxOpenGLPropPixelDepth, {}, 0, rw);
    s.defineString(kOfxPluginPropFilePath, {bundle});
    s.defineString(kOfxImageEffectPropCPURenderSupported, {"true"}, 1, rw);
    s.defineString(kOfxImageEffectPropNoSpatialAwareness, {"false"}, 1, rw);
    s.defineInt(kOfxImageEffectPluginPropObsolete, {0}, 1, rw);
    s.defineString(kOfxPluginPropParamPageOrder, {}, 0, rw);
    s.defineInt(kOfxPropParamSetNeedsSyncing, {0}, 1, rw);
}

bool contains(const std::vector<std::string>& list, const std::string& item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

}  // namespace

OfxKind::OfxKind(Host& host, const std::string& effectId, const std::string& hostMode)
    : host_(host), effectIdWanted_(effectId) {
    if (!parseHostMode(hostMode, &mode_, &modeError_)) mode_ = HostMode();
}

OfxKind::~OfxKind() { unload(); }

OfxStatus OfxKind::call(const char* action, const void* handle, PropertySet* in, PropertySet* out) {
    ++actionDepth_;
    OfxStatus s = plugin_->mainEntry(action, handle, in ? in->handle() : nullptr, out ? out->handle() : nullptr);
    --actionDepth_;
    if (actionDepth_ == 0) flushPluginEdits();
    return s;
}

bool OfxKind::load(const std::string& path, Panel& panel, std::string* error) {
    unload();
    if (!modeError_.empty()) {
        *error = modeError_;
        return false;
    }
    std::vector<BinaryFile> files;
    if (!findBinaries(path, &files, error)) return false;

    // Every effect of every binary found; one identifier may come in several versions.
    struct Candidate {
        std::shared_ptr<Binary> binary;
        OfxPlugin* plugin;
    };
    std::vector<Candidate> candidates;
    std::string firstError;
    for (const auto& f : files) {
        std::string why;
        auto binary = Binary::open(f, &why);
        if (!binary) {
            if (firstError.empty()) firstError = why;
            continue;
        }
        for (OfxPlugin* p : binary->effects()) candidates.push_back({binary, p});
    }
    if (candidates.empty()) {
        *error = !firstError.empty() ? firstError : "'" + path + "' holds no OpenFX image effect";
        return false;
    }
    std::vector<std::string> ids;
    for (const auto& c : candidates)
        if (!contains(ids, c.plugin->pluginIdentifier)) ids.push_back(c.plugin->pluginIdentifier);
    std::string id = effectIdWanted_;
    if (id.empty()) {
        if (ids.size() > 1) {
            std::string list;
            for (const auto& i : ids) list += (list.empty() ? "" : ", ") + i;
            *error = "'" + path + "' holds several OpenFX effects (" + list + "): choose one with --plugin ID";
            return false;
        }
        id = ids[0];
    }
    const Candidate* chosen = nullptr;
    for (const auto& c : candidates) {
        if (id != c.plugin->pluginIdentifier) continue;
        // New instances use the greatest version.
        if (!chosen || c.plugin->pluginVersionMajor > chosen->plugin->pluginVersionMajor ||
            (c.plugin->pluginVersionMajor == chosen->plugin->pluginVersionMajor &&
             c.plugin->pluginVersionMinor > chosen->plugin->pluginVersionMinor))
            chosen = &c;
    }
    if (!chosen) {
        std::string list;
        for (const auto& i : ids) list += (list.empty() ? "" : ", ") + i;
        *error = "'" + path + "' has no OpenFX effect '" + id + "' (it has " + list + ")";
        return false;
    }
    binary_ = chosen->binary;
    plugin_ = chosen->plugin;
    identifier_ = id;
    OfxStatus s = binary_->load(plugin_);
    // Load must be trapped by real hosts' standards; "not handled" is accepted as the standard allows.
    if (failed(s)) {
        *error = "the OpenFX effect '" + id + "' in '" + path + "' refused to load (Load action: " +
                 statusName(s) + ")";
        binary_.reset();
        plugin_ = nullptr;
        return false;
    }
    if (describe(error) != kOfxStatOK) {
        binary_.reset();
        plugin_ = nullptr;
        return false;
    }
    panel_ = &panel;
    buildPanel(panel);
    return true;
}

OfxStatus OfxKind::describe(std::string* error) {
    descriptor_.reset(new EffectObject);
    descriptor_->owner = this;
    defineDescriptorProperties(*descriptor_, binary_->file().bundle);
    OfxStatus s = call(kOfxActionDescribe, descriptor_.get(), nullptr, nullptr);
    if (failed(s)) {
        *error = "the OpenFX effect '" + identifier_ + "' failed to describe itself (Describe action: " +
                 statusName(s) + ")";
        return kOfxStatFailed;
    }
    std::vector<std::string> contexts = descriptor_->props.strings(kOfxImageEffectPropSupportedContexts);
    if (contains(contexts, kOfxImageEffectContextGeneral)) context_ = kOfxImageEffectContextGeneral;
    else if (contains(contexts, kOfxImageEffectContextFilter)) context_ = kOfxImageEffectContextFilter;
    else {
        *error = "the OpenFX effect '" + identifier_ +
                 "' supports neither the general nor the filter context, the ones sparkhost hosts";
        return kOfxStatFailed;
    }
    if (descriptor_->props.strings(kOfxImageEffectPropSupportedPixelDepths).empty()) {
        *error = "the OpenFX effect '" + identifier_ + "' names no pixel depth it supports";
        return kOfxStatFailed;
    }
    contextual_.reset(new EffectObject);
    contextual_->owner = this;
    contextual_->props = descriptor_->props;
    PropertySet in;
    in.defineString(kOfxImageEffectPropContext, {context_});
    s = call(kOfxImageEffectActionDescribeInContext, contextual_.get(), &in, nullptr);
    if (failed(s)) {
        *error = "the OpenFX effect '" + identifier_ + "' failed to describe itself in the " +
                 (context_ == kOfxImageEffectContextGeneral ? "general" : "filter") +
                 " context (DescribeInContext action: " + statusName(s) + ")";
        return kOfxStatFailed;
    }
    if (!contextual_->clip(kOfxImageEffectOutputClipName)) {
        *error = "the OpenFX effect '" + identifier_ + "' defines no Output clip";
        return kOfxStatFailed;
    }
    if (context_ == kOfxImageEffectContextFilter && !contextual_->clip(kOfxImageEffectSimpleSourceClipName)) {
        *error = "the OpenFX effect '" + identifier_ + "' defines no Source clip in the filter context";
        return kOfxStatFailed;
    }
    inputs_.clear();
    for (const auto& c : contextual_->clips)
        if (c->name != kOfxImageEffectOutputClipName) {
            c->input = int(inputs_.size());
            inputs_.push_back(c->name);
        }
    if (int(inputs_.size()) > kMaxInputClips) {
        *error = "the OpenFX effect '" + identifier_ + "' has " + std::to_string(inputs_.size()) +
                 " input clips; sparkhost feeds at most " + std::to_string(kMaxInputClips);
        return kOfxStatFailed;
    }
    overlayEntry_ = reinterpret_cast<OfxPluginEntryPoint*>(
        descriptor_->props.getPointer(kOfxImageEffectPluginPropOverlayInteractV1));
    return kOfxStatOK;
}

void OfxKind::unload() {
    uninitialise();
    interactDescriptor_.reset();
    for (auto& entry : frameCache_) entry.second = FrameBuffer();
    frameCache_.clear();
    contextual_.reset();
    descriptor_.reset();
    binary_.reset();   // the last user of a binary sends Unload and closes it
    plugin_ = nullptr;
    panel_ = nullptr;
    controlParams_.clear();
    controlDimensions_.clear();
    mirrored_.clear();
    records_.clear();
    titleStore_.clear();
}

void OfxKind::frameGeometry(int* width, int* height) const {
    *width = host_.frameWidth();
    *height = host_.frameHeight();
}

void OfxKind::fillInstanceProps(EffectObject& e) {
    PropertySet& s = e.props;
    const Access rw = Access::PluginWrites;
    int w, h;
    frameGeometry(&w, &h);
    double par = host_.pixelAspectRatio() > 0 ? host_.pixelAspectRatio() : 1.0;
    double first, last;
    timeBounds(&first, &last);
    s.defineString(kOfxPropType, {kOfxTypeImageEffectInstance});
    s.defineString(kOfxImageEffectPropContext, {context_});
    s.definePointer(kOfxPropInstanceData, {nullptr}, 1, rw);
    s.defineDouble(kOfxImageEffectPropProjectSize, {w * par, double(h)}, 2);
    s.defineDouble(kOfxImageEffectPropProjectOffset, {0.0, 0.0}, 2);
    s.defineDouble(kOfxImageEffectPropProjectExtent, {w * par, double(h)}, 2);
    s.defineDouble(kOfxImageEffectPropProjectPixelAspectRatio, {par});
    s.defineDouble(kOfxImageEffectInstancePropEffectDuration, {last - first + 1});
    s.defineInt(kOfxImageEffectInstancePropSequentialRender,
                {descriptor_->props.getInt(kOfxImageEffectInstancePropSequentialRender)}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsTiles, {descriptor_->props.getInt(kOfxImageEffectPropSupportsTiles)}, 1, rw);
    s.defineString(kOfxImageEffectPropOpenGLRenderSupported, {"false"}, 1, rw);
    s.defineDouble(kOfxImageEffectPropFrameRate, {25.0});
    s.defineInt(kOfxPropIsInteractive, {0});
    s.definePointer(kOfxImageEffectPropPluginHandle, {descriptor_.get()});
}

std::unique_ptr<EffectObject> OfxKind::newInstance(std::string* error) {
    std::unique_ptr<EffectObject> e(new EffectObject);
    e->instance = true;
    e->owner = this;
    e->props = contextual_->props;
    fillInstanceProps(*e);
    double first, last;
    timeBounds(&first, &last);
    std::string depth = renderDepth();
    for (const auto& d : contextual_->clips) {
        std::unique_ptr<ClipObject> c(new ClipObject);
        c->name = d->name;
        c->input = d->input;
        c->effect = e.get();
        c->props = d->props;
        PropertySet& s = c->props;
        bool optional = d->props.getInt(kOfxImageClipPropOptional) != 0;
        bool connected = true;
        if (c->input >= 0 && optional) {
            FrameBuffer probe;
            connected = fetchInput(c->input, int(first), probe);
        }
        std::vector<std::string> comps = d->props.strings(kOfxImageEffectPropSupportedComponents);
        std::string comp = comps.empty() || contains(comps, kOfxImageComponentRGBA) ? kOfxImageComponentRGBA
                                                                                     : comps[0];
        s.defineString(kOfxImageEffectPropPixelDepth, {connected ? depth : kOfxBitDepthNone});
        s.defineString(kOfxImageEffectPropComponents, {connected ? comp : kOfxImageComponentNone});
        s.defineString(kOfxImageClipPropUnmappedPixelDepth, {connected ? depth : kOfxBitDepthNone});
        s.defineString(kOfxImageClipPropUnmappedComponents, {connected ? kOfxImageComponentRGB : kOfxImageComponentNone});
        s.defineString(kOfxImageEffectPropPreMultiplication, {kOfxImageOpaque});
        s.defineDouble(kOfxImagePropPixelAspectRatio, {e->props.getDouble(kOfxImageEffectPropProjectPixelAspectRatio)});
        s.defineDouble(kOfxImageEffectPropFrameRate, {25.0});
        s.defineDouble(kOfxImageEffectPropFrameRange, {first, last}, 2);
        s.defineString(kOfxImageClipPropFieldOrder, {kOfxImageFieldNone});
        s.defineInt(kOfxImageClipPropConnected, {connected ? 1 : 0});
        s.defineDouble(kOfxImageEffectPropUnmappedFrameRange, {first, last}, 2);
        s.defineDouble(kOfxImageEffectPropUnmappedFrameRate, {25.0});
        s.defineInt(kOfxImageClipPropContinuousSamples, {0});
        e->clips.push_back(std::move(c));
    }
    // Parameters: the descriptors' properties, with the values the panel's effect holds now
    // (their defaults for the first instance).
    for (const auto& d : contextual_->params.list) {
        std::unique_ptr<ParamObject> p(new ParamObject);
        p->name = d->name;
        p->type = d->type;
        p->set = &e->params;
        p->props = d->props;
        p->props.setString(kOfxPropType, 0, kOfxTypeParameterInstance);
        p->controls = d->controls;
        ParamObject* current = instance_ ? instance_->params.find(d->name) : nullptr;
        if (current) {
            std::lock_guard<std::mutex> lock(current->mutex);
            p->values = current->values;
            p->text = current->text;
            p->props = current->props;
        } else if (p->textual()) {
            p->text = d->props.getString(kOfxParamPropDefault);
        } else if (p->holdsValue()) {
            p->values.assign(size_t(p->dimension()), 0.0);
            for (int i = 0; i < p->dimension(); ++i) p->values[size_t(i)] = d->props.getDouble(kOfxParamPropDefault, i);
        }
        e->params.byName[p->name] = p.get();
        e->params.list.push_back(std::move(p));
    }
    OfxStatus s = call(kOfxActionCreateInstance, e.get(), nullptr, nullptr);
    if (failed(s)) {
        if (error)
            *error = "the OpenFX effect '" + identifier_ + "' failed to create an instance (CreateInstance action: " +
                     statusName(s) + ")";
        return nullptr;
    }
    // The clips are connected once the instance exists: the effect hears of each connected input.
    bool anyInput = false;
    for (const auto& c : e->clips)
        if (c->input >= 0 && c->props.getInt(kOfxImageClipPropConnected)) anyInput = true;
    if (anyInput) {
        PropertySet reason;
        reason.defineString(kOfxPropChangeReason, {kOfxChangeUserEdited});
        call(kOfxActionBeginInstanceChanged, e.get(), &reason, nullptr);
        for (const auto& c : e->clips)
            if (c->input >= 0 && c->props.getInt(kOfxImageClipPropConnected))
                changed(*e, kOfxTypeClip, c->name, kOfxChangeUserEdited, currentTime());
        call(kOfxActionEndInstanceChanged, e.get(), &reason, nullptr);
    }
    clipPreferences(*e);
    return e;
}

void OfxKind::destroyInstance(std::unique_ptr<EffectObject>& instance) {
    if (!instance) return;
    call(kOfxActionDestroyInstance, instance.get(), nullptr, nullptr);
    instance.reset();
}

void OfxKind::clipPreferences(EffectObject& e) {
    PropertySet out;
    std::string depth = renderDepth();
    double par = e.props.getDouble(kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    for (const auto& c : e.clips) {
        if (!c->props.getInt(kOfxImageClipPropConnected)) continue;
        out.defineString(std::string(kOfxImageClipPropComponents_) + c->name,
                         {c->props.getString(kOfxImageEffectPropComponents)}, 1, Access::PluginWrites);
        out.defineString(std::string(kOfxImageClipPropDepth_) + c->name, {depth}, 1, Access::PluginWrites);
        out.defineDouble(std::string(kOfxImageClipPropPAR_) + c->name, {par}, 1, Access::PluginWrites);
    }
    out.defineDouble(kOfxImageEffectPropFrameRate, {25.0}, 1, Access::PluginWrites);
    out.defineString(kOfxImageClipPropFieldOrder, {kOfxImageFieldNone}, 1, Access::PluginWrites);
    out.defineString(kOfxImageEffectPropPreMultiplication, {kOfxImageOpaque}, 1, Access::PluginWrites);
    out.defineInt(kOfxImageClipPropContinuousSamples, {0}, 1, Access::PluginWrites);
    out.defineInt(kOfxImageEffectFrameVarying, {0}, 1, Access::PluginWrites);
    OfxStatus s = call(kOfxImageEffectActionGetClipPreferences, &e, nullptr, &out);
    if (s != kOfxStatOK) return;
    // One depth for every clip (the host does not mix depths): the output's, when supported.
    std::vector<std::string> depths = descriptor_->props.strings(kOfxImageEffectPropSupportedPixelDepths);
    ClipObject* output = e.clip(kOfxImageEffectOutputClipName);
    std::string asked = out.getString(std::string(kOfxImageClipPropDepth_) + kOfxImageEffectOutputClipName, 0, depth);
    if (contains(depths, asked) &&
        (asked == kOfxBitDepthByte || asked == kOfxBitDepthShort || asked == kOfxBitDepthFloat))
        depth = asked;
    for (const auto& c : e.clips) {
        if (!c->props.getInt(kOfxImageClipPropConnected)) continue;
        std::string comp = out.getString(std::string(kOfxImageClipPropComponents_) + c->name);
        std::vector<std::string> allowed = c->props.strings(kOfxImageEffectPropSupportedComponents);
        bool known = comp == kOfxImageComponentRGBA || comp == kOfxImageComponentRGB || comp == kOfxImageComponentAlpha;
        if (known && (allowed.empty() || contains(allowed, comp) || context_ == kOfxImageEffectContextGeneral))
            c->props.setString(kOfxImageEffectPropComponents, 0, comp);
        c->props.setString(kOfxImageEffectPropPixelDepth, 0, depth);
    }
    if (output)
        output->props.setString(kOfxImageEffectPropPreMultiplication, 0,
                                out.getString(kOfxImageEffectPropPreMultiplication, 0, kOfxImageOpaque));
}

OfxStatus OfxKind::changed(EffectObject& e, const std::string& type, const std::string& name, const char* reason,
                           double time) {
    PropertySet in;
    in.defineString(kOfxPropType, {type});
    in.defineString(kOfxPropName, {name});
    in.defineString(kOfxPropChangeReason, {reason});
    in.defineDouble(kOfxPropTime, {time});
    in.defineDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0}, 2);
    return call(kOfxActionInstanceChanged, &e, &in, nullptr);
}

unsigned OfxKind::initialise() {
    if (!plugin_) return 0;
    host_.makeCurrent();
    host_.setInputClips(int(inputs_.size()));
    initError_.clear();
    instance_ = newInstance(&initError_);
    if (!instance_) return 1;
    syncFromRecords();
    mirrorAll();
    createInteract();
    return 0;
}

void OfxKind::uninitialise() {
    if (!plugin_ || !instance_) return;
    if (inSequence_) endSequence(*instance_);
    // Private data goes into the parameters before the values are read for a setup.
    call(kOfxActionSyncPrivateData, instance_.get(), nullptr, nullptr);
    // The interact goes before the effect instance it was made for.
    destroyInteract();
    destroyInstance(instance_);
}

void OfxKind::message(EffectObject*, const std::string& type, const std::string& text, bool persistent) {
    HostMessage::Kind kind = HostMessage::Message;
    if (type == kOfxMessageError || type == kOfxMessageFatal) kind = HostMessage::Error;
    else if (type == kOfxMessageLog) kind = HostMessage::Note;
    if (persistent) {
        // A persistent message is shown once, not again for every frame that still has it.
        std::lock_guard<std::mutex> lock(errorMutex_);
        if (text == persistent_) return;
        persistent_ = text;
    }
    host_.report(kind, text);
}

void OfxKind::clearPersistentMessage() {
    std::lock_guard<std::mutex> lock(errorMutex_);
    persistent_.clear();
}

std::string OfxKind::summary(unsigned) const {
    std::string version = plugin_ ? std::to_string(plugin_->pluginVersionMajor) + "." +
                                        std::to_string(plugin_->pluginVersionMinor)
                                  : "";
    std::string label = descriptor_ ? descriptor_->props.getString(kOfxPropLabel) : "";
    return std::string("OpenFX image effect ") + identifier_ + " " + version +
           (label.empty() ? "" : " \"" + label + "\"") + ", " +
           (context_ == kOfxImageEffectContextGeneral ? "general" : "filter") + " context";
}

double OfxKind::currentTime() const { return host_.currentFrame(); }

void OfxKind::timeBounds(double* first, double* last) const {
    if (planLast_ >= planFirst_) {
        *first = planFirst_;
        *last = planLast_;
    } else {
        *first = *last = host_.currentFrame();
    }
}

OfxStatus OfxKind::gotoTime(double time) {
    host_.setCurrentFrame(int(time));
    return kOfxStatOK;
}

void OfxKind::progress(double) {}

void OfxKind::planFrames(int first, int last) {
    // The shot starts where the host's shot starts (sparkhost's --shot-start), else at the
    // first frame rendered: that is where the clips' frame ranges begin.
    planFirst_ = host_.shotStart() >= 0 ? std::min(host_.shotStart(), first) : first;
    planLast_ = last;
}

void OfxKind::setError(const std::string& text) {
    std::lock_guard<std::mutex> lock(errorMutex_);
    if (error_.empty()) error_ = text;
}

std::string OfxKind::takeError() {
    std::lock_guard<std::mutex> lock(errorMutex_);
    std::string e = error_;
    error_.clear();
    return e;
}

}  // namespace ofx
}  // namespace sparkhost
