// The four conversions between host frame buffers and ImageQ4, run on the calling thread.
#include "Library/Q4Convert.h"

#include <stdio.h>

#include <new>

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

template <typename Host, int Words, void (*Import)(PixelQ4&, const Host*)>
ImageQ4* import_frame(const Host* buffer, int width, int height, double ratio, int n,
                      ImageQ4* image, int copy) {
    if (!buffer) return nullptr;
    if (n < 1) n = 1;
    if (n == 1) {
        image = prepare_import(image, width, height, ratio, 1);
        if (!image || !copy) return image;
        for (int y = 0; y < height; y++) {
            PixelQ4* row = image->rows[y];
            const Host* src = buffer + (size_t)y * width * Words;
            for (int x = 0; x < width; x++) Import(row[x], src + x * Words);
        }
        return image;
    }
    const int W = reduced_size(width, n), H = reduced_size(height, n);
    image = prepare_import(image, W, H, ratio, n);
    if (!image || !copy || n / 2 >= height) return image;
    // Pixels are picked, not averaged, on a grid that starts half a step in. Image pixels no
    // sample reaches (the even rounding) keep what they held.
    const int rows = H < image->height ? H : image->height;
    const int cols = W < image->width ? W : image->width;
    int j = 0;
    for (int y = n / 2; y < height && j < rows; y += n, j++) {
        PixelQ4* row = image->rows[j];
        const Host* src = buffer + (size_t)y * width * Words;
        int i = 0;
        for (int x = n / 2; x < width && i < cols; x += n, i++) Import(row[i], src + (size_t)x * Words);
    }
    return image;
}

template <typename Host, int Words, void (*Export)(const PixelQ4&, Host*)>
void export_frame(ImageQ4* image, Host* buffer, int width, int height, int n) {
    if (n < 1) n = 1;
    if (!buffer || !image) return;
    const int iw = image->width, ih = image->height;
    if (n == 1) {
        // The image is the host frame's size; the host width is not consulted.
        for (int y = 0; y < ih; y++) {
            const PixelQ4* row = image->rows[y];
            Host* dst = buffer + (size_t)y * iw * Words;
            for (int x = 0; x < iw; x++) Export(row[x], dst + x * Words);
        }
        return;
    }
    if (iw <= 0 || ih <= 0) return;
    // Every host pixel is written from the nearest lower sample, so a reduced image is shown
    // by replication over the whole frame.
    for (int y = 0; y < height; y++) {
        const int r = y / n < ih - 1 ? y / n : ih - 1;
        const PixelQ4* row = image->rows[r];
        Host* dst = buffer + (size_t)y * width * Words;
        for (int x = 0; x < width; x++) {
            const int c = x / n < iw - 1 ? x / n : iw - 1;
            Export(row[c], dst + (size_t)x * Words);
        }
    }
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
