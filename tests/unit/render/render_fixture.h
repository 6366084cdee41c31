// A Vesk whose particle set is wired to small frame-sized images, and an independent reference
// of what a polygon particle must put into a layer: 8x8 supersamples whose centres lie inside the
// polygon (half-open in y, closed in x), laid into a mask one column and one row short, reduced by
// whole 8x8 blocks and blended as premultiplied "over".
#ifndef TESTS_UNIT_RENDER_FIXTURE_H
#define TESTS_UNIT_RENDER_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "Library/Q4Image.h"
#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Raster.h"
#include "effect/Vesk.h"

struct Pt {
    double x, y;
};

inline void FillImage(ImageQ4* img, PixelQ4 v)
{
    for (int y = 0; y < img->height; ++y)
        for (int x = 0; x < img->width; ++x) img->rows[y][x] = v;
}

class RenderTest : public ::testing::Test {
protected:
    static constexpr int kW = 32;
    static constexpr int kH = 24;

    void SetUp() override { Wire(kW, kH); }

    // The images belong to the test, not to the set.
    void TearDown() override
    {
        tagPARTSET* s = vesk->set;
        s->work[0] = s->work[1] = s->work[2] = s->work[3] = s->source2 = s->source3 = s->result = nullptr;
        s->live_list = nullptr;
        s->live_count = 0;
        std::fill(s->band_start, s->band_start + PART_BAND_SLOTS, nullptr);
    }

    void Wire(int w, int h)
    {
        images.clear();
        tagPARTSET* s = vesk->set;
        s->width = s->width2 = w;
        s->height = s->height2 = h;
        for (int i = 0; i < 4; ++i) s->work[i] = Blank(w, h);
        s->source2 = Blank(w, h);
        s->source3 = Blank(w, h);
        s->result = Blank(w, h);
        s->density = 1.0f;
        s->shapes_over_cols = s->living_rotate = s->single_band = 0;
        s->star_sharpness = 0.5f;
        s->base_rotation = 0.0f;
        s->shape = 1;
        vesk->bands = 1;
        vesk->pixel_ratio = vesk->lump_param = 1.0;
    }

    ImageQ4* Blank(int w, int h)
    {
        images.emplace_back(new ImageQ4(w, h));
        images.back()->Fill(0, 0, 0, 0);
        return images.back().get();
    }

    ImageQ4* layer(int i = 0) { return vesk->set->work[i]; }

    static tagPART Particle(float r, float g, float b)
    {
        tagPART p{};
        p.colour[0] = r, p.colour[1] = g, p.colour[2] = b;
        return p;
    }

    static void ExpectPixel(const ImageQ4* img, int x, int y, int r, int g, int b, int a)
    {
        const PixelQ4& p = img->rows[y][x];
        EXPECT_EQ((std::vector<int>{p.r, p.g, p.b, p.a}), (std::vector<int>{r, g, b, a})) << "at " << x << "," << y;
    }

    static bool IsClear(const ImageQ4* img)
    {
        for (int y = 0; y < img->height; ++y)
            for (int x = 0; x < img->width; ++x)
                for (int c = 0; c < 4; ++c)
                    if (img->rows[y][x].c[c] != 0) return false;
        return true;
    }

    // Expected layer after drawing the polygon (vertices in output pixels) in a solid colour over
    // `start`, at density 1. Samples are found by crossing every edge with the sample height,
    // not by the renderer's active edge list.
    static std::vector<PixelQ4> ReferenceLayer(const std::vector<Pt>& pixels, const float colour[3],
                                               const ImageQ4* start)
    {
        std::vector<float> X, Y;
        for (const Pt& p : pixels) {
            X.push_back((float)p.x * 8.0f);
            Y.push_back((float)p.y * 8.0f);
        }
        const int xmin = (int)std::ceil((double)*std::min_element(X.begin(), X.end()) - 0.5);
        const int xmax = (int)std::floor((double)*std::max_element(X.begin(), X.end()) - 0.5);
        const int ymin = (int)std::ceil((double)*std::min_element(Y.begin(), Y.end()) - 0.5);
        const int ymax = (int)std::floor((double)*std::max_element(Y.begin(), Y.end()) - 0.5);
        const int w = xmax - xmin, h = ymax - ymin;
        const long long size = (long long)w * h;
        std::vector<int> mask(size > 0 ? (size_t)size : 0, 0);
        const size_t n = X.size();
        for (int sy = ymin; sy <= ymax; ++sy) {
            const double yc = sy + 0.5;
            std::vector<double> xs;
            for (size_t i = 0; i < n; ++i) {
                const size_t j = (i + 1) % n;
                const size_t top = Y[i] < Y[j] ? i : j, bot = top == i ? j : i;
                if (!(Y[top] <= yc && yc < Y[bot])) continue;
                const float slope = (X[bot] - X[top]) / (Y[bot] - Y[top]);
                xs.push_back((double)slope * (yc - Y[top]) + X[top]);
            }
            std::sort(xs.begin(), xs.end());
            for (size_t k = 0; k + 1 < xs.size(); k += 2)
                for (int sx = (int)std::ceil(xs[k] - 0.5); sx <= (int)std::floor(xs[k + 1] - 0.5); ++sx) {
                    const long long idx = (long long)(sy - ymin) * w + (sx - xmin);
                    if (idx >= 0 && idx < size) mask[(size_t)idx] = 1;
                }
        }
        const int W = start->width, H = start->height;
        std::vector<PixelQ4> out(start->pixels, start->pixels + (size_t)W * H);
        for (int r = 0; r < h / 8; ++r)
            for (int c = 0; c < w / 8; ++c) {
                const int px = xmin / 8 + c, py = ymin / 8 + r;
                if (px < 0 || py < 0 || px >= W || py >= H) continue;
                int sum = 0;
                for (int dy = 0; dy < 8; ++dy)
                    for (int dx = 0; dx < 8; ++dx) sum += mask[(size_t)((8 * r + dy) * w + 8 * c + dx)];
                const long long a = sum * 512;  // 64 samples make 32768
                PixelQ4& d = out[(size_t)py * W + px];
                auto mix = [&](long long col, long long dst) {
                    return (unsigned short)std::min<long long>(32767, (col * a + dst * (32768 - a)) >> 15);
                };
                d = PixelQ4(mix((int)colour[0], d.r), mix((int)colour[1], d.g), mix((int)colour[2], d.b),
                            mix(32767, d.a));
            }
        return out;
    }

    static void ExpectLayer(const ImageQ4* img, const std::vector<PixelQ4>& want)
    {
        int mismatches = 0;
        for (int y = 0; y < img->height; ++y)
            for (int x = 0; x < img->width; ++x)
                for (int c = 0; c < 4; ++c) {
                    const int got = img->rows[y][x].c[c], w = want[(size_t)y * img->width + x].c[c];
                    if (got != w && ++mismatches <= 8)
                        ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": got " << got
                                      << ", want " << w;
                }
        EXPECT_EQ(mismatches, 0);
    }

    std::unique_ptr<Vesk> vesk{new Vesk()};
    std::vector<std::unique_ptr<ImageQ4>> images;
};

#endif
