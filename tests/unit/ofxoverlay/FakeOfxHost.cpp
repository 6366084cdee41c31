#include "FakeOfxHost.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace fakeofx {

namespace {

Host* g_host = nullptr;

PropSet* P(OfxPropertySetHandle h) { return reinterpret_cast<PropSet*>(h); }
Param* Par(OfxParamHandle h) { return reinterpret_cast<Param*>(h); }
ParamSet* Set(OfxParamSetHandle h) { return reinterpret_cast<ParamSet*>(h); }
Effect* E(OfxImageEffectHandle h) { return reinterpret_cast<Effect*>(h); }
Clip* C(OfxImageClipHandle h) { return reinterpret_cast<Clip*>(h); }

// ---- properties ----------------------------------------------------------------------------

template <typename T>
OfxStatus put(OfxPropertySetHandle h, const char* name, char type, int index, std::vector<T> Prop::*values, T v) {
    if (!h || !name || index < 0) return kOfxStatErrBadHandle;
    Prop& p = P(h)->props[name];
    if (p.type && p.type != type) return kOfxStatErrValue;
    p.type = type;
    if ((size_t)index >= (p.*values).size()) (p.*values).resize((size_t)index + 1);
    (p.*values)[(size_t)index] = v;
    return kOfxStatOK;
}

template <typename T>
OfxStatus take(OfxPropertySetHandle h, const char* name, char type, int index, std::vector<T> Prop::*values, T* v) {
    if (!h || !name || !v) return kOfxStatErrBadHandle;
    auto it = P(h)->props.find(name);
    if (it == P(h)->props.end()) return kOfxStatErrUnknown;
    if (it->second.type != type) return kOfxStatErrValue;
    if (index < 0 || (size_t)index >= (it->second.*values).size()) return kOfxStatErrBadIndex;
    *v = (it->second.*values)[(size_t)index];
    return kOfxStatOK;
}

OfxStatus setPointer(OfxPropertySetHandle h, const char* n, int i, void* v) { return put(h, n, 'p', i, &Prop::p, v); }
OfxStatus setString(OfxPropertySetHandle h, const char* n, int i, const char* v) {
    return put(h, n, 's', i, &Prop::s, std::string(v ? v : ""));
}
OfxStatus setDouble(OfxPropertySetHandle h, const char* n, int i, double v) { return put(h, n, 'd', i, &Prop::d, v); }
OfxStatus setInt(OfxPropertySetHandle h, const char* n, int i, int v) { return put(h, n, 'i', i, &Prop::i, v); }
OfxStatus setPointerN(OfxPropertySetHandle h, const char* n, int c, void* const* v) {
    for (int i = 0; i < c; ++i) setPointer(h, n, i, v[i]);
    return kOfxStatOK;
}
OfxStatus setStringN(OfxPropertySetHandle h, const char* n, int c, const char* const* v) {
    for (int i = 0; i < c; ++i) setString(h, n, i, v[i]);
    return kOfxStatOK;
}
OfxStatus setDoubleN(OfxPropertySetHandle h, const char* n, int c, const double* v) {
    for (int i = 0; i < c; ++i) setDouble(h, n, i, v[i]);
    return kOfxStatOK;
}
OfxStatus setIntN(OfxPropertySetHandle h, const char* n, int c, const int* v) {
    for (int i = 0; i < c; ++i) setInt(h, n, i, v[i]);
    return kOfxStatOK;
}
OfxStatus getPointer(OfxPropertySetHandle h, const char* n, int i, void** v) { return take(h, n, 'p', i, &Prop::p, v); }
OfxStatus getString(OfxPropertySetHandle h, const char* n, int i, char** v) {
    if (!h || !n || !v) return kOfxStatErrBadHandle;
    auto it = P(h)->props.find(n);
    if (it == P(h)->props.end()) return kOfxStatErrUnknown;
    if (it->second.type != 's') return kOfxStatErrValue;
    if (i < 0 || (size_t)i >= it->second.s.size()) return kOfxStatErrBadIndex;
    *v = const_cast<char*>(it->second.s[(size_t)i].c_str());
    return kOfxStatOK;
}
OfxStatus getDouble(OfxPropertySetHandle h, const char* n, int i, double* v) { return take(h, n, 'd', i, &Prop::d, v); }
OfxStatus getInt(OfxPropertySetHandle h, const char* n, int i, int* v) { return take(h, n, 'i', i, &Prop::i, v); }
OfxStatus getPointerN(OfxPropertySetHandle h, const char* n, int c, void** v) {
    for (int i = 0; i < c; ++i)
        if (OfxStatus s = getPointer(h, n, i, &v[i])) return s;
    return kOfxStatOK;
}
OfxStatus getStringN(OfxPropertySetHandle h, const char* n, int c, char** v) {
    for (int i = 0; i < c; ++i)
        if (OfxStatus s = getString(h, n, i, &v[i])) return s;
    return kOfxStatOK;
}
OfxStatus getDoubleN(OfxPropertySetHandle h, const char* n, int c, double* v) {
    for (int i = 0; i < c; ++i)
        if (OfxStatus s = getDouble(h, n, i, &v[i])) return s;
    return kOfxStatOK;
}
OfxStatus getIntN(OfxPropertySetHandle h, const char* n, int c, int* v) {
    for (int i = 0; i < c; ++i)
        if (OfxStatus s = getInt(h, n, i, &v[i])) return s;
    return kOfxStatOK;
}
OfxStatus reset(OfxPropertySetHandle, const char*) { return kOfxStatErrUnsupported; }
OfxStatus dimension(OfxPropertySetHandle h, const char* n, int* count) {
    auto it = P(h)->props.find(n);
    if (it == P(h)->props.end()) return kOfxStatErrUnknown;
    const Prop& p = it->second;
    *count = (int)(p.type == 'i' ? p.i.size() : p.type == 'd' ? p.d.size() : p.type == 's' ? p.s.size() : p.p.size());
    return kOfxStatOK;
}

const OfxPropertySuiteV1 kPropertySuite = {setPointer, setString,  setDouble,  setInt,      setPointerN, setStringN,
                                           setDoubleN, setIntN,    getPointer, getString,   getDouble,   getInt,
                                           getPointerN, getStringN, getDoubleN, getIntN,    reset,       dimension};

// ---- image effect --------------------------------------------------------------------------

OfxStatus getPropertySet(OfxImageEffectHandle e, OfxPropertySetHandle* out) {
    *out = E(e)->props.handle();
    return kOfxStatOK;
}
OfxStatus getParamSet(OfxImageEffectHandle e, OfxParamSetHandle* out) {
    *out = reinterpret_cast<OfxParamSetHandle>(&E(e)->params);
    return kOfxStatOK;
}
OfxStatus clipDefine(OfxImageEffectHandle e, const char* name, OfxPropertySetHandle* out) {
    std::unique_ptr<Clip>& clip = E(e)->clips[name];
    if (!clip) clip.reset(new Clip);
    clip->props.setString(kOfxPropName, {name});
    *out = clip->props.handle();
    return kOfxStatOK;
}
OfxStatus clipGetHandle(OfxImageEffectHandle e, const char* name, OfxImageClipHandle* clip, OfxPropertySetHandle* props) {
    auto it = E(e)->clips.find(name);
    if (it == E(e)->clips.end()) return kOfxStatErrUnknown;
    *clip = reinterpret_cast<OfxImageClipHandle>(it->second.get());
    if (props) *props = it->second->props.handle();
    return kOfxStatOK;
}
OfxStatus clipGetPropertySet(OfxImageClipHandle c, OfxPropertySetHandle* out) {
    *out = C(c)->props.handle();
    return kOfxStatOK;
}
OfxStatus clipGetImage(OfxImageClipHandle c, OfxTime, const OfxRectD*, OfxPropertySetHandle* out) {
    const Clip& clip = *C(c);
    if (clip.width <= 0 || clip.height <= 0) return kOfxStatFailed;
    Current().images.emplace_back(new Image);
    Image& image = *Current().images.back();
    image.pixels.assign((size_t)clip.width * clip.height * 4, clip.grey);
    for (size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 255;
    image.props.setPointer(kOfxImagePropData, image.pixels.data());
    image.props.setInt(kOfxImagePropBounds, {0, 0, clip.width, clip.height});
    image.props.setInt(kOfxImagePropRegionOfDefinition, {0, 0, clip.width, clip.height});
    image.props.setInt(kOfxImagePropRowBytes, {clip.width * 4});
    image.props.setString(kOfxImageEffectPropComponents, {kOfxImageComponentRGBA});
    image.props.setString(kOfxImageEffectPropPixelDepth, {kOfxBitDepthByte});
    image.props.setString(kOfxImageEffectPropPreMultiplication, {kOfxImageOpaque});
    image.props.setDouble(kOfxImageEffectPropRenderScale, {1.0, 1.0});
    *out = image.props.handle();
    return kOfxStatOK;
}
OfxStatus clipReleaseImage(OfxPropertySetHandle h) {
    auto& images = Current().images;
    for (auto it = images.begin(); it != images.end(); ++it)
        if ((*it)->props.handle() == h) {
            images.erase(it);
            return kOfxStatOK;
        }
    return kOfxStatErrBadHandle;
}
OfxStatus clipGetRegionOfDefinition(OfxImageClipHandle c, OfxTime, OfxRectD* rod) {
    *rod = C(c)->rod;
    return kOfxStatOK;
}
int abortRender(OfxImageEffectHandle) { return 0; }
OfxStatus memAlloc(OfxImageEffectHandle, size_t, OfxImageMemoryHandle*) { return kOfxStatErrMemory; }
OfxStatus memHandle(OfxImageMemoryHandle) { return kOfxStatErrBadHandle; }
OfxStatus memLock(OfxImageMemoryHandle, void**) { return kOfxStatErrBadHandle; }

const OfxImageEffectSuiteV1 kEffectSuite = {getPropertySet, getParamSet,    clipDefine,  clipGetHandle,
                                            clipGetPropertySet, clipGetImage, clipReleaseImage,
                                            clipGetRegionOfDefinition, abortRender, memAlloc, memHandle,
                                            memLock, memHandle};

// ---- parameters ----------------------------------------------------------------------------

int Dimensions(const std::string& type) {
    if (type == kOfxParamTypeDouble2D || type == kOfxParamTypeInteger2D) return 2;
    if (type == kOfxParamTypeRGB || type == kOfxParamTypeDouble3D || type == kOfxParamTypeInteger3D) return 3;
    if (type == kOfxParamTypeRGBA) return 4;
    if (type == kOfxParamTypeInteger || type == kOfxParamTypeDouble || type == kOfxParamTypeBoolean ||
        type == kOfxParamTypeChoice)
        return 1;
    return 0;
}

bool IsInt(const std::string& type) {
    return type == kOfxParamTypeInteger || type == kOfxParamTypeBoolean || type == kOfxParamTypeChoice ||
           type == kOfxParamTypeInteger2D || type == kOfxParamTypeInteger3D;
}

OfxStatus paramDefine(OfxParamSetHandle set, const char* type, const char* name, OfxPropertySetHandle* out) {
    if (Set(set)->find(name)) return kOfxStatErrExists;
    Set(set)->params.emplace_back(new Param);
    Param& p = *Set(set)->params.back();
    p.type = type;
    p.name = name;
    p.props.setString(kOfxPropName, {name});
    p.props.setString(kOfxParamPropType, {type});
    if (out) *out = p.props.handle();
    return kOfxStatOK;
}
OfxStatus paramGetHandle(OfxParamSetHandle set, const char* name, OfxParamHandle* param, OfxPropertySetHandle* props) {
    Param* p = Set(set)->find(name);
    if (!p) return kOfxStatErrUnknown;
    *param = reinterpret_cast<OfxParamHandle>(p);
    if (props) *props = p->props.handle();
    return kOfxStatOK;
}
OfxStatus paramSetGetPropertySet(OfxParamSetHandle set, OfxPropertySetHandle* out) {
    *out = Set(set)->effect_props->handle();
    return kOfxStatOK;
}
OfxStatus paramGetPropertySet(OfxParamHandle p, OfxPropertySetHandle* out) {
    *out = Par(p)->props.handle();
    return kOfxStatOK;
}

OfxStatus GetValues(Param* p, double time, va_list ap) {
    if (p->type == kOfxParamTypeString) {
        *va_arg(ap, char**) = const_cast<char*>(p->text.c_str());
        return kOfxStatOK;
    }
    const int n = Dimensions(p->type);
    if (n == 0) return kOfxStatErrBadHandle;
    const std::vector<double> v = p->at(time);
    for (int i = 0; i < n; ++i) {
        if (IsInt(p->type))
            *va_arg(ap, int*) = (int)v[(size_t)i];
        else
            *va_arg(ap, double*) = v[(size_t)i];
    }
    return kOfxStatOK;
}

std::vector<double> SetValues(Param* p, va_list ap) {
    std::vector<double> v;
    if (p->type == kOfxParamTypeString) {
        p->text = va_arg(ap, const char*);
        return v;
    }
    for (int i = 0; i < Dimensions(p->type); ++i) v.push_back(IsInt(p->type) ? (double)va_arg(ap, int) : va_arg(ap, double));
    return v;
}

OfxStatus paramGetValue(OfxParamHandle h, ...) {
    va_list ap;
    va_start(ap, h);
    const OfxStatus s = GetValues(Par(h), 0.0, ap);
    va_end(ap);
    return s;
}
OfxStatus paramGetValueAtTime(OfxParamHandle h, OfxTime t, ...) {
    va_list ap;
    va_start(ap, t);
    const OfxStatus s = GetValues(Par(h), t, ap);
    va_end(ap);
    return s;
}
OfxStatus paramGetDerivative(OfxParamHandle, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus paramGetIntegral(OfxParamHandle, OfxTime, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus paramSetValue(OfxParamHandle h, ...) {
    va_list ap;
    va_start(ap, h);
    Param* p = Par(h);
    const std::vector<double> v = SetValues(p, ap);
    va_end(ap);
    if (p->type != kOfxParamTypeString) p->value = v;
    Current().log.push_back({"set", p->name, 0.0, v});
    return kOfxStatOK;
}
OfxStatus paramSetValueAtTime(OfxParamHandle h, OfxTime t, ...) {
    va_list ap;
    va_start(ap, t);
    Param* p = Par(h);
    const std::vector<double> v = SetValues(p, ap);
    va_end(ap);
    if (p->type != kOfxParamTypeString) p->keys[t] = v;
    Current().log.push_back({"setAt", p->name, t, v});
    return kOfxStatOK;
}
OfxStatus paramGetNumKeys(OfxParamHandle h, unsigned int* n) {
    *n = (unsigned)Par(h)->keys.size();
    return kOfxStatOK;
}
OfxStatus paramGetKeyTime(OfxParamHandle, unsigned int, OfxTime*) { return kOfxStatErrUnsupported; }
OfxStatus paramGetKeyIndex(OfxParamHandle, OfxTime, int, int*) { return kOfxStatErrUnsupported; }
OfxStatus paramDeleteKey(OfxParamHandle, OfxTime) { return kOfxStatErrUnsupported; }
OfxStatus paramDeleteAllKeys(OfxParamHandle) { return kOfxStatErrUnsupported; }
OfxStatus paramCopy(OfxParamHandle, OfxParamHandle, OfxTime, const OfxRangeD*) { return kOfxStatErrUnsupported; }
OfxStatus paramEditBegin(OfxParamSetHandle, const char* name) {
    Current().log.push_back({"begin", name ? name : "", 0.0, {}});
    return kOfxStatOK;
}
OfxStatus paramEditEnd(OfxParamSetHandle) {
    Current().log.push_back({"end", "", 0.0, {}});
    return kOfxStatOK;
}

const OfxParameterSuiteV1 kParamSuite = {paramDefine,    paramGetHandle,      paramSetGetPropertySet,
                                         paramGetPropertySet, paramGetValue,  paramGetValueAtTime,
                                         paramGetDerivative, paramGetIntegral, paramSetValue,
                                         paramSetValueAtTime, paramGetNumKeys, paramGetKeyTime,
                                         paramGetKeyIndex, paramDeleteKey,    paramDeleteAllKeys,
                                         paramCopy,      paramEditBegin,      paramEditEnd};

// ---- messages and interacts ----------------------------------------------------------------

OfxStatus Message(void*, const char* type, const char*, const char* format, ...) {
    char text[1024];
    va_list ap;
    va_start(ap, format);
    vsnprintf(text, sizeof text, format, ap);
    va_end(ap);
    Current().messages.push_back(std::string(type ? type : "") + ": " + text);
    return kOfxStatOK;
}
OfxStatus ClearMessage(void*) { return kOfxStatOK; }
const OfxMessageSuiteV2 kMessageSuite = {Message, Message, ClearMessage};

OfxStatus swapBuffers(OfxInteractHandle) { return kOfxStatOK; }
OfxStatus redraw(OfxInteractHandle) {
    ++Current().redraws;
    return kOfxStatOK;
}
OfxStatus interactProps(OfxInteractHandle h, OfxPropertySetHandle* out) {
    *out = reinterpret_cast<Interact*>(h)->props.handle();
    return kOfxStatOK;
}
const OfxInteractSuiteV1 kInteractSuite = {swapBuffers, redraw, interactProps};

const void* FetchSuite(OfxPropertySetHandle, const char* name, int version) {
    const std::string n = name;
    if (n == kOfxPropertySuite && version == 1) return &kPropertySuite;
    if (n == kOfxImageEffectSuite && version == 1) return &kEffectSuite;
    if (n == kOfxParameterSuite && version == 1) return &kParamSuite;
    if (n == kOfxMessageSuite && (version == 1 || version == 2)) return &kMessageSuite;
    if (n == kOfxInteractSuite && version == 1) return &kInteractSuite;
    return nullptr;
}

}  // namespace

void PropSet::setInt(const std::string& name, std::vector<int> v) {
    Prop& p = props[name];
    p.type = 'i';
    p.i = std::move(v);
}
void PropSet::setDouble(const std::string& name, std::vector<double> v) {
    Prop& p = props[name];
    p.type = 'd';
    p.d = std::move(v);
}
void PropSet::setString(const std::string& name, std::vector<std::string> v) {
    Prop& p = props[name];
    p.type = 's';
    p.s = std::move(v);
}
void PropSet::setPointer(const std::string& name, void* v) {
    Prop& p = props[name];
    p.type = 'p';
    p.p = {v};
}

std::vector<double> Param::at(double time) const {
    if (keys.empty()) return value;
    auto it = keys.upper_bound(time);
    if (it == keys.begin()) return it->second;
    return std::prev(it)->second;
}

Param* ParamSet::find(const std::string& name) {
    for (auto& p : params)
        if (p->name == name) return p.get();
    return nullptr;
}

Host::Host() {
    host_.host = host_props_.handle();
    host_.fetchSuite = FetchSuite;
    host_props_.setInt(kOfxPropAPIVersion, {1, 4});
    host_props_.setString(kOfxPropName, {"test.fakeofx"});
    host_props_.setInt(kOfxImageEffectPropSupportsOverlays, {1});
    host_props_.setInt(kOfxImageEffectPropSupportsMultiResolution, {1});
    host_props_.setInt(kOfxImageEffectPropTemporalClipAccess, {1});
    host_props_.setString(kOfxImageEffectPropSupportedContexts,
                          {kOfxImageEffectContextGeneral, kOfxImageEffectContextFilter});
}

Effect& Host::instantiate(double width, double height, double pixel_aspect) {
    instance_.reset(new Effect);
    Effect& e = *instance_;
    e.props.setString(kOfxImageEffectPropContext, {kOfxImageEffectContextGeneral});
    e.props.setDouble(kOfxImageEffectPropProjectSize, {width, height});
    e.props.setDouble(kOfxImageEffectPropProjectOffset, {0.0, 0.0});
    e.props.setDouble(kOfxImageEffectPropProjectExtent, {width, height});
    e.props.setDouble(kOfxImageEffectPropProjectPixelAspectRatio, {pixel_aspect});
    e.props.setPointer(kOfxPropInstanceData, nullptr);
    for (const auto& d : descriptor_.params.params) {
        e.params.params.emplace_back(new Param(*d));
        Param& p = *e.params.params.back();
        auto def = p.props.props.find(kOfxParamPropDefault);
        if (def != p.props.props.end()) {
            if (def->second.type == 'i')
                p.value.assign(def->second.i.begin(), def->second.i.end());
            else if (def->second.type == 'd')
                p.value = def->second.d;
            else if (def->second.type == 's' && !def->second.s.empty())
                p.text = def->second.s[0];
        }
        p.value.resize((size_t)Dimensions(p.type), 0.0);
    }
    for (const auto& entry : descriptor_.clips) {
        std::unique_ptr<Clip>& clip = e.clips[entry.first];
        clip.reset(new Clip(*entry.second));
        const bool source = entry.first == kOfxImageEffectSimpleSourceClipName;
        clip->props.setInt(kOfxImageClipPropConnected, {source ? 1 : 0});
        clip->props.setDouble(kOfxImageEffectPropFrameRange, {1.0, 100.0});
        const bool output = entry.first == kOfxImageEffectOutputClipName;
        clip->rod = source || output ? OfxRectD{0, 0, width, height} : OfxRectD{0, 0, 0, 0};
        if (source || output) {
            clip->width = (int)(width / pixel_aspect + 0.5);
            clip->height = (int)(height + 0.5);
            clip->grey = source ? 128 : 0;
        }
    }
    return e;
}

Interact& Host::newInteract() {
    interacts_.emplace_back(new Interact);
    Interact& ix = *interacts_.back();
    ix.props.setPointer(kOfxPropEffectInstance, instance_ ? instance_->handle() : nullptr);
    ix.props.setPointer(kOfxPropInstanceData, nullptr);
    ix.props.setInt(kOfxInteractPropHasAlpha, {0});
    ix.props.setInt(kOfxInteractPropBitDepth, {8});
    ix.props.setDouble(kOfxInteractPropPixelScale, {1.0, 1.0});
    return ix;
}

Host& Current() { return *g_host; }
void SetCurrent(Host* host) { g_host = host; }

}  // namespace fakeofx
