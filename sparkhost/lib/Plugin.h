// A loaded Spark plug-in and the calls a host makes to it, in the order an IFFFS host makes them:
// SparkInitialise, SparkClips, SparkMemoryTempBuffers (and SparkChannelEditor when exported) once;
// then for every render SparkProcessStart and one SparkProcess per frame; SparkUnInitialise at the
// end. Control edits write the record and call its callback with reason 1.
#ifndef SPARKHOST_LIB_PLUGIN_H
#define SPARKHOST_LIB_PLUGIN_H

#include <string>

#include "spark/spark.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"

namespace sparkhost {

class Plugin {
public:
    explicit Plugin(Host& host);
    ~Plugin();  // uninitialises a plug-in still in use, then unloads it
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    // Loads the shared object and finds its entry points and control records. Two Plugins loading
    // the same file in one process share one instance of it, records included, as the system's
    // loader hands out the same object twice. Fails with a
    // message naming the file for a missing file, a file that is not a loadable object, or one
    // that lacks an entry point of the frame path.
    bool load(const std::string& path, std::string* error);
    void unload();
    bool loaded() const { return handle_ != nullptr; }
    const std::string& path() const { return path_; }
    void* symbol(const char* name) const;

    unsigned initialise();
    bool initialised() const { return initialised_; }
    unsigned initialiseResult() const { return initResult_; }
    int clips() const { return clips_; }
    int tempBufferId() const { return tempBuffer_; }
    int startRender();
    // Makes a frame current: loads every input clip's frame and hands out buffers from now on.
    void prepareFrame(int frame);
    // prepareFrame, then the curves' values into the records, then SparkProcess.
    unsigned long* renderFrame(int frame);
    // SparkProcess for the current frame as it stands.
    unsigned long* process();
    void uninitialise();

    Panel& panel() { return panel_; }
    const Panel& panel() const { return panel_; }
    Host& host() { return host_; }

    // An edit as a person makes it: the value into the record, then the callback with reason 1.
    // rendered receives the callback's result: non-null when the plug-in rendered a frame.
    bool setControl(const std::string& reference, const std::string& value, std::string* error,
                    unsigned long** rendered = nullptr);
    bool setControl(const Control& control, const std::string& value, std::string* error,
                    unsigned long** rendered = nullptr);
    bool press(const std::string& reference, std::string* error, unsigned long** rendered = nullptr);
    unsigned long* callCallback(const Control& control, int reason = 1);

    bool hasInteract() const { return interact_ != nullptr; }
    bool hasOverlay() const { return overlay_ != nullptr; }
    bool hasChannelEditor() const { return channelEditor_ != nullptr; }
    unsigned long* interact(int sx, int sy, float pressure, float vx, float vy, float zoom);
    bool overlay(float zoom);

private:
    Host& host_;
    Panel panel_;
    void* handle_ = nullptr;
    std::string path_;
    bool initialised_ = false;
    unsigned initResult_ = 0;
    int clips_ = 0;
    int tempBuffer_ = 0;

    SparkInitialiseFn initialise_ = nullptr;
    SparkClipsFn clipsFn_ = nullptr;
    SparkMemoryTempBuffersFn tempBuffers_ = nullptr;
    SparkProcessStartFn processStart_ = nullptr;
    SparkProcessFn process_ = nullptr;
    SparkUnInitialiseFn uninitialise_ = nullptr;
    SparkInteractFn interact_ = nullptr;
    SparkOverlayFn overlay_ = nullptr;
    SparkChannelEditorFn channelEditor_ = nullptr;
};

}  // namespace sparkhost

#endif
