#include "sparkhost/ofx/OfxImages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace sparkhost {
namespace ofx {

int componentBytes(const std::string& depth) {
    if (depth == kOfxBitDepthByte) return 1;
    if (depth == kOfxBitDepthShort) return 2;
    if (depth == kOfxBitDepthFloat) return 4;
    return 0;
}

int componentCount(const std::string& components) {
    if (components == kOfxImageComponentRGBA) return 4;
    if (components == kOfxImageComponentRGB) return 3;
    if (components == kOfxImageComponentAlpha) return 1;
    return 0;
}

namespace {

// A frame channel value (0..255 or 0..4095) as the image's component.
struct Up {
    bool twelve;
    int bytes;
    void put(unsigned char* out, unsigned v) const {
        if (bytes == 1) {
            *out = twelve ? static_cast<unsigned char>((v * 255 + 2047) / 4095) : static_cast<unsigned char>(v);
        } else if (bytes == 2) {
            uint16_t s = twelve ? uint16_t(v << 4 | v >> 8) : uint16_t(v * 257);
            std::memcpy(out, &s, 2);
        } else {
            float f = float(double(v) / (twelve ? 4095.0 : 255.0));
            std::memcpy(out, &f, 4);
        }
    }
    unsigned white() const { return twelve ? 4095u : 255u; }
};

// An image component back at the frame's precision.
struct Down {
    bool twelve;
    int bytes;
    unsigned get(const unsigned char* in) const {
        if (bytes == 1) {
            unsigned b = *in;
            return twelve ? (b << 4 | b >> 4) : b;
        }
        if (bytes == 2) {
            uint16_t s;
            std::memcpy(&s, in, 2);
            return twelve ? unsigned(s >> 4) : unsigned((s * 255u + 32767u) / 65535u);
        }
        float f;
        std::memcpy(&f, in, 4);
        double top = twelve ? 4095.0 : 255.0;
        if (!(f > 0)) return 0;
        if (f >= 1) return unsigned(top);
        return unsigned(std::lround(double(f) * top));
    }
};

}  // namespace

void frameToImage(const FrameBuffer& frame, const std::string& depth, const std::string& components,
                  std::vector<unsigned char>* pixels) {
    const int w = frame.width(), h = frame.height();
    const int cb = componentBytes(depth), cc = componentCount(components);
    const size_t pixelBytes = size_t(cb) * size_t(cc);
    pixels->assign(size_t(w) * size_t(h) * pixelBytes, 0);
    const bool twelve = isTwelveBit(frame.depthCode());
    Up up{twelve, cb};
    if (cc >= 3 && ((!twelve && cb == 1) || (twelve && cb == 2))) {
        // The frame's own precision in the image's layout, row by row: every frame of a render
        // passes here, and a call per sample was most of an effect's frame at HD.
        for (int y = 0; y < h; ++y) {
            const unsigned char* in = frame.data() + size_t(h - 1 - y) * size_t(frame.stride());
            unsigned char* out = pixels->data() + size_t(y) * size_t(w) * pixelBytes;
            if (cb == 1) {
                for (int x = 0; x < w; ++x, in += 3, out += pixelBytes) {
                    out[0] = in[0];
                    out[1] = in[1];
                    out[2] = in[2];
                    if (cc == 4) out[3] = 255;
                }
                continue;
            }
            for (int x = 0; x < w; ++x, in += 6, out += pixelBytes) {
                for (int c = 0; c < 3; ++c) {
                    uint16_t word;
                    std::memcpy(&word, in + 2 * c, 2);
                    up.put(out + 2 * c, unsigned(word >> 4));
                }
                if (cc == 4) up.put(out + 6, up.white());
            }
        }
        return;
    }
    for (int y = 0; y < h; ++y) {
        // Image row y counts from the bottom: the frame's row h - 1 - y.
        const int fy = h - 1 - y;
        unsigned char* out = pixels->data() + size_t(y) * size_t(w) * pixelBytes;
        for (int x = 0; x < w; ++x, out += pixelBytes) {
            unsigned r = frame.value(x, fy, 0), g = frame.value(x, fy, 1), b = frame.value(x, fy, 2);
            if (cc == 1) {
                double luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
                up.put(out, unsigned(std::lround(luma)));
                continue;
            }
            up.put(out, r);
            up.put(out + cb, g);
            up.put(out + 2 * cb, b);
            if (cc == 4) up.put(out + 3 * cb, up.white());
        }
    }
}

void imageToFrame(const unsigned char* data, ptrdiff_t rowBytes, const OfxRectI& bounds, const std::string& depth,
                  const std::string& components, const OfxRectI& window, FrameBuffer* frame) {
    const int w = frame->width(), h = frame->height();
    const int cb = componentBytes(depth), cc = componentCount(components);
    if (!data || cb == 0 || cc == 0) return;
    const ptrdiff_t pixelBytes = ptrdiff_t(cb) * cc;
    Down down{isTwelveBit(frame->depthCode()), cb};
    int x1 = std::max({window.x1, bounds.x1, 0}), x2 = std::min({window.x2, bounds.x2, w});
    int y1 = std::max({window.y1, bounds.y1, 0}), y2 = std::min({window.y2, bounds.y2, h});
    if (cc >= 3 && ((!down.twelve && cb == 1) || (down.twelve && cb == 2))) {
        // As frameToImage: row by row at the frame's own precision.
        for (int y = y1; y < y2; ++y) {
            const unsigned char* in = data + ptrdiff_t(y - bounds.y1) * rowBytes + ptrdiff_t(x1 - bounds.x1) * pixelBytes;
            unsigned char* out = frame->data() + size_t(h - 1 - y) * size_t(frame->stride()) + size_t(x1) * frame->inc();
            if (cb == 1) {
                for (int x = x1; x < x2; ++x, in += pixelBytes, out += 3) {
                    out[0] = in[0];
                    out[1] = in[1];
                    out[2] = in[2];
                }
                continue;
            }
            for (int x = x1; x < x2; ++x, in += pixelBytes, out += 6)
                for (int c = 0; c < 3; ++c) {
                    uint16_t word, old;
                    std::memcpy(&old, out + 2 * c, 2);
                    word = uint16_t((down.get(in + 2 * c) << 4) | (old & 15u));
                    std::memcpy(out + 2 * c, &word, 2);
                }
        }
        return;
    }
    for (int y = y1; y < y2; ++y) {
        const unsigned char* row = data + ptrdiff_t(y - bounds.y1) * rowBytes;
        const int fy = h - 1 - y;
        for (int x = x1; x < x2; ++x) {
            const unsigned char* in = row + ptrdiff_t(x - bounds.x1) * pixelBytes;
            if (cc == 1) {
                unsigned a = down.get(in);
                for (int c = 0; c < 3; ++c) frame->setValue(x, fy, c, a);
                continue;
            }
            for (int c = 0; c < 3; ++c) frame->setValue(x, fy, c, down.get(in + c * cb));
        }
    }
}

}  // namespace ofx
}  // namespace sparkhost
