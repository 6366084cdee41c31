#include "ofx/ImageIO.h"

#include <cmath>
#include <cstring>
#include <string>
#include <thread>

#include "Library/Q4Convert.h"
#include "Library/Q4Image.h"
#include "ofx/SparkFrame.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

// Runs rows(first, last) over [begin, end) in bands, one per band job: a frame's conversion is
// as long as a fair part of the effect's own frame, and its rows are independent. Small windows
// stay on the calling thread, where starting threads would cost more than it saves. The last band
// takes the remainder.
template <typename Rows>
void in_bands(int begin, int end, long pixels_per_row, Rows rows) {
    const int count = end - begin;
    constexpr long kPixelsWorthAThread = 1L << 16;
    int bands = kSparkJobs;
    while (bands > 1 && (long)count * pixels_per_row < kPixelsWorthAThread * bands) --bands;
    if (bands <= 1 || count < bands) {
        if (count > 0) rows(begin, end);
        return;
    }
    const int each = count / bands;
    std::thread workers[kSparkJobs - 1];
    for (int b = 1; b < bands; ++b) {
        const int first = begin + b * each, last = b == bands - 1 ? end : first + each;
        workers[b - 1] = std::thread([&rows, first, last] { rows(first, last); });
    }
    rows(begin, begin + each);
    for (int b = 1; b < bands; ++b) workers[b - 1].join();
}

// Eight-bit RGBA pixels to packed RGB: each pixel's four bytes stored where its three go, the
// fourth overwritten by the next pixel's red; the last pixel is copied byte by byte so that
// nothing past the row is touched.
inline void rgba_to_rgb8(const uint8_t* in, uint8_t* out, size_t n) {
    if (n == 0) return;
    for (size_t x = 0; x + 1 < n; ++x, in += 4, out += 3) memcpy(out, in, 4);
    out[0] = in[0];
    out[1] = in[1];
    out[2] = in[2];
}

// Packed eight-bit RGB and a separate alpha to RGBA: four bytes read where the pixel's three
// are (the fourth is the next pixel's red, replaced by the alpha); the last pixel byte by byte.
inline void rgb_alpha_to_rgba8(const uint8_t* in, const uint8_t* alpha, uint8_t* out, size_t n) {
    if (n == 0) return;
    for (size_t x = 0; x + 1 < n; ++x, in += 3, alpha += 4, out += 4) {
        memcpy(out, in, 4);
        out[3] = alpha[0];
    }
    out[0] = in[0];
    out[1] = in[1];
    out[2] = in[2];
    out[3] = alpha[0];
}

// The twelve-bit levels of sixteen-bit values and back, the rounding sparkhost uses for files,
// so the same picture reaches the effect through either host.
inline unsigned to12(unsigned v16) { return (v16 * 4095u + 32767u) / 65535u; }
inline unsigned from12(unsigned v12) { return (v12 << 4) | (v12 >> 8); }

inline unsigned float_level(float f, unsigned max) {
    if (!(f > 0.0f)) return 0;  // NaN too
    if (f >= 1.0f) return max;
    return (unsigned)(f * (float)max + 0.5f);
}

// One component of an image pixel as a level of the Spark frame.
inline unsigned level(const uint8_t* p, int bytes, bool twelve_bit) {
    switch (bytes) {
    case 1: return twelve_bit ? ((unsigned)p[0] * 4095u + 127u) / 255u : p[0];
    case 2: {
        uint16_t v;
        memcpy(&v, p, 2);
        return twelve_bit ? to12(v) : ((unsigned)v * 255u + 32767u) / 65535u;
    }
    default: {
        float f;
        memcpy(&f, p, 4);
        return float_level(f, twelve_bit ? 4095u : 255u);
    }
    }
}

inline unsigned spark_get(const uint8_t* buffer, size_t index, bool twelve_bit) {
    if (!twelve_bit) return buffer[index];
    uint16_t w;
    memcpy(&w, buffer + 2 * index, 2);
    return (unsigned)w >> 4;
}

inline void spark_set(uint8_t* buffer, size_t index, unsigned v, bool twelve_bit) {
    if (!twelve_bit) {
        buffer[index] = (uint8_t)v;
        return;
    }
    const uint16_t w = (uint16_t)(v << 4);
    memcpy(buffer + 2 * index, &w, 2);
}

// Writes one output component from a level of the Spark frame.
inline void put(uint8_t* p, int bytes, unsigned v, bool twelve_bit) {
    switch (bytes) {
    case 1: p[0] = (uint8_t)(twelve_bit ? (v * 255u + 2047u) / 4095u : v); break;
    case 2: {
        const uint16_t w = (uint16_t)(twelve_bit ? from12(v) : v * 257u);
        memcpy(p, &w, 2);
        break;
    }
    default: {
        const float f = (float)v / (twelve_bit ? 4095.0f : 255.0f);
        memcpy(p, &f, 4);
        break;
    }
    }
}

inline void put_one(uint8_t* p, int bytes) {
    switch (bytes) {
    case 1: p[0] = 255; break;
    case 2: { const uint16_t w = 65535; memcpy(p, &w, 2); break; }
    default: { const float f = 1.0f; memcpy(p, &f, 4); break; }
    }
}

// The full-resolution pixel each output pixel of the window stands for: columns once per call,
// the row once per row; a Spark buffer index, -1 outside the frame.
struct OutputMap {
    const Placement& place;
    std::vector<int> columns;  // per window column: full-resolution column, -1 outside
    int x1;
    bool contiguous = false;  // every column inside, one after the other
    OutputMap(const Placement& p, const OfxRectI& window) : place(p), x1(window.x1) {
        for (int ox = window.x1; ox < window.x2; ++ox) {
            const int X = (int)std::floor(((double)ox + 0.5) / place.sx) - place.x0;
            columns.push_back(X >= 0 && X < place.width ? X : -1);
        }
        contiguous = !columns.empty() && columns[0] >= 0;
        for (size_t i = 1; i < columns.size() && contiguous; ++i) contiguous = columns[i] == columns[0] + (int)i;
    }
    long row(int oy) const {
        const int Y = (int)std::floor(((double)oy + 0.5) / place.sy) - place.y0;
        return Y >= 0 && Y < place.height ? (long)(place.height - 1 - Y) * place.width : -1;
    }
    long index(long row_start, int ox) const {
        const int X = columns[(size_t)(ox - x1)];
        return row_start < 0 || X < 0 ? -1 : row_start + X;
    }
};

}  // namespace

Image DescribeImage(OfxPropertySetHandle handle) {
    Image image;
    image.handle = handle;
    if (!handle) return image;
    void* data = nullptr;
    S().prop->propGetPointer(handle, kOfxImagePropData, 0, &data);
    image.data = static_cast<const uint8_t*>(data);
    S().prop->propGetIntN(handle, kOfxImagePropBounds, 4, &image.bounds.x1);
    image.row_bytes = PropInt(handle, kOfxImagePropRowBytes, 0, 0);
    const std::string components = PropString(handle, kOfxImageEffectPropComponents);
    const std::string depth = PropString(handle, kOfxImageEffectPropPixelDepth);
    image.components = components == kOfxImageComponentRGBA ? 4
                       : components == kOfxImageComponentRGB ? 3
                       : components == kOfxImageComponentAlpha ? 1 : 0;
    image.bytes = depth == kOfxBitDepthByte ? 1 : depth == kOfxBitDepthShort ? 2 : depth == kOfxBitDepthFloat ? 4 : 0;
    return image;
}

namespace {

// The image column each full-resolution column samples (-1 outside the image), once per call.
std::vector<int> column_map(const Image& image, const Placement& place) {
    std::vector<int> cols((size_t)place.width, -1);
    for (int x = 0; x < place.width; ++x) {
        const int ix = (int)std::floor(((double)(place.x0 + x) + 0.5) * place.sx);
        if (ix >= image.bounds.x1 && ix < image.bounds.x2) cols[(size_t)x] = ix;
    }
    return cols;
}

template <int Bytes, bool Twelve>
void row_to_spark(const Image& image, const std::vector<int>& cols, bool contiguous, int iy, uint8_t* buffer,
                  size_t first) {
    const int step = image.components * Bytes;
    const int channel_step = image.components == 1 ? 0 : Bytes;
    const uint8_t* row = image.pixel(image.bounds.x1, iy);
    if (contiguous) {
        // Scale 1 with the image over the whole row: pixel after pixel.
        const uint8_t* p = row + (ptrdiff_t)(cols[0] - image.bounds.x1) * step;
        if constexpr (Bytes == 1 && !Twelve) {
            // Bytes to bytes: the levels are the image's own, so plain copies do.
            uint8_t* out = buffer + first;
            const size_t n = cols.size();
            if (image.components == 3) {
                memcpy(out, p, 3 * n);
            } else if (image.components == 4) {
                rgba_to_rgb8(p, out, n);
            } else {
                for (size_t x = 0; x < n; ++x, out += 3, ++p) out[0] = out[1] = out[2] = p[0];
            }
            return;
        }
        for (size_t x = 0; x < cols.size(); ++x, p += step)
            for (int c = 0; c < 3; ++c)
                spark_set(buffer, first + 3 * x + (size_t)c, level(p + c * channel_step, Bytes, Twelve), Twelve);
        return;
    }
    for (size_t x = 0; x < cols.size(); ++x) {
        if (cols[x] < 0) continue;
        const uint8_t* p = row + (ptrdiff_t)(cols[x] - image.bounds.x1) * step;
        for (int c = 0; c < 3; ++c) spark_set(buffer, first + 3 * x + (size_t)c, level(p + c * channel_step, Bytes, Twelve), Twelve);
    }
}

}  // namespace

void ImageToSpark(const Image& image, const Placement& place, bool twelve_bit, uint8_t* buffer) {
    const size_t row_bytes = (size_t)place.width * 3 * (twelve_bit ? 2 : 1);
    if (!image.valid()) {
        memset(buffer, 0, row_bytes * (size_t)place.height);
        return;
    }
    const std::vector<int> cols = column_map(image, place);
    bool contiguous = !cols.empty() && cols[0] >= 0;
    for (size_t x = 1; x < cols.size() && contiguous; ++x) contiguous = cols[x] == cols[0] + (int)x;
    in_bands(0, place.height, place.width, [&](int first_row, int last_row) {
        for (int r = first_row; r < last_row; ++r) {
            const int Y = place.y0 + place.height - 1 - r;
            const int iy = (int)std::floor(((double)Y + 0.5) * place.sy);
            // What the image does not cover is black.
            if (!contiguous || iy < image.bounds.y1 || iy >= image.bounds.y2) memset(buffer + (size_t)r * row_bytes, 0, row_bytes);
            if (iy < image.bounds.y1 || iy >= image.bounds.y2) continue;
            const size_t first = (size_t)r * place.width * 3;
            switch (image.bytes * 2 + (twelve_bit ? 1 : 0)) {
            case 2: row_to_spark<1, false>(image, cols, contiguous, iy, buffer, first); break;
            case 3: row_to_spark<1, true>(image, cols, contiguous, iy, buffer, first); break;
            case 4: row_to_spark<2, false>(image, cols, contiguous, iy, buffer, first); break;
            case 5: row_to_spark<2, true>(image, cols, contiguous, iy, buffer, first); break;
            case 8: row_to_spark<4, false>(image, cols, contiguous, iy, buffer, first); break;
            default: row_to_spark<4, true>(image, cols, contiguous, iy, buffer, first); break;
            }
        }
    });
}

namespace {

// One output row of an RGB or RGBA image from the Spark output; see SparkToImage.
template <int Bytes, bool Twelve, bool KeepFloat>
void row_from_spark(const uint8_t* spark, const uint8_t* spark_source, const Image* source, const OutputMap& map,
                    long row, int oy, int x1, int x2, const Image& output) {
    const int comps = output.components;
    uint8_t* out = const_cast<uint8_t*>(output.pixel(x1, oy));
    const bool source_row = source && source->valid() && oy >= source->bounds.y1 && oy < source->bounds.y2;
    const bool source_alpha = source_row && source->components == 4 && source->bytes == Bytes;
    if (!KeepFloat && row >= 0 && map.contiguous && comps == 4 && source_alpha && source->bounds.x1 <= x1 &&
        source->bounds.x2 >= x2) {
        // Scale 1, the frame over the whole row and an RGBA source beside it: pixel after pixel.
        const uint8_t* a = source->pixel(x1, oy) + 3 * Bytes;
        size_t at = (size_t)map.index(row, x1) * 3;
        if constexpr (Bytes == 1 && !Twelve) {
            // Bytes to bytes: the Spark levels are the output's own.
            rgb_alpha_to_rgba8(spark + at, a, out, (size_t)(x2 - x1));
            return;
        }
        for (int ox = x1; ox < x2; ++ox, out += 4 * Bytes, a += 4 * Bytes, at += 3) {
            for (int c = 0; c < 3; ++c) put(out + c * Bytes, Bytes, spark_get(spark, at + c, Twelve), Twelve);
            memcpy(out + 3 * Bytes, a, Bytes);
        }
        return;
    }
    for (int ox = x1; ox < x2; ++ox, out += comps * Bytes) {
        const long index = map.index(row, ox);
        if (index < 0) {
            memset(out, 0, (size_t)comps * Bytes);
            continue;
        }
        const bool have = source_row && ox >= source->bounds.x1 && ox < source->bounds.x2;
        const uint8_t* s = have ? source->pixel(ox, oy) : nullptr;
        const size_t at = (size_t)index * 3;
        bool untouched = KeepFloat && s && source->components >= 3;
        if (KeepFloat) {
            // The effect's composite takes a fraction of a level off every pixel of the rows it
            // composites, drawn into or not; within one level of the plate is the plate.
            for (int c = 0; c < 3 && untouched; ++c) {
                const int o = (int)spark_get(spark, at + c, Twelve), i = (int)spark_get(spark_source, at + c, Twelve);
                untouched = o - i <= 1 && i - o <= 1;
            }
        }
        if (untouched) {
            memcpy(out, s, 3 * 4);
        } else {
            for (int c = 0; c < 3; ++c) put(out + c * Bytes, Bytes, spark_get(spark, at + c, Twelve), Twelve);
        }
        if (comps == 4) {
            if (source_alpha && have) memcpy(out + 3 * Bytes, s + 3 * Bytes, Bytes);
            else put_one(out + 3 * Bytes, Bytes);
        }
    }
}

}  // namespace

void SparkToImage(const std::vector<uint8_t>& spark, const std::vector<uint8_t>* spark_source,
                  const Image* source, const Placement& place, bool twelve_bit, const OfxRectI& window,
                  const Image& output) {
    if (!output.valid()) return;
    OfxRectI w = window;  // only what lies in the output image
    if (w.x1 < output.bounds.x1) w.x1 = output.bounds.x1;
    if (w.x2 > output.bounds.x2) w.x2 = output.bounds.x2;
    if (w.y1 < output.bounds.y1) w.y1 = output.bounds.y1;
    if (w.y2 > output.bounds.y2) w.y2 = output.bounds.y2;
    if (w.x1 >= w.x2 || w.y1 >= w.y2) return;
    const bool keep_float = output.bytes == 4 && source && source->valid() && source->bytes == 4 && spark_source &&
                            spark_source->size() == spark.size();
    const OutputMap map(place, w);
    const uint8_t* in = spark_source ? spark_source->data() : nullptr;
    in_bands(w.y1, w.y2, w.x2 - w.x1, [&](int first_row, int last_row) {
        for (int oy = first_row; oy < last_row; ++oy) {
            const long row = map.row(oy);
            if (output.components == 1) {
                // An alpha-only output carries the source's matte, or opaque.
                for (int ox = w.x1; ox < w.x2; ++ox) {
                    uint8_t* p = const_cast<uint8_t*>(output.pixel(ox, oy));
                    const bool have = source && source->valid() && source->inside(ox, oy) && source->components == 4 &&
                                      source->bytes == output.bytes;
                    if (have) memcpy(p, source->pixel(ox, oy) + 3 * source->bytes, (size_t)output.bytes);
                    else put_one(p, output.bytes);
                }
                continue;
            }
            switch (output.bytes * 2 + (twelve_bit ? 1 : 0)) {
            case 2: row_from_spark<1, false, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output); break;
            case 3: row_from_spark<1, true, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output); break;
            case 4: row_from_spark<2, false, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output); break;
            case 5: row_from_spark<2, true, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output); break;
            default:
                if (keep_float)
                    row_from_spark<4, true, true>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output);
                else if (twelve_bit)
                    row_from_spark<4, true, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output);
                else
                    row_from_spark<4, false, false>(spark.data(), in, source, map, row, oy, w.x1, w.x2, output);
                break;
            }
        }
    });
}

void SwarmOnlyToImage(const std::vector<uint8_t>& over_black, const std::vector<uint8_t>& over_white,
                      const Placement& place, bool twelve_bit, const OfxRectI& window, const Image& output) {
    if (!output.valid()) return;
    const unsigned max = twelve_bit ? 4095u : 255u;
    const int pixel_bytes = output.components * output.bytes;
    const OutputMap map(place, window);
    for (int oy = window.y1; oy < window.y2; ++oy) {
        const long row = map.row(oy);
        for (int ox = window.x1; ox < window.x2; ++ox) {
            if (!output.inside(ox, oy)) continue;
            uint8_t* p = const_cast<uint8_t*>(output.pixel(ox, oy));
            const long index = map.index(row, ox);
            if (index < 0) {
                memset(p, 0, (size_t)pixel_bytes);
                continue;
            }
            unsigned black[3], through = 0;
            for (int c = 0; c < 3; ++c) {
                black[c] = spark_get(over_black.data(), (size_t)index * 3 + c, twelve_bit);
                const unsigned white = spark_get(over_white.data(), (size_t)index * 3 + c, twelve_bit);
                through += white > black[c] ? white - black[c] : 0u;
            }
            // The three channels let the same amount through; their mean evens out the rounding.
            const unsigned alpha = max - (through + 1u) / 3u;
            if (output.components == 1) {
                put(p, output.bytes, alpha, twelve_bit);
                continue;
            }
            for (int c = 0; c < 3; ++c)
                put(p + c * output.bytes, output.bytes, black[c] < alpha ? black[c] : alpha, twelve_bit);
            if (output.components == 4) put(p + 3 * output.bytes, output.bytes, alpha, twelve_bit);
        }
    }
}

namespace {

// The image covers the frame at scale 1, pixel for pixel.
bool covers_frame(const Image& image, const Placement& place) {
    return place.sx == 1.0 && place.sy == 1.0 && image.bounds.x1 <= place.x0 &&
           image.bounds.x2 >= place.x0 + place.width && image.bounds.y1 <= place.y0 &&
           image.bounds.y2 >= place.y0 + place.height;
}

}  // namespace

bool DirectImportable(const Image& image, const Placement& place, bool twelve_bit) {
    return !twelve_bit && image.valid() && image.bytes == 1 && (image.components == 3 || image.components == 4) &&
           covers_frame(image, place);
}

bool DirectExportable(const Image& output, const Image* source, const Placement& place, bool twelve_bit,
                      const OfxRectI& window) {
    const bool whole_window = window.x1 == place.x0 && window.y1 == place.y0 && window.x2 == place.x0 + place.width &&
                              window.y2 == place.y0 + place.height;
    const bool alpha_ok = !source || !source->valid() ||
                          (source->bytes == 1 && source->components == 4 && covers_frame(*source, place));
    return !twelve_bit && output.valid() && output.bytes == 1 && output.components == 4 && whole_window &&
           covers_frame(output, place) && alpha_ok;
}

bool ImportDirect(const Image& image, const Placement& place, ImageQ4* working) {
    if (!working || working->width != place.width || working->height != place.height) return false;
    in_bands(0, place.height, place.width, [&](int first, int last) {
        for (int r = first; r < last; ++r) {
            // Frame row r (top first) is the image's row counted from the bottom.
            const uint8_t* src = image.pixel(place.x0, place.y0 + place.height - 1 - r);
            ConvertRowFrom8(src, image.components, working->rows[r], place.width);
        }
    });
    return true;
}

bool ExportDirect(ImageQ4* working, const Placement& place, const Image& output, const Image* source) {
    if (!working || working->width != place.width || working->height != place.height) return false;
    const bool alpha = source && source->valid();
    in_bands(0, place.height, place.width, [&](int first, int last) {
        for (int r = first; r < last; ++r) {
            const int y = place.y0 + place.height - 1 - r;
            uint8_t* dst = const_cast<uint8_t*>(output.pixel(place.x0, y));
            const uint8_t* a = alpha ? source->pixel(place.x0, y) + 3 : nullptr;
            ConvertRowToRGBA8(working->rows[r], dst, place.width, a, 4);
        }
    });
    return true;
}

}  // namespace vesk_ofx
