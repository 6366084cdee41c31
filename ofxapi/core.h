/* OpenFX core: entry points, handles, geometric and colour structs, status codes, generic actions
 * and the property names every object shares. Our own declarations of the OFX 1.4 binary interface,
 * shared by the Vesk OFX plug-in and by sparkhost's OFX host. C-compatible, x86-64 LP64 layout. */
#ifndef VESK_OFXAPI_CORE_H
#define VESK_OFXAPI_CORE_H

#include <limits.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int OfxStatus;
typedef double OfxTime;

/* Opaque handles: the receiver never dereferences them. */
typedef struct OfxPropertySetStruct *OfxPropertySetHandle;
typedef struct OfxImageEffectStruct *OfxImageEffectHandle;
typedef struct OfxImageClipStruct *OfxImageClipHandle;
typedef struct OfxImageMemoryStruct *OfxImageMemoryHandle;
typedef struct OfxParamStruct *OfxParamHandle;
typedef struct OfxParamSetStruct *OfxParamSetHandle;
typedef struct OfxInteract *OfxInteractHandle;
typedef struct OfxMutex *OfxMutexHandle;
typedef struct OfxDrawContext *OfxDrawContextHandle;

typedef struct OfxHost {
  OfxPropertySetHandle host;
  const void *(*fetchSuite)(OfxPropertySetHandle host, const char *suiteName, int suiteVersion);
} OfxHost;

/* A function type, not a pointer type: interact entry points share it. */
typedef OfxStatus(OfxPluginEntryPoint)(const char *action, const void *handle,
                                       OfxPropertySetHandle inArgs, OfxPropertySetHandle outArgs);

typedef struct OfxPlugin {
  const char *pluginApi;
  int apiVersion;
  const char *pluginIdentifier;
  unsigned int pluginVersionMajor;
  unsigned int pluginVersionMinor;
  void (*setHost)(OfxHost *host);
  OfxPluginEntryPoint *mainEntry;
} OfxPlugin;

typedef void(OfxThreadFunctionV1)(unsigned int threadIndex, unsigned int threadMax, void *customArg);
typedef OfxStatus(OfxCustomParamInterpFuncV1)(OfxParamSetHandle instance, OfxPropertySetHandle inArgs,
                                              OfxPropertySetHandle outArgs);

typedef struct OfxRectI { int x1, y1, x2, y2; } OfxRectI;
typedef struct OfxRectD { double x1, y1, x2, y2; } OfxRectD;
typedef struct OfxPointI { int x, y; } OfxPointI;
typedef struct OfxPointD { double x, y; } OfxPointD;
typedef struct OfxRangeI { int min, max; } OfxRangeI;
typedef struct OfxRangeD { double min, max; } OfxRangeD;

typedef struct OfxRGBAColourB { unsigned char r, g, b, a; } OfxRGBAColourB;
typedef struct OfxRGBAColourS { unsigned short r, g, b, a; } OfxRGBAColourS;
typedef struct OfxRGBAColourF { float r, g, b, a; } OfxRGBAColourF;
typedef struct OfxRGBAColourD { double r, g, b, a; } OfxRGBAColourD;
typedef struct OfxRGBColourB { unsigned char r, g, b; } OfxRGBColourB;
typedef struct OfxRGBColourS { unsigned short r, g, b; } OfxRGBColourS;
typedef struct OfxRGBColourF { float r, g, b; } OfxRGBColourF;
typedef struct OfxRGBColourD { double r, g, b; } OfxRGBColourD;

typedef struct OfxBytes {
  const unsigned char *data;
  size_t length;
} OfxBytes;

#define kOfxFlagInfiniteMin INT_MIN
#define kOfxFlagInfiniteMax INT_MAX

/* Entry points every binary exports (C linkage). OfxSetHost is optional. */
typedef int(OfxGetNumberOfPluginsFunc)(void);
typedef OfxPlugin *(OfxGetPluginFunc)(int nth);
typedef OfxStatus(OfxSetHostFunc)(const OfxHost *host);
#define kOfxGetNumberOfPluginsSymbol "OfxGetNumberOfPlugins"
#define kOfxGetPluginSymbol "OfxGetPlugin"
#define kOfxSetHostSymbol "OfxSetHost"

#define kOfxImageEffectPluginApi "OfxImageEffectPluginAPI"
#define kOfxImageEffectPluginApiVersion 1

/* Status codes */
#define kOfxStatOK 0
#define kOfxStatFailed ((int)1)
#define kOfxStatErrFatal ((int)2)
#define kOfxStatErrUnknown ((int)3)
#define kOfxStatErrMissingHostFeature ((int)4)
#define kOfxStatErrUnsupported ((int)5)
#define kOfxStatErrExists ((int)6)
#define kOfxStatErrFormat ((int)7)
#define kOfxStatErrMemory ((int)8)
#define kOfxStatErrBadHandle ((int)9)
#define kOfxStatErrBadIndex ((int)10)
#define kOfxStatErrValue ((int)11)
#define kOfxStatReplyYes ((int)12)
#define kOfxStatReplyNo ((int)13)
#define kOfxStatReplyDefault ((int)14)
#define kOfxStatUnlicensed ((int)15)
#define kOfxStatErrImageFormat ((int)1000)
#define kOfxStatGPUOutOfMemory ((int)1001)
#define kOfxStatGLOutOfMemory kOfxStatGPUOutOfMemory
#define kOfxStatGPURenderFailed ((int)1002)
#define kOfxStatGLRenderFailed kOfxStatGPURenderFailed

/* Generic actions */
#define kOfxActionLoad "OfxActionLoad"
#define kOfxActionUnload "OfxActionUnload"
#define kOfxActionDescribe "OfxActionDescribe"
#define kOfxActionCreateInstance "OfxActionCreateInstance"
#define kOfxActionDestroyInstance "OfxActionDestroyInstance"
#define kOfxActionBeginInstanceChanged "OfxActionBeginInstanceChanged"
#define kOfxActionInstanceChanged "OfxActionInstanceChanged"
#define kOfxActionEndInstanceChanged "OfxActionEndInstanceChanged"
#define kOfxActionPurgeCaches "OfxActionPurgeCaches"
#define kOfxActionSyncPrivateData "OfxActionSyncPrivateData"
#define kOfxActionBeginInstanceEdit "OfxActionBeginInstanceEdit"
#define kOfxActionEndInstanceEdit "OfxActionEndInstanceEdit"
#define kOfxActionOpenGLContextAttached "OfxActionOpenGLContextAttached"
#define kOfxActionOpenGLContextDetached "kOfxActionOpenGLContextDetached"

/* Properties shared by many objects */
#define kOfxPropAPIVersion "OfxPropAPIVersion"
#define kOfxPropType "OfxPropType"
#define kOfxPropName "OfxPropName"
#define kOfxPropLabel "OfxPropLabel"
#define kOfxPropShortLabel "OfxPropShortLabel"
#define kOfxPropLongLabel "OfxPropLongLabel"
#define kOfxPropVersion "OfxPropVersion"
#define kOfxPropVersionLabel "OfxPropVersionLabel"
#define kOfxPropPluginDescription "OfxPropPluginDescription"
#define kOfxPropTime "OfxPropTime"
#define kOfxPropIsInteractive "OfxPropIsInteractive"
#define kOfxPropInstanceData "OfxPropInstanceData"
#define kOfxPropEffectInstance "OfxPropEffectInstance"
#define kOfxPropHostOSHandle "OfxPropHostOSHandle"
#define kOfxPropChangeReason "OfxPropChangeReason"
#define kOfxPropIcon "OfxPropIcon"
#define kOfxPropParamSetNeedsSyncing "OfxPropParamSetNeedsSyncing"
#define kOfxPluginPropFilePath "OfxPluginPropFilePath"
#define kOfxPluginPropParamPageOrder "OfxPluginPropParamPageOrder"

/* Change reasons */
#define kOfxChangeUserEdited "OfxChangeUserEdited"
#define kOfxChangePluginEdited "OfxChangePluginEdited"
#define kOfxChangeTime "OfxChangeTime"

/* Object types (values of OfxPropType) */
#define kOfxTypeImageEffectHost "OfxTypeImageEffectHost"
#define kOfxTypeImageEffect "OfxTypeImageEffect"
#define kOfxTypeImageEffectInstance "OfxTypeImageEffectInstance"
#define kOfxTypeParameter "OfxTypeParameter"
#define kOfxTypeParameterInstance "OfxTypeParameterInstance"
#define kOfxTypeClip "OfxTypeClip"
#define kOfxTypeImage "OfxTypeImage"

#ifdef __cplusplus
}
#endif

#endif
