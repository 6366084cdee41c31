// ImageQ4 construction, ownership, row table, band-parallel driver and sampling.
#include "Library/Q4Image.h"

#include <math.h>
#include <string.h>

#include "base/q4_heap.h"
#include "spark/spark.h"

// Processor count of the current frame, set by the host interface; the number of bands.
extern int DLnumProc;

static const char* const image_tag = "Library/Q4Image";

void ImageQ4::init_empty(int w, int h) {
    pixels = nullptr;
    owns_pixels = 0;
    source = nullptr;
    merge_source = nullptr;
    merge_matte = nullptr;
    merge_matte_direct = false;
    merge_alpha = 0;
    luma_target = 0;
    memset(&filter_scratch, 0, sizeof filter_scratch);
    rows = nullptr;
    width = w;
    height = h;
    ratio = 1.0;
    ratio2 = 1.0;
    offset_x = 0.0;
    offset_y = 0.0;
    sample_step = 720.0f / (float)w;
    render_op = nullptr;
    operand = nullptr;
    gamma_table = nullptr;
    blend_amount = 0.0f;
    colour = PixelQ4(0, 0, 0, 0);
    cutout_channel = 0;
    cutout_mode = 0;
    cutout_alpha_mode = 0;
}

void ImageQ4::alloc_rows() {
    if (!pixels) {
        // Without a pixel block the image is empty, so every operation on it does nothing.
        width = height = 0;
        return;
    }
    rows = static_cast<PixelQ4**>(q4_malloc((size_t)height * sizeof(PixelQ4*), image_tag, __LINE__));
    if (!rows) {
        if (owns_pixels) q4_image_free(pixels, image_tag, __LINE__);
        pixels = nullptr;
        owns_pixels = 0;
        width = height = 0;
        return;
    }
    PixelQ4* row = pixels;
    for (int y = 0; y < height; y++, row += width) rows[y] = row;
}

ImageQ4::ImageQ4(int w, int h, float aspect, PixelQ4* wrap, renderop_tag* op) {
    (void)aspect;  // accepted for compatibility with existing callers; the ratio fields carry it
    init_empty(w, h);
    render_op = op;
    if (w < 0 || h < 0) w = h = width = height = 0;
    if (wrap) {
        pixels = wrap;
        owns_pixels = 0;
    } else {
        pixels = static_cast<PixelQ4*>(
            q4_image_malloc((size_t)w * (size_t)h * sizeof(PixelQ4), image_tag, __LINE__));
        owns_pixels = pixels ? 1 : 0;
    }
    alloc_rows();
}

ImageQ4::ImageQ4(const ImageQ4& other) {
    init_empty(other.width, other.height);
    ratio = other.ratio;
    ratio2 = other.ratio2;
    offset_x = other.offset_x;
    offset_y = other.offset_y;
    sample_step = other.sample_step;
    render_op = other.render_op;
    size_t bytes = (size_t)width * (size_t)height * sizeof(PixelQ4);
    pixels = static_cast<PixelQ4*>(q4_image_malloc(bytes, image_tag, __LINE__));
    owns_pixels = pixels ? 1 : 0;
    if (pixels && other.pixels) memcpy(pixels, other.pixels, bytes);
    alloc_rows();
}

ImageQ4::~ImageQ4() {
    if (owns_pixels) q4_image_free(pixels, image_tag, __LINE__);
    q4_free(rows, image_tag, __LINE__);
    delete[] gamma_table;
}

// ---- band-parallel driver ----

int q4_current_job_index() {
    ulong a = 0, b = 0;
    sparkMpInfo(&a, &b);
    if (b == 0) return 0;
    // The host's two numbers give the job index only through their quotient; the small bias
    // guards the conversion against a quotient that arrives just below a whole number.
    return (int)((double)(a / b) + 0.2);
}

void q4_band_of_job(int k, int jobs, int rows, int& first, int& last) {
    if (jobs < 1) jobs = 1;
    int per = rows / jobs;
    first = per * k;
    last = per * (k + 1) - 1;
    if (k >= jobs - 1) last = rows - 1;  // the last band takes the remainder
}

static void image_band_job(ImageBandQ4* method, ImageQ4* image, int rows, int jobs) {
    int first, last;
    q4_band_of_job(q4_current_job_index(), jobs, rows, first, last);
    if (first > last) return;
    (image->**method)(first, last);
}

void ImageQ4::MultiProcess(ImageBandQ4 worker, int count) {
    // The host runs one job per processor and joins them before returning, so the worker
    // pointer on this stack outlives every job.
    sparkMpFork(reinterpret_cast<void (*)()>(image_band_job), 4, &worker, this, count, DLnumProc);
}

// ---- abort question of the long filters ----

static ImageAbortQ4 abort_hook = nullptr;
static void* abort_context = nullptr;

void ImageQ4::set_image_abort_hook(ImageAbortQ4 hook, void* context) {
    abort_hook = hook;
    abort_context = context;
}

int ImageQ4::AbortRender() { return abort_hook ? abort_hook(abort_context) : 0; }

// ---- sampling ----

void ImageQ4::PointSampleB(float x, float y, PixelQ4& out) {
    int ix = (int)floorf(x), iy = (int)floorf(y);
    int fx = (int)((x - (float)ix) * 32768.0f);
    int fy = (int)((y - (float)iy) * 32768.0f);
    // Weights in 15-bit fixed point; the last one takes what the others leave so that the four
    // always sum to exactly one.
    int w00 = ((32768 - fx) * (32768 - fy)) >> 15;
    int w10 = (fx * (32768 - fy)) >> 15;
    int w01 = ((32768 - fx) * fy) >> 15;
    int w11 = 32768 - (w00 + w10 + w01);
    const int nx[4] = {ix, ix + 1, ix, ix + 1};
    const int ny[4] = {iy, iy, iy + 1, iy + 1};
    const int w[4] = {w00, w10, w01, w11};
    unsigned sum[4] = {0, 0, 0, 0};
    for (int i = 0; i < 4; i++) {
        // A neighbour outside the image counts as black and transparent, so samples fade out
        // across the border.
        if (nx[i] < 0 || nx[i] >= width || ny[i] < 0 || ny[i] >= height) continue;
        const PixelQ4& p = rows[ny[i]][nx[i]];
        for (int c = 0; c < 4; c++) sum[c] += (unsigned)p.c[c] * (unsigned)w[i];
    }
    for (int c = 0; c < 4; c++) out.c[c] = (unsigned short)(sum[c] >> 15);
}

void ImageQ4::PointSampleD(float x, float y, PixelQ4& out) { PointSampleB(x, y, out); }
void ImageQ4::PointSampleW(float x, float y, PixelQ4& out) { PointSampleB(x, y, out); }

void ImageQ4::AreaSampleStart() {}
void ImageQ4::AreaSampleEnd() {}

// Area samples take the point sample at the centre of the area; no averaging is done.
void ImageQ4::AreaSampleB(float x0, float y0, float x1, float y1, PixelQ4& out) {
    PointSampleB((x0 + x1) * 0.5f, (y0 + y1) * 0.5f, out);
}
void ImageQ4::AreaSampleD(float x0, float y0, float x1, float y1, PixelQ4& out) {
    PointSampleD((x0 + x1) * 0.5f, (y0 + y1) * 0.5f, out);
}
void ImageQ4::AreaSampleW(float x0, float y0, float x1, float y1, PixelQ4& out) {
    PointSampleW((x0 + x1) * 0.5f, (y0 + y1) * 0.5f, out);
}
