// Each header of the OpenFX declarations compiles on its own in C++, and the C++ view of the
// structs has the same layout as the C one.
#include "ofxapi/interact.h"
#include "ofxapi/params.h"
#include "ofxapi/image_effect.h"
#include "ofxapi/suites.h"
#include "ofxapi/core.h"

#include <cstddef>

static_assert(sizeof(OfxPlugin) == 48 && offsetof(OfxPlugin, mainEntry) == 40, "OfxPlugin in C++");
static_assert(sizeof(OfxParametricParameterSuiteV1) == 7 * sizeof(void *), "parametric suite in C++");
