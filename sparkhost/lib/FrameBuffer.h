// One host frame buffer: RGB pixels in the host's layout, rows packed without gaps.
//
// 8-bit frames (depth code 24) hold three bytes per pixel, red, green, blue. 12-bit frames (depth
// code 48) hold three 16-bit words per pixel; the 12-bit value stands in the upper twelve bits of
// its word (value << 4) and the lower four bits belong to the host.
#ifndef SPARKHOST_LIB_FRAMEBUFFER_H
#define SPARKHOST_LIB_FRAMEBUFFER_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace sparkhost {

constexpr int kDepth8 = 24;
constexpr int kDepth12 = 48;

// Bytes per pixel for a host depth code: 48 and 64 are the 12-bit layouts, anything else 8-bit.
int bytesPerPixel(int depthCode);
bool isTwelveBit(int depthCode);

class FrameBuffer {
public:
    FrameBuffer() = default;
    FrameBuffer(int width, int height, int depthCode);
    FrameBuffer(const FrameBuffer& other);
    FrameBuffer& operator=(const FrameBuffer& other);
    FrameBuffer(FrameBuffer&&) noexcept = default;
    FrameBuffer& operator=(FrameBuffer&&) noexcept = default;

    // Reallocates when the geometry changes; the pixels are zero afterwards in that case only.
    void resize(int width, int height, int depthCode);
    void clear();

    int width() const { return width_; }
    int height() const { return height_; }
    int depthCode() const { return depth_; }
    int inc() const { return bytesPerPixel(depth_); }
    int stride() const { return width_ * inc(); }
    size_t bytes() const { return size_t(stride()) * size_t(height_); }
    bool empty() const { return bytes() == 0; }

    // Word-aligned storage: plug-ins see the pixels as unsigned long*.
    unsigned long* words() { return data_.get(); }
    const unsigned long* words() const { return data_.get(); }
    uint8_t* data() { return reinterpret_cast<uint8_t*>(data_.get()); }
    const uint8_t* data() const { return reinterpret_cast<const uint8_t*>(data_.get()); }

    // Raw channel access: a byte in 8-bit frames, a whole 16-bit word (low bits included) in 12-bit.
    unsigned raw(int x, int y, int channel) const;
    void setRaw(int x, int y, int channel, unsigned value);

    // Channel value at the frame's own precision: 0..255 or 0..4095 (the word shifted down by 4).
    unsigned value(int x, int y, int channel) const;
    // Stores a value at the frame's precision; a 12-bit store keeps the word's low four bits.
    void setValue(int x, int y, int channel, unsigned value);
    unsigned maxValue() const { return isTwelveBit(depth_) ? 4095u : 255u; }

    bool samePixels(const FrameBuffer& other) const;

private:
    size_t offset(int x, int y, int channel) const {
        return (size_t(y) * size_t(width_) + size_t(x)) * size_t(inc()) +
               size_t(channel) * (isTwelveBit(depth_) ? 2 : 1);
    }
    size_t capacityWords() const { return (bytes() + 7) / 8; }

    int width_ = 0;
    int height_ = 0;
    int depth_ = kDepth8;
    std::unique_ptr<unsigned long[]> data_;
};

}  // namespace sparkhost

#endif
