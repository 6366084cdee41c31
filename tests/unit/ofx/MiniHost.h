// A small OpenFX host for the binding's tests: it loads a bundle's binary, keeps property sets,
// parameters (with keys for animation) and clips of 8-bit, 16-bit or float images, and calls the
// plug-in's actions as a compositor would. Only what the tests need; sparkhost is the real host.
#ifndef TESTS_UNIT_OFX_MINIHOST_H
#define TESTS_UNIT_OFX_MINIHOST_H

#include <atomic>
#include <functional>
#include <mutex>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ofxapi/ofx.h"

namespace minihost {

struct Value {
    int i = 0;
    double d = 0.0;
    std::string s;
    void* p = nullptr;
};

struct PropertySet {
    std::map<std::string, std::vector<Value>> props;
    bool has(const std::string& name) const { return props.count(name) != 0; }
    std::string str(const std::string& name, int index = 0) const;
    int integer(const std::string& name, int index = 0) const;
    double dbl(const std::string& name, int index = 0) const;
    void set(const std::string& name, int index, const Value& v);
    void set_str(const std::string& name, const std::string& s, int index = 0) { Value v; v.s = s; set(name, index, v); }
    void set_int(const std::string& name, int i, int index = 0) { Value v; v.i = i; v.d = i; set(name, index, v); }
    void set_dbl(const std::string& name, double d, int index = 0) { Value v; v.d = d; v.i = (int)d; set(name, index, v); }
};

struct Param {
    std::string name, type;
    PropertySet props;
    std::vector<double> value;              // numeric dimensions
    std::string text;                       // string parameters
    std::map<double, std::vector<double>> keys;  // animation: held from each key to the next
    std::vector<double> at(double time) const;
};

// An image in the host's memory, bottom row first.
struct Picture {
    int width = 0, height = 0, components = 4;
    std::string depth = kOfxBitDepthByte;
    std::vector<unsigned char> bytes;
    int bytes_per_component() const { return depth == kOfxBitDepthByte ? 1 : depth == kOfxBitDepthShort ? 2 : 4; }
    size_t row_bytes() const { return (size_t)width * components * bytes_per_component(); }
    void allocate(int w, int h, int comps, const std::string& d);
    // Channel c of pixel (x, y) (y from the bottom) as a number in the depth's own units.
    double get(int x, int y, int c) const;
    void put(int x, int y, int c, double v);
};

struct Clip {
    std::string name;
    PropertySet props;
    bool connected = false;
    std::function<Picture(double time)> source;  // what the clip shows at a time
    std::shared_ptr<const Picture> still;        // or one picture at every time, handed out uncopied
};

class Host;

struct Effect {
    Host* host = nullptr;
    PropertySet props;
    std::map<std::string, std::unique_ptr<Clip>> clips;
    std::map<std::string, std::unique_ptr<Param>> params;
    std::vector<std::string> param_order;
    PropertySet param_set_props;
    std::vector<std::string> persistent_messages;  // the message shown now, "" none
    std::string persistent;
    int edits_open = 0, edits_done = 0;
};

class Host {
public:
    // Loads the binary, runs Load and Describe and describes the general context.
    explicit Host(const std::string& binary, const std::string& context = kOfxImageEffectContextGeneral);
    // The same with a plug-in linked into the test itself.
    explicit Host(OfxPlugin* plugin, const std::string& context = kOfxImageEffectContextGeneral);
    ~Host();
    bool loaded() const { return plugin_ != nullptr; }
    OfxPlugin* plugin() const { return plugin_; }

    Effect& descriptor() { return descriptor_; }
    std::unique_ptr<Effect> create_instance(int width, int height, const std::string& depth, int first_frame = 1,
                                            int last_frame = 100);
    void destroy_instance(Effect& instance);

    OfxStatus action(const char* name, Effect* effect, PropertySet* in, PropertySet* out);
    // Renders frame `time` of the instance into a picture of the output's depth.
    Picture render(Effect& effect, double time, double scale = 1.0);
    // A user edit: the value is set and InstanceChanged follows, as after a press or a slider move.
    void user_edit(Effect& effect, const std::string& param, const std::vector<double>& value, double time = 1.0);
    void press(Effect& effect, const std::string& param, double time = 1.0);
    void set_string(Effect& effect, const std::string& param, const std::string& text);
    // Connects an input clip to a picture source.
    void connect(Effect& effect, const std::string& clip, std::function<Picture(double)> source);
    void connect_still(Effect& effect, const std::string& clip, std::shared_ptr<const Picture> picture);

    std::vector<std::string> messages;  // every message the plug-in posted
    std::atomic<int> last_action_status{0};
    std::atomic<double> last_render_seconds{0.0};  // the plug-in's time in the last Render action

    // Plumbing for the suite functions.
    static Host* current;
    OfxHost host_struct;
    PropertySet host_props;
    std::vector<std::unique_ptr<PropertySet>> images;  // live image handles
    std::vector<std::unique_ptr<Picture>> image_pixels;
    std::string context_;
    // Per rendering thread: the picture a render writes into, and the scale inputs are handed
    // out at; several threads may render at once, as compositors do.
    static thread_local Picture* output_target;
    static thread_local double render_scale;
    std::mutex images_lock;

private:
    void start(OfxPlugin* plugin);
    void* library_ = nullptr;
    OfxPlugin* plugin_ = nullptr;
    Effect descriptor_;
};

}  // namespace minihost

#endif
