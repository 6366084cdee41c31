// The OpenFX declarations sparkhost's OFX host uses: the project's own headers in ofxapi/, which
// the Vesk OFX plug-in includes too.
#ifndef SPARKHOST_OFX_OFXAPI_H
#define SPARKHOST_OFX_OFXAPI_H

#include "ofxapi/ofx.h"

#endif
