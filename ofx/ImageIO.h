// Pictures between the compositor's images and the Spark frame buffers the effect works on.
// A Spark buffer holds the full-resolution frame, top row first, RGB: bytes in 8-bit frames,
// 16-bit words holding the 12-bit value shifted up by four in 12-bit frames. OpenFX images hold
// their rows bottom first, at the render scale.
#ifndef OFX_IMAGEIO_H
#define OFX_IMAGEIO_H

#include <cstdint>
#include <vector>

#include "ofxapi/ofx.h"

class ImageQ4;

namespace vesk_ofx {

struct Image {
    OfxPropertySetHandle handle = nullptr;
    const uint8_t* data = nullptr;
    OfxRectI bounds{0, 0, 0, 0};
    int row_bytes = 0;
    int components = 0;  // 1 alpha, 3 RGB, 4 RGBA
    int bytes = 0;       // per component: 1, 2 or 4 (float)
    bool valid() const { return data != nullptr && components > 0 && bytes > 0; }
    const uint8_t* pixel(int x, int y) const {
        return data + (ptrdiff_t)(y - bounds.y1) * row_bytes + (ptrdiff_t)(x - bounds.x1) * components * bytes;
    }
    bool inside(int x, int y) const { return x >= bounds.x1 && x < bounds.x2 && y >= bounds.y1 && y < bounds.y2; }
};

// Reads the image's description from its property set (data, bounds, layout).
Image DescribeImage(OfxPropertySetHandle handle);

// Where the full-resolution frame lies in pixel coordinates, and the scale of the images.
struct Placement {
    int width = 0, height = 0;  // full-resolution frame
    int x0 = 0, y0 = 0;         // its bottom-left pixel at full resolution
    double sx = 1.0, sy = 1.0;  // render scale
};

// Fills a Spark buffer from an image: each full-resolution pixel takes the image pixel it falls
// in (the same pixel at scale 1); pixels outside the image are black. An alpha-only image gives
// its alpha to red, green and blue.
void ImageToSpark(const Image& image, const Placement& place, bool twelve_bit, uint8_t* buffer);

// Writes the render window of the output image from the Spark output. With a float source, a
// pixel the swarm left as it found it (within one level: the composite's own rounding) keeps the
// source's own value. Alpha is the source's, or
// opaque without one.
void SparkToImage(const std::vector<uint8_t>& spark, const std::vector<uint8_t>* spark_source,
                  const Image* source, const Placement& place, bool twelve_bit, const OfxRectI& window,
                  const Image& output);

// Writes the swarm alone from the same frame drawn over black and over white: the difference
// is what the swarm lets through, so alpha = 1 - (white - black) and the colour, already
// premultiplied, is the frame over black.
void SwarmOnlyToImage(const std::vector<uint8_t>& over_black, const std::vector<uint8_t>& over_white,
                      const Placement& place, bool twelve_bit, const OfxRectI& window, const Image& output);

// Eight-bit pictures at scale 1 that cover the whole frame go straight between the image and the
// effect's working image, without a Spark buffer in between (the values are those the buffer
// would give). Whether an input can, and whether the output can: the whole frame asked for, an
// RGBA output whose alpha comes from an eight-bit RGBA source covering it (or is opaque without
// a source).
bool DirectImportable(const Image& image, const Placement& place, bool twelve_bit);
bool DirectExportable(const Image& output, const Image* source, const Placement& place, bool twelve_bit,
                      const OfxRectI& window);
// Both set rows of the full-resolution frame, top row first, in bands; false, with nothing
// converted, for a working image of another size than the frame.
bool ImportDirect(const Image& image, const Placement& place, ImageQ4* working);
bool ExportDirect(ImageQ4* working, const Placement& place, const Image& output, const Image* source);

}  // namespace vesk_ofx

#endif
