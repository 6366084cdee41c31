// sparkhost's one plug-in interface: a loaded plug-in of either kind — a Spark plug-in (`.spark`)
// or an OpenFX image effect (an `.ofx.bundle`, or a folder of bundles with the effect chosen by
// its identifier) — as info, render and view use it. The panel model, the buttons, the clips and
// the frame buffers are the host's; the kind behind it (PluginKind) translates them into its
// standard's calls. Control edits write the record and tell the plug-in, as a person's edit would.
#ifndef SPARKHOST_LIB_PLUGIN_H
#define SPARKHOST_LIB_PLUGIN_H

#include <memory>
#include <string>
#include <vector>

#include "spark/spark.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/PluginKind.h"

namespace sparkhost {

class Plugin {
public:
    explicit Plugin(Host& host);
    ~Plugin();  // uninitialises a plug-in still in use, then unloads it
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    // Which OpenFX effect to take from a bundle or folder holding several (empty: the only one).
    void setEffectId(const std::string& id) { effectId_ = id; }
    const std::string& effectId() const { return effectId_; }
    // How the OpenFX kind behaves as a host (see ofx/HostMode.h); ignored by Spark plug-ins.
    void setHostMode(const std::string& mode) { hostMode_ = mode; }
    const std::string& hostMode() const { return hostMode_; }

    // Loads the plug-in: an OpenFX bundle or folder of bundles, else a Spark shared object.
    // Fails with a message naming the file for a missing file, a file that is not a plug-in of
    // either kind, or one that lacks an entry point it needs.
    bool load(const std::string& path, std::string* error);
    void unload();
    bool loaded() const { return kind_ != nullptr; }
    const std::string& path() const { return path_; }
    const char* kindName() const { return kind_ ? kind_->kindName() : ""; }
    bool isOfx() const;
    void* symbol(const char* name) const { return kind_ ? kind_->symbol(name) : nullptr; }

    unsigned initialise();
    bool initialised() const { return initialised_; }
    unsigned initialiseResult() const { return initResult_; }
    // Why initialise failed (an OFX action that failed), empty when it did not.
    std::string initialiseError() const { return kind_ ? kind_->initialiseError() : ""; }
    std::string summary() const { return kind_ ? kind_->summary(initResult_) : ""; }
    int clips() const { return kind_ ? kind_->clips() : 0; }
    std::vector<std::string> clipNames() const { return kind_ ? kind_->clipNames() : std::vector<std::string>(); }
    int tempBufferId() const { return kind_ ? kind_->tempBufferId() : 0; }
    int startRender();
    // The first and last frame a render will ask for.
    void planFrames(int first, int last) {
        if (kind_) kind_->planFrames(first, last);
    }
    // Makes a frame current: loads every input clip's frame and hands out buffers from now on.
    void prepareFrame(int frame);
    // prepareFrame, then the curves' values into the records, then the plug-in renders.
    unsigned long* renderFrame(int frame);
    // The plug-in renders the current frame as it stands.
    unsigned long* process();
    void uninitialise();
    // An error the last render left (an OFX action that failed), cleared by reading it.
    std::string takeError() { return kind_ ? kind_->takeError() : ""; }
    // True when frames are pure functions of time computed by the plug-in itself (OFX).
    bool keepsOwnTime() const { return kind_ && kind_->keepsOwnTime(); }

    Panel& panel() { return panel_; }
    const Panel& panel() const { return panel_; }
    Host& host() { return host_; }

    // An edit as a person makes it: the value into the record, then the plug-in is told (reason 1).
    // rendered receives what the plug-in returned: non-null when it rendered a frame.
    bool setControl(const std::string& reference, const std::string& value, std::string* error,
                    unsigned long** rendered = nullptr);
    bool setControl(const Control& control, const std::string& value, std::string* error,
                    unsigned long** rendered = nullptr);
    bool press(const std::string& reference, std::string* error, unsigned long** rendered = nullptr);
    unsigned long* callCallback(const Control& control, int reason = 1);

    bool hasInteract() const { return kind_ && kind_->hasInteract(); }
    bool hasOverlay() const { return kind_ && kind_->hasOverlay(); }
    bool hasChannelEditor() const { return kind_ && kind_->hasChannelEditor(); }
    unsigned long* interact(int sx, int sy, float pressure, float vx, float vy, float zoom);
    bool overlay(float zoom);

private:
    Host& host_;
    Panel panel_;
    std::unique_ptr<PluginKind> kind_;
    std::string path_;
    std::string effectId_;
    std::string hostMode_;
    bool initialised_ = false;
    unsigned initResult_ = 0;
};

// Whether a path names an OpenFX plug-in: a bundle, a binary inside one, or a folder.
bool isOfxPath(const std::string& path);

}  // namespace sparkhost

#endif
