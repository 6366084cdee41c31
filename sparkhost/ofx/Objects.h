// The objects behind the handles an OpenFX plug-in holds: effects (descriptors and instances),
// clips, parameters and their set, images and interacts. Each starts with a tag the suites check,
// so that a stale or foreign handle is answered with kOfxStatErrBadHandle instead of a crash.
#ifndef SPARKHOST_OFX_OBJECTS_H
#define SPARKHOST_OFX_OBJECTS_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sparkhost/ofx/OfxApi.h"
#include "sparkhost/ofx/PropertySet.h"

namespace sparkhost {
namespace ofx {

class OfxKind;
struct EffectObject;

enum Tag : unsigned {
    kEffectTag = 0x0F5EFFEC,
    kClipTag = 0x0F5EC119,
    kParamTag = 0x0F5E9A4A,
    kParamSetTag = 0x0F5E95E7,
    kInteractTag = 0x0F5E1A7C,
    kMemoryTag = 0x0F5E3E30,
};

struct ClipObject {
    unsigned tag = kClipTag;
    std::string name;
    PropertySet props;
    EffectObject* effect = nullptr;
    int input = -1;   // sparkhost's input clip (0 = clip 1); -1 for the output
    ~ClipObject() { tag = 0; }
};

struct ParamSetObject;

struct ParamObject {
    unsigned tag = kParamTag;
    std::string name;
    std::string type;
    PropertySet props;
    ParamSetObject* set = nullptr;
    // The value as it stands when no curve animates it: numbers of every dimension (integers,
    // booleans and choices held exactly in doubles), or the text of string-valued types.
    mutable std::mutex mutex;
    std::vector<double> values;
    std::string text;
    std::vector<int> controls;   // the panel control of each dimension (control numbers), if any
    ~ParamObject() { tag = 0; }
    int dimension() const;
    bool textual() const;
    bool holdsValue() const;
};

struct ParamSetObject {
    unsigned tag = kParamSetTag;
    EffectObject* effect = nullptr;
    std::vector<std::unique_ptr<ParamObject>> list;
    std::map<std::string, ParamObject*> byName;
    std::vector<std::string> editGroups;   // open paramEditBegin labels
    ~ParamSetObject() { tag = 0; }
    ParamObject* find(const std::string& name) const {
        auto it = byName.find(name);
        return it == byName.end() ? nullptr : it->second;
    }
};

struct EffectObject {
    unsigned tag = kEffectTag;
    bool instance = false;
    PropertySet props;
    std::vector<std::unique_ptr<ClipObject>> clips;
    ParamSetObject params;
    OfxKind* owner = nullptr;      // the host side that answers for this effect
    EffectObject() { params.effect = this; }
    ~EffectObject() { tag = 0; }
    ClipObject* clip(const std::string& name) const {
        for (const auto& c : clips)
            if (c->name == name) return c.get();
        return nullptr;
    }
};

// An image handed out by clipGetImage: its properties, and the pixels they point at.
struct ImageObject : PropertySet {
    std::vector<unsigned char> pixels;
    EffectObject* effect = nullptr;
};

struct InteractObject {
    unsigned tag = kInteractTag;
    PropertySet props;
    EffectObject* effect = nullptr;
    OfxPluginEntryPoint* entry = nullptr;
    bool redrawWanted = false;
    ~InteractObject() { tag = 0; }
};

inline EffectObject* effectFrom(const void* handle) {
    auto* e = static_cast<EffectObject*>(const_cast<void*>(handle));
    return e && e->tag == kEffectTag ? e : nullptr;
}
inline ClipObject* clipFrom(const void* handle) {
    auto* c = static_cast<ClipObject*>(const_cast<void*>(handle));
    return c && c->tag == kClipTag ? c : nullptr;
}
inline ParamObject* paramFrom(const void* handle) {
    auto* p = static_cast<ParamObject*>(const_cast<void*>(handle));
    return p && p->tag == kParamTag ? p : nullptr;
}
inline ParamSetObject* paramSetFrom(const void* handle) {
    auto* s = static_cast<ParamSetObject*>(const_cast<void*>(handle));
    return s && s->tag == kParamSetTag ? s : nullptr;
}
inline InteractObject* interactFrom(const void* handle) {
    auto* i = static_cast<InteractObject*>(const_cast<void*>(handle));
    return i && i->tag == kInteractTag ? i : nullptr;
}

// The suites, as "fetchSuite" hands them out.
const void* imageEffectSuite();
const void* parameterSuite();
const void* memorySuite();
const void* multiThreadSuite();
const void* messageSuite();   // V1 and V2 in one struct: V2 extends V1
const void* interactSuite();
const void* progressSuite(int version);
const void* timeLineSuite();

// The properties a parameter descriptor of p.type starts with, and its default value.
// Returns kOfxStatOK, kOfxStatErrUnknown for a type string OFX does not have, or
// kOfxStatErrUnsupported for one this host does not offer.
OfxStatus defineParamProperties(ParamObject& p);
// The properties of a clip descriptor.
void defineClipProperties(ClipObject& c);

}  // namespace ofx
}  // namespace sparkhost

#endif
