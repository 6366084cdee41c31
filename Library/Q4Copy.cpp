// Point operations that copy channels, luma and HSV from a source image, and the negative.
#include <string.h>

#include <new>

#include "Library/Q4Image.h"

void ImageQ4::CopyAlpha(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_copy_alpha, height);
}
void ImageQ4::CopyRGB(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_copy_rgb, height);
}
void ImageQ4::CopyR(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_copy_r, height);
}
void ImageQ4::CopyG(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_copy_g, height);
}
void ImageQ4::CopyB(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_copy_b, height);
}
void ImageQ4::CopyLumaToChannel(ImageQ4* src, int channel) {
    if (!src) return;
    source = src;
    luma_target = channel;
    MultiProcess(&ImageQ4::mp_copy_l2c, height);
}
void ImageQ4::UseHSV(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_usehsv, height);
}
void ImageQ4::ReplaceHSV(ImageQ4* src) {
    if (!src) return;
    source = src;
    MultiProcess(&ImageQ4::mp_replacehsv, height);
}

void ImageQ4::mp_copy_alpha(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++) d[x].a = s[x].a;
    }
}

void ImageQ4::mp_copy_rgb(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++) {
            d[x].r = s[x].r;
            d[x].g = s[x].g;
            d[x].b = s[x].b;
        }
    }
}

// One channel of every pixel of the band from the same channel of the source.
static void copy_channel(PixelQ4** dst, PixelQ4** src, int width, int first, int last, int c) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = dst[y];
        const PixelQ4* s = src[y];
        for (int x = 0; x < width; x++) d[x].c[c] = s[x].c[c];
    }
}

void ImageQ4::mp_copy_r(int first, int last) { copy_channel(rows, source->rows, width, first, last, 0); }
void ImageQ4::mp_copy_g(int first, int last) { copy_channel(rows, source->rows, width, first, last, 1); }
void ImageQ4::mp_copy_b(int first, int last) { copy_channel(rows, source->rows, width, first, last, 2); }

void ImageQ4::mp_copy_l2c(int first, int last) {
    int c = luma_target;
    if (c < 0 || c > 3) return;  // any other channel number changes nothing
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++) s[x].GetLuminance(d[x].c[c]);
    }
}

void ImageQ4::mp_usehsv(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++) {
            unsigned short h, sat, v;
            s[x].GetHSV(h, sat, v);
            d[x] = PixelQ4(h, sat, v, s[x].a);
        }
    }
}

void ImageQ4::mp_replacehsv(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++) {
            PixelQ4 p = s[x];  // the source may be this very image
            d[x].SetHSV(p.r, p.g, p.b);
            d[x].a = p.a;
        }
    }
}

void ImageQ4::CopyValues(ImageQ4* src, float kr, float kg, float kb, float ka) {
    if (!src) return;
    // Rows and columns are counted by the source's size.
    if (kr == 1.0f && kg == 1.0f && kb == 1.0f && ka == 1.0f) {
        for (int y = 0; y < src->height; y++)
            memcpy(rows[y], src->rows[y], (size_t)src->width * sizeof(PixelQ4));
        return;
    }
    const float k[4] = {kr, kg, kb, ka};
    for (int y = 0; y < src->height; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = src->rows[y];
        for (int x = 0; x < src->width; x++) {
            for (int c = 0; c < 4; c++) {
                // Clamped before the conversion, which gives the truncated value clamped to
                // 0..32767 without converting out-of-range floats.
                float v = (float)s[x].c[c] * k[c];
                d[x].c[c] = (unsigned short)(v >= 32767.0f ? 32767 : v <= 0.0f ? 0 : (int)v);
            }
        }
    }
}

void ImageQ4::Negative(ImageQ4* src) {
    // The ownership flag is overwritten on purpose and left as set: with a source given, the
    // release of this image's block is left to whoever set the image up; without one, the
    // image owns its block afterwards.
    ImageQ4* copy = nullptr;
    if (src) {
        owns_pixels = 0;
    } else {
        copy = new (std::nothrow) ImageQ4(*this);
        if (!copy) return;
        src = copy;
        owns_pixels = 1;
    }
    source = src;
    MultiProcess(&ImageQ4::mp_negative, height);
    delete copy;
}

void ImageQ4::mp_negative(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = source->rows[y];
        for (int x = 0; x < width; x++)
            for (int c = 0; c < 4; c++) d[x].c[c] = (unsigned short)(32767 - s[x].c[c]);
    }
}
