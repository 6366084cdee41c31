// Instance life, parameter reading and writing, and the reactions to edits: buttons become
// events, the panel's callbacks run on the effect (presets, resets, switches, show/hide rules),
// and messages follow the settings.
#include "ofx/Instance.h"

#include <cmath>
#include <cstring>

#include "effect/Vesk.h"
#include "ofx/Binding.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

OfxParamHandle param_handle(OfxParamSetHandle set, const char* name) {
    OfxParamHandle handle = nullptr;
    if (S().param->paramGetHandle(set, name, &handle, nullptr) != kOfxStatOK) return nullptr;
    return handle;
}

ParamValue read_param(const ControlParam& p, OfxParamHandle h, double time) {
    ParamValue value;
    if (!h) return DefaultValue(p);
    const OfxParameterSuiteV1* ps = S().param;
    switch (p.kind) {
    case ParamKind::Integer:
    case ParamKind::Boolean:
    case ParamKind::Choice: {
        int v = 0;
        if (ps->paramGetValueAtTime(h, time, &v) != kOfxStatOK) return DefaultValue(p);
        value.v[0] = v;
        break;
    }
    case ParamKind::Double:
        if (ps->paramGetValueAtTime(h, time, &value.v[0]) != kOfxStatOK) return DefaultValue(p);
        break;
    case ParamKind::Position:
        if (ps->paramGetValueAtTime(h, time, &value.v[0], &value.v[1]) != kOfxStatOK) return DefaultValue(p);
        break;
    case ParamKind::Colour:
        if (ps->paramGetValueAtTime(h, time, &value.v[0], &value.v[1], &value.v[2]) != kOfxStatOK)
            return DefaultValue(p);
        break;
    case ParamKind::Button: break;
    }
    return value;
}

void write_param(const ControlParam& p, OfxParamHandle h, const ParamValue& value, double time) {
    if (!h) return;
    const OfxParameterSuiteV1* ps = S().param;
    // A parameter with keys takes the value as a key at this frame; otherwise as its value.
    unsigned keys = 0;
    const bool keyed = ps->paramGetNumKeys(h, &keys) == kOfxStatOK && keys > 0;
    switch (p.kind) {
    case ParamKind::Integer:
    case ParamKind::Boolean:
    case ParamKind::Choice:
        keyed ? ps->paramSetValueAtTime(h, time, (int)value.v[0]) : ps->paramSetValue(h, (int)value.v[0]);
        break;
    case ParamKind::Double:
        keyed ? ps->paramSetValueAtTime(h, time, value.v[0]) : ps->paramSetValue(h, value.v[0]);
        break;
    case ParamKind::Position:
        keyed ? ps->paramSetValueAtTime(h, time, value.v[0], value.v[1]) : ps->paramSetValue(h, value.v[0], value.v[1]);
        break;
    case ParamKind::Colour:
        keyed ? ps->paramSetValueAtTime(h, time, value.v[0], value.v[1], value.v[2])
              : ps->paramSetValue(h, value.v[0], value.v[1], value.v[2]);
        break;
    case ParamKind::Button: break;
    }
}

std::string string_param(OfxParamHandle h) {
    char* text = nullptr;
    if (!h || S().param->paramGetValue(h, &text) != kOfxStatOK || !text) return "";
    return text;
}

double current_time(InstanceData& d, OfxPropertySetHandle in) {
    if (in) return PropDouble(in, kOfxPropTime, 0, 0.0);
    double t = 0.0;
    if (S().timeline && S().timeline->getTime(d.effect, &t) == kOfxStatOK) return t;
    return 0.0;
}

// The routes of the effect's messages while the panel's callbacks run: onto the host's message
// line, and its confirmation questions to the user.
SparkFrame edit_routes(InstanceData& d) {
    SparkFrame routes;
    OfxImageEffectHandle effect = d.effect;
    routes.message = [effect](const std::string& text, bool error) {
        if (S().message)
            S().message->message(effect, error ? kOfxMessageError : kOfxMessageMessage, nullptr, "%s", text.c_str());
    };
    routes.confirm = [effect](const std::string& text) {
        if (!S().message) return true;
        const OfxStatus answer = S().message->message(effect, kOfxMessageQuestion, nullptr, "%s", text.c_str());
        // A host that cannot ask (a batch render) has nobody to refuse: the press stands.
        return answer != kOfxStatReplyNo;
    };
    return routes;
}

void new_generation(InstanceData& d) {
    std::lock_guard<std::mutex> hold(d.memo_lock);
    d.key_memo.clear();
}

void press_event_button(InstanceData& d, EventButton button, double time) {
    const std::string text = string_param(d.events);
    const std::string updated = AppendEvent(text, (int)std::lround(time), button);
    S().param->paramEditBegin(d.params, EventButtonName(button));
    S().param->paramSetValue(d.events, updated.c_str());
    S().param->paramEditEnd(d.params);
}

// Runs the record callback of an edited control or a pressed button on the effect and writes
// every control it changed back into the parameters as one undoable edit.
void run_callback(InstanceData& d, const ControlParam& p, double time) {
    if (p.number == 114 && d.amplitude_file) SetAmplitudeFilePath(string_param(d.amplitude_file));
    const FrameSettings before = ReadSettings(d, time);
    const FrameSettings after = Engine::shared().edit(before, edit_routes(d), [&] { CallRecordCallback(p, time); });
    const std::vector<ChannelKey> keys = TakeChannelKeys();
    bool changed = !keys.empty();
    for (size_t i = 0; i < before.values.size() && !changed; ++i) changed = before.values[i] != after.values[i];
    if (!changed) return;
    // Whatever the callback wrote may be read by the simulation.
    new_generation(d);
    S().param->paramEditBegin(d.params, ParamLabel(p).c_str());
    WriteChanged(d, before, after, time);
    const ControlParam* amplitude = FindControlParam("amplitudeImport");
    for (size_t i = 0; amplitude && i < ControlParams().size(); ++i) {
        if (&ControlParams()[i] != amplitude) continue;
        for (const ChannelKey& key : keys)
            S().param->paramSetValueAtTime(d.controls[i], (double)key.frame, (double)key.value);
    }
    S().param->paramEditEnd(d.params);
}

}  // namespace

InstanceData* Data(OfxImageEffectHandle effect) {
    OfxPropertySetHandle props = nullptr;
    if (S().effect->getPropertySet(effect, &props) != kOfxStatOK) return nullptr;
    void* data = nullptr;
    if (S().prop->propGetPointer(props, kOfxPropInstanceData, 0, &data) != kOfxStatOK) return nullptr;
    return static_cast<InstanceData*>(data);
}

FrameSettings ReadSettings(InstanceData& d, double time) {
    FrameSettings settings;
    const std::vector<ControlParam>& params = ControlParams();
    settings.values.reserve(params.size());
    for (size_t i = 0; i < params.size(); ++i)
        settings.values.push_back(read_param(params[i], i < d.controls.size() ? d.controls[i] : nullptr, time));
    return settings;
}

void WriteChanged(InstanceData& d, const FrameSettings& before, const FrameSettings& after, double time) {
    const std::vector<ControlParam>& params = ControlParams();
    for (size_t i = 0; i < params.size() && i < after.values.size(); ++i)
        if (before.values[i] != after.values[i]) write_param(params[i], d.controls[i], after.values[i], time);
}

bool ClipConnected(OfxImageClipHandle clip) {
    if (!clip) return false;
    OfxPropertySetHandle props = nullptr;
    if (S().effect->clipGetPropertySet(clip, &props) != kOfxStatOK) return false;
    return PropInt(props, kOfxImageClipPropConnected, 0, 0) != 0;
}

int OutputMode(InstanceData& d, const double* time) {
    int mode = kSwarmOverSource;
    if (!d.output_mode) return mode;
    if (time) S().param->paramGetValueAtTime(d.output_mode, *time, &mode);
    else S().param->paramGetValue(d.output_mode, &mode);
    return mode;
}

int StartFrame(InstanceData& d) {
    int own = 0;
    if (d.own_start && S().param->paramGetValue(d.own_start, &own) == kOfxStatOK && own) {
        int start = 1;
        S().param->paramGetValue(d.start_frame, &start);
        return start;
    }
    OfxPropertySetHandle props = nullptr;
    if (d.clips[0] && S().effect->clipGetPropertySet(d.clips[0], &props) == kOfxStatOK)
        return (int)std::floor(PropDouble(props, kOfxImageEffectPropFrameRange, 0, 0.0) + 0.5);
    return 0;
}

OfxStatus CreateInstance(OfxImageEffectHandle effect) {
    OfxPropertySetHandle props = nullptr;
    if (S().effect->getPropertySet(effect, &props) != kOfxStatOK) return kOfxStatFailed;
    InstanceData* d = new InstanceData;
    d->effect = effect;
    S().effect->getParamSet(effect, &d->params);
    S().effect->clipGetHandle(effect, kOfxImageEffectOutputClipName, &d->output, nullptr);
    for (int i = 0; i < kClipCount; ++i)
        if (S().effect->clipGetHandle(effect, kClipNames[i], &d->clips[i], nullptr) != kOfxStatOK) d->clips[i] = nullptr;
    for (const ControlParam& p : ControlParams()) d->controls.push_back(param_handle(d->params, p.name));
    d->output_mode = param_handle(d->params, kOutputParam);
    d->events = param_handle(d->params, kEventsParam);
    d->own_start = param_handle(d->params, kOwnStartParam);
    d->start_frame = param_handle(d->params, kStartFrameParam);
    d->amplitude_file = param_handle(d->params, kAmplitudeFileParam);
    for (const EventButtonParam& b : kEventButtonParams) d->buttons[b.name] = param_handle(d->params, b.name);
    S().prop->propSetPointer(props, kOfxPropInstanceData, 0, d);
    Engine::shared();  // the effect is made ready before the first frame
    ApplyShowHide(*d, current_time(*d, nullptr));
    return kOfxStatOK;
}

OfxStatus DestroyInstance(OfxImageEffectHandle effect) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatOK;
    if (!d->message.empty() && S().message2) S().message2->clearPersistentMessage(effect);
    OfxPropertySetHandle props = nullptr;
    if (S().effect->getPropertySet(effect, &props) == kOfxStatOK) S().prop->propSetPointer(props, kOfxPropInstanceData, 0, nullptr);
    delete d;
    return kOfxStatOK;
}

OfxStatus PurgeCaches(OfxImageEffectHandle effect) {
    if (InstanceData* d = Data(effect)) new_generation(*d);
    return kOfxStatOK;
}

void ApplyShowHide(InstanceData& d, double time) {
    const FrameSettings settings = ReadSettings(d, time);
    Engine::shared().edit(settings, SparkFrame(), [] { Instance.SyncControls(); });
    const std::vector<ControlParam>& params = ControlParams();
    for (size_t i = 0; i < params.size(); ++i) {
        if (!d.controls[i] || params[i].kind == ParamKind::Button) continue;
        OfxPropertySetHandle props = nullptr;
        if (S().param->paramGetPropertySet(d.controls[i], &props) != kOfxStatOK) continue;
        const int enabled = ControlEnabled(params[i].number) ? 1 : 0;
        if (PropInt(props, kOfxParamPropEnabled, 0, 1) != enabled) S().prop->propSetInt(props, kOfxParamPropEnabled, 0, enabled);
    }
    if (d.start_frame) {
        int own = 0;
        S().param->paramGetValue(d.own_start, &own);
        OfxPropertySetHandle props = nullptr;
        if (S().param->paramGetPropertySet(d.start_frame, &props) == kOfxStatOK)
            S().prop->propSetInt(props, kOfxParamPropEnabled, 0, own ? 1 : 0);
    }
}

void UpdateMessages(InstanceData& d, double time) {
    std::string text;
    const EventList events = ParseEvents(string_param(d.events));
    if (!events.errors.empty()) text = "Events, " + events.errors.front();
    // Which inputs the settings read, by the effect's own rule.
    bool reads[kClipCount] = {true, false, false, false, false};
    const FrameSettings settings = ReadSettings(d, time);
    Engine::shared().edit(settings, SparkFrame(), [&] {
        Instance.frame = time;
        for (int i = 1; i < kClipCount; ++i) reads[i] = Instance.reads_source(i);
    });
    for (int i = 1; i < kClipCount && text.empty(); ++i) {
        if (!reads[i] || ClipConnected(d.clips[i])) continue;
        if (i <= 2)
            text = std::string("The shape settings take their pictures from the ") + kClipLabels[1] + " and " +
                   kClipLabels[2] + " inputs, but the " + kClipLabels[i] + " input is not connected.";
        else
            text = std::string("Use ") + (i == 3 ? "Birth Matte" : "Avoid Matte") + " is on, but the " +
                   kClipLabels[i] + " input is not connected.";
    }
    if (text == d.message || !S().message2) return;
    if (text.empty())
        S().message2->clearPersistentMessage(d.effect);
    else
        S().message2->setPersistentMessage(d.effect, kOfxMessageWarning, "vesk.inputs", "%s", text.c_str());
    d.message = text;
}

OfxStatus InstanceChanged(OfxImageEffectHandle effect, OfxPropertySetHandle in) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatReplyDefault;
    const std::string type = PropString(in, kOfxPropType);
    const std::string name = PropString(in, kOfxPropName);
    const std::string reason = PropString(in, kOfxPropChangeReason);
    const double time = current_time(*d, in);
    // A value that changed only because time moved changes no state, nor does a parameter only
    // the drawing reads; anything else may change the states of every frame.
    const ControlParam* control = FindControlParam(name);
    const bool drawing_only = type == kOfxTypeParameter &&
                              ((control && !control->simulation && control->kind != ParamKind::Button) ||
                               name == kOutputParam || name == kAmplitudeFileParam);
    if (reason != kOfxChangeTime && !drawing_only) new_generation(*d);
    if (reason == kOfxChangeUserEdited && type == kOfxTypeParameter) {
        for (const EventButtonParam& b : kEventButtonParams)
            if (name == b.name) press_event_button(*d, (EventButton)b.button, time);
        if (const ControlParam* p = FindControlParam(name)) run_callback(*d, *p, time);
    }
    ApplyShowHide(*d, time);
    UpdateMessages(*d, time);
    return kOfxStatOK;
}

OfxStatus GetClipPreferences(OfxImageEffectHandle effect, OfxPropertySetHandle out) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatReplyDefault;
    // The swarm moves every frame even when nothing else does.
    S().prop->propSetInt(out, kOfxImageEffectFrameVarying, 0, 1);
    const int mode = OutputMode(*d, nullptr);
    // Over the source the output keeps the source's alpha and so its premultiplication (the
    // host's default); the swarm alone is premultiplied RGBA.
    if (mode == kSwarmOnly) {
        S().prop->propSetString(out, kOfxImageEffectPropPreMultiplication, 0, kOfxImagePreMultiplied);
        const std::string name = std::string(kOfxImageClipPropComponents_) + kOfxImageEffectOutputClipName;
        S().prop->propSetString(out, name.c_str(), 0, kOfxImageComponentRGBA);
    }
    return kOfxStatOK;
}

OfxStatus GetFramesNeeded(OfxImageEffectHandle effect, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatReplyDefault;
    const double time = PropDouble(in, kOfxPropTime, 0, 0.0);
    const double start = std::min((double)StartFrame(*d), time);
    // The mattes steer every step from the start; the shape clips are read at the particles' own
    // times, which lie within the shot so far.
    for (int i = 1; i < kClipCount; ++i) {
        const std::string name = std::string(kOfxImageClipPropFrameRange_) + kClipNames[i];
        S().prop->propSetDouble(out, name.c_str(), 0, start);
        S().prop->propSetDouble(out, name.c_str(), 1, time);
    }
    return kOfxStatOK;
}

OfxStatus IsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatReplyDefault;
    const double time = PropDouble(in, kOfxPropTime, 0, 0.0);
    // Read at the frame, as the render reads it, so the two agree on an animated Output.
    const int mode = OutputMode(*d, &time);
    // Before the swarm starts the background passes through.
    if (mode == kSwarmOverSource && std::lround(time) < StartFrame(*d)) {
        S().prop->propSetString(out, kOfxPropName, 0, kOfxImageEffectSimpleSourceClipName);
        return kOfxStatOK;
    }
    return kOfxStatReplyDefault;
}

}  // namespace vesk_ofx
