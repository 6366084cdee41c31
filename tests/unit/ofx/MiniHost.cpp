#include "MiniHost.h"

#include <dlfcn.h>

#include <chrono>
#include <cstdarg>
#include <cstring>

namespace minihost {

Host* Host::current = nullptr;
thread_local Picture* Host::output_target = nullptr;
thread_local double Host::render_scale = 1.0;

// ---- values -----------------------------------------------------------------------------------

std::string PropertySet::str(const std::string& name, int index) const {
    auto it = props.find(name);
    return it == props.end() || index >= (int)it->second.size() ? "" : it->second[(size_t)index].s;
}
int PropertySet::integer(const std::string& name, int index) const {
    auto it = props.find(name);
    return it == props.end() || index >= (int)it->second.size() ? 0 : it->second[(size_t)index].i;
}
double PropertySet::dbl(const std::string& name, int index) const {
    auto it = props.find(name);
    return it == props.end() || index >= (int)it->second.size() ? 0.0 : it->second[(size_t)index].d;
}
void PropertySet::set(const std::string& name, int index, const Value& v) {
    std::vector<Value>& values = props[name];
    if ((int)values.size() <= index) values.resize((size_t)index + 1);
    values[(size_t)index] = v;
}

std::vector<double> Param::at(double time) const {
    if (keys.empty()) return value;
    auto it = keys.upper_bound(time);
    if (it == keys.begin()) return it->second;
    return std::prev(it)->second;
}

void Picture::allocate(int w, int h, int comps, const std::string& d) {
    width = w, height = h, components = comps, depth = d;
    bytes.assign(row_bytes() * (size_t)h, 0);
}

double Picture::get(int x, int y, int c) const {
    const unsigned char* p = bytes.data() + (size_t)y * row_bytes() + ((size_t)x * components + c) * bytes_per_component();
    if (depth == kOfxBitDepthByte) return *p;
    if (depth == kOfxBitDepthShort) { uint16_t v; memcpy(&v, p, 2); return v; }
    float f; memcpy(&f, p, 4); return f;
}

void Picture::put(int x, int y, int c, double v) {
    unsigned char* p = bytes.data() + (size_t)y * row_bytes() + ((size_t)x * components + c) * bytes_per_component();
    if (depth == kOfxBitDepthByte) *p = (unsigned char)v;
    else if (depth == kOfxBitDepthShort) { uint16_t w = (uint16_t)v; memcpy(p, &w, 2); }
    else { float f = (float)v; memcpy(p, &f, 4); }
}

// ---- property suite ---------------------------------------------------------------------------

namespace {

PropertySet* P(OfxPropertySetHandle h) { return reinterpret_cast<PropertySet*>(h); }
Effect* E(OfxImageEffectHandle h) { return reinterpret_cast<Effect*>(h); }
Effect* E(OfxParamSetHandle h) { return reinterpret_cast<Effect*>(h); }
Param* PA(OfxParamHandle h) { return reinterpret_cast<Param*>(h); }
Clip* C(OfxImageClipHandle h) { return reinterpret_cast<Clip*>(h); }

OfxStatus setp(OfxPropertySetHandle h, const char* n, int i, void* v) { Value x; x.p = v; P(h)->set(n, i, x); return kOfxStatOK; }
OfxStatus sets(OfxPropertySetHandle h, const char* n, int i, const char* v) { P(h)->set_str(n, v ? v : "", i); return kOfxStatOK; }
OfxStatus setd(OfxPropertySetHandle h, const char* n, int i, double v) { P(h)->set_dbl(n, v, i); return kOfxStatOK; }
OfxStatus seti(OfxPropertySetHandle h, const char* n, int i, int v) { P(h)->set_int(n, v, i); return kOfxStatOK; }
OfxStatus setpn(OfxPropertySetHandle h, const char* n, int c, void* const* v) { for (int i = 0; i < c; ++i) setp(h, n, i, v[i]); return kOfxStatOK; }
OfxStatus setsn(OfxPropertySetHandle h, const char* n, int c, const char* const* v) { for (int i = 0; i < c; ++i) sets(h, n, i, v[i]); return kOfxStatOK; }
OfxStatus setdn(OfxPropertySetHandle h, const char* n, int c, const double* v) { for (int i = 0; i < c; ++i) setd(h, n, i, v[i]); return kOfxStatOK; }
OfxStatus setin(OfxPropertySetHandle h, const char* n, int c, const int* v) { for (int i = 0; i < c; ++i) seti(h, n, i, v[i]); return kOfxStatOK; }

const Value* find(OfxPropertySetHandle h, const char* n, int i, OfxStatus* status) {
    if (!h) { *status = kOfxStatErrBadHandle; return nullptr; }
    auto it = P(h)->props.find(n);
    if (it == P(h)->props.end()) { *status = kOfxStatErrUnknown; return nullptr; }
    if (i < 0 || i >= (int)it->second.size()) { *status = kOfxStatErrBadIndex; return nullptr; }
    *status = kOfxStatOK;
    return &it->second[(size_t)i];
}
OfxStatus getp(OfxPropertySetHandle h, const char* n, int i, void** v) { OfxStatus s; if (auto* x = find(h, n, i, &s)) *v = x->p; return s; }
OfxStatus gets(OfxPropertySetHandle h, const char* n, int i, char** v) { OfxStatus s; if (auto* x = find(h, n, i, &s)) *v = const_cast<char*>(x->s.c_str()); return s; }
OfxStatus getd(OfxPropertySetHandle h, const char* n, int i, double* v) { OfxStatus s; if (auto* x = find(h, n, i, &s)) *v = x->d; return s; }
OfxStatus geti(OfxPropertySetHandle h, const char* n, int i, int* v) { OfxStatus s; if (auto* x = find(h, n, i, &s)) *v = x->i; return s; }
OfxStatus getpn(OfxPropertySetHandle h, const char* n, int c, void** v) { for (int i = 0; i < c; ++i) { OfxStatus s = getp(h, n, i, &v[i]); if (s) return s; } return kOfxStatOK; }
OfxStatus getsn(OfxPropertySetHandle h, const char* n, int c, char** v) { for (int i = 0; i < c; ++i) { OfxStatus s = gets(h, n, i, &v[i]); if (s) return s; } return kOfxStatOK; }
OfxStatus getdn(OfxPropertySetHandle h, const char* n, int c, double* v) { for (int i = 0; i < c; ++i) { OfxStatus s = getd(h, n, i, &v[i]); if (s) return s; } return kOfxStatOK; }
OfxStatus getin(OfxPropertySetHandle h, const char* n, int c, int* v) { for (int i = 0; i < c; ++i) { OfxStatus s = geti(h, n, i, &v[i]); if (s) return s; } return kOfxStatOK; }
OfxStatus reset(OfxPropertySetHandle, const char*) { return kOfxStatOK; }
OfxStatus dim(OfxPropertySetHandle h, const char* n, int* c) {
    auto it = P(h)->props.find(n);
    if (it == P(h)->props.end()) return kOfxStatErrUnknown;
    *c = (int)it->second.size();
    return kOfxStatOK;
}

const OfxPropertySuiteV1 kProps = {setp, sets, setd, seti, setpn, setsn, setdn, setin, getp, gets, getd, geti,
                                   getpn, getsn, getdn, getin, reset, dim};

// ---- image effect suite -----------------------------------------------------------------------

OfxStatus get_props(OfxImageEffectHandle e, OfxPropertySetHandle* p) { *p = reinterpret_cast<OfxPropertySetHandle>(&E(e)->props); return kOfxStatOK; }
OfxStatus get_params(OfxImageEffectHandle e, OfxParamSetHandle* p) { *p = reinterpret_cast<OfxParamSetHandle>(E(e)); return kOfxStatOK; }
OfxStatus clip_define(OfxImageEffectHandle e, const char* name, OfxPropertySetHandle* p) {
    auto clip = std::make_unique<Clip>();
    clip->name = name;
    clip->props.set_str(kOfxPropName, name);
    *p = reinterpret_cast<OfxPropertySetHandle>(&clip->props);
    E(e)->clips[name] = std::move(clip);
    return kOfxStatOK;
}
OfxStatus clip_handle(OfxImageEffectHandle e, const char* name, OfxImageClipHandle* c, OfxPropertySetHandle* p) {
    auto it = E(e)->clips.find(name);
    if (it == E(e)->clips.end()) return kOfxStatErrUnknown;
    *c = reinterpret_cast<OfxImageClipHandle>(it->second.get());
    if (p) *p = reinterpret_cast<OfxPropertySetHandle>(&it->second->props);
    return kOfxStatOK;
}
OfxStatus clip_props(OfxImageClipHandle c, OfxPropertySetHandle* p) { *p = reinterpret_cast<OfxPropertySetHandle>(&C(c)->props); return kOfxStatOK; }
OfxStatus clip_image(OfxImageClipHandle c, OfxTime time, const OfxRectD*, OfxPropertySetHandle* out) {
    Clip* clip = C(c);
    Host* host = Host::current;
    const bool output = clip->name == kOfxImageEffectOutputClipName;
    if (output ? !host->output_target : (!clip->connected || (!clip->source && !clip->still))) return kOfxStatFailed;
    // The output is the host's own picture, written in place; inputs are copies made for the call
    // unless the clip shows one still picture.
    std::unique_ptr<Picture> pixels = output || clip->still ? nullptr : std::make_unique<Picture>(clip->source(time));
    if (pixels && host->render_scale != 1.0) {
        // A proxy: each pixel takes the full-size pixel its centre falls in.
        const double k = host->render_scale;
        auto small = std::make_unique<Picture>();
        small->allocate((int)(pixels->width * k), (int)(pixels->height * k), pixels->components, pixels->depth);
        for (int y = 0; y < small->height; ++y)
            for (int x = 0; x < small->width; ++x)
                for (int ch = 0; ch < small->components; ++ch)
                    small->put(x, y, ch, pixels->get((int)((x + 0.5) / k), (int)((y + 0.5) / k), ch));
        pixels = std::move(small);
    }
    const Picture* shown = output ? host->output_target : clip->still ? clip->still.get() : pixels.get();
    auto image = std::make_unique<PropertySet>();
    image->set_str(kOfxPropType, kOfxTypeImage);
    image->set_str(kOfxImageEffectPropPixelDepth, shown->depth);
    image->set_str(kOfxImageEffectPropComponents, shown->components == 4 ? kOfxImageComponentRGBA
                                                  : shown->components == 3 ? kOfxImageComponentRGB : kOfxImageComponentAlpha);
    Value data; data.p = const_cast<unsigned char*>(shown->bytes.data());
    image->set(kOfxImagePropData, 0, data);
    image->set_int(kOfxImagePropBounds, 0, 0); image->set_int(kOfxImagePropBounds, 0, 1);
    image->set_int(kOfxImagePropBounds, shown->width, 2); image->set_int(kOfxImagePropBounds, shown->height, 3);
    image->set_int(kOfxImagePropRowBytes, (int)shown->row_bytes());
    *out = reinterpret_cast<OfxPropertySetHandle>(image.get());
    std::lock_guard<std::mutex> hold(host->images_lock);
    host->images.push_back(std::move(image));
    host->image_pixels.push_back(std::move(pixels));
    return kOfxStatOK;
}
OfxStatus clip_release(OfxPropertySetHandle h) {
    Host* host = Host::current;
    std::lock_guard<std::mutex> hold(host->images_lock);
    for (size_t i = 0; i < host->images.size(); ++i) {
        if (reinterpret_cast<OfxPropertySetHandle>(host->images[i].get()) != h) continue;
        host->images.erase(host->images.begin() + (long)i);
        host->image_pixels.erase(host->image_pixels.begin() + (long)i);
        return kOfxStatOK;
    }
    return kOfxStatErrBadHandle;
}
OfxStatus clip_rod(OfxImageClipHandle c, OfxTime, OfxRectD* rod) {
    Clip* clip = C(c);
    if (!clip->connected || (!clip->source && !clip->still)) return kOfxStatFailed;
    if (clip->still) {
        *rod = OfxRectD{0, 0, (double)clip->still->width, (double)clip->still->height};
        return kOfxStatOK;
    }
    const Picture p = clip->source(1.0);
    *rod = OfxRectD{0, 0, (double)p.width, (double)p.height};
    return kOfxStatOK;
}
int abort_render(OfxImageEffectHandle) { return 0; }
OfxStatus mem_alloc(OfxImageEffectHandle, size_t, OfxImageMemoryHandle*) { return kOfxStatErrMemory; }
OfxStatus mem_handle(OfxImageMemoryHandle) { return kOfxStatOK; }
OfxStatus mem_lock(OfxImageMemoryHandle, void**) { return kOfxStatErrMemory; }

const OfxImageEffectSuiteV1 kEffect = {get_props, get_params, clip_define, clip_handle, clip_props, clip_image,
                                       clip_release, clip_rod, abort_render, mem_alloc, mem_handle, mem_lock,
                                       mem_handle};

// ---- parameter suite --------------------------------------------------------------------------

int dimensions(const std::string& type) {
    if (type == kOfxParamTypeDouble2D || type == kOfxParamTypeInteger2D) return 2;
    if (type == kOfxParamTypeRGB || type == kOfxParamTypeDouble3D || type == kOfxParamTypeInteger3D) return 3;
    if (type == kOfxParamTypeRGBA) return 4;
    return 1;
}
bool is_int(const std::string& type) {
    return type == kOfxParamTypeInteger || type == kOfxParamTypeBoolean || type == kOfxParamTypeChoice ||
           type == kOfxParamTypeInteger2D || type == kOfxParamTypeInteger3D;
}
bool is_string(const std::string& type) { return type == kOfxParamTypeString || type == kOfxParamTypeCustom; }

OfxStatus param_define(OfxParamSetHandle s, const char* type, const char* name, OfxPropertySetHandle* p) {
    Effect* e = E(s);
    if (e->params.count(name)) return kOfxStatErrExists;
    auto param = std::make_unique<Param>();
    param->name = name;
    param->type = type;
    param->props.set_str(kOfxPropName, name);
    param->props.set_str(kOfxParamPropType, type);
    *p = reinterpret_cast<OfxPropertySetHandle>(&param->props);
    e->param_order.push_back(name);
    e->params[name] = std::move(param);
    return kOfxStatOK;
}
OfxStatus param_handle(OfxParamSetHandle s, const char* name, OfxParamHandle* h, OfxPropertySetHandle* p) {
    auto it = E(s)->params.find(name);
    if (it == E(s)->params.end()) return kOfxStatErrUnknown;
    *h = reinterpret_cast<OfxParamHandle>(it->second.get());
    if (p) *p = reinterpret_cast<OfxPropertySetHandle>(&it->second->props);
    return kOfxStatOK;
}
OfxStatus paramset_props(OfxParamSetHandle s, OfxPropertySetHandle* p) { *p = reinterpret_cast<OfxPropertySetHandle>(&E(s)->props); return kOfxStatOK; }
OfxStatus param_props(OfxParamHandle h, OfxPropertySetHandle* p) { *p = reinterpret_cast<OfxPropertySetHandle>(&PA(h)->props); return kOfxStatOK; }

OfxStatus get_value(Param* p, double time, va_list ap) {
    if (is_string(p->type)) { *va_arg(ap, char**) = const_cast<char*>(p->text.c_str()); return kOfxStatOK; }
    const std::vector<double> v = p->at(time);
    for (int i = 0; i < dimensions(p->type); ++i) {
        if (is_int(p->type)) *va_arg(ap, int*) = (int)v[(size_t)i];
        else *va_arg(ap, double*) = v[(size_t)i];
    }
    return kOfxStatOK;
}
std::vector<double> read_args(Param* p, va_list ap, std::string* text) {
    std::vector<double> v;
    if (is_string(p->type)) { const char* s = va_arg(ap, const char*); *text = s ? s : ""; return v; }
    for (int i = 0; i < dimensions(p->type); ++i) v.push_back(is_int(p->type) ? va_arg(ap, int) : va_arg(ap, double));
    return v;
}
OfxStatus get_value_now(OfxParamHandle h, ...) { va_list ap; va_start(ap, h); OfxStatus s = get_value(PA(h), 1.0, ap); va_end(ap); return s; }
OfxStatus get_value_at(OfxParamHandle h, OfxTime t, ...) { va_list ap; va_start(ap, t); OfxStatus s = get_value(PA(h), t, ap); va_end(ap); return s; }
OfxStatus no_derivative(OfxParamHandle, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus no_integral(OfxParamHandle, OfxTime, OfxTime, ...) { return kOfxStatErrUnsupported; }
OfxStatus set_value(OfxParamHandle h, ...) {
    va_list ap; va_start(ap, h);
    Param* p = PA(h);
    std::string text;
    std::vector<double> v = read_args(p, ap, &text);
    va_end(ap);
    if (is_string(p->type)) p->text = text; else p->value = v;
    return kOfxStatOK;
}
OfxStatus set_value_at(OfxParamHandle h, OfxTime t, ...) {
    va_list ap; va_start(ap, t);
    Param* p = PA(h);
    std::string text;
    std::vector<double> v = read_args(p, ap, &text);
    va_end(ap);
    if (is_string(p->type)) p->text = text; else p->keys[t] = v;
    return kOfxStatOK;
}
OfxStatus num_keys(OfxParamHandle h, unsigned* n) { *n = (unsigned)PA(h)->keys.size(); return kOfxStatOK; }
OfxStatus key_time(OfxParamHandle, unsigned, OfxTime*) { return kOfxStatErrBadIndex; }
OfxStatus key_index(OfxParamHandle, OfxTime, int, int* i) { *i = -1; return kOfxStatFailed; }
OfxStatus delete_key(OfxParamHandle h, OfxTime t) { return PA(h)->keys.erase(t) ? kOfxStatOK : kOfxStatErrBadIndex; }
OfxStatus delete_keys(OfxParamHandle h) { PA(h)->keys.clear(); return kOfxStatOK; }
OfxStatus param_copy(OfxParamHandle, OfxParamHandle, OfxTime, const OfxRangeD*) { return kOfxStatErrUnsupported; }
OfxStatus edit_begin(OfxParamSetHandle s, const char*) { ++E(s)->edits_open; return kOfxStatOK; }
OfxStatus edit_end(OfxParamSetHandle s) { --E(s)->edits_open; ++E(s)->edits_done; return kOfxStatOK; }

const OfxParameterSuiteV1 kParams = {param_define, param_handle, paramset_props, param_props, get_value_now,
                                     get_value_at, no_derivative, no_integral, set_value, set_value_at, num_keys,
                                     key_time, key_index, delete_key, delete_keys, param_copy, edit_begin, edit_end};

// ---- messages ---------------------------------------------------------------------------------

std::string format(const char* fmt, va_list ap) {
    char text[2048];
    vsnprintf(text, sizeof text, fmt ? fmt : "", ap);
    return text;
}
OfxStatus message(void*, const char* type, const char*, const char* fmt, ...) {
    va_list ap; va_start(ap, fmt);
    Host::current->messages.push_back(std::string(type) + ": " + format(fmt, ap));
    va_end(ap);
    return std::string(type) == kOfxMessageQuestion ? kOfxStatReplyYes : kOfxStatOK;
}
OfxStatus persistent(void* h, const char*, const char*, const char* fmt, ...) {
    va_list ap; va_start(ap, fmt);
    reinterpret_cast<Effect*>(h)->persistent = format(fmt, ap);
    va_end(ap);
    return kOfxStatOK;
}
OfxStatus clear_persistent(void* h) { reinterpret_cast<Effect*>(h)->persistent.clear(); return kOfxStatOK; }
const OfxMessageSuiteV2 kMessages = {message, persistent, clear_persistent};

const void* fetch_suite(OfxPropertySetHandle, const char* name, int version) {
    const std::string n = name;
    if (n == kOfxPropertySuite && version == 1) return &kProps;
    if (n == kOfxImageEffectSuite && version == 1) return &kEffect;
    if (n == kOfxParameterSuite && version == 1) return &kParams;
    if (n == kOfxMessageSuite && (version == 1 || version == 2)) return &kMessages;
    return nullptr;
}

}  // namespace

// ---- host -------------------------------------------------------------------------------------

Host::Host(const std::string& binary, const std::string& context) : context_(context) {
    current = this;
    host_props.set_str(kOfxPropName, "minihost");
    host_struct.host = reinterpret_cast<OfxPropertySetHandle>(&host_props);
    host_struct.fetchSuite = fetch_suite;
    library_ = dlopen(binary.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library_) return;
    auto count = reinterpret_cast<OfxGetNumberOfPluginsFunc*>(dlsym(library_, kOfxGetNumberOfPluginsSymbol));
    auto get = reinterpret_cast<OfxGetPluginFunc*>(dlsym(library_, kOfxGetPluginSymbol));
    if (!count || !get || count() < 1) return;
    start(get(0));
}

Host::Host(OfxPlugin* plugin, const std::string& context) : context_(context) { start(plugin); }

void Host::start(OfxPlugin* plugin) {
    current = this;
    host_props.set_str(kOfxPropName, "minihost");
    host_struct.host = reinterpret_cast<OfxPropertySetHandle>(&host_props);
    host_struct.fetchSuite = fetch_suite;
    plugin_ = plugin;
    plugin_->setHost(&host_struct);
    descriptor_.host = this;
    descriptor_.props.set_str(kOfxPropType, kOfxTypeImageEffect);
    if (action(kOfxActionLoad, nullptr, nullptr, nullptr) != kOfxStatOK ||
        action(kOfxActionDescribe, &descriptor_, nullptr, nullptr) != kOfxStatOK) {
        plugin_ = nullptr;
        return;
    }
    PropertySet in;
    in.set_str(kOfxImageEffectPropContext, context_);
    if (action(kOfxImageEffectActionDescribeInContext, &descriptor_, &in, nullptr) != kOfxStatOK) plugin_ = nullptr;
}

Host::~Host() {
    if (plugin_) action(kOfxActionUnload, nullptr, nullptr, nullptr);
    // The binary stays loaded: the effect's globals live as long as the process, as in a compositor.
}

OfxStatus Host::action(const char* name, Effect* effect, PropertySet* in, PropertySet* out) {
    current = this;
    last_action_status = plugin_->mainEntry(name, effect, reinterpret_cast<OfxPropertySetHandle>(in),
                                            reinterpret_cast<OfxPropertySetHandle>(out));
    return last_action_status;
}

std::unique_ptr<Effect> Host::create_instance(int width, int height, const std::string& depth, int first_frame,
                                              int last_frame) {
    auto e = std::make_unique<Effect>();
    e->host = this;
    e->props.set_str(kOfxPropType, kOfxTypeImageEffectInstance);
    e->props.set_str(kOfxImageEffectPropContext, context_);
    e->props.set_dbl(kOfxImageEffectPropProjectSize, width, 0);
    e->props.set_dbl(kOfxImageEffectPropProjectSize, height, 1);
    e->props.set_dbl(kOfxImageEffectPropProjectPixelAspectRatio, 1.0);
    Value none;
    e->props.set(kOfxPropInstanceData, 0, none);
    for (const auto& c : descriptor_.clips) {
        auto clip = std::make_unique<Clip>(*c.second);
        clip->props.set_str(kOfxImageEffectPropPixelDepth, depth);
        clip->props.set_int(kOfxImageClipPropConnected, 0);
        clip->props.set_dbl(kOfxImageEffectPropFrameRange, first_frame, 0);
        clip->props.set_dbl(kOfxImageEffectPropFrameRange, last_frame, 1);
        e->clips[c.first] = std::move(clip);
    }
    for (const std::string& name : descriptor_.param_order) {
        const Param& d = *descriptor_.params[name];
        auto p = std::make_unique<Param>(d);
        const int dims = dimensions(p->type);
        p->value.assign((size_t)dims, 0.0);
        auto def = d.props.props.find(kOfxParamPropDefault);
        if (def != d.props.props.end()) {
            if (is_string(p->type)) p->text = def->second[0].s;
            else for (int i = 0; i < dims && i < (int)def->second.size(); ++i) p->value[(size_t)i] = def->second[(size_t)i].d;
        }
        p->props.set_int(kOfxParamPropEnabled, 1);
        e->param_order.push_back(name);
        e->params[name] = std::move(p);
    }
    if (action(kOfxActionCreateInstance, e.get(), nullptr, nullptr) != kOfxStatOK) return nullptr;
    return e;
}

void Host::destroy_instance(Effect& instance) { action(kOfxActionDestroyInstance, &instance, nullptr, nullptr); }

Picture Host::render(Effect& e, double time, double scale) {
    Clip& source = *e.clips[kOfxImageEffectSimpleSourceClipName];
    Picture plate;
    if (!source.still) plate = source.source(time);
    const Picture& shape = source.still ? *source.still : plate;
    Picture out;
    out.allocate((int)(shape.width * scale), (int)(shape.height * scale), 4, shape.depth);
    output_target = &out;
    render_scale = scale;
    PropertySet in;
    in.set_dbl(kOfxPropTime, time);
    in.set_dbl(kOfxImageEffectPropRenderScale, scale, 0);
    in.set_dbl(kOfxImageEffectPropRenderScale, scale, 1);
    in.set_int(kOfxImageEffectPropRenderWindow, 0, 0);
    in.set_int(kOfxImageEffectPropRenderWindow, 0, 1);
    in.set_int(kOfxImageEffectPropRenderWindow, out.width, 2);
    in.set_int(kOfxImageEffectPropRenderWindow, out.height, 3);
    in.set_str(kOfxImageEffectPropFieldToRender, kOfxImageFieldNone);
    in.set_int(kOfxImageEffectPropSequentialRenderStatus, 0);
    in.set_int(kOfxImageEffectPropInteractiveRenderStatus, 0);
    const auto started = std::chrono::steady_clock::now();
    action(kOfxImageEffectActionRender, &e, &in, nullptr);
    last_render_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    output_target = nullptr;
    render_scale = 1.0;
    return out;
}

void Host::user_edit(Effect& e, const std::string& param, const std::vector<double>& value, double time) {
    Param& p = *e.params[param];
    p.value = value;
    PropertySet in;
    in.set_str(kOfxPropType, kOfxTypeParameter);
    in.set_str(kOfxPropName, param);
    in.set_str(kOfxPropChangeReason, kOfxChangeUserEdited);
    in.set_dbl(kOfxPropTime, time);
    in.set_dbl(kOfxImageEffectPropRenderScale, 1.0, 0);
    in.set_dbl(kOfxImageEffectPropRenderScale, 1.0, 1);
    action(kOfxActionInstanceChanged, &e, &in, nullptr);
}

void Host::press(Effect& e, const std::string& param, double time) { user_edit(e, param, {}, time); }

void Host::set_string(Effect& e, const std::string& param, const std::string& text) { e.params[param]->text = text; }

void Host::connect_still(Effect& e, const std::string& clip, std::shared_ptr<const Picture> picture) {
    Clip& c = *e.clips.at(clip);
    c.connected = true;
    c.still = std::move(picture);
    c.props.set_int(kOfxImageClipPropConnected, 1);
}

void Host::connect(Effect& e, const std::string& clip, std::function<Picture(double)> source) {
    Clip& c = *e.clips.at(clip);
    c.connected = true;
    c.source = std::move(source);
    c.props.set_int(kOfxImageClipPropConnected, 1);
}

}  // namespace minihost
