// The seam of the overlay interact: describe asks here for the entry point of the on-screen
// handles and wireframe preview; null while the binding has none.
#ifndef OFX_OVERLAY_H
#define OFX_OVERLAY_H

#include "ofxapi/ofx.h"

namespace vesk_ofx {

OfxPluginEntryPoint* OverlayEntryPoint();

}  // namespace vesk_ofx

#endif
