// The binary's entry points: the one image effect this bundle offers, and the action dispatch.
#include <cstring>
#include <new>

#include "ofx/Binding.h"
#include "ofx/Instance.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

const char* const kClipNames[kClipCount] = {kOfxImageEffectSimpleSourceClipName, "ShapeColour",
                                            "ShapeMatte", "BirthMatte", "AvoidanceMatte"};
const char* const kClipLabels[kClipCount] = {"Background", "Shape Colour", "Shape Matte",
                                             "Birth Matte", "Avoidance Matte"};
const char* const kPageNames[4] = {"Vesk", "Shape", "Influence", "Presets"};

namespace {

void set_host(OfxHost* host) { S().host = host; }

OfxPlugin g_plugin = {kOfxImageEffectPluginApi, kOfxImageEffectPluginApiVersion, kPluginIdentifier,
                      kVersionMajor, kVersionMinor, set_host, MainEntry};

OfxStatus dispatch(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    OfxImageEffectHandle effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    // Hosts may send Load again for every instance; the suites are simply fetched again.
    if (!strcmp(action, kOfxActionLoad)) return FetchSuites() ? kOfxStatOK : kOfxStatErrMissingHostFeature;
    if (!S().prop) return kOfxStatErrMissingHostFeature;
    if (!strcmp(action, kOfxActionUnload)) return kOfxStatOK;
    if (!strcmp(action, kOfxActionDescribe)) return Describe(effect);
    if (!strcmp(action, kOfxImageEffectActionDescribeInContext)) return DescribeInContext(effect, in);
    if (!strcmp(action, kOfxActionCreateInstance)) return CreateInstance(effect);
    if (!strcmp(action, kOfxActionDestroyInstance)) return DestroyInstance(effect);
    if (!strcmp(action, kOfxActionInstanceChanged)) return InstanceChanged(effect, in);
    if (!strcmp(action, kOfxActionPurgeCaches)) return PurgeCaches(effect);
    if (!strcmp(action, kOfxImageEffectActionGetClipPreferences)) return GetClipPreferences(effect, out);
    if (!strcmp(action, kOfxImageEffectActionGetFramesNeeded)) return GetFramesNeeded(effect, in, out);
    if (!strcmp(action, kOfxImageEffectActionIsIdentity)) return IsIdentity(effect, in, out);
    if (!strcmp(action, kOfxImageEffectActionRender)) return Render(effect, in);
    if (!strcmp(action, kOfxImageEffectActionBeginSequenceRender)) return kOfxStatOK;
    if (!strcmp(action, kOfxImageEffectActionEndSequenceRender)) return kOfxStatOK;
    return kOfxStatReplyDefault;
}

}  // namespace

// No C++ exception may cross into the host.
OfxStatus MainEntry(const char* action, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle out) {
    if (!action) return kOfxStatErrBadHandle;
    try {
        return dispatch(action, handle, in, out);
    } catch (const std::bad_alloc&) {
        return kOfxStatErrMemory;
    } catch (...) {
        return kOfxStatFailed;
    }
}

}  // namespace vesk_ofx

extern "C" {

__attribute__((visibility("default"))) int OfxGetNumberOfPlugins(void) { return 1; }

__attribute__((visibility("default"))) OfxPlugin* OfxGetPlugin(int nth) {
    return nth == 0 ? &vesk_ofx::g_plugin : nullptr;
}

// Every host gets the effect; the host pointer is taken for good only through setHost.
__attribute__((visibility("default"))) OfxStatus OfxSetHost(const OfxHost*) { return kOfxStatOK; }

}  // extern "C"
