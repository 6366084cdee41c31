#include "ofx/Suites.h"

namespace vesk_ofx {

Suites& S() {
    static Suites suites;
    return suites;
}

bool FetchSuites() {
    Suites& s = S();
    if (!s.host || !s.host->fetchSuite) return false;
    auto fetch = [&](const char* name, int version) { return s.host->fetchSuite(s.host->host, name, version); };
    s.prop = static_cast<const OfxPropertySuiteV1*>(fetch(kOfxPropertySuite, 1));
    s.effect = static_cast<const OfxImageEffectSuiteV1*>(fetch(kOfxImageEffectSuite, 1));
    s.param = static_cast<const OfxParameterSuiteV1*>(fetch(kOfxParameterSuite, 1));
    s.memory = static_cast<const OfxMemorySuiteV1*>(fetch(kOfxMemorySuite, 1));
    s.thread = static_cast<const OfxMultiThreadSuiteV1*>(fetch(kOfxMultiThreadSuite, 1));
    s.message2 = static_cast<const OfxMessageSuiteV2*>(fetch(kOfxMessageSuite, 2));
    s.message = s.message2 ? reinterpret_cast<const OfxMessageSuiteV1*>(s.message2)
                           : static_cast<const OfxMessageSuiteV1*>(fetch(kOfxMessageSuite, 1));
    s.interact = static_cast<const OfxInteractSuiteV1*>(fetch(kOfxInteractSuite, 1));
    s.timeline = static_cast<const OfxTimeLineSuiteV1*>(fetch(kOfxTimeLineSuite, 1));
    return s.prop && s.effect && s.param;
}

std::string PropString(OfxPropertySetHandle set, const char* name, int index, const char* fallback) {
    char* value = nullptr;
    if (!set || S().prop->propGetString(set, name, index, &value) != kOfxStatOK || !value) return fallback;
    return value;
}

int PropInt(OfxPropertySetHandle set, const char* name, int index, int fallback) {
    int value = fallback;
    if (!set || S().prop->propGetInt(set, name, index, &value) != kOfxStatOK) return fallback;
    return value;
}

double PropDouble(OfxPropertySetHandle set, const char* name, int index, double fallback) {
    double value = fallback;
    if (!set || S().prop->propGetDouble(set, name, index, &value) != kOfxStatOK) return fallback;
    return value;
}

}  // namespace vesk_ofx
