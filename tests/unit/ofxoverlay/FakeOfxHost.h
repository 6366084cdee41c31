// A small OpenFX host for the overlay tests: typed property sets, the effect's descriptor and one
// instance with its clips and parameters, interacts, and a log of every parameter write, edit
// bracket and redraw request the plug-in makes. Just enough of the standard for the plug-in's
// describe, instance and interact actions; no rendering.
#ifndef TESTS_UNIT_OFXOVERLAY_FAKEOFXHOST_H
#define TESTS_UNIT_OFXOVERLAY_FAKEOFXHOST_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ofxapi/ofx.h"

namespace fakeofx {

struct Prop {
    char type = 0;  // 'i', 'd', 's', 'p'
    std::vector<int> i;
    std::vector<double> d;
    std::vector<std::string> s;
    std::vector<void*> p;
};

struct PropSet {
    std::map<std::string, Prop> props;
    void setInt(const std::string& name, std::vector<int> v);
    void setDouble(const std::string& name, std::vector<double> v);
    void setString(const std::string& name, std::vector<std::string> v);
    void setPointer(const std::string& name, void* v);
    OfxPropertySetHandle handle() { return reinterpret_cast<OfxPropertySetHandle>(this); }
};

struct Param {
    std::string type, name;
    PropSet props;
    std::vector<double> value;   // numbers of every kind, one per dimension
    std::string text;            // string parameters
    std::map<double, std::vector<double>> keys;
    std::vector<double> at(double time) const;   // keys hold from their time on
};

struct ParamSet {
    std::vector<std::unique_ptr<Param>> params;
    PropSet* effect_props = nullptr;   // the param set's properties are the effect's
    Param* find(const std::string& name);
};

struct Clip {
    PropSet props;
    OfxRectD rod{0, 0, 0, 0};
    // The pictures it gives: RGBA bytes of this size, every pixel this grey (none when 0 x 0).
    int width = 0, height = 0;
    unsigned char grey = 0;
};

// An image handed to the plug-in, alive until it releases it.
struct Image {
    PropSet props;
    std::vector<unsigned char> pixels;
};

struct Effect {
    PropSet props;
    ParamSet params;
    std::map<std::string, std::unique_ptr<Clip>> clips;
    Effect() { params.effect_props = &props; }
    OfxImageEffectHandle handle() { return reinterpret_cast<OfxImageEffectHandle>(this); }
};

struct Interact {
    PropSet props;
    OfxInteractHandle handle() { return reinterpret_cast<OfxInteractHandle>(this); }
};

// One entry per parameter write or edit bracket, in call order.
struct ParamCall {
    std::string what;   // "set", "setAt", "begin", "end"
    std::string name;   // parameter (empty for begin / end)
    double time = 0.0;  // setAt only
    std::vector<double> values;
};

class Host {
public:
    Host();
    OfxHost* ofxHost() { return &host_; }
    PropSet& hostProps() { return host_props_; }

    // The plug-in's descriptor, then an instance made from it: parameters at their defaults,
    // each described clip, the project of the given canonical size and pixel aspect.
    Effect& descriptor() { return descriptor_; }
    Effect& instantiate(double width, double height, double pixel_aspect);
    Effect& instance() { return *instance_; }
    Interact& newInteract();

    std::vector<ParamCall> log;
    int redraws = 0;
    std::vector<std::string> messages;
    std::vector<std::unique_ptr<Image>> images;

private:
    OfxHost host_;
    PropSet host_props_;
    Effect descriptor_;
    std::unique_ptr<Effect> instance_;
    std::vector<std::unique_ptr<Interact>> interacts_;
};

// The host the suites answer for (one at a time).
Host& Current();
void SetCurrent(Host* host);

}  // namespace fakeofx

#endif
