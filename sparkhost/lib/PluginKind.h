// What a kind of plug-in does behind sparkhost's one plug-in interface (Plugin): a Spark plug-in
// or an OpenFX image effect. Plugin keeps what both share — the host, the panel model the front
// ends read and edit, the frame buffers — and a kind translates those into its own standard's
// calls, so that info, render and view are written once.
#ifndef SPARKHOST_LIB_PLUGINKIND_H
#define SPARKHOST_LIB_PLUGINKIND_H

#include <string>
#include <vector>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"

namespace sparkhost {

class PluginKind {
public:
    virtual ~PluginKind() = default;

    // "Spark plug-in" or "OpenFX image effect": how messages and `info` name the kind.
    virtual const char* kindName() const = 0;
    // Loads the file and fills the panel with the plug-in's controls.
    virtual bool load(const std::string& path, Panel& panel, std::string* error) = 0;
    virtual void unload() = 0;
    virtual void* symbol(const char*) const { return nullptr; }

    virtual unsigned initialise() = 0;
    // An error that made initialise fail (an OFX action that failed); empty when none.
    virtual std::string initialiseError() const { return ""; }
    // One line on what was loaded, given what initialise returned: "SparkInitialise returned 0",
    // "OpenFX image effect org.example.Effect 1.2, general context".
    virtual std::string summary(unsigned initResult) const = 0;
    virtual int clips() const = 0;
    // The input clips' own names, where the plug-in has them (OFX), in input-number order.
    virtual std::vector<std::string> clipNames() const { return {}; }
    virtual int tempBufferId() const { return 0; }
    virtual int startRender() = 0;
    // Renders the host's current frame (its inputs already loaded) into a host buffer.
    virtual unsigned long* process() = 0;
    virtual void uninitialise() = 0;

    // A control's record was changed by the host (reason 1: a person's edit) or a button pressed.
    virtual unsigned long* controlChanged(const Control& control, int reason) = 0;

    virtual bool hasInteract() const { return false; }
    virtual bool hasOverlay() const { return false; }
    virtual bool hasChannelEditor() const { return false; }
    virtual unsigned long* interact(int, int, float, float, float, float) { return nullptr; }
    virtual bool overlay(float) { return false; }

    // True when every frame is a pure function of its time, the plug-in replaying the
    // simulation itself (OFX): the host then neither catches up nor replays events by pressing.
    virtual bool keepsOwnTime() const { return false; }
    // The frames a render is going to ask for, first and last; a kind that tells its plug-in
    // about the sequence (OFX) uses them.
    virtual void planFrames(int, int) {}
    // An error a render left (an action that failed); empty when none.
    virtual std::string takeError() { return ""; }
};

}  // namespace sparkhost

#endif
