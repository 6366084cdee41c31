#include "sparkhost/ofx/PropertySet.h"

#include <cstring>

namespace sparkhost {
namespace ofx {

int Property::count() const {
    switch (type) {
    case PropType::Int: return int(ints.size());
    case PropType::Double: return int(doubles.size());
    case PropType::String: return int(strings.size());
    case PropType::Pointer: return int(pointers.size());
    }
    return 0;
}

namespace {

void resize(Property& p, int n) {
    switch (p.type) {
    case PropType::Int: p.ints.resize(size_t(n), 0); break;
    case PropType::Double: p.doubles.resize(size_t(n), 0.0); break;
    case PropType::String: p.strings.resize(size_t(n)); break;
    case PropType::Pointer: p.pointers.resize(size_t(n), nullptr); break;
    }
}

size_t elementSize(PropType type) {
    switch (type) {
    case PropType::Int: return sizeof(int);
    case PropType::Double: return sizeof(double);
    case PropType::String: return sizeof(char*);
    case PropType::Pointer: return sizeof(void*);
    }
    return 0;
}

}  // namespace

PropertySet::PropertySet() = default;
PropertySet::~PropertySet() { magic_ = 0; }
PropertySet::PropertySet(const PropertySet& other) : props_(other.props_), defaults_(other.defaults_) {}
PropertySet& PropertySet::operator=(const PropertySet& other) {
    if (this != &other) {
        std::lock_guard<std::recursive_mutex> lock(mutex_);
        props_ = other.props_;
        defaults_ = other.defaults_;
    }
    return *this;
}

PropertySet* PropertySet::from(OfxPropertySetHandle handle) {
    auto* set = reinterpret_cast<PropertySet*>(handle);
    if (!set || set->magic_ != kMagic) return nullptr;
    return set;
}

// ---- host side ----------------------------------------------------------------------------

void PropertySet::define(const std::string& name, Property p) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    defaults_[name] = p;
    props_[name] = std::move(p);
}

void PropertySet::defineInt(const std::string& name, std::vector<int> values, int dimension, Access access) {
    Property p;
    p.type = PropType::Int;
    p.dimension = dimension;
    p.access = access;
    p.ints = std::move(values);
    if (dimension > 0) p.ints.resize(size_t(dimension), 0);
    define(name, std::move(p));
}

void PropertySet::defineDouble(const std::string& name, std::vector<double> values, int dimension,
                               Access access) {
    Property p;
    p.type = PropType::Double;
    p.dimension = dimension;
    p.access = access;
    p.doubles = std::move(values);
    if (dimension > 0) p.doubles.resize(size_t(dimension), 0.0);
    define(name, std::move(p));
}

void PropertySet::defineString(const std::string& name, std::vector<std::string> values, int dimension,
                               Access access) {
    Property p;
    p.type = PropType::String;
    p.dimension = dimension;
    p.access = access;
    p.strings = std::move(values);
    if (dimension > 0) p.strings.resize(size_t(dimension));
    define(name, std::move(p));
}

void PropertySet::definePointer(const std::string& name, std::vector<void*> values, int dimension,
                                Access access) {
    Property p;
    p.type = PropType::Pointer;
    p.dimension = dimension;
    p.access = access;
    p.pointers = std::move(values);
    if (dimension > 0) p.pointers.resize(size_t(dimension), nullptr);
    define(name, std::move(p));
}

bool PropertySet::has(const std::string& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return props_.count(name) != 0;
}

void PropertySet::remove(const std::string& name) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    props_.erase(name);
    defaults_.erase(name);
}

int PropertySet::getInt(const std::string& name, int index, int fallback) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end() || index < 0) return fallback;
    if (it->second.type == PropType::Int && index < int(it->second.ints.size())) return it->second.ints[size_t(index)];
    if (it->second.type == PropType::Double && index < int(it->second.doubles.size()))
        return int(it->second.doubles[size_t(index)]);
    return fallback;
}

double PropertySet::getDouble(const std::string& name, int index, double fallback) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end() || index < 0) return fallback;
    if (it->second.type == PropType::Double && index < int(it->second.doubles.size()))
        return it->second.doubles[size_t(index)];
    if (it->second.type == PropType::Int && index < int(it->second.ints.size())) return it->second.ints[size_t(index)];
    return fallback;
}

std::string PropertySet::getString(const std::string& name, int index, const std::string& fallback) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end() || it->second.type != PropType::String || index < 0 ||
        index >= int(it->second.strings.size()))
        return fallback;
    return it->second.strings[size_t(index)];
}

void* PropertySet::getPointer(const std::string& name, int index) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    if (it == props_.end() || it->second.type != PropType::Pointer || index < 0 ||
        index >= int(it->second.pointers.size()))
        return nullptr;
    return it->second.pointers[size_t(index)];
}

std::vector<int> PropertySet::ints(const std::string& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    return it == props_.end() ? std::vector<int>() : it->second.ints;
}

std::vector<double> PropertySet::doubles(const std::string& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    return it == props_.end() ? std::vector<double>() : it->second.doubles;
}

std::vector<std::string> PropertySet::strings(const std::string& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    return it == props_.end() ? std::vector<std::string>() : it->second.strings;
}

int PropertySet::dimension(const std::string& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = props_.find(name);
    return it == props_.end() ? -1 : it->second.count();
}

std::vector<std::string> PropertySet::names() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    std::vector<std::string> out;
    for (const auto& p : props_) out.push_back(p.first);
    return out;
}

void PropertySet::setInt(const std::string& name, int index, int value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineInt(name, {}, 0);
    store(props_[name], index, &value, PropType::Int);
}

void PropertySet::setDouble(const std::string& name, int index, double value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineDouble(name, {}, 0);
    store(props_[name], index, &value, PropType::Double);
}

void PropertySet::setString(const std::string& name, int index, const std::string& value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineString(name, {}, 0);
    const char* text = value.c_str();
    store(props_[name], index, &text, PropType::String);
}

void PropertySet::setPointer(const std::string& name, int index, void* value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) definePointer(name, {}, 0);
    store(props_[name], index, &value, PropType::Pointer);
}

void PropertySet::setInts(const std::string& name, const std::vector<int>& values) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineInt(name, {}, 0);
    props_[name].ints = values;
}

void PropertySet::setDoubles(const std::string& name, const std::vector<double>& values) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineDouble(name, {}, 0);
    props_[name].doubles = values;
}

void PropertySet::setStrings(const std::string& name, const std::vector<std::string>& values) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    if (!props_.count(name)) defineString(name, {}, 0);
    props_[name].strings = values;
}

// ---- element access -------------------------------------------------------------------------

bool PropertySet::store(Property& p, int index, const void* value, PropType type) {
    if (p.type != type || index < 0) return false;
    if (index >= p.count()) {
        if (p.dimension > 0) return false;
        resize(p, index + 1);  // a variable property grows: options are appended 0, 1, 2 ...
    }
    switch (type) {
    case PropType::Int: p.ints[size_t(index)] = *static_cast<const int*>(value); break;
    case PropType::Double: p.doubles[size_t(index)] = *static_cast<const double*>(value); break;
    case PropType::String: {
        const char* text = *static_cast<const char* const*>(value);
        p.strings[size_t(index)] = text ? text : "";
        break;
    }
    case PropType::Pointer: p.pointers[size_t(index)] = *static_cast<void* const*>(value); break;
    }
    return true;
}

void PropertySet::load(const Property& p, int index, void* value, PropType type) {
    switch (type) {
    case PropType::Int: *static_cast<int*>(value) = p.ints[size_t(index)]; break;
    case PropType::Double: *static_cast<double*>(value) = p.doubles[size_t(index)]; break;
    case PropType::String:
        // The bytes live in the property until it changes.
        *static_cast<const char**>(value) = p.strings[size_t(index)].c_str();
        break;
    case PropType::Pointer: *static_cast<void**>(value) = p.pointers[size_t(index)]; break;
    }
}

Property* PropertySet::find(const char* name) {
    if (!name) return nullptr;
    auto it = props_.find(name);
    return it == props_.end() ? nullptr : &it->second;
}

// ---- the plug-in's side ---------------------------------------------------------------------

OfxStatus PropertySet::plugSet(PropType type, const char* name, int index, const void* value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (p->access == Access::HostOnly || p->type != type) return kOfxStatErrValue;
    if (index < 0 || (p->dimension > 0 && index >= p->dimension)) return kOfxStatErrBadIndex;
    store(*p, index, value, type);
    return kOfxStatOK;
}

OfxStatus PropertySet::plugSetN(PropType type, const char* name, int count, const void* values) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (p->access == Access::HostOnly || p->type != type) return kOfxStatErrValue;
    if (count < 0 || (p->dimension > 0 && count > p->dimension)) return kOfxStatErrBadIndex;
    if (count > 0 && !values) return kOfxStatErrValue;
    // A variable property takes exactly the elements given.
    if (p->dimension == 0) resize(*p, count);
    const char* base = static_cast<const char*>(values);
    for (int i = 0; i < count; ++i) store(*p, i, base + size_t(i) * elementSize(type), type);
    return kOfxStatOK;
}

OfxStatus PropertySet::plugGet(PropType type, const char* name, int index, void* value) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (p->type != type || !value) return kOfxStatErrValue;
    if (index < 0 || index >= p->count()) return kOfxStatErrBadIndex;
    load(*p, index, value, type);
    return kOfxStatOK;
}

OfxStatus PropertySet::plugGetN(PropType type, const char* name, int count, void* values) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (p->type != type || (count > 0 && !values)) return kOfxStatErrValue;
    if (count < 0 || count > p->count()) return kOfxStatErrBadIndex;
    char* base = static_cast<char*>(values);
    for (int i = 0; i < count; ++i) load(*p, i, base + size_t(i) * elementSize(type), type);
    return kOfxStatOK;
}

OfxStatus PropertySet::plugReset(const char* name) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (p->access == Access::HostOnly) return kOfxStatErrValue;
    *p = defaults_[name];
    return kOfxStatOK;
}

OfxStatus PropertySet::plugDimension(const char* name, int* count) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    Property* p = find(name);
    if (!p) return kOfxStatErrUnknown;
    if (!count) return kOfxStatErrValue;
    *count = p->count();
    return kOfxStatOK;
}

// ---- the suite --------------------------------------------------------------------------------

namespace {

template <PropType T, typename V>
OfxStatus setOne(OfxPropertySetHandle h, const char* name, int index, V value) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugSet(T, name, index, &value) : kOfxStatErrBadHandle;
}

template <PropType T, typename V>
OfxStatus setMany(OfxPropertySetHandle h, const char* name, int count, V values) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugSetN(T, name, count, values) : kOfxStatErrBadHandle;
}

template <PropType T, typename V>
OfxStatus getOne(OfxPropertySetHandle h, const char* name, int index, V* value) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugGet(T, name, index, value) : kOfxStatErrBadHandle;
}

template <PropType T, typename V>
OfxStatus getMany(OfxPropertySetHandle h, const char* name, int count, V* values) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugGetN(T, name, count, values) : kOfxStatErrBadHandle;
}

OfxStatus propReset(OfxPropertySetHandle h, const char* name) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugReset(name) : kOfxStatErrBadHandle;
}

OfxStatus propGetDimension(OfxPropertySetHandle h, const char* name, int* count) {
    PropertySet* set = PropertySet::from(h);
    return set ? set->plugDimension(name, count) : kOfxStatErrBadHandle;
}

const OfxPropertySuiteV1 kSuite = {
    setOne<PropType::Pointer, void*>,
    setOne<PropType::String, const char*>,
    setOne<PropType::Double, double>,
    setOne<PropType::Int, int>,
    setMany<PropType::Pointer, void* const*>,
    setMany<PropType::String, const char* const*>,
    setMany<PropType::Double, const double*>,
    setMany<PropType::Int, const int*>,
    getOne<PropType::Pointer, void*>,
    getOne<PropType::String, char*>,
    getOne<PropType::Double, double>,
    getOne<PropType::Int, int>,
    getMany<PropType::Pointer, void*>,
    getMany<PropType::String, char*>,
    getMany<PropType::Double, double>,
    getMany<PropType::Int, int>,
    propReset,
    propGetDimension,
};

}  // namespace

const void* propertySuite() { return &kSuite; }

}  // namespace ofx
}  // namespace sparkhost
