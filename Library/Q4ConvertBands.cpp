// Band workers of the host pixel conversion, one per host job through sparkMpFork. Copy workers
// write only image rows of their band, paste workers only buffer rows of theirs.
#include <math.h>

#include "Library/Q4Convert.h"
#include "Library/Q4PixelMap.h"

namespace {

// The calling job's inclusive band over rows, as ImageQ4::MultiProcess computes it.
bool my_band(int rows, int jobs, int& first, int& last) {
    q4_band_of_job(q4_current_job_index(), jobs, rows, first, last);
    return first <= last;
}

// Integer host pixels per image pixel of a reduced image, never below one.
int step_of(const ImageQ4* image) {
    int s = (int)image->sample_step;
    return s < 1 ? 1 : s;
}

template <typename Host, void (*Import)(PixelQ4&, const Host*)>
void copy_rows(const Host* buffer, ImageQ4* image, int jobs) {
    int first, last;
    if (!buffer || !image || !my_band(image->height, jobs, first, last)) return;
    const int w = image->width;
    for (int y = first; y <= last; y++) {
        PixelQ4* row = image->rows[y];
        const Host* src = buffer + (size_t)y * w * 3;
        for (int x = 0; x < w; x++) Import(row[x], src + x * 3);
    }
}

template <typename Host, void (*Export)(const PixelQ4&, Host*)>
void paste_rows(Host* buffer, ImageQ4* image, int jobs) {
    int first, last;
    if (!buffer || !image || !my_band(image->height, jobs, first, last)) return;
    const int w = image->width;
    for (int y = first; y <= last; y++) {
        const PixelQ4* row = image->rows[y];
        Host* dst = buffer + (size_t)y * w * 3;
        for (int x = 0; x < w; x++) Export(row[x], dst + x * 3);
    }
}

template <typename Host, void (*Import)(PixelQ4&, const Host*)>
void copy_rows_scaled(const Host* buffer, ImageQ4* image, int jobs, int host_height, int host_width) {
    int first, last;
    if (!buffer || !image || !my_band(host_height, jobs, first, last)) return;
    const int s = step_of(image);
    // Each band samples its own rows from its first row on, numbering image rows from where
    // that row falls on the reduced grid. Samples beyond the image are skipped.
    int j = (int)ceil((double)first / s - 0.0001);
    for (int y = first; y <= last; y += s, j++) {
        if (j < 0 || j >= image->height) continue;
        const int sy = y < host_height - 1 ? y : host_height - 1;
        PixelQ4* row = image->rows[j];
        const Host* src = buffer + (size_t)sy * host_width * 3;
        int i = 0;
        for (int x = 0; x < host_width && i < image->width; x += s, i++)
            Import(row[i], src + (size_t)x * 3);
    }
}

template <typename Host, void (*Export)(const PixelQ4&, Host*)>
void paste_rows_scaled(Host* buffer, ImageQ4* image, int jobs, int host_height, int host_width) {
    int first, last;
    if (!buffer || !image || image->width <= 0 || image->height <= 0 ||
        !my_band(host_height, jobs, first, last))
        return;
    const int s = step_of(image);
    const int iw = image->width, ih = image->height;
    for (int y = first; y <= last; y++) {
        const int r = y / s < ih - 1 ? y / s : ih - 1;
        const PixelQ4* row = image->rows[r];
        Host* dst = buffer + (size_t)y * host_width * 3;
        for (int x = 0; x < host_width; x++) {
            const int c = x / s < iw - 1 ? x / s : iw - 1;
            Export(row[c], dst + (size_t)x * 3);
        }
    }
}

}  // namespace

void mp_copy_pixel_data(unsigned char* buffer, ImageQ4* image, int jobs) {
    copy_rows<unsigned char, q4_import8>(buffer, image, jobs);
}
void mp_copy_pixel_data_deep12(unsigned short* buffer, ImageQ4* image, int jobs) {
    copy_rows<unsigned short, q4_import12>(buffer, image, jobs);
}
void mp_paste_pixel_data(unsigned char* buffer, ImageQ4* image, int jobs) {
    paste_rows<unsigned char, q4_export8>(buffer, image, jobs);
}
void mp_paste_pixel_data_deep12(unsigned short* buffer, ImageQ4* image, int jobs) {
    paste_rows<unsigned short, q4_export12>(buffer, image, jobs);
}
void mp_copy_pixel_data_scale(unsigned char* buffer, ImageQ4* image, int jobs, int host_height,
                              int host_width) {
    copy_rows_scaled<unsigned char, q4_import8>(buffer, image, jobs, host_height, host_width);
}
void mp_copy_pixel_data_scale_deep12(unsigned short* buffer, ImageQ4* image, int jobs,
                                     int host_height, int host_width) {
    copy_rows_scaled<unsigned short, q4_import12>(buffer, image, jobs, host_height, host_width);
}
void mp_paste_pixel_data_scale(unsigned char* buffer, ImageQ4* image, int jobs, int host_height,
                               int host_width) {
    paste_rows_scaled<unsigned char, q4_export8>(buffer, image, jobs, host_height, host_width);
}
void mp_paste_pixel_data_scale_deep12(unsigned short* buffer, ImageQ4* image, int jobs,
                                      int host_height, int host_width) {
    paste_rows_scaled<unsigned short, q4_export12>(buffer, image, jobs, host_height, host_width);
}
