// The Spark kind of plug-in: a shared object exporting the Spark entry points and control
// records, called in the order an IFFFS host calls it: SparkInitialise, SparkClips,
// SparkMemoryTempBuffers (and SparkChannelEditor when exported) once; then for every render
// SparkProcessStart and one SparkProcess per frame; SparkUnInitialise at the end. Control edits
// write the record and call its callback with reason 1.
#ifndef SPARKHOST_LIB_SPARKKIND_H
#define SPARKHOST_LIB_SPARKKIND_H

#include "spark/spark.h"
#include "sparkhost/lib/PluginKind.h"

namespace sparkhost {

class SparkKind : public PluginKind {
public:
    explicit SparkKind(Host& host) : host_(host) {}
    ~SparkKind() override { unload(); }

    const char* kindName() const override { return "Spark plug-in"; }
    // Fails with a message naming the file for a missing file, a file that is not a loadable
    // object, or one that lacks an entry point of the frame path. Two plug-ins loading the same
    // file in one process share one instance of it, records included, as the system's loader
    // hands out the same object twice.
    bool load(const std::string& path, Panel& panel, std::string* error) override;
    void unload() override;
    void* symbol(const char* name) const override;

    unsigned initialise() override;
    std::string summary(unsigned initResult) const override {
        return "SparkInitialise returned " + std::to_string(initResult);
    }
    int clips() const override { return clips_; }
    int tempBufferId() const override { return tempBuffer_; }
    int startRender() override;
    unsigned long* process() override;
    void uninitialise() override;
    unsigned long* controlChanged(const Control& control, int reason) override;

    bool hasInteract() const override { return interact_ != nullptr; }
    bool hasOverlay() const override { return overlay_ != nullptr; }
    bool hasChannelEditor() const override { return channelEditor_ != nullptr; }
    unsigned long* interact(int sx, int sy, float pressure, float vx, float vy, float zoom) override;
    bool overlay(float zoom) override;

private:
    Host& host_;
    Panel* panel_ = nullptr;
    void* handle_ = nullptr;
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
