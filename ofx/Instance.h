// One effect instance: its clip and parameter handles, what it has worked out about its shot,
// and the instance actions.
#ifndef OFX_INSTANCE_H
#define OFX_INSTANCE_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "ofx/Engine.h"
#include "ofxapi/ofx.h"

namespace vesk_ofx {

struct InstanceData {
    OfxImageEffectHandle effect = nullptr;
    OfxParamSetHandle params = nullptr;
    OfxImageClipHandle output = nullptr;
    OfxImageClipHandle clips[5] = {};
    std::vector<OfxParamHandle> controls;  // ControlParams() order
    OfxParamHandle output_mode = nullptr, events = nullptr, own_start = nullptr, start_frame = nullptr,
                   amplitude_file = nullptr;
    std::map<std::string, OfxParamHandle> buttons;  // event buttons by name

    // Keys of the states after each frame, valid while nothing the instance was told about has
    // changed (any parameter or clip change starts a new generation and empties it).
    std::mutex memo_lock;
    uint64_t memo_base = 0;
    std::map<int, uint64_t> key_memo;
    std::string message;  // the persistent message shown now ("" none)
};

InstanceData* Data(OfxImageEffectHandle effect);

OfxStatus CreateInstance(OfxImageEffectHandle effect);
OfxStatus DestroyInstance(OfxImageEffectHandle effect);
OfxStatus InstanceChanged(OfxImageEffectHandle effect, OfxPropertySetHandle in);
OfxStatus PurgeCaches(OfxImageEffectHandle effect);
OfxStatus GetClipPreferences(OfxImageEffectHandle effect, OfxPropertySetHandle out);
OfxStatus GetFramesNeeded(OfxImageEffectHandle effect, OfxPropertySetHandle in, OfxPropertySetHandle out);
OfxStatus IsIdentity(OfxImageEffectHandle effect, OfxPropertySetHandle in, OfxPropertySetHandle out);
OfxStatus Render(OfxImageEffectHandle effect, OfxPropertySetHandle in);

// Shared by the actions.
FrameSettings ReadSettings(InstanceData& d, double time);
void WriteChanged(InstanceData& d, const FrameSettings& before, const FrameSettings& after, double time);
int StartFrame(InstanceData& d);
// The Output choice at `time`, or as it stands now when `time` is null (clip preferences hold
// for every frame).
int OutputMode(InstanceData& d, const double* time);
bool ClipConnected(OfxImageClipHandle clip);
// Shows or clears the persistent message for the settings at `time`.
void UpdateMessages(InstanceData& d, double time);
void ApplyShowHide(InstanceData& d, double time);

}  // namespace vesk_ofx

#endif
