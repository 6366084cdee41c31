// The OpenFX kind of plug-in: one image effect of an OFX binary, hosted by sparkhost in the
// general context (else the filter context), its parameters shown as sparkhost's panel.
//
// Actions go out in the standard order: Load, Describe, DescribeInContext once; CreateInstance,
// then InstanceChanged for the connected clips and GetClipPreferences; per frame
// GetRegionOfDefinition, GetRegionsOfInterest, (GetFramesNeeded), IsIdentity, then Render inside
// a Begin/EndSequenceRender pair; DestroyInstance and, when the binary is let go, Unload.
//
// Images are RGBA (or the components the clip asks for) at 8 bits for 8-bit renders and 16 bits
// for 12-bit ones (float when the effect takes neither), full frames, rows bottom to top.
// Parameters map onto panel controls, one per dimension (a colour is one control); their
// animation is the host's curve of that control, so keys files, setups and the viewer's curves
// animate an OFX effect exactly as they animate a Spark plug-in.
#ifndef SPARKHOST_OFX_OFXKIND_H
#define SPARKHOST_OFX_OFXKIND_H

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/PluginKind.h"
#include "sparkhost/ofx/Bundle.h"
#include "sparkhost/ofx/HostMode.h"
#include "sparkhost/ofx/Objects.h"
#include "sparkhost/ofx/ViewerGeometry.h"

namespace sparkhost {
namespace ofx {

class OfxKind : public PluginKind {
public:
    OfxKind(Host& host, const std::string& effectId, const std::string& hostMode);
    ~OfxKind() override;

    const char* kindName() const override { return "OpenFX image effect"; }
    bool load(const std::string& path, Panel& panel, std::string* error) override;
    void unload() override;

    unsigned initialise() override;
    std::string initialiseError() const override { return initError_; }
    std::string summary(unsigned initResult) const override;
    int clips() const override { return int(inputs_.size()); }
    std::vector<std::string> clipNames() const override { return inputs_; }
    int startRender() override;
    unsigned long* process() override;
    void uninitialise() override;
    unsigned long* controlChanged(const Control& control, int reason) override;
    bool keepsOwnTime() const override { return true; }
    void planFrames(int first, int last) override;
    std::string takeError() override;
    // The effect's overlay interact (OfxOverlay.cpp), drawn in the viewer's GL context.
    bool hasInteract() const override { return interactInstance_ != nullptr; }
    bool hasOverlay() const override { return interactInstance_ != nullptr; }
    unsigned long* interact(int sx, int sy, float pressure, float vx, float vy, float zoom) override;
    bool overlay(float zoom) override;

    // ---- what the suites ask of the host ------------------------------------------------------
    Host& host() { return host_; }
    const std::string& identifier() const { return identifier_; }
    const std::string& context() const { return context_; }
    OfxStatus getImage(ClipObject& clip, double time, OfxPropertySetHandle* image);
    OfxStatus releaseImage(OfxPropertySetHandle image);
    OfxStatus clipRegion(ClipObject& clip, double time, OfxRectD* bounds);
    // The value of every dimension at a time: the control's curve where it has keys.
    void valueAt(const ParamObject& param, double time, std::vector<double>* values) const;
    // A value the plug-in sets (atTime: a key at that time). Sent back as InstanceChanged with
    // reason "plug-in edited" once the plug-in's current action has returned.
    OfxStatus pluginSets(ParamObject& param, const std::vector<double>& values, const std::string& text,
                         bool atTime, double time);
    std::vector<double> keyTimes(const ParamObject& param) const;
    OfxStatus deleteKey(ParamObject& param, double time, bool all);
    void message(EffectObject* effect, const std::string& type, const std::string& text, bool persistent);
    void clearPersistentMessage();
    double currentTime() const;
    void timeBounds(double* first, double* last) const;
    OfxStatus gotoTime(double time);
    void progress(double fraction);

    struct Render;   // one Render action in progress: its time and output pixels

private:

    OfxStatus describe(std::string* error);
    void buildPanel(Panel& panel);
    std::unique_ptr<EffectObject> newInstance(std::string* error);
    void destroyInstance(std::unique_ptr<EffectObject>& instance);
    void fillInstanceProps(EffectObject& e);
    void clipPreferences(EffectObject& e);
    OfxStatus call(const char* action, const void* handle, PropertySet* in, PropertySet* out);
    OfxStatus changed(EffectObject& e, const std::string& type, const std::string& name, const char* reason,
                      double time);
    OfxStatus renderOn(EffectObject& e, int frame, FrameBuffer& out, bool sequential, std::string* error);
    bool renderFrame(int frame, FrameBuffer& out, std::string* error);
    void beginSequence(EffectObject& e, int first, int last, bool sequential);
    void endSequence(EffectObject& e);
    void mirrorToPanel(const ParamObject& param);
    void mirrorAll();
    void applyEnabled();
    void flushPluginEdits();
    void syncFromRecords();
    void takeRecord(const Control& control);
    void userChanged(const std::string& param);
    // The host's events (buttons placed at frames) become presses at their frames, which the
    // effect keeps itself.
    void placeHostEvents();
    const Curve* curveOf(int control) const;
    bool fetchInput(int input, int frame, FrameBuffer& destination);
    void frameGeometry(int* width, int* height) const;
    std::string renderDepth() const;
    void setError(const std::string& text);
    void createInteract();
    void destroyInteract();
    OfxStatus callInteract(const char* action, PropertySet* in, bool* edited = nullptr);
    ViewerGeometry viewerGeometry(float zoom) const;
    void viewArgs(const ViewerGeometry& view, PropertySet* in);

    Host& host_;
    std::string effectIdWanted_;
    HostMode mode_;
    std::string modeError_;
    std::shared_ptr<Binary> binary_;
    OfxPlugin* plugin_ = nullptr;
    std::string identifier_;
    std::string context_;
    std::unique_ptr<EffectObject> descriptor_;   // from Describe
    std::unique_ptr<EffectObject> contextual_;   // from DescribeInContext
    std::unique_ptr<EffectObject> instance_;     // the one the panel edits
    OfxPluginEntryPoint* overlayEntry_ = nullptr;
    std::unique_ptr<InteractObject> interactDescriptor_;
    std::unique_ptr<InteractObject> interactInstance_;
    bool interactFocused_ = false;
    float penPressure_ = 0.0f;                   // of the last pen event sent
    bool penEdited_ = false;                     // the pen changed parameters since it went down
    int canvasWidth_ = 0, canvasHeight_ = 0;     // the viewer's GL viewport at the last draw
    std::vector<std::string> inputs_;            // input clip names, clip 1 first
    Panel* panel_ = nullptr;
    std::map<const void*, std::string> controlParams_;    // record address -> parameter name
    std::map<const void*, int> controlDimensions_;        // record address -> dimension
    std::map<const void*, std::vector<unsigned char>> mirrored_;  // each record as last agreed
    std::vector<std::unique_ptr<unsigned char[]>> records_;
    std::vector<std::unique_ptr<std::string>> titleStore_;   // the records' titles live here
    std::string persistent_;
    std::mutex imagesMutex_;
    std::vector<std::unique_ptr<ImageObject>> liveImages_;
    int sequenceFirst_ = 0, sequenceLast_ = 0;
    bool flushing_ = false;
    std::string initError_;
    std::string error_;
    std::mutex errorMutex_;
    std::mutex fetchMutex_;
    bool inSequence_ = false;
    int planFirst_ = 0, planLast_ = -1;
    int lastFrame_ = -1;
    std::vector<ParamObject*> pendingEdits_;
    int actionDepth_ = 0;
    FrameBuffer output_;
    std::map<int, FrameBuffer> frameCache_;   // frames rendered ahead on several threads
};

}  // namespace ofx
}  // namespace sparkhost

#endif
