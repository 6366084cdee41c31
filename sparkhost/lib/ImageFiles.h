// Reading and writing frames with OpenImageIO, converted between the file's pixels and the host's
// 8-bit or 12-bit layout.
#ifndef SPARKHOST_LIB_IMAGEFILES_H
#define SPARKHOST_LIB_IMAGEFILES_H

#include <string>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

bool imageSize(const std::string& path, int* width, int* height, std::string* error);

// Reads any format OpenImageIO reads into a buffer of the file's size at the given depth code.
// Grey images fill all three channels; alpha and further channels are dropped. 16-bit and
// floating-point files are rounded to the host's precision (255 or 4095 steps, 1.0 = full).
bool readImage(const std::string& path, int depthCode, FrameBuffer* out, std::string* error);

// Writes a buffer: 8-bit frames as 8-bit files, 12-bit frames as 16-bit files (half float for
// OpenEXR, 8-bit for formats that hold nothing deeper). The file appears under its name only once
// complete: it is written under a temporary name in the same folder and then renamed.
bool writeImage(const std::string& path, const FrameBuffer& frame, std::string* error);

// A file's pixels as floats, three per pixel (1.0 = full for integer files), for colour conversion.
struct FloatImage {
    int width = 0;
    int height = 0;
    bool floatFile = false;  // the file itself holds floating-point pixels
    std::vector<float> rgb;
};
bool readImageFloat(const std::string& path, FloatImage* out, std::string* error);
bool isFloatImage(const std::string& path);
// Host codes from float pixels, rounded exactly as readImage rounds a floating-point file.
void frameFromFloat(const FloatImage& image, int depthCode, FrameBuffer* out);
// Writes float pixels in the file type writeImage would use for a frame of that depth.
bool writeImageFloat(const std::string& path, const FloatImage& image, bool deep, std::string* error);
// Whether writeImage stores this path's frames as floating point (OpenEXR).
bool writesFloat(const std::string& path);

// The temporary file a writeImage under way is writing, or "" between writes. A signal handler
// may unlink it (the text lives in static storage), so that an interrupted render leaves nothing.
const char* partialImagePath();

}  // namespace sparkhost

#endif
