// Point operations that blend, map, cut out or fill.
#include <cmath>
#include <climits>
#include <math.h>
#include <stdint.h>
#include <string.h>

#include <new>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"
#include "base/q4_int.h"

static inline unsigned short clamp15(int v) { return (unsigned short)(v < 0 ? 0 : v > 32767 ? 32767 : v); }

// ---- Merge ----

void ImageQ4::Merge(ImageQ4* src, ImageQ4* matte, bool direct, int alpha) {
    if (!src || !matte) return;
    merge_source = src;
    merge_matte = matte;
    merge_matte_direct = direct;
    merge_alpha = alpha;
    MultiProcess(&ImageQ4::mp_Merge, height);
}

void ImageQ4::mp_Merge(int first, int last) {
    // Deliberately works on the first pixel of each row only, blending it width times with the
    // first pixels of the source and matte rows; existing results depend on this, so the rest
    // of each row is left unchanged.
    for (int y = first; y <= last; y++) {
        PixelQ4& d = rows[y][0];
        const PixelQ4& s = merge_source->rows[y][0];
        const PixelQ4& mp = merge_matte->rows[y][0];
        for (int x = 0; x < width; x++) {
            int64_t m = merge_matte_direct ? mp.r : 32767 - mp.r;
            int64_t n = 32767 - m;
            int channels = merge_alpha ? 4 : 3;
            for (int c = 0; c < channels; c++) d.c[c] = (unsigned short)((d.c[c] * m + s.c[c] * n) >> 15);
        }
    }
}

// ---- gamma ----

void ImageQ4::build_gamma_table(float gamma) {
    if (!gamma_table) gamma_table = new (std::nothrow) int[32768];
    if (!gamma_table) return;
    const float inv = 1.0f / gamma;
    for (int i = 0; i < 32768; i++) {
        // All in single precision; 3.0518509e-5 is the float nearest 1/32767.
        float v = powf((float)i * 3.0518509e-5f, inv) * 32768.0f + 0.5f;
        gamma_table[i] = (int)(v < 32768.0f ? v : 32768.0f);
    }
}

void ImageQ4::MapGamma_RGBA(ImageQ4* src, float gamma) {
    if (!src) return;
    operand = src;
    build_gamma_table(gamma);  // before the fork: the bands only read it
    if (!gamma_table) return;
    MultiProcess(&ImageQ4::mp_map_gamma_rgba, height);
}

void ImageQ4::MapGamma_Alpha(ImageQ4* src, float gamma) {
    if (!src) return;
    operand = src;
    build_gamma_table(gamma);
    if (!gamma_table) return;
    MultiProcess(&ImageQ4::mp_map_gamma_alpha, height);
}

static inline unsigned short gamma_map(const int* table, unsigned short c) {
    return clamp15(table[c < 32767 ? c : 32767]);
}

void ImageQ4::mp_map_gamma_rgba(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = operand->rows[y];
        for (int x = 0; x < width; x++)
            for (int c = 0; c < 4; c++) d[x].c[c] = gamma_map(gamma_table, s[x].c[c]);
    }
}

void ImageQ4::mp_map_gamma_alpha(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* s = operand->rows[y];
        for (int x = 0; x < width; x++) d[x].a = gamma_map(gamma_table, s[x].a);
    }
}

// ---- blends ----

void ImageQ4::InBlend(float t, ImageQ4* src) {
    if (!src) return;
    const float u = 1.0f - t;
    const long n = 4L * width;
    // A weight a host record made anything (not a number, beyond any range) takes the channel by
    // channel path: a sum past int gives what the processor's own conversion gives, the lowest
    // int. Weights up to 8192 keep every sum of two 16-bit channels inside int.
    if (!(std::fabs(t) <= 8192.0f)) {
        for (int y = 0; y < height; y++) {
            unsigned short* d = reinterpret_cast<unsigned short*>(rows[y]);
            const unsigned short* s = reinterpret_cast<const unsigned short*>(src->rows[y]);
            for (long i = 0; i < n; i++) {
                d[i] = (unsigned short)q4_truncated_int((float)s[i] * t + (float)d[i] * u);
            }
        }
        return;
    }
    for (int y = 0; y < height; y++) {
        unsigned short* d = reinterpret_cast<unsigned short*>(rows[y]);
        const unsigned short* s = reinterpret_cast<const unsigned short*>(src->rows[y]);
        long i = 0;
        // Fixed blocks of eight channels, which the compiler packs into vector lanes; each lane
        // computes exactly what the single channel does.
        for (; i + 8 <= n; i += 8) {
            int v[8];
            for (int k = 0; k < 8; k++) v[k] = (int)((float)s[i + k] * t + (float)d[i + k] * u);
            for (int k = 0; k < 8; k++) d[i + k] = (unsigned short)v[k];
        }
        for (; i < n; i++) d[i] = (unsigned short)(int)((float)s[i] * t + (float)d[i] * u);
    }
}

void ImageQ4::BlendBack(float amount, ImageQ4* src) {
    if (!src) return;
    operand = src;
    blend_amount = amount;
    MultiProcess(&ImageQ4::mp_blendback, height);
}

void ImageQ4::BlendBackCol(float amount, PixelQ4 col) {
    colour = col;
    blend_amount = amount;
    MultiProcess(&ImageQ4::mp_blendbackcol, height);
}

// Weight of the blended-in pixels in 15-bit fixed point. Full amount gives 32767 against a
// remaining weight of 1, so a full blend is not quite the source.
static inline int64_t blend_weight(float amount) { return (int64_t)(int)(32767.0f * amount); }

// Blends n channel values of s into d. For amounts in 0..1 both weights are non-negative and
// every sum fits 32 unsigned bits, which lets the compiler work on many channels at once;
// other amounts take the wide signed path with the same results.
static void blend_channels(unsigned short* d, const unsigned short* s, long n, int64_t a, int64_t b) {
    if (a >= 0 && b >= 0) {
        const uint32_t ua = (uint32_t)a, ub = (uint32_t)b;
        long i = 0;
        for (; i + 8 <= n; i += 8) {  // fixed blocks of eight, which the compiler packs together
            uint32_t t[8];
            for (int k = 0; k < 8; k++) t[k] = (s[i + k] * ua + d[i + k] * ub) >> 15;
            for (int k = 0; k < 8; k++) d[i + k] = (unsigned short)t[k];
        }
        for (; i < n; i++) d[i] = (unsigned short)((s[i] * ua + d[i] * ub) >> 15);
    } else {
        for (long i = 0; i < n; i++) d[i] = (unsigned short)((s[i] * a + d[i] * b) >> 15);
    }
}

static inline unsigned short* channels_of(PixelQ4* row) { return reinterpret_cast<unsigned short*>(row); }

void ImageQ4::mp_blendback(int first, int last) {
    const int64_t a = blend_weight(blend_amount), b = 32768 - a;
    for (int y = first; y <= last; y++)
        blend_channels(channels_of(rows[y]), channels_of(operand->rows[y]), 4L * width, a, b);
}

void ImageQ4::mp_blendbackcol(int first, int last) {
    const int64_t a = blend_weight(blend_amount), b = 32768 - a;
    // One row of the constant colour, blended in like a source row.
    PixelQ4* line = static_cast<PixelQ4*>(q4_malloc((size_t)width * sizeof(PixelQ4), "Library/Q4Image", __LINE__));
    if (!line) return;
    for (int x = 0; x < width; x++) line[x] = colour;
    for (int y = first; y <= last; y++) blend_channels(channels_of(rows[y]), channels_of(line), 4L * width, a, b);
    q4_free(line, "Library/Q4Image", __LINE__);
}

// ---- cut-out ----

void ImageQ4::CutOut(ImageQ4* matte, int channel, int mode, int alpha_mode) {
    if (!matte) return;
    operand = matte;
    cutout_channel = channel;
    cutout_mode = mode;
    cutout_alpha_mode = alpha_mode;
    MultiProcess(&ImageQ4::mp_cutout, height);
}

void ImageQ4::mp_cutout(int first, int last) {
    for (int y = first; y <= last; y++) {
        PixelQ4* d = rows[y];
        const PixelQ4* m = operand->rows[y];
        for (int x = 0; x < width; x++) {
            unsigned short k = 0;  // a key channel outside 0..4 counts as an empty matte
            if (cutout_channel >= 0 && cutout_channel <= 3) k = m[x].c[cutout_channel];
            else if (cutout_channel == 4) m[x].GetLuminance(k);
            const int64_t f = cutout_mode == 0 ? k : 32767 - k;
            for (int c = 0; c < 3; c++) d[x].c[c] = (unsigned short)((d[x].c[c] * f) >> 15);
            switch (cutout_alpha_mode) {
                case 0: d[x].a = (unsigned short)((d[x].a * f) >> 15); break;
                case 1: d[x].a = (unsigned short)f; break;
                case 2:
                case 3: d[x].a = (unsigned short)((m[x].a * f) >> 15); break;
                default: break;
            }
        }
    }
}

// ---- fills and tables ----

void ImageQ4::Fill(unsigned short r, unsigned short g, unsigned short b, unsigned short a) {
    if (height <= 0) return;
    const PixelQ4 p(r, g, b, a);
    for (int x = 0; x < width; x++) rows[0][x] = p;
    for (int y = 1; y < height; y++) memcpy(rows[y], rows[0], (size_t)width * sizeof(PixelQ4));
}

void ImageQ4::FillChannel(unsigned short value, unsigned short channel) {
    if (channel > 3 || height <= 0) return;  // any other channel number changes nothing
    PixelQ4* p = rows[0];
    const long n = (long)width * height;
    for (long i = 0; i < n; i++) p[i].c[channel] = value;
}

void ImageQ4::ApplyLUT(unsigned short* lr, unsigned short* lg, unsigned short* lb, unsigned short* la) {
    if (!lr || !lg || !lb || !la) return;
    // Deliberately maps the first pixel of each row only, width times over, each pass on the
    // previous pass's result; existing results depend on this, so the rest of each row is left
    // unchanged.
    for (int y = 0; y < height; y++) {
        PixelQ4& p = rows[y][0];
        for (int x = 0; x < width; x++) {
            p.r = lr[p.r];
            p.g = lg[p.g];
            p.b = lb[p.b];
            p.a = la[p.a];
        }
    }
}

// ---- kept for existing callers; they change nothing ----

void ImageQ4::ShiftIntensity(int amount) { (void)amount; }

void ImageQ4::Transform(double a, double b, double c, double d, double e) {
    (void)a, (void)b, (void)c, (void)d, (void)e;
}

void ImageQ4::RankFilter(int size_x, int size_y) {
    // Takes and returns its scratch block, leaving the image as it is.
    size_t n = size_x > 0 && size_y > 0 ? (size_t)size_x * (size_t)size_y : 0;
    void* scratch = q4_malloc(n * sizeof(PixelQ4), "Library/Q4Image", __LINE__);
    q4_free(scratch, "Library/Q4Image", __LINE__);
}
