// Reading and writing frames with OpenImageIO, converted between the file's pixels and the host's
// 8-bit or 12-bit layout.
#ifndef SPARKHOST_LIB_IMAGEFILES_H
#define SPARKHOST_LIB_IMAGEFILES_H

#include <functional>
#include <string>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/SafeFile.h"

namespace sparkhost {

bool imageSize(const std::string& path, int* width, int* height, std::string* error);

// Reads any format OpenImageIO reads into a buffer of the file's size at the given depth code.
// Grey images fill all three channels; alpha and further channels are dropped. 16-bit and
// floating-point files are rounded to the host's precision (255 or 4095 steps, 1.0 = full).
bool readImage(const std::string& path, int depthCode, FrameBuffer* out, std::string* error);

// Writes a buffer: 8-bit frames as 8-bit files, 12-bit frames as 16-bit files (half float for
// OpenEXR, 8-bit for formats that hold nothing deeper). The file appears under its name only once
// complete: it is written under a temporary name in the same folder and then renamed.
struct ImageWriteSettings {
    // The writer's "compression" attribute ("zip:1", "piz", "none" ...); empty: defaultCompression.
    std::string compression;
    // Called once the file is complete under its temporary name, just before the rename: writers
    // running side by side use it to publish their frames in order. Returning false abandons the
    // file (the temporary is removed and the write fails).
    std::function<bool()> beforeRename;
};
bool writeImage(const std::string& path, const FrameBuffer& frame, std::string* error,
                const ImageWriteSettings& settings = {});
// What a render writes its frames with: writeImage, or a colour-managed writer.
using FrameWriteFunction = std::function<bool(const std::string& path, const FrameBuffer& frame,
                                              std::string* error, const ImageWriteSettings& settings)>;

// A file's pixels as floats, three per pixel (1.0 = full for integer files), for colour conversion.
struct FloatImage {
    int width = 0;
    int height = 0;
    bool floatFile = false;  // the file itself holds floating-point pixels
    std::vector<float> rgb;
};
bool readImageFloat(const std::string& path, FloatImage* out, std::string* error);
// Opens the file once and reads it as it is stored: a floating-point file into `image` (its
// floatFile set), any other into `frame` as readImage does (image->floatFile left false).
bool readImageAsStored(const std::string& path, int depthCode, FrameBuffer* frame, FloatImage* image,
                       std::string* error);
// Host codes from float pixels, rounded exactly as readImage rounds a floating-point file.
void frameFromFloat(const FloatImage& image, int depthCode, FrameBuffer* out);
// Writes float pixels in the file type writeImage would use for a frame of that depth.
bool writeImageFloat(const std::string& path, const FloatImage& image, bool deep, std::string* error,
                     const ImageWriteSettings& settings = {});
// Whether writeImage stores this path's frames as floating point (OpenEXR).
bool writesFloat(const std::string& path);

// The compression a render uses unless told otherwise: fast settings, since a render writes every
// frame once and the files are usually converted later. PNG: zlib level 1; OpenEXR: ZIP by single
// scan line (lossless). Other formats keep the library's default ("").
std::string defaultCompression(const std::string& path);

// Whether the writer of the path's file type takes this compression ("zip:6", "piz" ...); the
// image library would otherwise quietly fall back to its default for a name it does not know.
bool checkCompression(const std::string& path, const std::string& compression, std::string* error);

// Whether an image writer exists for the path's file type.
bool canWriteImageType(const std::string& path, std::string* error);

}  // namespace sparkhost

#endif
