// ImageQ4: width x height PixelQ4 in one contiguous block with a row table, owning its block or
// wrapping caller memory, with a band-parallel driver, sampling and the point operations.
//
// Operations store their operands in the fields of the image and then run a band worker (a member
// taking an inclusive first and last row) through MultiProcess; the operand fields carry no
// meaning between calls, and two band operations on one image must not run at the same time.
#ifndef Q4IMAGE_H
#define Q4IMAGE_H

#include "Library/Q4Pixel.h"

// The host's render-operation record an image belongs to; stored, never looked into here.
struct renderop_tag;

class ImageQ4;

// A band worker of ImageQ4: called with an inclusive first and last row (or column).
typedef void (ImageQ4::*ImageBandQ4)(int first, int last);

// Whether rendering is to be aborted; the long filters ask it between lines. The context is the
// one given with set_image_abort_hook (the plug-in object, for the framework's lib_abort_render).
typedef int (*ImageAbortQ4)(void* context);

// State of the whole-image filters, kept in a fixed block of 128 bytes inside every image.
union FilterScratchQ4 {
    unsigned char bytes[128];
    struct {
        int first_channel;  // half-open channel range of the blur
        int end_channel;
        double sigma;
        double B, c1, c2, c3;  // recursion coefficients derived from sigma
    } blur;
};
static_assert(sizeof(FilterScratchQ4) == 128, "the filter scratch is 128 bytes");

class ImageQ4 {
public:
    // ---- fields, in declaration order ----
    PixelQ4* pixels;       // first pixel of the contiguous width x height block, row 0 first
    int owns_pixels;       // 1 when the image allocated the block and frees it
    ImageQ4* source;       // operand of the band-parallel copy operations and of the blur
    ImageQ4* merge_source; // operands of Merge
    ImageQ4* merge_matte;
    bool merge_matte_direct;  // Merge: matte used as it is (true) or inverted (false)
    int merge_alpha;          // Merge: non-zero also merges alpha
    int luma_target;          // CopyLumaToChannel: channel 0-3
    FilterScratchQ4 filter_scratch;
    PixelQ4** rows;        // row table: rows[y] == pixels + y * width
    int width, height;
    double ratio, ratio2;  // host pixel ratio as given by the conversions, and a second one
    double offset_x, offset_y;
    float sample_step;     // host pixels per image pixel of a reduced-resolution image
    renderop_tag* render_op;
    ImageQ4* operand;      // operand of MapGamma_RGBA, MapGamma_Alpha, BlendBack, CutOut
    int* gamma_table;      // 32768 entries, built by the gamma operations on first use
    float blend_amount;    // BlendBack, BlendBackCol
    PixelQ4 colour;        // BlendBackCol's constant colour
    int cutout_channel, cutout_mode, cutout_alpha_mode;

    // ---- construction and lifetime ----
    // Wraps pixels when non-null (the caller keeps ownership), otherwise allocates the block.
    // The aspect argument is accepted for compatibility and not used.
    ImageQ4(int width, int height, float aspect = 1.0f, PixelQ4* pixels = nullptr,
            renderop_tag* op = nullptr);
    // A deep copy with its own block; operand fields are not copied.
    ImageQ4(const ImageQ4& other);
    ImageQ4& operator=(const ImageQ4&) = delete;
    ~ImageQ4();

    // Runs worker over rows 0..rows-1 split into one band per host processor.
    void MultiProcess(ImageBandQ4 worker, int rows);

    // Process-wide abort question for the long filters; without a hook they never abort.
    static void set_image_abort_hook(ImageAbortQ4 hook, void* context);
    int AbortRender();

    // ---- sampling (pixel (x, y) has its top-left corner at x, y) ----
    void PointSampleB(float x, float y, PixelQ4& out);
    void PointSampleD(float x, float y, PixelQ4& out);
    void PointSampleW(float x, float y, PixelQ4& out);
    void AreaSampleStart();
    void AreaSampleEnd();
    void AreaSampleB(float x0, float y0, float x1, float y1, PixelQ4& out);
    void AreaSampleD(float x0, float y0, float x1, float y1, PixelQ4& out);
    void AreaSampleW(float x0, float y0, float x1, float y1, PixelQ4& out);

    // ---- point operations (operands have this image's width and height) ----
    void CopyAlpha(ImageQ4* src);
    void CopyRGB(ImageQ4* src);
    void CopyR(ImageQ4* src);
    void CopyG(ImageQ4* src);
    void CopyB(ImageQ4* src);
    void CopyLumaToChannel(ImageQ4* src, int channel);
    void UseHSV(ImageQ4* src);
    void ReplaceHSV(ImageQ4* src);
    void CopyValues(ImageQ4* src, float kr, float kg, float kb, float ka);
    void Merge(ImageQ4* src, ImageQ4* matte, bool direct, int alpha);
    void MapGamma_RGBA(ImageQ4* src, float gamma);
    void MapGamma_Alpha(ImageQ4* src, float gamma);
    void InBlend(float t, ImageQ4* src);
    void BlendBack(float amount, ImageQ4* src);
    void BlendBackCol(float amount, PixelQ4 colour);
    void CutOut(ImageQ4* matte, int channel, int mode, int alpha_mode);
    void Fill(unsigned short r, unsigned short g, unsigned short b, unsigned short a);
    void FillChannel(unsigned short value, unsigned short channel);
    void Negative(ImageQ4* src);
    void ApplyLUT(unsigned short* lr, unsigned short* lg, unsigned short* lb, unsigned short* la);
    void ShiftIntensity(int amount);
    void Transform(double a, double b, double c, double d, double e);
    void RankFilter(int size_x, int size_y);

    // ---- recursive Gaussian blur ----
    // Blurs red, green and blue (and alpha when with_alpha) of source into this image;
    // direction 0 horizontal, 1 vertical, 2 both; a null source blurs the image in place.
    void Fast_GaussianBlur(float radius, ImageQ4* source, int direction, int with_alpha);
    // The same for one channel; with a source, the other channels become the source's (keep)
    // or zero.
    void Fast_GaussianBlur_Channel(float radius, ImageQ4* source, int direction, int channel,
                                   int keep);
    // Young-van Vliet recursion coefficients for sigma: B and the feedback c1, c2, c3.
    static void yvv_coeffs(double sigma, double& B, double& c1, double& c2, double& c3);
    // Deriche fourth-order coefficients, five entries per array, normalised to unit gain at zero
    // frequency: causal numerator and denominator, anti-causal numerator and denominator, and
    // the edge coefficients of the two directions.
    static void make_coeffs(double sigma, double* n_causal, double* d_causal,
                            double* n_anticausal, double* d_anticausal, double* bn, double* bm);

    // ---- band workers ----
    void mp_copy_alpha(int first, int last);
    void mp_copy_rgb(int first, int last);
    void mp_copy_r(int first, int last);
    void mp_copy_g(int first, int last);
    void mp_copy_b(int first, int last);
    void mp_copy_l2c(int first, int last);
    void mp_usehsv(int first, int last);
    void mp_replacehsv(int first, int last);
    void mp_Merge(int first, int last);
    void mp_map_gamma_rgba(int first, int last);
    void mp_map_gamma_alpha(int first, int last);
    void mp_blendback(int first, int last);
    void mp_blendbackcol(int first, int last);
    void mp_cutout(int first, int last);
    void mp_negative(int first, int last);
    // Blur passes: rows for the horizontal workers, columns for the vertical ones.
    void mp_fast_gaussianblur_h3(int first, int last);
    void mp_fast_gaussianblur_h4(int first, int last);
    void mp_fast_gaussianblur_h1(int first, int last);
    void mp_fast_gaussianblur_v3(int first, int last);
    void mp_fast_gaussianblur_v4(int first, int last);
    void mp_fast_gaussianblur_v1(int first, int last);

private:
    void init_empty(int w, int h);
    void alloc_rows();
    void build_gamma_table(float gamma);
    void run_blur_passes(ImageQ4* src, int direction, int channels);
    template <int C> void blur_rows(int first, int last);
    template <int C> void blur_columns(int first, int last);
};

// The inclusive band [first, last] of job k of jobs over rows: rows / jobs each, the last job
// taking the remainder. Shared by every band dispatcher of the framework.
void q4_band_of_job(int k, int jobs, int rows, int& first, int& last);
// The calling job's index from the host's sparkMpInfo.
int q4_current_job_index();

#endif
