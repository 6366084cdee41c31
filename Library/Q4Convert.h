// Conversion between the host's raw RGB frame buffers (8-bit bytes, or 12-bit values in the upper
// bits of 16-bit words) and ImageQ4, at full resolution or at a reduced working resolution where
// only every n-th host pixel is used.
#ifndef Q4CONVERT_H
#define Q4CONVERT_H

#include "Library/Q4Image.h"

// Import. width and height are the host frame's; n is the sub-sampling step (below 1 counts as 1).
// A null image makes a new one that the caller owns; copy 0 sets the image up without pixels.
// Returns the image, or null for a null buffer.
ImageQ4* ConvertFromDLImage8(void* buffer, int width, int height, double ratio, int n,
                             ImageQ4* image, int copy);
ImageQ4* ConvertFromDLImage12(void* buffer, int width, int height, double ratio, int n,
                              ImageQ4* image, int copy);

// Export; every host pixel of the frame is written. The 12-bit export keeps each word's low four
// bits, and with truncate non-zero first reduces the image itself to 10-bit values.
void ConvertToDLImage8(ImageQ4* image, void* buffer, int width, int height, int n);
void ConvertToDLImage12(ImageQ4* image, void* buffer, int width, int height, int n, int truncate);

// Working size of one side of a frame of `full` host pixels at sub-sampling step n: the quotient,
// rounded up to an even number (n below 1 counts as 1, and then the size is `full`).
int ConvertWorkingSize(int full, int n);
// Host samples that reach one side of the working image: columns (or rows) n / 2, n / 2 + n, ...
// below `full`. The rounding up to an even size can leave the last column or row unreached.
int ConvertSamplesReached(int full, int n);

// Single rows for a host that keeps its frames as eight-bit RGB or RGBA pictures of its own
// (pixel_bytes 3 or 4): the values the conversions above give for the same pixels, without a
// host buffer in between. The export writes RGBA with each pixel's alpha byte taken from
// `alpha` (every alpha_step bytes), or 255 without one.
void ConvertRowFrom8(const unsigned char* src, int pixel_bytes, PixelQ4* row, int width);
void ConvertRowToRGBA8(const PixelQ4* row, unsigned char* dst, int width, const unsigned char* alpha,
                       int alpha_step);

// One conversion cut into row bands: the same pixels as the whole conversion, so the bands can
// run on separate jobs. An import needs its image set up first (the conversion with copy 0);
// an export writes host rows (image rows at full resolution).
struct ConvertJobQ4 {
    void* buffer;
    ImageQ4* image;
    int width, height;  // the host frame's
    int n;              // sub-sampling step
    int twelve_bit;
    int to_host;        // 1: export, 0: import
};
// Rows the job is cut over.
int ConvertRowCount(ImageQ4* image, int height, int n, int to_host);
void ConvertRows(const ConvertJobQ4* job, int first, int last);

// Band workers for the host's fork (sparkMpFork): each job finds its band from sparkMpInfo, the
// row count and the job count, exactly as ImageQ4::MultiProcess does.
extern "C" {
// Over image rows; the buffer rows are image width long.
void mp_copy_pixel_data(unsigned char* buffer, ImageQ4* image, int jobs);
void mp_copy_pixel_data_deep12(unsigned short* buffer, ImageQ4* image, int jobs);
void mp_paste_pixel_data(unsigned char* buffer, ImageQ4* image, int jobs);
void mp_paste_pixel_data_deep12(unsigned short* buffer, ImageQ4* image, int jobs);
// Over host rows, with the step taken from the image's sample step.
void mp_copy_pixel_data_scale(unsigned char* buffer, ImageQ4* image, int jobs, int host_height,
                              int host_width);
void mp_copy_pixel_data_scale_deep12(unsigned short* buffer, ImageQ4* image, int jobs,
                                     int host_height, int host_width);
void mp_paste_pixel_data_scale(unsigned char* buffer, ImageQ4* image, int jobs, int host_height,
                               int host_width);
void mp_paste_pixel_data_scale_deep12(unsigned short* buffer, ImageQ4* image, int jobs,
                                      int host_height, int host_width);
}

#endif
