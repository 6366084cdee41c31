#include "ofx/ImageIO.h"

#include <cmath>
#include <cstring>
#include <string>

#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

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

// The full-resolution pixel an output pixel stands for, as a Spark buffer index; -1 outside.
inline long spark_index(const Placement& place, int ox, int oy) {
    const int X = (int)std::floor(((double)ox + 0.5) / place.sx) - place.x0;
    const int Y = (int)std::floor(((double)oy + 0.5) / place.sy) - place.y0;
    if (X < 0 || X >= place.width || Y < 0 || Y >= place.height) return -1;
    return (long)(place.height - 1 - Y) * place.width + X;
}

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

void ImageToSpark(const Image& image, const Placement& place, bool twelve_bit, uint8_t* buffer) {
    const size_t pixels = (size_t)place.width * place.height;
    memset(buffer, 0, pixels * 3 * (twelve_bit ? 2 : 1));
    if (!image.valid()) return;
    for (int r = 0; r < place.height; ++r) {
        const int Y = place.y0 + place.height - 1 - r;
        const int iy = (int)std::floor(((double)Y + 0.5) * place.sy);
        if (iy < image.bounds.y1 || iy >= image.bounds.y2) continue;
        for (int x = 0; x < place.width; ++x) {
            const int ix = (int)std::floor(((double)(place.x0 + x) + 0.5) * place.sx);
            if (ix < image.bounds.x1 || ix >= image.bounds.x2) continue;
            const uint8_t* p = image.pixel(ix, iy);
            const size_t at = ((size_t)r * place.width + x) * 3;
            for (int c = 0; c < 3; ++c) {
                const uint8_t* component = image.components == 1 ? p : p + c * image.bytes;
                spark_set(buffer, at + c, level(component, image.bytes, twelve_bit), twelve_bit);
            }
        }
    }
}

void SparkToImage(const std::vector<uint8_t>& spark, const std::vector<uint8_t>* spark_source,
                  const Image* source, const Placement& place, bool twelve_bit, const OfxRectI& window,
                  const Image& output) {
    if (!output.valid()) return;
    const bool keep_float = output.bytes == 4 && source && source->valid() && source->bytes == 4 && spark_source;
    const int pixel_bytes = output.components * output.bytes;
    for (int oy = window.y1; oy < window.y2; ++oy) {
        for (int ox = window.x1; ox < window.x2; ++ox) {
            if (!output.inside(ox, oy)) continue;
            uint8_t* p = const_cast<uint8_t*>(output.pixel(ox, oy));
            const long index = spark_index(place, ox, oy);
            if (index < 0) {
                memset(p, 0, (size_t)pixel_bytes);
                continue;
            }
            const bool have_source = source && source->valid() && source->inside(ox, oy);
            const uint8_t* s = have_source ? source->pixel(ox, oy) : nullptr;
            // The effect's composite takes a fraction of a level off every pixel of the rows it
            // composites, drawn into or not; within one level of the plate is the plate.
            bool untouched = keep_float && have_source && source->components >= 3;
            for (int c = 0; c < 3 && untouched; ++c) {
                const int out_level = (int)spark_get(spark.data(), (size_t)index * 3 + c, twelve_bit);
                const int in_level = (int)spark_get(spark_source->data(), (size_t)index * 3 + c, twelve_bit);
                untouched = out_level - in_level <= 1 && in_level - out_level <= 1;
            }
            if (output.components == 1) {
                if (s && source->components != 3) memcpy(p, s + (source->components - 1) * source->bytes, (size_t)output.bytes);
                else put_one(p, output.bytes);
                continue;
            }
            if (untouched) {
                memcpy(p, s, (size_t)3 * 4);
            } else {
                for (int c = 0; c < 3; ++c)
                    put(p + c * output.bytes, output.bytes, spark_get(spark.data(), (size_t)index * 3 + c, twelve_bit), twelve_bit);
            }
            if (output.components == 4) {
                uint8_t* a = p + 3 * output.bytes;
                if (s && source->components == 4 && source->bytes == output.bytes)
                    memcpy(a, s + 3 * source->bytes, (size_t)output.bytes);
                else
                    put_one(a, output.bytes);
            }
        }
    }
}

void SwarmOnlyToImage(const std::vector<uint8_t>& over_black, const std::vector<uint8_t>& over_white,
                      const Placement& place, bool twelve_bit, const OfxRectI& window, const Image& output) {
    if (!output.valid()) return;
    const unsigned max = twelve_bit ? 4095u : 255u;
    const int pixel_bytes = output.components * output.bytes;
    for (int oy = window.y1; oy < window.y2; ++oy) {
        for (int ox = window.x1; ox < window.x2; ++ox) {
            if (!output.inside(ox, oy)) continue;
            uint8_t* p = const_cast<uint8_t*>(output.pixel(ox, oy));
            const long index = spark_index(place, ox, oy);
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

}  // namespace vesk_ofx
