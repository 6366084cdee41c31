/* Everything of the OpenFX interface in one include. */
#ifndef VESK_OFXAPI_OFX_H
#define VESK_OFXAPI_OFX_H

#include "ofxapi/core.h"
#include "ofxapi/suites.h"
#include "ofxapi/image_effect.h"
#include "ofxapi/params.h"
#include "ofxapi/interact.h"

#endif
