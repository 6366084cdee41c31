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

class RenderTest : public ::testing::Test {
protected:
    static constexpr int kW = 32;
    static constexpr int kH = 24;

    void SetUp() override { Wire(kW, kH); }

    void TearDown() override
    {
        tagPARTSET* s = vesk->set;
        for (int i = 0; i < 4; ++i) s->work[i] = nullptr;
        s->source2 = s->source3 = s->result = nullptr;
        s->live_list = nullptr;
        s->live_count = 0;
        for (int i = 0; i < PART_BAND_SLOTS; ++i) s->band_start[i] = nullptr;
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
        s->shapes_over_cols = 0;
        s->star_sharpness = 0.5f;
        s->base_rotation = 0.0f;
        s->living_rotate = 0;
        s->shape = 1;
        s->single_band = 0;
        vesk->bands = 1;
        vesk->pixel_ratio = 1.0;
        vesk->lump_param = 1.0;
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
        p.colour[0] = r;
        p.colour[1] = g;
        p.colour[2] = b;
        return p;
    }

    static void ExpectPixel(const ImageQ4* img, int x, int y, int r, int g, int b, int a)
    {
        const PixelQ4& p = img->rows[y][x];
        EXPECT_EQ(p.r, r) << "red at " << x << "," << y;
        EXPECT_EQ(p.g, g) << "green at " << x << "," << y;
        EXPECT_EQ(p.b, b) << "blue at " << x << "," << y;
        EXPECT_EQ(p.a, a) << "alpha at " << x << "," << y;
    }

    static bool IsClear(const ImageQ4* img)
    {
        for (int y = 0; y < img->height; ++y)
            for (int x = 0; x < img->width; ++x)
                for (int c = 0; c < 4; ++c)
                    if (img->rows[y][x].c[c] != 0) return false;
        return true;
    }

    // Samples of the polygon (vertices in output pixels) in a mask of the renderer's layout.
    struct Mask {
        int xmin = 0, ymin = 0, w = 0, h = 0;
        std::vector<int> cells;
    };

    static Mask ReferenceMask(const std::vector<Pt>& pixels)
    {
        std::vector<float> X, Y;
        for (const Pt& p : pixels) {
            X.push_back((float)p.x * 8.0f);
            Y.push_back((float)p.y * 8.0f);
        }
        Mask m;
        m.xmin = (int)std::ceil((double)*std::min_element(X.begin(), X.end()) - 0.5);
        const int xmax = (int)std::floor((double)*std::max_element(X.begin(), X.end()) - 0.5);
        m.ymin = (int)std::ceil((double)*std::min_element(Y.begin(), Y.end()) - 0.5);
        const int ymax = (int)std::floor((double)*std::max_element(Y.begin(), Y.end()) - 0.5);
        m.w = xmax - m.xmin;
        m.h = ymax - m.ymin;
        const long long size = (long long)m.w * m.h;
        m.cells.assign(size > 0 ? (size_t)size : 0, 0);
        const size_t n = X.size();
        for (int sy = m.ymin; sy <= ymax; ++sy) {
            const double yc = sy + 0.5;
            std::vector<double> xs;
            for (size_t i = 0; i < n; ++i) {
                const size_t j = (i + 1) % n;
                const size_t top = Y[i] < Y[j] ? i : j;
                const size_t bot = top == i ? j : i;
                if (!(Y[top] <= yc && yc < Y[bot])) continue;
                const float slope = (X[bot] - X[top]) / (Y[bot] - Y[top]);
                xs.push_back((double)slope * (yc - Y[top]) + X[top]);
            }
            std::sort(xs.begin(), xs.end());
            for (size_t k = 0; k + 1 < xs.size(); k += 2) {
                const int xl = (int)std::ceil(xs[k] - 0.5);
                const int xr = (int)std::floor(xs[k + 1] - 0.5);
                for (int sx = xl; sx <= xr; ++sx) {
                    const long long idx = (long long)(sy - m.ymin) * m.w + (sx - m.xmin);
                    if (idx >= 0 && idx < size) m.cells[(size_t)idx] = 1;
                }
            }
        }
        return m;
    }

    // Expected layer after drawing the polygon in a solid colour over `start` (the layer as it
    // was), with the set's density.
    std::vector<PixelQ4> ReferenceLayer(const std::vector<Pt>& pixels, const float colour[3],
                                        const ImageQ4* start, float density)
    {
        const int W = start->width, H = start->height;
        std::vector<PixelQ4> out(start->pixels, start->pixels + (size_t)W * H);
        const Mask m = ReferenceMask(pixels);
        const int bw = m.w / 8, bh = m.h / 8;
        const int ox = m.xmin / 8, oy = m.ymin / 8;
        for (int r = 0; r < bh; ++r) {
            for (int c = 0; c < bw; ++c) {
                const int X = ox + c, Y = oy + r;
                if (X < 0 || Y < 0 || X >= W || Y >= H) continue;
                int sum = 0;
                for (int dy = 0; dy < 8; ++dy)
                    for (int dx = 0; dx < 8; ++dx) sum += m.cells[(size_t)((8 * r + dy) * m.w + 8 * c + dx)];
                const int a = (int)((float)sum / 64.0f * 32768.0f * density);
                PixelQ4& d = out[(size_t)Y * W + X];
                auto mix = [&](long long col, long long dst) {
                    long long v = (col * a + dst * (32768 - a)) >> 15;
                    return (unsigned short)std::min<long long>(32767, std::max<long long>(0, v));
                };
                d.r = mix((int)colour[0], d.r);
                d.g = mix((int)colour[1], d.g);
                d.b = mix((int)colour[2], d.b);
                d.a = mix(32767, d.a);
            }
        }
        return out;
    }

    void ExpectLayer(const ImageQ4* img, const std::vector<PixelQ4>& want)
    {
        int mismatches = 0;
        for (int y = 0; y < img->height; ++y) {
            for (int x = 0; x < img->width; ++x) {
                const PixelQ4& got = img->rows[y][x];
                const PixelQ4& w = want[(size_t)y * img->width + x];
                for (int c = 0; c < 4; ++c) {
                    if (got.c[c] != w.c[c] && ++mismatches <= 8) {
                        ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": got "
                                      << got.c[c] << ", want " << w.c[c];
                    }
                }
            }
        }
        EXPECT_EQ(mismatches, 0);
    }

    std::unique_ptr<Vesk> vesk{new Vesk()};
    std::vector<std::unique_ptr<ImageQ4>> images;
};

#endif
