#include "ofx/Overlay.h"

namespace vesk_ofx {

// No overlay interact yet: hosts show the parameters' own handles.
OfxPluginEntryPoint* OverlayEntryPoint() { return nullptr; }

}  // namespace vesk_ofx
