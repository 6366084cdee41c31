#include "sparkhost/lib/FrameBuffer.h"

#include <algorithm>
#include <cstring>

namespace sparkhost {

bool isTwelveBit(int depthCode) { return depthCode == 48 || depthCode == 64; }

int bytesPerPixel(int depthCode) { return isTwelveBit(depthCode) ? 6 : 3; }

FrameBuffer::FrameBuffer(int width, int height, int depthCode) { resize(width, height, depthCode); }

FrameBuffer::FrameBuffer(const FrameBuffer& other) { *this = other; }

FrameBuffer& FrameBuffer::operator=(const FrameBuffer& other) {
    if (this == &other) return *this;
    resize(other.width_, other.height_, other.depth_);
    if (!empty()) std::memcpy(data(), other.data(), bytes());
    return *this;
}

void FrameBuffer::resize(int width, int height, int depthCode) {
    if (width < 0) width = 0;
    if (height < 0) height = 0;
    if (data_ && width == width_ && height == height_ && depthCode == depth_) return;
    width_ = width;
    height_ = height;
    depth_ = depthCode;
    // One spare word so that a plug-in reading whole words at the very end stays inside.
    size_t words = capacityWords() + 1;
    data_.reset(new unsigned long[words]);
    std::memset(data_.get(), 0, words * sizeof(unsigned long));
}

// An unconnected clip is cleared before every frame a plug-in processes, and is nearly always
// still black from the frame before: looking costs a read, clearing a write of the whole frame.
void FrameBuffer::clear() {
    if (!data_) return;
    const size_t words = capacityWords() + 1;
    const unsigned long* w = data_.get();
    constexpr size_t kBlock = 512;
    for (size_t at = 0; at < words; at += kBlock) {
        const size_t end = std::min(words, at + kBlock);
        unsigned long any = 0;
        for (size_t i = at; i < end; ++i) any |= w[i];
        if (any != 0) {
            std::memset(data_.get() + at, 0, (words - at) * sizeof(unsigned long));
            return;
        }
    }
}

unsigned FrameBuffer::raw(int x, int y, int channel) const {
    const uint8_t* p = data() + offset(x, y, channel);
    if (!isTwelveBit(depth_)) return *p;
    uint16_t w;
    std::memcpy(&w, p, 2);
    return w;
}

void FrameBuffer::setRaw(int x, int y, int channel, unsigned value) {
    uint8_t* p = data() + offset(x, y, channel);
    if (!isTwelveBit(depth_)) {
        *p = uint8_t(value);
        return;
    }
    uint16_t w = uint16_t(value);
    std::memcpy(p, &w, 2);
}

unsigned FrameBuffer::value(int x, int y, int channel) const {
    unsigned r = raw(x, y, channel);
    return isTwelveBit(depth_) ? (r >> 4) : r;
}

void FrameBuffer::setValue(int x, int y, int channel, unsigned value) {
    if (!isTwelveBit(depth_)) {
        setRaw(x, y, channel, value > 255 ? 255 : value);
        return;
    }
    if (value > 4095) value = 4095;
    setRaw(x, y, channel, (value << 4) | (raw(x, y, channel) & 15u));
}

bool FrameBuffer::samePixels(const FrameBuffer& other) const {
    return width_ == other.width_ && height_ == other.height_ && depth_ == other.depth_ &&
           (empty() || std::memcmp(data(), other.data(), bytes()) == 0);
}

}  // namespace sparkhost
