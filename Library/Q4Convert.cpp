// The four conversions between host frame buffers and ImageQ4, run on the calling thread.
#include "Library/Q4Convert.h"

#include <stdio.h>

#include <emmintrin.h>
#include <stdint.h>
#include <string.h>

#include <new>
#include <type_traits>

#include "Library/Q4PixelMap.h"

namespace {

// Working size of a reduced-resolution image: the quotient, rounded up to an even number.
int reduced_size(int full, int n) {
    int q = full / n;
    return (q & 1) ? q + 1 : q;
}

// Makes the image when the caller gave none, and sets the fields every import sets.
ImageQ4* prepare_import(ImageQ4* image, int w, int h, double ratio, int n) {
    if (!image) {
        image = new (std::nothrow) ImageQ4(w, h);
        if (!image) return nullptr;
        image->offset_x = 0.0;
        image->offset_y = 0.0;
    }
    image->sample_step = (float)n;
    image->ratio2 = 1.0;
    image->ratio = ratio;
    return image;
}

// One host pixel into a working pixel in four lanes, reading a whole word (or 64-bit word) from
// the pixel's first channel on: only for a pixel that is not the last of its row, whose read
// stays inside the row. The fourth lane becomes the opaque alpha.
inline void import_sample8(PixelQ4& p, const unsigned char* host) {
    int word;
    memcpy(&word, host, 4);
    const __m128i v = _mm_unpacklo_epi8(_mm_cvtsi32_si128(word), _mm_setzero_si128());
    const __m128i c = _mm_or_si128(_mm_slli_epi16(v, 7), _mm_srli_epi16(v, 1));
    const __m128i alpha = _mm_setr_epi16(0, 0, 0, 32767, 0, 0, 0, 0);
    const __m128i rgb = _mm_setr_epi16(-1, -1, -1, 0, 0, 0, 0, 0);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&p), _mm_or_si128(_mm_and_si128(c, rgb), alpha));
}

inline void import_sample12(PixelQ4& p, const unsigned short* host) {
    const __m128i v = _mm_srli_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(host)), 4);
    const __m128i c = _mm_or_si128(_mm_slli_epi16(v, 3), _mm_srli_epi16(v, 9));
    const __m128i alpha = _mm_setr_epi16(0, 0, 0, 32767, 0, 0, 0, 0);
    const __m128i rgb = _mm_setr_epi16(-1, -1, -1, 0, 0, 0, 0, 0);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&p), _mm_or_si128(_mm_and_si128(c, rgb), alpha));
}

// The samples of one host row: every n-th pixel from n / 2 on (every pixel at full resolution),
// into count image pixels.
template <typename Host, int Words, void (*Import)(PixelQ4&, const Host*)>
void import_samples(PixelQ4* row, const Host* src, int width, int n, int count) {
    int i = 0, x = n / 2;
    for (; i < count && x < width - 1; x += n, i++) {
        if constexpr (std::is_same<Host, unsigned char>::value && Words == 3)
            import_sample8(row[i], src + (size_t)x * 3);
        else if constexpr (std::is_same<Host, unsigned short>::value && Words == 3)
            import_sample12(row[i], src + (size_t)x * 3);
        else
            Import(row[i], src + (size_t)x * Words);
    }
    for (; i < count && x < width; x += n, i++) Import(row[i], src + (size_t)x * Words);
}

// Image rows first..last of an import (the sampled host rows at a reduced resolution).
template <typename Host, int Words, void (*Import)(PixelQ4&, const Host*)>
void import_rows(const Host* buffer, int width, int height, int n, ImageQ4* image, int first,
                 int last) {
    if (n == 1) {
        for (int y = first; y <= last && y < height; y++)
            import_samples<Host, Words, Import>(image->rows[y], buffer + (size_t)y * width * Words, width, 1, width);
        return;
    }
    // Pixels are picked, not averaged, on a grid that starts half a step in. Image pixels no
    // sample reaches (the even rounding) keep what they held.
    const int cols = reduced_size(width, n) < image->width ? reduced_size(width, n) : image->width;
    const int rows = reduced_size(height, n) < image->height ? reduced_size(height, n) : image->height;
    for (int j = first; j <= last && j < rows; j++) {
        const long long y = (long long)j * n + n / 2;
        if (y >= height) break;
        PixelQ4* row = image->rows[j];
        const Host* src = buffer + (size_t)y * width * Words;
        import_samples<Host, Words, Import>(row, src, width, n, cols);
    }
}

template <typename Host, int Words, void (*Import)(PixelQ4&, const Host*)>
ImageQ4* import_frame(const Host* buffer, int width, int height, double ratio, int n,
                      ImageQ4* image, int copy) {
    if (!buffer) return nullptr;
    if (n < 1) n = 1;
    if (n == 1) {
        image = prepare_import(image, width, height, ratio, 1);
        if (!image || !copy) return image;
        import_rows<Host, Words, Import>(buffer, width, height, 1, image, 0, height - 1);
        return image;
    }
    const int W = reduced_size(width, n), H = reduced_size(height, n);
    image = prepare_import(image, W, H, ratio, n);
    if (!image || !copy || n / 2 >= height) return image;
    import_rows<Host, Words, Import>(buffer, width, height, n, image, 0, H - 1);
    return image;
}

// One image row into 8-bit host pixels, four at a time: each channel's top eight bits, saturated
// at 255 by the pack (a shifted channel is at most 511). A pixel leaves as one 32-bit store whose
// fourth byte the next pixel's store overwrites, so the row's last pixel is written byte by byte
// and nothing past the row (another band's) is touched.
void export_row8(const PixelQ4* row, unsigned char* dst, int w) {
    int x = 0;
    for (; x + 4 < w; x += 4) {
        const __m128i a = _mm_srli_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), 7);
        const __m128i b = _mm_srli_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x + 2)), 7);
        __m128i bytes = _mm_packus_epi16(a, b);
        for (int i = 0; i < 4; ++i) {
            const int word = _mm_cvtsi128_si32(bytes);
            memcpy(dst + (size_t)(x + i) * 3, &word, 4);
            bytes = _mm_srli_si128(bytes, 4);
        }
    }
    for (; x < w; x++) q4_export8(row[x], dst + (size_t)x * 3);
}

// One image row into 12-bit host words, four pixels (twelve words) at a time: each channel's top
// twelve bits, capped at 4095, in the word's upper twelve bits, the host's low four bits kept.
// The alpha lanes are squeezed out with byte shifts and masks.
void export_row12(const PixelQ4* row, unsigned short* dst, int w) {
    const __m128i cap = _mm_set1_epi16(4095), low = _mm_set1_epi16(15);
    const __m128i lanes012 = _mm_setr_epi16(-1, -1, -1, 0, 0, 0, 0, 0);
    const __m128i lanes345 = _mm_setr_epi16(0, 0, 0, -1, -1, -1, 0, 0);
    const __m128i lane0 = _mm_setr_epi16(-1, 0, 0, 0, 0, 0, 0, 0);
    const __m128i lanes123 = _mm_setr_epi16(0, -1, -1, -1, 0, 0, 0, 0);
    auto top = [&](const PixelQ4* p) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return _mm_slli_epi16(_mm_min_epi16(_mm_srli_epi16(v, 3), cap), 4);
    };
    int x = 0;
    for (; x + 4 <= w; x += 4) {
        unsigned short* out = dst + (size_t)x * 3;
        const __m128i a = top(row + x), b = top(row + x + 2);  // r0 g0 b0 a0 r1 g1 b1 a1, r2 ... a3
        const __m128i first = _mm_or_si128(_mm_or_si128(_mm_and_si128(a, lanes012),
                                                        _mm_and_si128(_mm_srli_si128(a, 2), lanes345)),
                                           _mm_slli_si128(b, 12));  // r0 g0 b0 r1 g1 b1 r2 g2
        const __m128i rest = _mm_or_si128(_mm_and_si128(_mm_srli_si128(b, 4), lane0),
                                          _mm_and_si128(_mm_srli_si128(b, 6), lanes123));  // b2 r3 g3 b3
        const __m128i old_first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(out));
        const __m128i old_rest = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(out + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_or_si128(first, _mm_and_si128(old_first, low)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 8), _mm_or_si128(rest, _mm_and_si128(old_rest, low)));
    }
    for (; x < w; x++) q4_export12(row[x], dst + (size_t)x * 3);
}

// Host rows first..last of an export (image rows at full resolution).
template <typename Host, int Words, void (*Export)(const PixelQ4&, Host*)>
void export_rows(ImageQ4* image, Host* buffer, int width, int height, int n, int first, int last) {
    const int iw = image->width, ih = image->height;
    if (n == 1) {
        // The image is the host frame's size; the host width is not consulted.
        for (int y = first; y <= last && y < ih; y++) {
            const PixelQ4* row = image->rows[y];
            Host* dst = buffer + (size_t)y * iw * Words;
            if constexpr (std::is_same<Host, unsigned char>::value && Words == 3) {
                export_row8(row, dst, iw);
                continue;
            }
            if constexpr (std::is_same<Host, unsigned short>::value && Words == 3) {
                export_row12(row, dst, iw);
                continue;
            }
            for (int x = 0; x < iw; x++) Export(row[x], dst + x * Words);
        }
        return;
    }
    if (iw <= 0 || ih <= 0) return;
    // Every host pixel is written from the nearest lower sample, so a reduced image is shown
    // by replication over the whole frame.
    for (int y = first; y <= last && y < height; y++) {
        const int r = y / n < ih - 1 ? y / n : ih - 1;
        const PixelQ4* row = image->rows[r];
        Host* dst = buffer + (size_t)y * width * Words;
        for (int x = 0; x < width; x++) {
            const int c = x / n < iw - 1 ? x / n : iw - 1;
            Export(row[c], dst + (size_t)x * Words);
        }
    }
}

template <typename Host, int Words, void (*Export)(const PixelQ4&, Host*)>
void export_frame(ImageQ4* image, Host* buffer, int width, int height, int n) {
    if (n < 1) n = 1;
    if (!buffer || !image) return;
    export_rows<Host, Words, Export>(image, buffer, width, height, n, 0,
                                     n == 1 ? image->height - 1 : height - 1);
}

}  // namespace

int ConvertWorkingSize(int full, int n) { return n <= 1 ? full : reduced_size(full, n); }

int ConvertSamplesReached(int full, int n) {
    if (n <= 1) return full;
    return full > n / 2 ? (full - n / 2 - 1) / n + 1 : 0;
}

ImageQ4* ConvertFromDLImage8(void* buffer, int width, int height, double ratio, int n,
                             ImageQ4* image, int copy) {
    return import_frame<unsigned char, 3, q4_import8>(static_cast<const unsigned char*>(buffer),
                                                      width, height, ratio, n, image, copy);
}

ImageQ4* ConvertFromDLImage12(void* buffer, int width, int height, double ratio, int n,
                              ImageQ4* image, int copy) {
    return import_frame<unsigned short, 3, q4_import12>(static_cast<const unsigned short*>(buffer),
                                                        width, height, ratio, n, image, copy);
}

void ConvertToDLImage8(ImageQ4* image, void* buffer, int width, int height, int n) {
    export_frame<unsigned char, 3, q4_export8>(image, static_cast<unsigned char*>(buffer), width,
                                               height, n);
}

void ConvertToDLImage12(ImageQ4* image, void* buffer, int width, int height, int n, int truncate) {
    if (truncate) {
        puts("Truncating 12bit image to 10 bits.");
        if (image && image->rows) {
            // The mask clears bits 0-3 and bit 5 but keeps bit 4, as existing 10-bit renders
            // have it; the image itself is changed, not only the output.
            for (int y = 0; y < image->height; y++) {
                PixelQ4* row = image->rows[y];
                for (int x = 0; x < image->width; x++) {
                    row[x].r &= 0xFFD0;
                    row[x].g &= 0xFFD0;
                    row[x].b &= 0xFFD0;
                }
            }
        }
    }
    export_frame<unsigned short, 3, q4_export12>(image, static_cast<unsigned short*>(buffer), width,
                                                 height, n);
}

void ConvertRowFrom8(const unsigned char* src, int pixel_bytes, PixelQ4* row, int width) {
    if (!src || !row || width <= 0) return;
    if (pixel_bytes == 3) {
        import_samples<unsigned char, 3, q4_import8>(row, src, width, 1, width);
        return;
    }
    // Four bytes a pixel: the whole-word read of each pixel stays inside it, the last one too.
    for (int x = 0; x < width; x++) import_sample8(row[x], src + (size_t)x * pixel_bytes);
}

void ConvertRowToRGBA8(const PixelQ4* row, unsigned char* dst, int width, const unsigned char* alpha,
                       int alpha_step) {
    if (!row || !dst || width <= 0) return;
    auto alpha_at = [&](int x) -> uint32_t { return alpha ? alpha[(size_t)x * alpha_step] : 255u; };
    int x = 0;
    for (; x + 4 <= width; x += 4) {
        // Each channel's top eight bits, saturated by the pack, as export_row8 gives them.
        const __m128i a = _mm_srli_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), 7);
        const __m128i b = _mm_srli_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x + 2)), 7);
        __m128i bytes = _mm_packus_epi16(a, b);
        for (int i = 0; i < 4; ++i) {
            const uint32_t word = ((uint32_t)_mm_cvtsi128_si32(bytes) & 0x00FFFFFFu) | (alpha_at(x + i) << 24);
            memcpy(dst + (size_t)(x + i) * 4, &word, 4);
            bytes = _mm_srli_si128(bytes, 4);
        }
    }
    for (; x < width; x++) {
        unsigned char* p = dst + (size_t)x * 4;
        q4_export8(row[x], p);
        p[3] = (unsigned char)alpha_at(x);
    }
}

int ConvertRowCount(ImageQ4* image, int height, int n, int to_host) {
    if (!image) return 0;
    return (to_host && n > 1) ? height : image->height;
}

void ConvertRows(const ConvertJobQ4* job, int first, int last) {
    const int n = job->n < 1 ? 1 : job->n;
    if (!job->buffer || !job->image) return;
    if (job->to_host) {
        if (job->twelve_bit)
            export_rows<unsigned short, 3, q4_export12>(job->image, static_cast<unsigned short*>(job->buffer),
                                                        job->width, job->height, n, first, last);
        else
            export_rows<unsigned char, 3, q4_export8>(job->image, static_cast<unsigned char*>(job->buffer),
                                                      job->width, job->height, n, first, last);
        return;
    }
    if (n > 1 && n / 2 >= job->height) return;
    if (job->twelve_bit)
        import_rows<unsigned short, 3, q4_import12>(static_cast<const unsigned short*>(job->buffer),
                                                    job->width, job->height, n, job->image, first, last);
    else
        import_rows<unsigned char, 3, q4_import8>(static_cast<const unsigned char*>(job->buffer),
                                                  job->width, job->height, n, job->image, first, last);
}
