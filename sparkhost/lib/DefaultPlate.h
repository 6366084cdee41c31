// The plate a render uses when no background clip is given: an evening sky over layered hills,
// the same picture for every frame and on every machine.
#ifndef SPARKHOST_LIB_DEFAULTPLATE_H
#define SPARKHOST_LIB_DEFAULTPLATE_H

#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

// Fills the whole buffer at its own size and depth.
void makeDefaultPlate(FrameBuffer* frame);

}  // namespace sparkhost

#endif
