// The parameter suite: definitions while describing; values, keys and edit groups on instances.
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>

#include "sparkhost/ofx/Objects.h"
#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

namespace {

bool isIntType(const ParamObject& p) {
    return p.type == kOfxParamTypeInteger || p.type == kOfxParamTypeBoolean || p.type == kOfxParamTypeChoice ||
           p.type == kOfxParamTypeInteger2D || p.type == kOfxParamTypeInteger3D;
}

bool isDoubleType(const ParamObject& p) { return p.holdsValue() && !p.textual() && !isIntType(p); }

// Every instance parameter is answered by its effect's owner; descriptors have none.
OfxKind* ownerOf(const ParamObject& p) {
    return p.set && p.set->effect && p.set->effect->instance ? p.set->effect->owner : nullptr;
}

void currentValues(const ParamObject& p, double time, bool atTime, std::vector<double>* values,
                   std::string* text) {
    OfxKind* owner = ownerOf(p);
    {
        std::lock_guard<std::mutex> lock(p.mutex);
        *values = p.values;
        *text = p.text;
    }
    if (owner && !p.textual()) owner->valueAt(p, atTime ? time : owner->currentTime(), values);
}

OfxStatus writeOut(const ParamObject& p, const std::vector<double>& values, const std::string& text,
                   va_list args) {
    if (p.textual()) {
        char** out = va_arg(args, char**);
        if (!out) return kOfxStatErrValue;
        // The string lives in the parameter until its value next changes.
        *out = const_cast<char*>(p.text.c_str());
        (void)text;
        return kOfxStatOK;
    }
    for (size_t i = 0; i < values.size(); ++i) {
        if (isIntType(p)) {
            int* out = va_arg(args, int*);
            if (!out) return kOfxStatErrValue;
            *out = int(std::lround(values[i]));
        } else {
            double* out = va_arg(args, double*);
            if (!out) return kOfxStatErrValue;
            *out = values[i];
        }
    }
    return kOfxStatOK;
}

OfxStatus get(OfxParamHandle h, bool atTime, double time, va_list args) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!p->holdsValue()) return kOfxStatErrBadHandle;
    std::vector<double> values;
    std::string text;
    currentValues(*p, time, atTime, &values, &text);
    return writeOut(*p, values, text, args);
}

OfxStatus paramGetValue(OfxParamHandle h, ...) {
    va_list args;
    va_start(args, h);
    OfxStatus s = get(h, false, 0, args);
    va_end(args);
    return s;
}

OfxStatus paramGetValueAtTime(OfxParamHandle h, OfxTime time, ...) {
    va_list args;
    va_start(args, time);
    OfxStatus s = get(h, true, time, args);
    va_end(args);
    return s;
}

// Curves are straight between keys: the slope over a short span either side is exact away from
// the keys and the mean of the two slopes at one.
OfxStatus paramGetDerivative(OfxParamHandle h, OfxTime time, ...) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!isDoubleType(*p)) return kOfxStatErrBadHandle;
    std::vector<double> before, after;
    std::string text;
    const double span = 1.0 / 1024;
    currentValues(*p, time - span, true, &before, &text);
    currentValues(*p, time + span, true, &after, &text);
    std::vector<double> slope(before.size());
    for (size_t i = 0; i < slope.size(); ++i) slope[i] = (after[i] - before[i]) / (2 * span);
    va_list args;
    va_start(args, time);
    OfxStatus s = writeOut(*p, slope, text, args);
    va_end(args);
    return s;
}

// The trapezoid rule over the span cut at every key is exact for straight segments.
OfxStatus paramGetIntegral(OfxParamHandle h, OfxTime t1, OfxTime t2, ...) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!isDoubleType(*p)) return kOfxStatErrBadHandle;
    OfxKind* owner = ownerOf(*p);
    double lo = std::min(t1, t2), hi = std::max(t1, t2);
    std::vector<double> cuts = {lo};
    if (owner)
        for (double k : owner->keyTimes(*p))
            if (k > lo && k < hi) cuts.push_back(k);
    cuts.push_back(hi);
    std::vector<double> sum(size_t(p->dimension()), 0.0), a, b;
    std::string text;
    for (size_t i = 0; i + 1 < cuts.size(); ++i) {
        currentValues(*p, cuts[i], true, &a, &text);
        currentValues(*p, cuts[i + 1], true, &b, &text);
        for (size_t d = 0; d < sum.size(); ++d) sum[d] += (a[d] + b[d]) * 0.5 * (cuts[i + 1] - cuts[i]);
    }
    if (t2 < t1)
        for (double& v : sum) v = -v;
    va_list args;
    va_start(args, t2);
    OfxStatus s = writeOut(*p, sum, text, args);
    va_end(args);
    return s;
}

OfxStatus set(OfxParamHandle h, bool atTime, double time, va_list args) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    OfxKind* owner = ownerOf(*p);
    if (!owner || !p->holdsValue()) return kOfxStatErrBadHandle;
    std::vector<double> values(size_t(p->dimension()));
    std::string text;
    if (p->textual()) {
        const char* in = va_arg(args, const char*);
        text = in ? in : "";
    } else {
        for (auto& v : values) v = isIntType(*p) ? double(va_arg(args, int)) : va_arg(args, double);
    }
    return owner->pluginSets(*p, values, text, atTime, time);
}

OfxStatus paramSetValue(OfxParamHandle h, ...) {
    va_list args;
    va_start(args, h);
    OfxStatus s = set(h, false, 0, args);
    va_end(args);
    return s;
}

OfxStatus paramSetValueAtTime(OfxParamHandle h, OfxTime time, ...) {
    va_list args;
    va_start(args, time);
    OfxStatus s = set(h, true, time, args);
    va_end(args);
    return s;
}

OfxStatus paramGetNumKeys(OfxParamHandle h, unsigned* count) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!count) return kOfxStatErrValue;
    OfxKind* owner = ownerOf(*p);
    *count = owner ? unsigned(owner->keyTimes(*p).size()) : 0;
    return kOfxStatOK;
}

OfxStatus paramGetKeyTime(OfxParamHandle h, unsigned nth, OfxTime* time) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!time) return kOfxStatErrValue;
    OfxKind* owner = ownerOf(*p);
    std::vector<double> keys = owner ? owner->keyTimes(*p) : std::vector<double>();
    if (nth >= keys.size()) return kOfxStatErrBadIndex;
    *time = keys[nth];
    return kOfxStatOK;
}

OfxStatus paramGetKeyIndex(OfxParamHandle h, OfxTime time, int direction, int* index) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!index) return kOfxStatErrValue;
    OfxKind* owner = ownerOf(*p);
    std::vector<double> keys = owner ? owner->keyTimes(*p) : std::vector<double>();
    *index = -1;
    for (int i = 0; i < int(keys.size()); ++i) {
        double k = keys[size_t(i)];
        if (direction == 0 && k == time) *index = i;
        if (direction < 0 && k < time) *index = i;
        if (direction > 0 && k > time && *index < 0) *index = i;
    }
    return *index < 0 ? kOfxStatFailed : kOfxStatOK;
}

OfxStatus paramDeleteKey(OfxParamHandle h, OfxTime time) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    OfxKind* owner = ownerOf(*p);
    return owner ? owner->deleteKey(*p, time, false) : kOfxStatErrBadHandle;
}

OfxStatus paramDeleteAllKeys(OfxParamHandle h) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    OfxKind* owner = ownerOf(*p);
    return owner ? owner->deleteKey(*p, 0, true) : kOfxStatErrBadHandle;
}

OfxStatus paramCopy(OfxParamHandle to, OfxParamHandle from, OfxTime offset, const OfxRangeD* range) {
    ParamObject* dst = paramFrom(to);
    ParamObject* src = paramFrom(from);
    if (!dst || !src) return kOfxStatErrBadHandle;
    if (dst->type != src->type || !dst->holdsValue()) return kOfxStatErrValue;
    OfxKind* owner = ownerOf(*dst);
    if (!owner) return kOfxStatErrBadHandle;
    std::vector<double> values;
    std::string text;
    bool all = !range || (range->min == 0 && range->max == 0);
    std::vector<double> keys = ownerOf(*src) ? ownerOf(*src)->keyTimes(*src) : std::vector<double>();
    {
        std::lock_guard<std::mutex> lock(src->mutex);
        values = src->values;
        text = src->text;
    }
    OfxStatus s = owner->pluginSets(*dst, values, text, false, 0);
    for (double k : keys) {
        if (!all && (k < range->min || k > range->max)) continue;
        currentValues(*src, k, true, &values, &text);
        if (s == kOfxStatOK) s = owner->pluginSets(*dst, values, text, true, k + offset);
    }
    return s;
}

OfxStatus paramEditBegin(OfxParamSetHandle h, const char* name) {
    ParamSetObject* s = paramSetFrom(h);
    if (!s) return kOfxStatErrBadHandle;
    s->editGroups.push_back(name ? name : "");
    return kOfxStatOK;
}

OfxStatus paramEditEnd(OfxParamSetHandle h) {
    ParamSetObject* s = paramSetFrom(h);
    if (!s) return kOfxStatErrBadHandle;
    if (s->editGroups.empty()) return kOfxStatFailed;
    s->editGroups.pop_back();
    return kOfxStatOK;
}

OfxStatus paramDefine(OfxParamSetHandle h, const char* type, const char* name, OfxPropertySetHandle* props) {
    ParamSetObject* s = paramSetFrom(h);
    if (!s || !s->effect || s->effect->instance) return kOfxStatErrBadHandle;
    if (!type || !name || !*name) return kOfxStatErrValue;
    if (s->find(name)) return kOfxStatErrExists;
    std::unique_ptr<ParamObject> p(new ParamObject);
    p->name = name;
    p->type = type;
    p->set = s;
    OfxStatus status = defineParamProperties(*p);
    if (status != kOfxStatOK) return status;
    if (props) *props = p->props.handle();
    s->byName[name] = p.get();
    s->list.push_back(std::move(p));
    return kOfxStatOK;
}

OfxStatus paramGetHandle(OfxParamSetHandle h, const char* name, OfxParamHandle* param, OfxPropertySetHandle* props) {
    ParamSetObject* s = paramSetFrom(h);
    if (!s) return kOfxStatErrBadHandle;
    if (!name || !param) return kOfxStatErrValue;
    ParamObject* p = s->find(name);
    if (!p) return kOfxStatErrUnknown;
    *param = reinterpret_cast<OfxParamHandle>(p);
    if (props) *props = p->props.handle();
    return kOfxStatOK;
}

OfxStatus paramSetGetPropertySet(OfxParamSetHandle h, OfxPropertySetHandle* props) {
    ParamSetObject* s = paramSetFrom(h);
    if (!s || !s->effect) return kOfxStatErrBadHandle;
    if (!props) return kOfxStatErrValue;
    *props = s->effect->props.handle();
    return kOfxStatOK;
}

OfxStatus paramGetPropertySet(OfxParamHandle h, OfxPropertySetHandle* props) {
    ParamObject* p = paramFrom(h);
    if (!p) return kOfxStatErrBadHandle;
    if (!props) return kOfxStatErrValue;
    *props = p->props.handle();
    return kOfxStatOK;
}

const OfxParameterSuiteV1 kSuite = {
    paramDefine,         paramGetHandle,      paramSetGetPropertySet, paramGetPropertySet,
    paramGetValue,       paramGetValueAtTime, paramGetDerivative,     paramGetIntegral,
    paramSetValue,       paramSetValueAtTime, paramGetNumKeys,        paramGetKeyTime,
    paramGetKeyIndex,    paramDeleteKey,      paramDeleteAllKeys,     paramCopy,
    paramEditBegin,      paramEditEnd,
};

}  // namespace

const void* parameterSuite() { return &kSuite; }

}  // namespace ofx
}  // namespace sparkhost
