/* OpenFX suites: the function tables a host hands out through fetchSuite, each member in the order
 * the binary interface fixes, with the name and version a plug-in asks for. */
#ifndef VESK_OFXAPI_SUITES_H
#define VESK_OFXAPI_SUITES_H

#include "ofxapi/core.h"

#ifdef __cplusplus
extern "C" {
#endif

#define kOfxPropertySuite "OfxPropertySuite"
#define kOfxImageEffectSuite "OfxImageEffectSuite"
#define kOfxParameterSuite "OfxParameterSuite"
#define kOfxMemorySuite "OfxMemorySuite"
#define kOfxMultiThreadSuite "OfxMultiThreadSuite"
#define kOfxMessageSuite "OfxMessageSuite"
#define kOfxInteractSuite "OfxInteractSuite"
#define kOfxProgressSuite "OfxProgressSuite"
#define kOfxTimeLineSuite "OfxTimeLineSuite"
#define kOfxDrawSuite "OfxDrawSuite"
#define kOfxParametricParameterSuite "OfxParametricParameterSuite"
#define kOfxOpenGLRenderSuite "OfxImageEffectOpenGLRenderSuite"

typedef struct OfxPropertySuiteV1 {
  OfxStatus (*propSetPointer)(OfxPropertySetHandle properties, const char *property, int index, void *value);
  OfxStatus (*propSetString)(OfxPropertySetHandle properties, const char *property, int index, const char *value);
  OfxStatus (*propSetDouble)(OfxPropertySetHandle properties, const char *property, int index, double value);
  OfxStatus (*propSetInt)(OfxPropertySetHandle properties, const char *property, int index, int value);
  OfxStatus (*propSetPointerN)(OfxPropertySetHandle properties, const char *property, int count, void *const *value);
  OfxStatus (*propSetStringN)(OfxPropertySetHandle properties, const char *property, int count, const char *const *value);
  OfxStatus (*propSetDoubleN)(OfxPropertySetHandle properties, const char *property, int count, const double *value);
  OfxStatus (*propSetIntN)(OfxPropertySetHandle properties, const char *property, int count, const int *value);
  OfxStatus (*propGetPointer)(OfxPropertySetHandle properties, const char *property, int index, void **value);
  OfxStatus (*propGetString)(OfxPropertySetHandle properties, const char *property, int index, char **value);
  OfxStatus (*propGetDouble)(OfxPropertySetHandle properties, const char *property, int index, double *value);
  OfxStatus (*propGetInt)(OfxPropertySetHandle properties, const char *property, int index, int *value);
  OfxStatus (*propGetPointerN)(OfxPropertySetHandle properties, const char *property, int count, void **value);
  OfxStatus (*propGetStringN)(OfxPropertySetHandle properties, const char *property, int count, char **value);
  OfxStatus (*propGetDoubleN)(OfxPropertySetHandle properties, const char *property, int count, double *value);
  OfxStatus (*propGetIntN)(OfxPropertySetHandle properties, const char *property, int count, int *value);
  OfxStatus (*propReset)(OfxPropertySetHandle properties, const char *property);
  OfxStatus (*propGetDimension)(OfxPropertySetHandle properties, const char *property, int *count);
} OfxPropertySuiteV1;

typedef struct OfxImageEffectSuiteV1 {
  OfxStatus (*getPropertySet)(OfxImageEffectHandle imageEffect, OfxPropertySetHandle *propHandle);
  OfxStatus (*getParamSet)(OfxImageEffectHandle imageEffect, OfxParamSetHandle *paramSet);
  OfxStatus (*clipDefine)(OfxImageEffectHandle imageEffect, const char *name, OfxPropertySetHandle *propertySet);
  OfxStatus (*clipGetHandle)(OfxImageEffectHandle imageEffect, const char *name, OfxImageClipHandle *clip,
                             OfxPropertySetHandle *propertySet);
  OfxStatus (*clipGetPropertySet)(OfxImageClipHandle clip, OfxPropertySetHandle *propHandle);
  OfxStatus (*clipGetImage)(OfxImageClipHandle clip, OfxTime time, const OfxRectD *region,
                            OfxPropertySetHandle *imageHandle);
  OfxStatus (*clipReleaseImage)(OfxPropertySetHandle imageHandle);
  OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle clip, OfxTime time, OfxRectD *bounds);
  int (*abort)(OfxImageEffectHandle imageEffect);
  OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle instanceHandle, size_t nBytes, OfxImageMemoryHandle *memoryHandle);
  OfxStatus (*imageMemoryFree)(OfxImageMemoryHandle memoryHandle);
  OfxStatus (*imageMemoryLock)(OfxImageMemoryHandle memoryHandle, void **returnedPtr);
  OfxStatus (*imageMemoryUnlock)(OfxImageMemoryHandle memoryHandle);
} OfxImageEffectSuiteV1;

/* Values pass through the varargs by type: int / double / char * for sets, pointers to them for gets;
 * two- and three-dimensional and colour params pass one argument per dimension. */
typedef struct OfxParameterSuiteV1 {
  OfxStatus (*paramDefine)(OfxParamSetHandle paramSet, const char *paramType, const char *name,
                           OfxPropertySetHandle *propertySet);
  OfxStatus (*paramGetHandle)(OfxParamSetHandle paramSet, const char *name, OfxParamHandle *param,
                              OfxPropertySetHandle *propertySet);
  OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle paramSet, OfxPropertySetHandle *propHandle);
  OfxStatus (*paramGetPropertySet)(OfxParamHandle param, OfxPropertySetHandle *propHandle);
  OfxStatus (*paramGetValue)(OfxParamHandle paramHandle, ...);
  OfxStatus (*paramGetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetDerivative)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetIntegral)(OfxParamHandle paramHandle, OfxTime time1, OfxTime time2, ...);
  OfxStatus (*paramSetValue)(OfxParamHandle paramHandle, ...);
  OfxStatus (*paramSetValueAtTime)(OfxParamHandle paramHandle, OfxTime time, ...);
  OfxStatus (*paramGetNumKeys)(OfxParamHandle paramHandle, unsigned int *numberOfKeys);
  OfxStatus (*paramGetKeyTime)(OfxParamHandle paramHandle, unsigned int nthKey, OfxTime *time);
  OfxStatus (*paramGetKeyIndex)(OfxParamHandle paramHandle, OfxTime time, int direction, int *index);
  OfxStatus (*paramDeleteKey)(OfxParamHandle paramHandle, OfxTime time);
  OfxStatus (*paramDeleteAllKeys)(OfxParamHandle paramHandle);
  OfxStatus (*paramCopy)(OfxParamHandle paramTo, OfxParamHandle paramFrom, OfxTime dstOffset, const OfxRangeD *frameRange);
  OfxStatus (*paramEditBegin)(OfxParamSetHandle paramSet, const char *name);
  OfxStatus (*paramEditEnd)(OfxParamSetHandle paramSet);
} OfxParameterSuiteV1;

typedef struct OfxMemorySuiteV1 {
  OfxStatus (*memoryAlloc)(void *handle, size_t nBytes, void **allocatedData);
  OfxStatus (*memoryFree)(void *allocatedData);
} OfxMemorySuiteV1;

typedef struct OfxMultiThreadSuiteV1 {
  OfxStatus (*multiThread)(OfxThreadFunctionV1 func, unsigned int nThreads, void *customArg);
  OfxStatus (*multiThreadNumCPUs)(unsigned int *nCPUs);
  OfxStatus (*multiThreadIndex)(unsigned int *threadIndex);
  int (*multiThreadIsSpawnedThread)(void);
  OfxStatus (*mutexCreate)(OfxMutexHandle *mutex, int lockCount);
  OfxStatus (*mutexDestroy)(const OfxMutexHandle mutex);
  OfxStatus (*mutexLock)(const OfxMutexHandle mutex);
  OfxStatus (*mutexUnLock)(const OfxMutexHandle mutex);
  OfxStatus (*mutexTryLock)(const OfxMutexHandle mutex);
} OfxMultiThreadSuiteV1;

typedef struct OfxMessageSuiteV1 {
  OfxStatus (*message)(void *handle, const char *messageType, const char *messageId, const char *format, ...);
} OfxMessageSuiteV1;

/* Starts with the V1 member, so one table can serve both versions. */
typedef struct OfxMessageSuiteV2 {
  OfxStatus (*message)(void *handle, const char *messageType, const char *messageId, const char *format, ...);
  OfxStatus (*setPersistentMessage)(void *handle, const char *messageType, const char *messageId,
                                    const char *format, ...);
  OfxStatus (*clearPersistentMessage)(void *handle);
} OfxMessageSuiteV2;

#define kOfxMessageFatal "OfxMessageFatal"
#define kOfxMessageError "OfxMessageError"
#define kOfxMessageWarning "OfxMessageWarning"
#define kOfxMessageMessage "OfxMessageMessage"
#define kOfxMessageLog "OfxMessageLog"
#define kOfxMessageQuestion "OfxMessageQuestion"

typedef struct OfxInteractSuiteV1 {
  OfxStatus (*interactSwapBuffers)(OfxInteractHandle interactInstance);
  OfxStatus (*interactRedraw)(OfxInteractHandle interactInstance);
  OfxStatus (*interactGetPropertySet)(OfxInteractHandle interactInstance, OfxPropertySetHandle *property);
} OfxInteractSuiteV1;

typedef struct OfxProgressSuiteV1 {
  OfxStatus (*progressStart)(void *effectInstance, const char *label);
  OfxStatus (*progressUpdate)(void *effectInstance, double progress);
  OfxStatus (*progressEnd)(void *effectInstance);
} OfxProgressSuiteV1;

typedef struct OfxProgressSuiteV2 {
  OfxStatus (*progressStart)(void *effectInstance, const char *message, const char *messageid);
  OfxStatus (*progressUpdate)(void *effectInstance, double progress);
  OfxStatus (*progressEnd)(void *effectInstance);
} OfxProgressSuiteV2;

typedef struct OfxTimeLineSuiteV1 {
  OfxStatus (*getTime)(void *instance, double *time);
  OfxStatus (*gotoTime)(void *instance, double time);
  OfxStatus (*getTimeBounds)(void *instance, double *firstTime, double *lastTime);
} OfxTimeLineSuiteV1;

/* Draw suite, used only by overlays declared through the V2 overlay property. */
typedef enum OfxStandardColour {
  kOfxStandardColourOverlayBackground = 0,
  kOfxStandardColourOverlayActive = 1,
  kOfxStandardColourOverlaySelected = 2,
  kOfxStandardColourOverlayDeselected = 3,
  kOfxStandardColourOverlayMarqueeFG = 4,
  kOfxStandardColourOverlayMarqueeBG = 5,
  kOfxStandardColourOverlayText = 6
} OfxStandardColour;

typedef enum OfxDrawLineStipplePattern {
  kOfxDrawLineStipplePatternSolid = 0,
  kOfxDrawLineStipplePatternDot = 1,
  kOfxDrawLineStipplePatternDash = 2,
  kOfxDrawLineStipplePatternAltDash = 3,
  kOfxDrawLineStipplePatternDotDash = 4
} OfxDrawLineStipplePattern;

typedef enum OfxDrawPrimitive {
  kOfxDrawPrimitiveLines = 0,
  kOfxDrawPrimitiveLineStrip = 1,
  kOfxDrawPrimitiveLineLoop = 2,
  kOfxDrawPrimitiveRectangle = 3,
  kOfxDrawPrimitivePolygon = 4,
  kOfxDrawPrimitiveEllipse = 5
} OfxDrawPrimitive;

#define kOfxDrawTextAlignmentLeft 1
#define kOfxDrawTextAlignmentRight 2
#define kOfxDrawTextAlignmentTop 4
#define kOfxDrawTextAlignmentBottom 8
#define kOfxDrawTextAlignmentBaseline 16
#define kOfxDrawTextAlignmentCenterH (kOfxDrawTextAlignmentLeft | kOfxDrawTextAlignmentRight)
#define kOfxDrawTextAlignmentCenterV (kOfxDrawTextAlignmentTop | kOfxDrawTextAlignmentBaseline)

typedef struct OfxDrawSuiteV1 {
  OfxStatus (*getColour)(OfxDrawContextHandle context, OfxStandardColour std_colour, OfxRGBAColourF *colour);
  OfxStatus (*setColour)(OfxDrawContextHandle context, const OfxRGBAColourF *colour);
  OfxStatus (*setLineWidth)(OfxDrawContextHandle context, float width);
  OfxStatus (*setLineStipple)(OfxDrawContextHandle context, OfxDrawLineStipplePattern pattern);
  OfxStatus (*draw)(OfxDrawContextHandle context, OfxDrawPrimitive primitive, const OfxPointD *points, int point_count);
  OfxStatus (*drawText)(OfxDrawContextHandle context, const char *text, const OfxPointD *pos, int alignment);
} OfxDrawSuiteV1;

typedef struct OfxParametricParameterSuiteV1 {
  OfxStatus (*parametricParamGetValue)(OfxParamHandle param, int curveIndex, OfxTime time, double parametricPosition,
                                       double *returnValue);
  OfxStatus (*parametricParamGetNControlPoints)(OfxParamHandle param, int curveIndex, double time, int *returnValue);
  OfxStatus (*parametricParamGetNthControlPoint)(OfxParamHandle param, int curveIndex, double time, int nthCtl,
                                                 double *key, double *value);
  OfxStatus (*parametricParamSetNthControlPoint)(OfxParamHandle param, int curveIndex, double time, int nthCtl,
                                                 double key, double value,
#ifdef __cplusplus
                                                 bool addAnimationKey);
#else
                                                 _Bool addAnimationKey);
#endif
  OfxStatus (*parametricParamAddControlPoint)(OfxParamHandle param, int curveIndex, double time, double key,
                                              double value,
#ifdef __cplusplus
                                              bool addAnimationKey);
#else
                                              _Bool addAnimationKey);
#endif
  OfxStatus (*parametricParamDeleteControlPoint)(OfxParamHandle param, int curveIndex, int nthCtl);
  OfxStatus (*parametricParamDeleteAllControlPoints)(OfxParamHandle param, int curveIndex);
} OfxParametricParameterSuiteV1;

typedef struct OfxImageEffectOpenGLRenderSuiteV1 {
  OfxStatus (*clipLoadTexture)(OfxImageClipHandle clip, OfxTime time, const char *format, const OfxRectD *region,
                               OfxPropertySetHandle *textureHandle);
  OfxStatus (*clipFreeTexture)(OfxPropertySetHandle textureHandle);
  OfxStatus (*flushResources)(void);
} OfxImageEffectOpenGLRenderSuiteV1;

#ifdef __cplusplus
}
#endif

#endif
