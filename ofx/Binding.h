// Names the binding shares between its describe, instance and render code: the plug-in's
// identity, its clips and the parameters it adds to the effect's own panel.
#ifndef OFX_BINDING_H
#define OFX_BINDING_H

#include "ofxapi/ofx.h"

namespace vesk_ofx {

// Kept stable: compositors save the identifier and major version with their scripts.
constexpr const char* kPluginIdentifier = "com.vesk.swarm";
constexpr unsigned kVersionMajor = 1;
constexpr unsigned kVersionMinor = 0;

// The five inputs in the effect's clip order; the background is the mandatory "Source".
constexpr int kClipCount = 5;
extern const char* const kClipNames[kClipCount];
extern const char* const kClipLabels[kClipCount];

// Parameters of the binding itself.
constexpr const char* kOutputParam = "output";
constexpr const char* kEventsParam = "events";
constexpr const char* kOwnStartParam = "ownStartFrame";
constexpr const char* kStartFrameParam = "startFrame";
constexpr const char* kAmplitudeFileParam = "amplitudeFile";
enum OutputMode { kSwarmOverSource = 0, kSwarmOnly = 1 };

// The simulation buttons, which place events.
struct EventButtonParam {
    const char* name;
    const char* label;
    int button;  // EventButton
};
extern const EventButtonParam kEventButtonParams[4];

extern const char* const kPageNames[4];

// The plug-in's main entry point.
OfxStatus MainEntry(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle out);

OfxStatus Describe(OfxImageEffectHandle effect);
OfxStatus DescribeInContext(OfxImageEffectHandle effect, OfxPropertySetHandle in);

}  // namespace vesk_ofx

#endif
