// The host's suites, fetched once when the binary is loaded, and small helpers over them.
#ifndef OFX_SUITES_H
#define OFX_SUITES_H

#include <string>

#include "ofxapi/ofx.h"

namespace vesk_ofx {

struct Suites {
    OfxHost* host = nullptr;
    const OfxPropertySuiteV1* prop = nullptr;
    const OfxImageEffectSuiteV1* effect = nullptr;
    const OfxParameterSuiteV1* param = nullptr;
    const OfxMemorySuiteV1* memory = nullptr;
    const OfxMultiThreadSuiteV1* thread = nullptr;
    const OfxMessageSuiteV1* message = nullptr;
    const OfxMessageSuiteV2* message2 = nullptr;  // null when the host has only version 1
    const OfxInteractSuiteV1* interact = nullptr;
    const OfxTimeLineSuiteV1* timeline = nullptr;
};

Suites& S();
// Fetches the suites; false when a mandatory one is missing.
bool FetchSuites();

// Property helpers that answer a fallback when the property is absent.
std::string PropString(OfxPropertySetHandle set, const char* name, int index = 0, const char* fallback = "");
int PropInt(OfxPropertySetHandle set, const char* name, int index = 0, int fallback = 0);
double PropDouble(OfxPropertySetHandle set, const char* name, int index = 0, double fallback = 0.0);

}  // namespace vesk_ofx

#endif
