// Parameter descriptors: the properties each type starts with (OFX's defaults) and the value they
// hold.
#include <cfloat>
#include <climits>
#include <cstring>

#include "sparkhost/ofx/Objects.h"

namespace sparkhost {
namespace ofx {

namespace {

struct TypeInfo {
    const char* type;
    int dimension;       // values held; 0 for types without a value
    bool isInt;          // integer-valued (ints, booleans, choices)
    bool textual;
    bool animates;       // animates by default
};

const TypeInfo kTypes[] = {
    {kOfxParamTypeInteger, 1, true, false, true},
    {kOfxParamTypeDouble, 1, false, false, true},
    {kOfxParamTypeBoolean, 1, true, false, false},
    {kOfxParamTypeChoice, 1, true, false, false},
    {kOfxParamTypeRGBA, 4, false, false, true},
    {kOfxParamTypeRGB, 3, false, false, true},
    {kOfxParamTypeDouble2D, 2, false, false, true},
    {kOfxParamTypeInteger2D, 2, true, false, true},
    {kOfxParamTypeDouble3D, 3, false, false, true},
    {kOfxParamTypeInteger3D, 3, true, false, true},
    {kOfxParamTypeString, 1, false, true, false},
    {kOfxParamTypeCustom, 1, false, true, false},
    {kOfxParamTypePushButton, 0, false, false, false},
    {kOfxParamTypeGroup, 0, false, false, false},
    {kOfxParamTypePage, 0, false, false, false},
};

// Types of the standard this host does not offer: plug-ins are told so and can fall back.
const char* const kUnsupported[] = {kOfxParamTypeParametric, kOfxParamTypeBytes, kOfxParamTypeStrChoice};

const TypeInfo* info(const std::string& type) {
    for (const auto& t : kTypes)
        if (type == t.type) return &t;
    return nullptr;
}

}  // namespace

int ParamObject::dimension() const {
    const TypeInfo* t = info(type);
    return t ? t->dimension : 0;
}

bool ParamObject::textual() const {
    const TypeInfo* t = info(type);
    return t && t->textual;
}

bool ParamObject::holdsValue() const { return dimension() > 0; }

OfxStatus defineParamProperties(ParamObject& p) {
    const TypeInfo* t = info(p.type);
    if (!t) {
        for (const char* u : kUnsupported)
            if (p.type == u) return kOfxStatErrUnsupported;
        return kOfxStatErrUnknown;
    }
    PropertySet& s = p.props;
    const Access rw = Access::PluginWrites;
    s.defineString(kOfxPropType, {kOfxTypeParameter});
    s.defineString(kOfxPropName, {p.name});
    s.defineString(kOfxParamPropType, {p.type});
    s.defineString(kOfxPropLabel, {p.name}, 1, rw);
    s.defineString(kOfxPropShortLabel, {p.name}, 1, rw);
    s.defineString(kOfxPropLongLabel, {p.name}, 1, rw);
    s.defineInt(kOfxParamPropSecret, {0}, 1, rw);
    s.defineString(kOfxParamPropHint, {""}, 1, rw);
    s.defineString(kOfxParamPropScriptName, {p.name}, 1, rw);
    s.defineString(kOfxParamPropParent, {""}, 1, rw);
    s.defineInt(kOfxParamPropEnabled, {1}, 1, rw);
    s.definePointer(kOfxParamPropDataPtr, {nullptr}, 1, rw);
    s.defineString(kOfxPropIcon, {"", ""}, 2, rw);
    if (p.type == kOfxParamTypeGroup) s.defineInt(kOfxParamPropGroupOpen, {1}, 1, rw);
    if (p.type == kOfxParamTypePage) s.defineString(kOfxParamPropPageChild, {}, 0, rw);
    if (p.type != kOfxParamTypeGroup && p.type != kOfxParamTypePage) {
        s.definePointer(kOfxParamPropInteractV1, {nullptr}, 1, rw);
        s.defineDouble(kOfxParamPropInteractSize, {10, 10}, 2);
        s.defineDouble(kOfxParamPropInteractSizeAspect, {1.0}, 1, rw);
        s.defineDouble(kOfxParamPropInteractMinimumSize, {10, 10}, 2, rw);
        s.defineInt(kOfxParamPropInteractPreferedSize, {10, 10}, 2, rw);
        s.defineInt(kOfxParamPropHasHostOverlayHandle, {0});
        s.defineInt(kOfxParamPropUseHostOverlayHandle, {0}, 1, rw);
    }
    if (t->dimension > 0) {
        s.defineInt(kOfxParamPropAnimates, {t->animates ? 1 : 0}, 1, rw);
        s.defineInt(kOfxParamPropIsAnimating, {0});
        s.defineInt(kOfxParamPropIsAutoKeying, {0});
        s.defineInt(kOfxParamPropPersistant, {1}, 1, rw);
        s.defineInt(kOfxParamPropEvaluateOnChange, {1}, 1, rw);
        s.defineInt(kOfxParamPropPluginMayWrite, {0}, 1, rw);
        s.defineString(kOfxParamPropCacheInvalidation, {kOfxParamInvalidateValueChange}, 1, rw);
        s.defineInt(kOfxParamPropCanUndo, {1}, 1, rw);
        if (t->textual) {
            s.defineString(kOfxParamPropDefault, {""}, 1, rw);
            if (p.type == kOfxParamTypeString) {
                s.defineString(kOfxParamPropStringMode, {kOfxParamStringIsSingleLine}, 1, rw);
                s.defineInt(kOfxParamPropStringFilePathExists, {1}, 1, rw);
            } else {
                s.definePointer(kOfxParamPropCustomInterpCallbackV1, {nullptr}, 1, rw);
            }
            p.text.clear();
        } else if (t->isInt) {
            s.defineInt(kOfxParamPropDefault, std::vector<int>(size_t(t->dimension), 0), t->dimension, rw);
            if (p.type == kOfxParamTypeChoice) {
                s.defineString(kOfxParamPropChoiceOption, {}, 0, rw);
                s.defineInt(kOfxParamPropChoiceOrder, {}, 0, rw);
            }
            if (p.type != kOfxParamTypeBoolean && p.type != kOfxParamTypeChoice) {
                std::vector<int> lo(size_t(t->dimension), INT_MIN), hi(size_t(t->dimension), INT_MAX);
                s.defineInt(kOfxParamPropMin, lo, t->dimension, rw);
                s.defineInt(kOfxParamPropMax, hi, t->dimension, rw);
                s.defineInt(kOfxParamPropDisplayMin, lo, t->dimension, rw);
                s.defineInt(kOfxParamPropDisplayMax, hi, t->dimension, rw);
            }
            p.values.assign(size_t(t->dimension), 0.0);
        } else {
            s.defineDouble(kOfxParamPropDefault, std::vector<double>(size_t(t->dimension), 0.0), t->dimension, rw);
            std::vector<double> lo(size_t(t->dimension), -DBL_MAX), hi(size_t(t->dimension), DBL_MAX);
            s.defineDouble(kOfxParamPropMin, lo, t->dimension, rw);
            s.defineDouble(kOfxParamPropMax, hi, t->dimension, rw);
            s.defineDouble(kOfxParamPropDisplayMin, lo, t->dimension, rw);
            s.defineDouble(kOfxParamPropDisplayMax, hi, t->dimension, rw);
            s.defineDouble(kOfxParamPropIncrement, {1.0}, 1, rw);
            s.defineInt(kOfxParamPropDigits, {2}, 1, rw);
            if (p.type == kOfxParamTypeDouble || p.type == kOfxParamTypeDouble2D ||
                p.type == kOfxParamTypeDouble3D) {
                s.defineString(kOfxParamPropDoubleType, {kOfxParamDoubleTypePlain}, 1, rw);
                s.defineString(kOfxParamPropDefaultCoordinateSystem, {kOfxParamCoordinatesCanonical}, 1, rw);
            }
            if (p.type == kOfxParamTypeDouble) s.defineInt(kOfxParamPropShowTimeMarker, {0}, 1, rw);
            p.values.assign(size_t(t->dimension), 0.0);
        }
        if (t->dimension > 1) {
            std::vector<std::string> labels;
            const char* rgba[] = {"r", "g", "b", "a"};
            const char* xyz[] = {"x", "y", "z"};
            bool colour = p.type == kOfxParamTypeRGB || p.type == kOfxParamTypeRGBA;
            for (int i = 0; i < t->dimension; ++i) labels.push_back(colour ? rgba[i] : xyz[i]);
            s.defineString(kOfxParamPropDimensionLabel, labels, t->dimension, rw);
        }
    }
    return kOfxStatOK;
}

void defineClipProperties(ClipObject& c) {
    PropertySet& s = c.props;
    const Access rw = Access::PluginWrites;
    s.defineString(kOfxPropType, {kOfxTypeClip});
    s.defineString(kOfxPropName, {c.name});
    s.defineString(kOfxPropLabel, {c.name}, 1, rw);
    s.defineString(kOfxPropShortLabel, {c.name}, 1, rw);
    s.defineString(kOfxPropLongLabel, {c.name}, 1, rw);
    s.defineString(kOfxImageEffectPropSupportedComponents, {}, 0, rw);
    s.defineInt(kOfxImageEffectPropTemporalClipAccess, {0}, 1, rw);
    s.defineInt(kOfxImageClipPropOptional, {0}, 1, rw);
    s.defineString(kOfxImageClipPropFieldExtraction, {kOfxImageFieldDoubled}, 1, rw);
    s.defineInt(kOfxImageClipPropIsMask, {0}, 1, rw);
    s.defineInt(kOfxImageEffectPropSupportsTiles, {1}, 1, rw);
}

}  // namespace ofx
}  // namespace sparkhost
