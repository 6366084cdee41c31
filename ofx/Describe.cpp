// Describe and DescribeInContext: the effect's identity, contexts, clips and parameters.
#include <cfloat>
#include <climits>
#include <string>
#include <vector>

#include "ofx/Binding.h"
#include "ofx/ControlParams.h"
#include "ofx/Engine.h"
#include "ofx/Overlay.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

const char kDescription[] =
    "A swarm of particles steering by the boids rules (matching their neighbours, centring on the "
    "group, keeping personal space, avoiding a matte, hunting food and fleeing a predator), drawn "
    "as shapes, soft lumps or pieces of the shape clips over the background. Frame N is made from "
    "the parameters, inputs and events of every frame from the start frame to N, so any render "
    "order gives the same pictures.";

void set_strings(OfxPropertySetHandle props, const char* name, const std::vector<const char*>& values) {
    for (size_t i = 0; i < values.size(); ++i) S().prop->propSetString(props, name, (int)i, values[i]);
}

OfxPropertySetHandle define(OfxParamSetHandle set, const char* type, const char* name, const std::string& label) {
    OfxPropertySetHandle props = nullptr;
    if (S().param->paramDefine(set, type, name, &props) != kOfxStatOK || !props) return nullptr;
    S().prop->propSetString(props, kOfxPropLabel, 0, label.c_str());
    return props;
}

// Pages list their children; a parameter on every page appears on each.
struct PageChildren {
    std::vector<std::string> names[4];
    void add(int page, const char* name) {
        if (page < 0) {
            for (auto& list : names) list.push_back(name);
        } else {
            names[page].push_back(name);
        }
    }
};

void define_control(OfxParamSetHandle set, const ControlParam& p, PageChildren& pages) {
    const std::string label = ParamLabel(p);
    const ParamValue def = DefaultValue(p);
    double min = 0.0, max = 0.0;
    const bool ranged = ParamRange(p, &min, &max);
    OfxPropertySetHandle props = nullptr;
    const OfxPropertySuiteV1* prop = S().prop;
    switch (p.kind) {
    case ParamKind::Integer:
        props = define(set, kOfxParamTypeInteger, p.name, label);
        if (!props) return;
        prop->propSetInt(props, kOfxParamPropDefault, 0, (int)def.v[0]);
        if (ranged) {
            // The Seed preset goes beyond the slider, and the panel holds such a value as given.
            const int hard_max = std::string(p.name) == "seed" ? INT_MAX : (int)max;
            prop->propSetInt(props, kOfxParamPropMin, 0, (int)min);
            prop->propSetInt(props, kOfxParamPropMax, 0, hard_max);
            prop->propSetInt(props, kOfxParamPropDisplayMin, 0, (int)min);
            prop->propSetInt(props, kOfxParamPropDisplayMax, 0, (int)max);
        }
        break;
    case ParamKind::Double:
        props = define(set, kOfxParamTypeDouble, p.name, label);
        if (!props) return;
        prop->propSetDouble(props, kOfxParamPropDefault, 0, def.v[0]);
        if (ranged) {
            prop->propSetDouble(props, kOfxParamPropMin, 0, min);
            prop->propSetDouble(props, kOfxParamPropMax, 0, max);
            prop->propSetDouble(props, kOfxParamPropDisplayMin, 0, min);
            prop->propSetDouble(props, kOfxParamPropDisplayMax, 0, max);
        }
        prop->propSetInt(props, kOfxParamPropDigits, 0, 2);
        break;
    case ParamKind::Boolean:
        props = define(set, kOfxParamTypeBoolean, p.name, label);
        if (!props) return;
        prop->propSetInt(props, kOfxParamPropDefault, 0, def.v[0] != 0.0);
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 1);
        break;
    case ParamKind::Choice: {
        props = define(set, kOfxParamTypeChoice, p.name, label);
        if (!props) return;
        const std::vector<std::string> options = ChoiceOptions(p);
        for (size_t i = 0; i < options.size(); ++i)
            prop->propSetString(props, kOfxParamPropChoiceOption, (int)i, options[i].c_str());
        prop->propSetInt(props, kOfxParamPropDefault, 0, (int)def.v[0]);
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 1);
        break;
    }
    case ParamKind::Position:
        // In the panel's own units: percent of the frame, y down, as the effect reads them.
        props = define(set, kOfxParamTypeDouble2D, p.name, label);
        if (!props) return;
        prop->propSetDouble(props, kOfxParamPropDefault, 0, def.v[0]);
        prop->propSetDouble(props, kOfxParamPropDefault, 1, def.v[1]);
        prop->propSetString(props, kOfxParamPropDimensionLabel, 0, "X");
        prop->propSetString(props, kOfxParamPropDimensionLabel, 1, "Y");
        if (ranged) {
            for (int i = 0; i < 2; ++i) {
                prop->propSetDouble(props, kOfxParamPropMin, i, min);
                prop->propSetDouble(props, kOfxParamPropMax, i, max);
                prop->propSetDouble(props, kOfxParamPropDisplayMin, i, min);
                prop->propSetDouble(props, kOfxParamPropDisplayMax, i, max);
            }
        }
        break;
    case ParamKind::Colour:
        props = define(set, kOfxParamTypeRGB, p.name, label);
        if (!props) return;
        for (int i = 0; i < 3; ++i) {
            prop->propSetDouble(props, kOfxParamPropDefault, i, def.v[i]);
            if (ranged) {
                prop->propSetDouble(props, kOfxParamPropMin, i, min);
                prop->propSetDouble(props, kOfxParamPropMax, i, max);
            }
        }
        break;
    case ParamKind::Button:
        props = define(set, kOfxParamTypePushButton, p.name, label);
        break;
    }
    if (!props) return;
    // Drawing-only parameters invalidate only their own frame; the others every later one.
    if (p.kind != ParamKind::Button)
        prop->propSetString(props, kOfxParamPropCacheInvalidation, 0,
                            p.simulation ? kOfxParamInvalidateValueChangeToEnd : kOfxParamInvalidateValueChange);
    pages.add(p.page, p.name);
}

void define_binding_params(OfxParamSetHandle set, PageChildren& pages) {
    const OfxPropertySuiteV1* prop = S().prop;
    if (OfxPropertySetHandle props = define(set, kOfxParamTypeChoice, kOutputParam, "Output")) {
        prop->propSetString(props, kOfxParamPropChoiceOption, 0, "Swarm over Source");
        prop->propSetString(props, kOfxParamPropChoiceOption, 1, "Swarm Only");
        prop->propSetInt(props, kOfxParamPropDefault, 0, kSwarmOverSource);
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 0);
        prop->propSetString(props, kOfxParamPropHint, 0,
                            "Swarm over Source: the frame as the effect composites it. Swarm Only: "
                            "the swarm alone, premultiplied, its alpha the coverage, to merge yourself.");
        pages.add(0, kOutputParam);
    }
    if (OfxPropertySetHandle props = define(set, kOfxParamTypeBoolean, kOwnStartParam, "Own Start Frame")) {
        prop->propSetInt(props, kOfxParamPropDefault, 0, 0);
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 0);
        prop->propSetString(props, kOfxParamPropHint, 0,
                            "Off: the swarm starts at the first frame of Source. On: at Start Frame.");
        prop->propSetString(props, kOfxParamPropCacheInvalidation, 0, kOfxParamInvalidateAll);
        pages.add(0, kOwnStartParam);
    }
    if (OfxPropertySetHandle props = define(set, kOfxParamTypeInteger, kStartFrameParam, "Start Frame")) {
        prop->propSetInt(props, kOfxParamPropDefault, 0, 1);
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 0);
        prop->propSetString(props, kOfxParamPropCacheInvalidation, 0, kOfxParamInvalidateAll);
        pages.add(0, kStartFrameParam);
    }
    for (const EventButtonParam& b : kEventButtonParams) {
        if (OfxPropertySetHandle props = define(set, kOfxParamTypePushButton, b.name, b.label)) {
            prop->propSetString(props, kOfxParamPropHint, 0,
                                "Places this button's event at the current frame (see Events).");
            pages.add(-1, b.name);
        }
    }
    if (OfxPropertySetHandle props = define(set, kOfxParamTypeString, kEventsParam, "Events")) {
        prop->propSetString(props, kOfxParamPropStringMode, 0, kOfxParamStringIsMultiLine);
        prop->propSetString(props, kOfxParamPropDefault, 0, "");
        prop->propSetInt(props, kOfxParamPropAnimates, 0, 0);
        prop->propSetString(props, kOfxParamPropCacheInvalidation, 0, kOfxParamInvalidateValueChangeToEnd);
        prop->propSetString(props, kOfxParamPropHint, 0,
                            "One event per line, FRAME BUTTON (Restart, Restart+PreRoll, PreRoll or "
                            "Advance), acted on when the swarm reaches that frame, before its step.");
        pages.add(0, kEventsParam);
    }
    if (OfxPropertySetHandle props = define(set, kOfxParamTypeString, kAmplitudeFileParam, "Amplitude File")) {
        prop->propSetString(props, kOfxParamPropStringMode, 0, kOfxParamStringIsFilePath);
        prop->propSetInt(props, kOfxParamPropStringFilePathExists, 0, 1);
        prop->propSetInt(props, kOfxParamPropEvaluateOnChange, 0, 0);
        pages.add(3, kAmplitudeFileParam);
    }
}

}  // namespace

const EventButtonParam kEventButtonParams[4] = {
    {"restartButton", "Restart", (int)EventButton::Restart},
    {"restartPreRollButton", "Restart+PreRoll", (int)EventButton::RestartPreRoll},
    {"preRollButton", "PreRoll", (int)EventButton::PreRoll},
    {"advanceButton", "Advance", (int)EventButton::Advance},
};

OfxStatus Describe(OfxImageEffectHandle effect) {
    OfxPropertySetHandle props = nullptr;
    if (S().effect->getPropertySet(effect, &props) != kOfxStatOK) return kOfxStatErrBadHandle;
    const OfxPropertySuiteV1* prop = S().prop;
    SnapshotFactoryRecords();
    prop->propSetString(props, kOfxPropLabel, 0, "Vesk");
    prop->propSetString(props, kOfxPropVersionLabel, 0, "1.0");
    prop->propSetInt(props, kOfxPropVersion, 0, (int)kVersionMajor);
    prop->propSetInt(props, kOfxPropVersion, 1, (int)kVersionMinor);
    prop->propSetString(props, kOfxPropPluginDescription, 0, kDescription);
    prop->propSetString(props, kOfxImageEffectPluginPropGrouping, 0, "Generate/Particles");
    set_strings(props, kOfxImageEffectPropSupportedContexts,
                {kOfxImageEffectContextGeneral, kOfxImageEffectContextFilter});
    set_strings(props, kOfxImageEffectPropSupportedPixelDepths,
                {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat});
    // Frames run one at a time on the effect, whatever thread asks; so any number of concurrent
    // renders is safe, and the effect's own bands give the parallelism inside a frame.
    prop->propSetString(props, kOfxImageEffectPluginRenderThreadSafety, 0, kOfxImageEffectRenderFullySafe);
    prop->propSetInt(props, kOfxImageEffectPluginPropHostFrameThreading, 0, 0);
    prop->propSetInt(props, kOfxImageEffectPropSupportsTiles, 0, 0);
    prop->propSetInt(props, kOfxImageEffectPropSupportsMultiResolution, 0, 1);
    prop->propSetInt(props, kOfxImageEffectPropTemporalClipAccess, 0, 1);
    prop->propSetInt(props, kOfxImageEffectInstancePropSequentialRender, 0, 2);
    prop->propSetInt(props, kOfxImageEffectPluginPropFieldRenderTwiceAlways, 0, 0);
    prop->propSetInt(props, kOfxImageEffectPropSupportsMultipleClipDepths, 0, 0);
    // The output's components and premultiplication follow the Output parameter.
    prop->propSetString(props, kOfxImageEffectPropClipPreferencesSlaveParam, 0, kOutputParam);
    if (OfxPluginEntryPoint* overlay = OverlayEntryPoint())
        prop->propSetPointer(props, kOfxImageEffectPluginPropOverlayInteractV1, 0, (void*)overlay);
    return kOfxStatOK;
}

OfxStatus DescribeInContext(OfxImageEffectHandle effect, OfxPropertySetHandle in) {
    const std::string context = PropString(in, kOfxImageEffectPropContext);
    const bool general = context == kOfxImageEffectContextGeneral;
    if (!general && context != kOfxImageEffectContextFilter) return kOfxStatErrMissingHostFeature;
    const OfxPropertySuiteV1* prop = S().prop;

    OfxPropertySetHandle clip = nullptr;
    if (S().effect->clipDefine(effect, kOfxImageEffectOutputClipName, &clip) != kOfxStatOK) return kOfxStatFailed;
    set_strings(clip, kOfxImageEffectPropSupportedComponents, {kOfxImageComponentRGBA, kOfxImageComponentRGB});
    prop->propSetInt(clip, kOfxImageEffectPropSupportsTiles, 0, 0);

    for (int i = 0; i < (general ? kClipCount : 1); ++i) {
        if (S().effect->clipDefine(effect, kClipNames[i], &clip) != kOfxStatOK) return kOfxStatFailed;
        prop->propSetString(clip, kOfxPropLabel, 0, kClipLabels[i]);
        const bool matte = i >= 2;
        if (matte)
            set_strings(clip, kOfxImageEffectPropSupportedComponents,
                        {kOfxImageComponentAlpha, kOfxImageComponentRGBA, kOfxImageComponentRGB});
        else
            set_strings(clip, kOfxImageEffectPropSupportedComponents, {kOfxImageComponentRGBA, kOfxImageComponentRGB});
        prop->propSetInt(clip, kOfxImageClipPropOptional, 0, i == 0 ? 0 : 1);
        prop->propSetInt(clip, kOfxImageEffectPropSupportsTiles, 0, 0);
        prop->propSetInt(clip, kOfxImageClipPropIsMask, 0, matte ? 1 : 0);
        // The mattes are read at every simulated frame, the shape clips at each particle's own
        // time in the texturing cycle.
        prop->propSetInt(clip, kOfxImageEffectPropTemporalClipAccess, 0, i == 0 ? 0 : 1);
    }

    OfxParamSetHandle set = nullptr;
    if (S().effect->getParamSet(effect, &set) != kOfxStatOK) return kOfxStatFailed;
    PageChildren pages;
    define_binding_params(set, pages);
    for (const ControlParam& p : ControlParams()) define_control(set, p, pages);

    OfxPropertySetHandle set_props = nullptr;
    S().param->paramSetGetPropertySet(set, &set_props);
    for (int page = 0; page < 4; ++page) {
        const std::string name = std::string("page") + kPageNames[page];
        OfxPropertySetHandle props = define(set, kOfxParamTypePage, name.c_str(), kPageNames[page]);
        if (!props) continue;
        for (size_t i = 0; i < pages.names[page].size(); ++i)
            prop->propSetString(props, kOfxParamPropPageChild, (int)i, pages.names[page][i].c_str());
        if (set_props) prop->propSetString(set_props, kOfxPluginPropParamPageOrder, page, name.c_str());
    }
    return kOfxStatOK;
}

}  // namespace vesk_ofx
