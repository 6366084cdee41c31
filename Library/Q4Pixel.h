// PixelQ4: one pixel of four unsigned 16-bit channels, red, green, blue and alpha, working range
// 0 to 32767 (32767 = full intensity, fully opaque). Exactly eight bytes; rows are plain arrays.
#ifndef Q4PIXEL_H
#define Q4PIXEL_H

struct PixelQ4 {
    union {
        struct {
            unsigned short r, g, b, a;
        };
        unsigned short c[4];  // the same channels by index: 0 red, 1 green, 2 blue, 3 alpha
    };

    PixelQ4() = default;  // contents undefined, like the pixels of a freshly allocated image
    PixelQ4(unsigned short red, unsigned short green, unsigned short blue, unsigned short alpha)
        : r(red), g(green), b(blue), a(alpha) {}

    unsigned short& operator[](int i) { return c[i]; }
    unsigned short operator[](int i) const { return c[i]; }

    // Luma with the weights 5/8/3 over 16 used throughout the framework.
    void GetLuminance(unsigned short& l) const { l = (unsigned short)((5 * r + 8 * g + 3 * b) >> 4); }
    // Writes l into red, green and blue; alpha is left as it is.
    void SetLuminance(unsigned short l) { r = g = b = l; }

    // Hue, saturation and value, each in the channel range 0 to 32767.
    void GetHSV(unsigned short& h, unsigned short& s, unsigned short& v) const;
    // Writes red, green and blue from hue, saturation and value; alpha is left as it is.
    void SetHSV(unsigned short h, unsigned short s, unsigned short v);
};

static_assert(sizeof(PixelQ4) == 8, "a pixel is exactly eight bytes");

#endif
