// Recursive Gaussian blur: a third-order filter run forwards and backwards along every row
// (horizontal pass) and every column (vertical pass), with the Young-van Vliet coefficients.
// Its cost per sample is the same whatever the radius.
#include <math.h>
#include <string.h>

#include <new>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"

static const char* const blur_tag = "Library/Q4Blur";

void ImageQ4::yvv_coeffs(double sigma, double& B, double& c1, double& c2, double& c3) {
    double q;
    if (sigma >= 2.5) {
        q = 0.98711 * sigma - 0.9633;
    } else if (sigma >= 0.5) {
        q = 3.97156 - 4.14554 * sqrt(1.0 - 0.26891 * sigma);
    } else {
        // The program's own extension to small sigmas. It does not meet the middle branch at
        // 0.5, nor does the middle branch meet the upper one at 2.5; existing renders depend
        // on both jumps, so they stay.
        q = 2.0 * sigma * 0.3834085807;
    }
    const double b0 = ((0.422205 * q + 1.4281) * q + 2.44413) * q + 1.57825;
    c1 = (2.44413 + (1.26661 * q + 2.85619) * q) * q / b0;
    c2 = (-1.4281 - 1.26661 * q) * (q * q) / b0;
    c3 = 0.422205 * (q * q * q) / b0;
    B = 1.0 - (c1 + c2 + c3);
}

namespace {

// Lines filtered together: the same recursion runs on K lines of C channels side by side, which
// gives every line exactly the result it would get alone while letting the compiler work on
// many lanes per step and letting the vertical pass read whole cache lines.
constexpr int K = 8;

struct Recursion {
    double B, c1, c2, c3;
};

// Zero-started forward recursion from in into w, then backward from w into in, over L samples
// of M lanes (sample i of lane m at [i * M + m]).
template <int M>
void run_line_block(double* __restrict in, double* __restrict w, int L, const Recursion& r) {
    const double B = r.B, c1 = r.c1, c2 = r.c2, c3 = r.c3;
    for (int m = 0; m < 3 * M; m++) w[m] = 0.0;
    for (int i = 3; i < L; i++) {
        double* __restrict wi = w + (size_t)i * M;
        const double* __restrict w1 = wi - M;
        const double* __restrict w2 = wi - 2 * M;
        const double* __restrict w3 = wi - 3 * M;
        const double* __restrict xi = in + (size_t)i * M;
        for (int m = 0; m < M; m++) wi[m] = B * xi[m] + c1 * w1[m] + c2 * w2[m] + c3 * w3[m];
    }
    double* o = in;  // the input is no longer needed; the output takes its place
    for (int m = (L - 3) * M; m < L * M; m++) o[m] = 0.0;
    for (int i = L - 4; i >= 0; i--) {
        double* __restrict oi = o + (size_t)i * M;
        const double* __restrict o1 = oi + M;
        const double* __restrict o2 = oi + 2 * M;
        const double* __restrict o3 = oi + 3 * M;
        const double* __restrict wi = w + (size_t)i * M;
        for (int m = 0; m < M; m++) oi[m] = B * wi[m] + c1 * o1[m] + c2 * o2[m] + c3 * o3[m];
    }
}

// Values that overshoot through the filter are clamped to the channel range; inside it they are
// truncated.
inline unsigned short to_channel(double v) {
    const double lo = v < 0.0 ? 0.0 : v;
    return (unsigned short)(int)(lo > 32767.0 ? 32767.0 : lo);
}

// Where line k of a block starts and how far apart its successive pixels are.
struct LineSet {
    PixelQ4* start[K];
    long stride;
};

// Reads sample i of every line of the block into row i of the buffer, padded with p copies of
// each line's first sample before and 2p of its last after: the zero-started recursions settle on
// the edge values in the padding, so edges behave as a constant extension. Walking the buffer in
// order keeps the writes sequential.
template <int C>
void load_block(double* in, const LineSet& lines, int n, int p, int ch0) {
    constexpr int M = K * C;
    const int L = 3 * p + n;
    for (int i = 0; i < L; i++) {
        const long idx = i < p ? 0 : i < p + n ? i - p : n - 1;
        double* row = in + (size_t)i * M;
        for (int k = 0; k < K; k++) {
            const PixelQ4& px = lines.start[k][idx * lines.stride];
            for (int c = 0; c < C; c++) row[k * C + c] = px.c[ch0 + c];
        }
    }
}

template <int C>
void store_block(const double* o, const LineSet& lines, int count, int n, int p, int ch0) {
    constexpr int M = K * C;
    for (int x = 0; x < n; x++) {
        const double* row = o + (size_t)(p + x) * M;
        for (int k = 0; k < count; k++) {
            PixelQ4& px = lines.start[k][x * lines.stride];
            for (int c = 0; c < C; c++) px.c[ch0 + c] = to_channel(row[k * C + c]);
        }
    }
}

}  // namespace

// One pass over lines of the source into this image: rows when `horizontal`, columns otherwise.
// Each band owns its lines of the result and its own buffers; the source is only read.
template <int C>
static void blur_lines(ImageQ4* img, bool horizontal, int first, int last) {
    if (img->AbortRender()) return;
    ImageQ4* src = img->source;
    const int n = horizontal ? img->width : img->height;
    if (n <= 0 || !src) return;
    const auto& st = img->filter_scratch.blur;
    const Recursion r = {st.B, st.c1, st.c2, st.c3};
    const int ch0 = st.first_channel;
    const int p = (int)st.sigma + 4;
    const int L = 3 * p + n;
    constexpr int M = K * C;
    double* buf = static_cast<double*>(q4_malloc((size_t)2 * L * M * sizeof(double), blur_tag, __LINE__));
    if (!buf) return;
    double* in = buf;
    double* w = buf + (size_t)L * M;
    // Along a row successive pixels are adjacent; along a column they are a row apart.
    const long stride = horizontal ? 1 : img->width;
    auto line_start = [&](ImageQ4* of, int l) { return horizontal ? of->rows[l] : of->rows[0] + l; };
    for (int l0 = first; l0 <= last; l0 += K) {
        const int count = last - l0 + 1 < K ? last - l0 + 1 : K;
        LineSet from{{}, stride}, to{{}, stride};
        for (int k = 0; k < K; k++) {
            if (k < count && img->AbortRender()) {
                q4_free(buf, blur_tag, __LINE__);
                return;
            }
            // Lanes beyond the band repeat its last line; their results are not stored.
            const int l = l0 + (k < count ? k : count - 1);
            from.start[k] = line_start(src, l);
            to.start[k] = line_start(img, l);
        }
        load_block<C>(in, from, n, p, ch0);
        run_line_block<M>(in, w, L, r);
        store_block<C>(in, to, count, n, p, ch0);
    }
    q4_free(buf, blur_tag, __LINE__);
}

void ImageQ4::mp_fast_gaussianblur_h3(int first, int last) { blur_lines<3>(this, true, first, last); }
void ImageQ4::mp_fast_gaussianblur_h4(int first, int last) { blur_lines<4>(this, true, first, last); }
void ImageQ4::mp_fast_gaussianblur_h1(int first, int last) { blur_lines<1>(this, true, first, last); }
void ImageQ4::mp_fast_gaussianblur_v3(int first, int last) { blur_lines<3>(this, false, first, last); }
void ImageQ4::mp_fast_gaussianblur_v4(int first, int last) { blur_lines<4>(this, false, first, last); }
void ImageQ4::mp_fast_gaussianblur_v1(int first, int last) { blur_lines<1>(this, false, first, last); }

void ImageQ4::run_blur_passes(ImageQ4* src, int direction, int channels) {
    ImageBandQ4 horizontal = channels == 4 ? &ImageQ4::mp_fast_gaussianblur_h4
                             : channels == 3 ? &ImageQ4::mp_fast_gaussianblur_h3
                                             : &ImageQ4::mp_fast_gaussianblur_h1;
    ImageBandQ4 vertical = channels == 4 ? &ImageQ4::mp_fast_gaussianblur_v4
                           : channels == 3 ? &ImageQ4::mp_fast_gaussianblur_v3
                                           : &ImageQ4::mp_fast_gaussianblur_v1;
    FilterScratchQ4& st = filter_scratch;
    yvv_coeffs(st.blur.sigma, st.blur.B, st.blur.c1, st.blur.c2, st.blur.c3);
    source = src;
    if (direction == 0) {
        MultiProcess(horizontal, height);
    } else if (direction == 1) {
        MultiProcess(vertical, width);
    } else {
        MultiProcess(horizontal, height);
        // The vertical pass reads a fresh copy of the horizontal result.
        ImageQ4* between = new (std::nothrow) ImageQ4(*this);
        if (!between) return;
        source = between;
        MultiProcess(vertical, width);
        delete between;
    }
}

void ImageQ4::Fast_GaussianBlur(float radius, ImageQ4* src, int direction, int with_alpha) {
    if (direction < 0 || direction > 2) return;
    filter_scratch.blur.sigma = (double)radius * 0.25 + 0.05;
    filter_scratch.blur.first_channel = 0;
    filter_scratch.blur.end_channel = with_alpha ? 4 : 3;
    ImageQ4* copy = nullptr;
    if (!src) {
        // Blurring in place: the passes read a copy and write the image.
        copy = new (std::nothrow) ImageQ4(*this);
        if (!copy) return;
        src = copy;
    }
    run_blur_passes(src, direction, filter_scratch.blur.end_channel);
    delete copy;
}

void ImageQ4::Fast_GaussianBlur_Channel(float radius, ImageQ4* src, int direction, int channel,
                                        int keep) {
    if (direction < 0 || direction > 2 || channel < 0 || channel > 3) return;
    filter_scratch.blur.sigma = (double)radius * 0.25 + 0.05;
    filter_scratch.blur.first_channel = channel;
    filter_scratch.blur.end_channel = channel + 1;
    ImageQ4* copy = nullptr;
    if (src) {
        // The channels not blurred hold either the source or zero.
        if (src != this || !keep)
            for (int y = 0; y < height; y++) {
                if (keep) memcpy(rows[y], src->rows[y], (size_t)width * sizeof(PixelQ4));
                else memset(rows[y], 0, (size_t)width * sizeof(PixelQ4));
            }
    } else {
        copy = new (std::nothrow) ImageQ4(*this);
        if (!copy) return;
        src = copy;
    }
    run_blur_passes(src, direction, 1);
    delete copy;
}
