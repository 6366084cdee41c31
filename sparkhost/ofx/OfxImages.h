// Pixels between sparkhost's frames (RGB, row 0 at the top, 8-bit or 12-bit words) and OFX
// images (RGBA, RGB or Alpha; bytes, 16-bit shorts or floats; rows from the bottom up).
//
// A 12-bit value v becomes the 16-bit v << 4 | v >> 8 (its bits repeated, so that 4095 is white
// 65535), and a 16-bit value goes back by its top twelve bits: the round trip is exact, whatever
// rounding an effect uses to go between 16 and 12 bits. Floats are v / 255 or v / 4095 and go back
// rounded to nearest and clipped. Alpha from an RGB frame is opaque for RGBA images; an Alpha-only
// image takes the frame's luminance (Rec. 709 weights), as a matte drawn in grey means it.
#ifndef SPARKHOST_OFX_OFXIMAGES_H
#define SPARKHOST_OFX_OFXIMAGES_H

#include <cstddef>
#include <string>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/ofx/OfxApi.h"

namespace sparkhost {
namespace ofx {

int componentBytes(const std::string& depth);       // 1, 2 or 4; 0 for depths the host lacks
int componentCount(const std::string& components);  // 4, 3 or 1; 0 for unknown ones

// The whole frame as an image, rows bottom to top without padding.
void frameToImage(const FrameBuffer& frame, const std::string& depth, const std::string& components,
                  std::vector<unsigned char>* pixels);

// Copies the pixels of an image inside a window (pixel coordinates) into a frame of the same
// size. rowBytes may be negative (rows stored top down); data points at the bottom-left pixel
// of bounds.
void imageToFrame(const unsigned char* data, ptrdiff_t rowBytes, const OfxRectI& bounds, const std::string& depth,
                  const std::string& components, const OfxRectI& window, FrameBuffer* frame);

}  // namespace ofx
}  // namespace sparkhost

#endif
