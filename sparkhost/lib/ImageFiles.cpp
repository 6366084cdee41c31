#include "sparkhost/lib/ImageFiles.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>
#include <vector>

namespace sparkhost {

namespace {

std::string lowerExtension(const std::string& path) {
    size_t slash = path.rfind('/');
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
    std::string ext = path.substr(dot);
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return ext;
}

// A 16-bit file value to the host's 12 bits, rounded to nearest.
unsigned to12(unsigned v16) { return (v16 * 4095u + 32767u) / 65535u; }
// Twelve bits back to sixteen by repeating the top bits, so 4095 becomes 65535 exactly.
unsigned from12(unsigned v12) { return (v12 << 4) | (v12 >> 8); }

// Host codes in place: every 16-bit file word of a 12-bit frame becomes its 12-bit value in the
// word's upper bits. A plain loop the compiler vectorises.
void wordsTo12(uint8_t* bytes, size_t count) {
    using Word = uint16_t __attribute__((__may_alias__));
    Word* words = reinterpret_cast<Word*>(bytes);
    for (size_t i = 0; i < count; ++i) words[i] = uint16_t(to12(words[i]) << 4);
}

// Grey files fill all three channels: the first channel of each pixel is copied into the others.
void spreadGrey(FrameBuffer* out) {
    size_t pixels = size_t(out->width()) * size_t(out->height());
    uint8_t* p = out->data();
    if (isTwelveBit(out->depthCode())) {
        for (size_t i = 0; i < pixels; ++i, p += 6) {
            std::memcpy(p + 2, p, 2);
            std::memcpy(p + 4, p, 2);
        }
    } else {
        for (size_t i = 0; i < pixels; ++i, p += 3) p[1] = p[2] = p[0];
    }
}

}  // namespace

std::string defaultCompression(const std::string& path) {
    std::string ext = lowerExtension(path);
    if (ext == ".png") return "zip:1";
    if (ext == ".exr") return "zips";
    return "";
}

bool imageSize(const std::string& path, int* width, int* height, std::string* error) {
    auto in = OIIO::ImageInput::open(path);
    if (!in) {
        if (error) *error = "cannot read image '" + path + "': " + OIIO::geterror();
        return false;
    }
    *width = in->spec().width;
    *height = in->spec().height;
    in->close();
    return true;
}

namespace {

// Opens a file for its pixels, refusing files without any.
std::unique_ptr<OIIO::ImageInput> openPixels(const std::string& path, std::string* error) {
    auto in = OIIO::ImageInput::open(path);
    if (!in) {
        std::string why = OIIO::geterror();
        if (error) *error = "cannot read image '" + path + "': " + (why.empty() ? "unknown format" : why);
        return nullptr;
    }
    const OIIO::ImageSpec& spec = in->spec();
    if (spec.width <= 0 || spec.height <= 0 || spec.nchannels <= 0) {
        if (error) *error = "cannot read image '" + path + "': it has no pixels";
        return nullptr;
    }
    return in;
}

bool readOpened(OIIO::ImageInput& in, const std::string& path, int depthCode, FrameBuffer* out,
                std::string* error) {
    const OIIO::ImageSpec& spec = in.spec();
    int w = spec.width, h = spec.height, nch = spec.nchannels;
    bool deep = isTwelveBit(depthCode);
    // The file's red, green and blue (or its grey) go straight into the frame's own layout; alpha
    // and further channels are not read.
    out->resize(w, h, depthCode);
    int channels = nch >= 3 ? 3 : 1;
    if (!in.read_image(0, 0, 0, channels, deep ? OIIO::TypeDesc::UINT16 : OIIO::TypeDesc::UINT8, out->data(),
                       out->inc(), out->stride())) {
        if (error) *error = "cannot read image '" + path + "': " + in.geterror();
        return false;
    }
    in.close();
    if (channels == 1) spreadGrey(out);
    if (deep) wordsTo12(out->data(), size_t(w) * size_t(h) * 3);
    return true;
}

bool readOpenedFloat(OIIO::ImageInput& in, const std::string& path, FloatImage* out, std::string* error) {
    const OIIO::ImageSpec& spec = in.spec();
    int w = spec.width, h = spec.height, nch = spec.nchannels;
    size_t pixels = size_t(w) * size_t(h);
    out->rgb.resize(pixels * 3);
    int channels = nch >= 3 ? 3 : 1;
    if (!in.read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, out->rgb.data(), 3 * sizeof(float),
                       OIIO::stride_t(3 * sizeof(float)) * w)) {
        if (error) *error = "cannot read image '" + path + "': " + in.geterror();
        return false;
    }
    if (channels == 1)
        for (size_t i = 0; i < pixels * 3; i += 3) out->rgb[i + 1] = out->rgb[i + 2] = out->rgb[i];
    out->width = w;
    out->height = h;
    out->floatFile = spec.format.is_floating_point();
    return true;
}

}  // namespace

bool readImage(const std::string& path, int depthCode, FrameBuffer* out, std::string* error) {
    auto in = openPixels(path, error);
    return in && readOpened(*in, path, depthCode, out, error);
}

bool readImageFloat(const std::string& path, FloatImage* out, std::string* error) {
    auto in = openPixels(path, error);
    return in && readOpenedFloat(*in, path, out, error);
}

bool readImageAsStored(const std::string& path, int depthCode, FrameBuffer* frame, FloatImage* image,
                       std::string* error) {
    auto in = openPixels(path, error);
    if (!in) return false;
    if (in->spec().format.is_floating_point()) return readOpenedFloat(*in, path, image, error);
    image->floatFile = false;
    return readOpened(*in, path, depthCode, frame, error);
}

void frameFromFloat(const FloatImage& image, int depthCode, FrameBuffer* out) {
    // The same conversion OpenImageIO makes when a float file is read as integers, so a float
    // file taken as it is gives the codes it always gave.
    int w = image.width, h = image.height;
    bool deep = isTwelveBit(depthCode);
    out->resize(w, h, depthCode);
    OIIO::convert_image(3, w, h, 1, image.rgb.data(), OIIO::TypeDesc::FLOAT, OIIO::AutoStride, OIIO::AutoStride,
                        OIIO::AutoStride, out->data(), deep ? OIIO::TypeDesc::UINT16 : OIIO::TypeDesc::UINT8,
                        OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride);
    if (deep) wordsTo12(out->data(), size_t(w) * size_t(h) * 3);
}

namespace {

struct CompressionNames {
    std::vector<std::string> extensions;
    std::vector<std::string> names;
    std::vector<std::string> levelled;  // those that may be followed by ":LEVEL"
    int minLevel, maxLevel;
    const char* shown;                  // the list as the message gives it
};

const std::vector<CompressionNames>& compressionTable() {
    static const std::vector<CompressionNames> table = {
        {{".png"}, {"zip"}, {"zip"}, 0, 9, "zip or zip:LEVEL (0 to 9)"},
        {{".exr"},
         {"none", "rle", "zip", "zips", "piz", "pxr24", "b44", "b44a", "dwaa", "dwab"},
         {"zip", "zips", "dwaa", "dwab"},
         1,
         100000,
         "none, rle, zip, zips, piz, pxr24, b44, b44a, dwaa, dwab (zip, zips :1 to 9; dwaa, dwab :LEVEL)"},
        {{".tif", ".tiff"}, {"none", "lzw", "zip", "packbits"}, {"zip"}, 1, 9, "none, lzw, zip, zip:LEVEL (1 to 9), packbits"},
        {{".jpg", ".jpeg"}, {"jpeg"}, {"jpeg"}, 1, 100, "jpeg or jpeg:QUALITY (1 to 100)"},
        {{".dpx"}, {"none"}, {}, 0, 0, "none"},
    };
    return table;
}

}  // namespace

bool checkCompression(const std::string& path, const std::string& compression, std::string* error) {
    if (compression.empty()) return true;
    std::string ext = lowerExtension(path);
    for (const auto& format : compressionTable()) {
        if (std::find(format.extensions.begin(), format.extensions.end(), ext) == format.extensions.end()) continue;
        size_t colon = compression.find(':');
        std::string name = compression.substr(0, colon);
        bool known = std::find(format.names.begin(), format.names.end(), name) != format.names.end();
        if (known && colon != std::string::npos) {
            std::string level = compression.substr(colon + 1);
            bool levelled = std::find(format.levelled.begin(), format.levelled.end(), name) != format.levelled.end();
            bool digits = !level.empty() && level.size() <= 6 && level.find_first_not_of("0123456789") == std::string::npos;
            int value = digits ? std::stoi(level) : -1;
            // zip levels of OpenEXR go to 9 whatever the table's wider DWA range
            int top = ext == ".exr" && name.compare(0, 3, "zip") == 0 ? 9 : format.maxLevel;
            known = levelled && digits && value >= format.minLevel && value <= top;
        }
        if (known) return true;
        if (error) *error = "--compression '" + compression + "' is not one the " + ext.substr(1) +
                            " writer takes: " + format.shown;
        return false;
    }
    if (error) *error = "--compression '" + compression + "': the " + (ext.empty() ? "" : ext.substr(1) + " ") +
                        "writer takes no compression setting";
    return false;
}

bool canWriteImageType(const std::string& path, std::string* error) {
    auto out = OIIO::ImageOutput::create(path);
    // Frames are encoded in memory and written by the host itself (see writeAtomically).
    if (out && out->supports("ioproxy")) return true;
    if (error) *error = "no image writer for '" + path + "' (use .png, .exr, .tif, .jpg, .dpx ...)";
    OIIO::geterror();  // clears the library's message
    return false;
}

namespace {

// 8-bit frames go to 8-bit files, 12-bit frames to 16-bit files; OpenEXR always holds half floats
// and the formats that hold nothing deeper get 8 bits.
OIIO::TypeDesc fileTypeFor(const std::string& path, bool deep) {
    std::string ext = lowerExtension(path);
    if (ext == ".exr") return OIIO::TypeDesc::HALF;
    if (ext == ".jpg" || ext == ".jpeg" || ext == ".gif" || ext == ".bmp") return OIIO::TypeDesc::UINT8;
    return deep ? OIIO::TypeDesc::UINT16 : OIIO::TypeDesc::UINT8;
}

// Writes w x h RGB pixels of the given type under a temporary name in the same folder and renames
// the file once it is complete. The image library encodes into memory and the file is written
// here: the libraries behind some formats never look at the result of a write (a full disk gave
// short PNG files) or end the whole process from the writing thread (JPEG), so no write of theirs
// ever reaches the disk.
bool writeAtomically(const std::string& path, int w, int h, OIIO::TypeDesc fileType, OIIO::TypeDesc pixelType,
                     const void* pixels, std::string* error, const ImageWriteSettings& settings) {
    auto fail = [&](const std::string& why) {
        if (error) *error = "cannot write image '" + path + "': " + why;
        return false;
    };
    auto out = OIIO::ImageOutput::create(path);
    if (!out) return fail("no writer for this file type (" + OIIO::geterror() + ")");
    if (!out->supports("ioproxy")) return fail("the " + std::string(out->format_name()) + " writer cannot be checked");
    // Each writer thread keeps its encoding buffer from frame to frame.
    thread_local std::vector<unsigned char> encoded;
    encoded.clear();
    OIIO::Filesystem::IOVecOutput memory(encoded);
    out->set_ioproxy(&memory);
    OIIO::ImageSpec spec(w, h, 3, fileType);
    std::string compression = settings.compression.empty() ? defaultCompression(path) : settings.compression;
    if (!compression.empty()) spec.attribute("compression", compression);
    // Opened under the frame's own name: formats that record their file name (DPX) hold the name
    // the file ends up with rather than the temporary one.
    if (!out->open(path, spec)) return fail(out->geterror());
    // Written in bands of rows: the writers copy, convert and compress the rows of each call in
    // buffers of their own, and small buffers are reused from the heap where a whole frame's would
    // be mapped and faulted in afresh for every frame. 64 rows hold whole TIFF strips and EXR blocks.
    const int band = 64;
    size_t rowBytes = size_t(w) * 3 * pixelType.size();
    bool ok = true;
    for (int y = 0; ok && y < h; y += band)
        ok = out->write_scanlines(y, std::min(y + band, h), 0, pixelType,
                                  static_cast<const uint8_t*>(pixels) + size_t(y) * rowBytes);
    std::string why = ok ? "" : out->geterror();
    if (!out->close() && ok) {
        ok = false;
        why = out->geterror();
    }
    if (!ok) return fail(why);
    if (!replaceFile(path, encoded.data(), encoded.size(), &why, settings.beforeRename)) return fail(why);
    return true;
}

}  // namespace

bool writeImage(const std::string& path, const FrameBuffer& frame, std::string* error,
                const ImageWriteSettings& settings) {
    bool deep = isTwelveBit(frame.depthCode());
    OIIO::TypeDesc fileType = fileTypeFor(path, deep);
    int w = frame.width(), h = frame.height();
    size_t count = size_t(w) * size_t(h) * 3;
    const uint8_t* bytes = frame.data();
    using Word = uint16_t __attribute__((__may_alias__));
    const Word* words = reinterpret_cast<const Word*>(bytes);
    // Each writer thread keeps its conversion buffer from frame to frame.
    thread_local std::vector<uint16_t> pixels16;
    thread_local std::vector<uint8_t> pixels8;
    if (fileType == OIIO::TypeDesc::HALF || (deep && fileType == OIIO::TypeDesc::UINT16)) {
        pixels16.resize(count);
        uint16_t* to = pixels16.data();
        if (deep)
            for (size_t i = 0; i < count; ++i) to[i] = uint16_t(from12(unsigned(words[i]) >> 4));
        else
            for (size_t i = 0; i < count; ++i) to[i] = uint16_t(bytes[i] * 257u);  // (v << 8) | v
        return writeAtomically(path, w, h, fileType, OIIO::TypeDesc::UINT16, to, error, settings);
    }
    if (!deep)  // the frame's bytes are already the file's pixels
        return writeAtomically(path, w, h, fileType, OIIO::TypeDesc::UINT8, bytes, error, settings);
    pixels8.resize(count);
    uint8_t* to = pixels8.data();
    // Deep frames kept in an 8-bit file are rounded to the nearest of 255 steps.
    for (size_t i = 0; i < count; ++i) to[i] = uint8_t(((unsigned(words[i]) >> 4) * 255u + 2047u) / 4095u);
    return writeAtomically(path, w, h, fileType, OIIO::TypeDesc::UINT8, to, error, settings);
}

bool writeImageFloat(const std::string& path, const FloatImage& image, bool deep, std::string* error,
                     const ImageWriteSettings& settings) {
    return writeAtomically(path, image.width, image.height, fileTypeFor(path, deep), OIIO::TypeDesc::FLOAT,
                           image.rgb.data(), error, settings);
}

bool writesFloat(const std::string& path) { return fileTypeFor(path, true) == OIIO::TypeDesc::HALF; }

}  // namespace sparkhost
