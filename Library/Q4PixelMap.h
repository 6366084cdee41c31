// Channel mapping between host buffer values and the 15-bit working range of PixelQ4.
// Shifts and ORs only: the top bits are repeated into the bottom so that full host white maps
// to full working white and back.
#ifndef Q4PIXELMAP_H
#define Q4PIXELMAP_H

#include "Library/Q4Pixel.h"

// 8-bit byte to channel: 0 -> 0, 255 -> 32767.
inline unsigned short q4_from8(unsigned char b) { return (unsigned short)((b << 7) | (b >> 1)); }

// 12-bit value in the upper twelve bits of a word to channel: 4095 -> 32767.
inline unsigned short q4_from12(unsigned short word) {
    unsigned v = word >> 4;
    return (unsigned short)((v << 3) | (v >> 9));
}

inline unsigned char q4_to8(unsigned short c) {
    unsigned v = c >> 7;
    return (unsigned char)(v < 255 ? v : 255);
}

// The low four bits of a host word belong to the host and are kept.
inline unsigned short q4_to12(unsigned short c, unsigned short old_word) {
    unsigned v = c >> 3;
    if (v > 4095) v = 4095;
    return (unsigned short)((v << 4) | (old_word & 15));
}

// Host pixels have no alpha; imported pixels are opaque.
inline void q4_import8(PixelQ4& p, const unsigned char* host) {
    p.r = q4_from8(host[0]);
    p.g = q4_from8(host[1]);
    p.b = q4_from8(host[2]);
    p.a = 32767;
}

inline void q4_import12(PixelQ4& p, const unsigned short* host) {
    p.r = q4_from12(host[0]);
    p.g = q4_from12(host[1]);
    p.b = q4_from12(host[2]);
    p.a = 32767;
}

// Alpha is dropped on the way out.
inline void q4_export8(const PixelQ4& p, unsigned char* host) {
    host[0] = q4_to8(p.r);
    host[1] = q4_to8(p.g);
    host[2] = q4_to8(p.b);
}

inline void q4_export12(const PixelQ4& p, unsigned short* host) {
    host[0] = q4_to12(p.r, host[0]);
    host[1] = q4_to12(p.g, host[1]);
    host[2] = q4_to12(p.b, host[2]);
}

#endif
