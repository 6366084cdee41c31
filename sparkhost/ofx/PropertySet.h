// A typed OFX property set: named arrays of ints, doubles, strings or pointers, as every OFX object
// (host, effect, clip, parameter, image, interact, action arguments) carries them.
//
// Plug-ins probe for optional features by reading or writing a property and looking for
// kOfxStatErrUnknown, so unknown names are refused, never created; properties the host owns are
// refused to plug-in writes (kOfxStatErrValue). A string handed out stays valid until that
// property is next changed, which covers the standard's "until the next API call".
#ifndef SPARKHOST_OFX_PROPERTYSET_H
#define SPARKHOST_OFX_PROPERTYSET_H

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "sparkhost/ofx/OfxApi.h"

namespace sparkhost {
namespace ofx {

enum class PropType { Int, Double, String, Pointer };

// Who may write a property: the host only, or the plug-in too.
enum class Access { HostOnly, PluginWrites };

struct Property {
    PropType type = PropType::Int;
    int dimension = 1;   // fixed element count; 0 = variable, the setter decides
    Access access = Access::HostOnly;
    std::vector<int> ints;
    std::vector<double> doubles;
    std::vector<std::string> strings;
    std::vector<void*> pointers;
    int count() const;
};

class PropertySet {
public:
    PropertySet();
    ~PropertySet();
    PropertySet(const PropertySet& other);
    PropertySet& operator=(const PropertySet& other);

    OfxPropertySetHandle handle() { return reinterpret_cast<OfxPropertySetHandle>(this); }
    // The set behind a handle, or null when the handle is not a live property set.
    static PropertySet* from(OfxPropertySetHandle handle);

    // ---- host side: definitions and values, no access checks ---------------------------------
    void defineInt(const std::string& name, std::vector<int> values, int dimension = 1,
                   Access access = Access::HostOnly);
    void defineDouble(const std::string& name, std::vector<double> values, int dimension = 1,
                      Access access = Access::HostOnly);
    void defineString(const std::string& name, std::vector<std::string> values, int dimension = 1,
                      Access access = Access::HostOnly);
    void definePointer(const std::string& name, std::vector<void*> values, int dimension = 1,
                       Access access = Access::HostOnly);
    bool has(const std::string& name) const;
    void remove(const std::string& name);

    int getInt(const std::string& name, int index = 0, int fallback = 0) const;
    double getDouble(const std::string& name, int index = 0, double fallback = 0) const;
    std::string getString(const std::string& name, int index = 0, const std::string& fallback = "") const;
    void* getPointer(const std::string& name, int index = 0) const;
    std::vector<int> ints(const std::string& name) const;
    std::vector<double> doubles(const std::string& name) const;
    std::vector<std::string> strings(const std::string& name) const;
    int dimension(const std::string& name) const;  // -1 when unknown
    // Host writes keep the property's type; an undefined name is defined on the fly.
    void setInt(const std::string& name, int index, int value);
    void setDouble(const std::string& name, int index, double value);
    void setString(const std::string& name, int index, const std::string& value);
    void setPointer(const std::string& name, int index, void* value);
    void setInts(const std::string& name, const std::vector<int>& values);
    void setDoubles(const std::string& name, const std::vector<double>& values);
    void setStrings(const std::string& name, const std::vector<std::string>& values);
    std::vector<std::string> names() const;

    // ---- the plug-in's side: the property suite's semantics and status codes ----------------
    OfxStatus plugSet(PropType type, const char* name, int index, const void* value);
    OfxStatus plugSetN(PropType type, const char* name, int count, const void* values);
    OfxStatus plugGet(PropType type, const char* name, int index, void* value);
    OfxStatus plugGetN(PropType type, const char* name, int count, void* values);
    OfxStatus plugReset(const char* name);
    OfxStatus plugDimension(const char* name, int* count);

private:
    Property* find(const char* name);
    void define(const std::string& name, Property p);
    static bool store(Property& p, int index, const void* value, PropType type);
    static void load(const Property& p, int index, void* value, PropType type);

    static constexpr unsigned kMagic = 0x0F5E7A11u;
    unsigned magic_ = kMagic;
    mutable std::recursive_mutex mutex_;
    std::map<std::string, Property> props_;
    std::map<std::string, Property> defaults_;
};

// The suite the plug-in fetches as "OfxPropertySuite" version 1.
const void* propertySuite();

}  // namespace ofx
}  // namespace sparkhost

#endif
