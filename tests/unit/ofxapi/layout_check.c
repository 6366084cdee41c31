/* The OpenFX declarations compiled as C, with the x86-64 sizes and member offsets the binary
 * interface fixes: a wrong member order or type stops the build here rather than crashing a host. */
#include <stddef.h>
#include <string.h>

#include "ofxapi/ofx.h"

#define FN (sizeof(void (*)(void)))
_Static_assert(sizeof(OfxHost) == 16, "OfxHost size");
_Static_assert(offsetof(OfxHost, fetchSuite) == 8, "OfxHost.fetchSuite");
_Static_assert(sizeof(OfxPlugin) == 48, "OfxPlugin size");
_Static_assert(offsetof(OfxPlugin, apiVersion) == 8, "OfxPlugin.apiVersion");
_Static_assert(offsetof(OfxPlugin, pluginIdentifier) == 16, "OfxPlugin.pluginIdentifier");
_Static_assert(offsetof(OfxPlugin, pluginVersionMajor) == 24, "OfxPlugin.pluginVersionMajor");
_Static_assert(offsetof(OfxPlugin, pluginVersionMinor) == 28, "OfxPlugin.pluginVersionMinor");
_Static_assert(offsetof(OfxPlugin, setHost) == 32, "OfxPlugin.setHost");
_Static_assert(offsetof(OfxPlugin, mainEntry) == 40, "OfxPlugin.mainEntry");
_Static_assert(sizeof(OfxRectI) == 16 && _Alignof(OfxRectI) == 4, "OfxRectI");
_Static_assert(sizeof(OfxRectD) == 32 && _Alignof(OfxRectD) == 8, "OfxRectD");
_Static_assert(offsetof(OfxRectD, y2) == 24, "OfxRectD.y2");
_Static_assert(sizeof(OfxPointI) == 8 && sizeof(OfxPointD) == 16, "points");
_Static_assert(sizeof(OfxRangeI) == 8 && sizeof(OfxRangeD) == 16, "ranges");
_Static_assert(sizeof(OfxRGBAColourB) == 4 && sizeof(OfxRGBAColourS) == 8, "RGBA B/S");
_Static_assert(sizeof(OfxRGBAColourF) == 16 && sizeof(OfxRGBAColourD) == 32, "RGBA F/D");
_Static_assert(sizeof(OfxRGBColourB) == 3 && sizeof(OfxRGBColourS) == 6, "RGB B/S");
_Static_assert(sizeof(OfxRGBColourF) == 12 && sizeof(OfxRGBColourD) == 24, "RGB F/D");
_Static_assert(_Alignof(OfxRGBColourS) == 2 && _Alignof(OfxRGBColourD) == 8, "RGB alignment");
_Static_assert(sizeof(OfxBytes) == 16 && offsetof(OfxBytes, length) == 8, "OfxBytes");

/* Suites: member counts, and the position of members a host or plug-in is most likely to misplace. */
_Static_assert(sizeof(OfxPropertySuiteV1) == 18 * FN, "property suite");
_Static_assert(offsetof(OfxPropertySuiteV1, propGetPointer) == 8 * FN, "propGetPointer");
_Static_assert(offsetof(OfxPropertySuiteV1, propGetDimension) == 17 * FN, "propGetDimension");
_Static_assert(sizeof(OfxImageEffectSuiteV1) == 13 * FN, "image effect suite");
_Static_assert(offsetof(OfxImageEffectSuiteV1, abort) == 8 * FN, "abort");
_Static_assert(sizeof(OfxParameterSuiteV1) == 18 * FN, "parameter suite");
_Static_assert(offsetof(OfxParameterSuiteV1, paramSetValue) == 8 * FN, "paramSetValue");
_Static_assert(offsetof(OfxParameterSuiteV1, paramEditBegin) == 16 * FN, "paramEditBegin");
_Static_assert(sizeof(OfxMemorySuiteV1) == 2 * FN, "memory suite");
_Static_assert(sizeof(OfxMultiThreadSuiteV1) == 9 * FN, "multi-thread suite");
_Static_assert(offsetof(OfxMultiThreadSuiteV1, mutexCreate) == 4 * FN, "mutexCreate");
_Static_assert(sizeof(OfxMessageSuiteV1) == 1 * FN && sizeof(OfxMessageSuiteV2) == 3 * FN, "message suites");
_Static_assert(sizeof(OfxInteractSuiteV1) == 3 * FN, "interact suite");
_Static_assert(offsetof(OfxInteractSuiteV1, interactGetPropertySet) == 2 * FN, "interactGetPropertySet");
_Static_assert(sizeof(OfxProgressSuiteV1) == 3 * FN && sizeof(OfxProgressSuiteV2) == 3 * FN, "progress");
_Static_assert(sizeof(OfxTimeLineSuiteV1) == 3 * FN, "time line suite");
_Static_assert(sizeof(OfxDrawSuiteV1) == 6 * FN && sizeof(OfxStandardColour) == 4, "draw suite");
_Static_assert(sizeof(OfxParametricParameterSuiteV1) == 7 * FN, "parametric suite");
_Static_assert(sizeof(OfxImageEffectOpenGLRenderSuiteV1) == 3 * FN, "OpenGL render suite");

_Static_assert(kOfxFlagInfiniteMin == -2147483647 - 1 && kOfxFlagInfiniteMax == 2147483647, "infinite");

/* Names whose macro is not "k" + the string: a slip here makes a host and plug-in miss each other. */
static const char *const irregular[][2] = {
    {kOfxImageEffectPluginApi, "OfxImageEffectPluginAPI"},
    {kOfxImageEffectPropSupportsMultipleClipDepths, "OfxImageEffectPropMultipleClipDepths"},
    {kOfxImageEffectPropProjectPixelAspectRatio, "OfxImageEffectPropPixelAspectRatio"},
    {kOfxImagePreMultiplied, "OfxImageAlphaPremultiplied"},
    {kOfxImageUnPreMultiplied, "OfxImageAlphaUnPremultiplied"},
    {kOfxImageFieldNone, "OfxFieldNone"},
    {kOfxImageFieldDoubled, "OfxFieldDoubled"},
    {kOfxHostNativeOriginBottomLeft, "kOfxImageEffectHostPropNativeOriginBottomLeft"},
    {kOfxParamPropUseHostOverlayHandle, "kOfxParamPropUseHostOverlayHandle"},
    {kOfxParamPropCustomInterpCallbackV1, "OfxParamPropCustomCallbackV1"},
    {kOfxPropKeySym, "kOfxPropKeySym"},
    {kOfxPropKeyString, "kOfxPropKeyString"},
    {kOfxActionOpenGLContextDetached, "kOfxActionOpenGLContextDetached"},
    {kOfxOpenGLRenderSuite, "OfxImageEffectOpenGLRenderSuite"},
    {kOfxInteractPropViewportSize, "OfxInteractPropViewport"},
    {kOfxActionDescribeInteract, "OfxActionDescribe"},
    {kOfxImageEffectOutputClipName, "Output"},
    {kOfxImageEffectSimpleSourceClipName, "Source"},
};

int main(void) {
  int failed = 0;
  for (size_t i = 0; i < sizeof irregular / sizeof irregular[0]; ++i)
    failed += strcmp(irregular[i][0], irregular[i][1]) != 0;
  return failed == 0 && kOfxStatReplyDefault == 14 && kOfxStatErrImageFormat == 1000 ? 0 : 1;
}
