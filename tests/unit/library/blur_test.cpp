// Recursive Gaussian blur: coefficients, the shape of the filter, edges, passes and bands.
#include <cmath>
#include <utility>
#include <vector>

#include "tests/unit/library/library_env.h"

namespace {

// Young and van Vliet's coefficients in their published form (b0..b3, then normalised), with
// the program's linear q below sigma 0.5.
struct Yvv {
    double B, c1, c2, c3;
};
Yvv published(double s) {
    double q = s >= 2.5 ? 0.98711 * s - 0.9633
             : s >= 0.5 ? 3.97156 - 4.14554 * std::sqrt(1 - 0.26891 * s)
                        : 0.7668171614 * s;
    double b0 = 1.57825 + 2.44413 * q + 1.4281 * q * q + 0.422205 * q * q * q;
    double b1 = 2.44413 * q + 2.85619 * q * q + 1.26661 * q * q * q;
    double b2 = -(1.4281 * q * q + 1.26661 * q * q * q);
    double b3 = 0.422205 * q * q * q;
    Yvv r{0, b1 / b0, b2 / b0, b3 / b0};
    r.B = 1 - (r.c1 + r.c2 + r.c3);
    return r;
}

double sigma_of(float radius) { return radius * 0.25 + 0.05; }

// One line filtered the plain way: edge padding, zero-started forward and backward recursions.
std::vector<int> reference_line(const std::vector<int>& line, double sigma) {
    Yvv k = published(sigma);
    ImageQ4::yvv_coeffs(sigma, k.B, k.c1, k.c2, k.c3);  // bit-exact coefficients for equality
    int n = (int)line.size(), p = (int)sigma + 4, L = 3 * p + n;
    std::vector<double> in(L), w(L, 0.0), o(L, 0.0);
    for (int i = 0; i < L; i++) in[i] = line[i < p ? 0 : i < p + n ? i - p : n - 1];
    for (int i = 3; i < L; i++) w[i] = k.B * in[i] + k.c1 * w[i - 1] + k.c2 * w[i - 2] + k.c3 * w[i - 3];
    for (int i = L - 4; i >= 0; i--) o[i] = k.B * w[i] + k.c1 * o[i + 1] + k.c2 * o[i + 2] + k.c3 * o[i + 3];
    std::vector<int> out(n);
    for (int x = 0; x < n; x++) {
        double v = o[p + x];
        out[x] = v < 0 ? 0 : v > 32767 ? 32767 : (int)v;
    }
    return out;
}

}  // namespace

TEST(BlurCoefficients, MatchThePublishedFormulasInEveryBranch) {
    for (double s : {0.05, 0.3, 0.4999, 0.5, 1.0, 2.4999, 2.5, 10.0, 100.0}) {
        double got[4];
        ImageQ4::yvv_coeffs(s, got[0], got[1], got[2], got[3]);
        const Yvv want = published(s);
        const double expected[4] = {want.B, want.c1, want.c2, want.c3};
        for (int i = 0; i < 4; i++) EXPECT_NEAR(got[i], expected[i], 1e-12) << s << " coefficient " << i;
    }
}

TEST(BlurCoefficients, DericheFilterHasUnitGainAndSharedEdgeCoefficients) {
    for (double s : {1.0, 3.0, 10.0}) {
        double n[5], d[5], m[5], dm[5], bn[5], bm[5];
        ImageQ4::make_coeffs(s, n, d, m, dm, bn, bm);
        double sn = 0, sm = 0, sd = 0;
        for (int i = 0; i < 5; i++) {
            sn += n[i], sm += m[i], sd += d[i];
            EXPECT_EQ(dm[i], d[i]);
            // Edge coefficients are the denominator times each side's share of the gain.
            EXPECT_NEAR(bn[i] + bm[i], d[i], 1e-12);
        }
        EXPECT_NEAR((sn + sm) / (1 + sd), 1.0, 1e-12) << s;
        EXPECT_NEAR(bn[1], d[1] * sn / (1 + sd), 1e-12);
        EXPECT_EQ(m[0] + n[4] + d[0], 0.0);
        // Terms from the published constants, the numerator's as n1 / n0 so that the
        // normalisation cancels: a wrong constant or sign moves one of them.
        const double b0 = 1.783 / s, b1 = 1.723 / s, w0 = 0.6318 / s, w1 = 1.997 / s;
        EXPECT_NEAR(n[1] / n[0], std::exp(-b1) * (-0.2598 * std::sin(w1) - (2 * 1.6803 - 0.6803) * std::cos(w1)) +
                                     std::exp(-b0) * (3.735 * std::sin(w0) - (1.6803 - 2 * 0.6803) * std::cos(w0)),
                    1e-9);
        EXPECT_NEAR(d[3], -2 * std::cos(w0) * std::exp(-b0 - 2 * b1) - 2 * std::cos(w1) * std::exp(-b1 - 2 * b0), 1e-12);
        EXPECT_NEAR(d[4], std::exp(-2 * b0 - 2 * b1), 1e-12);
    }
}

class Blur : public WithHost {};

TEST_F(Blur, EachPassFiltersEveryLineAsTheLineAlgorithmDoes) {
    // Odd sizes, more lines than one block of eight, a line shorter than the padding, and the
    // smallest sigma (radius 0) on the program's own branch of q.
    for (auto [w, radius] : {std::pair<int, float>{13, 5.0f}, {3, 5.0f}, {13, 0.0f}}) {
        ImageQ4 src(w, 11), h(w, 11), v(w, 11);
        fill_random(src, 21);
        h.Fill(5, 5, 5, 5);
        v.Fill(5, 5, 5, 5);
        h.Fast_GaussianBlur(radius, &src, 0, 0);
        v.Fast_GaussianBlur(radius, &src, 1, 1);
        for (int c = 0; c < 4; c++) {
            for (int y = 0; y < 11; y++) {
                std::vector<int> line(w);
                for (int x = 0; x < w; x++) line[x] = src.rows[y][x].c[c];
                std::vector<int> want = reference_line(line, sigma_of(radius));
                for (int x = 0; x < w; x++)
                    ASSERT_EQ(h.rows[y][x].c[c], c < 3 ? want[x] : 5) << w << " " << x << "," << y << " c" << c;
            }
            for (int x = 0; x < w; x++) {
                std::vector<int> line(11);
                for (int y = 0; y < 11; y++) line[y] = src.rows[y][x].c[c];
                std::vector<int> want = reference_line(line, sigma_of(radius));
                for (int y = 0; y < 11; y++) ASSERT_EQ(v.rows[y][x].c[c], want[y]) << x << "," << y;
            }
        }
    }
}

TEST_F(Blur, BothDirectionsEqualHorizontalThenVerticalAndDoNotDependOnJobs) {
    ImageQ4 src(41, 29);
    fill_random(src, 3);
    ImageQ4 horizontal(41, 29), both(41, 29);
    horizontal.Fast_GaussianBlur(9.0f, &src, 0, 1);
    ImageQ4 two_passes(41, 29);
    two_passes.Fast_GaussianBlur(9.0f, &horizontal, 1, 1);
    both.Fast_GaussianBlur(9.0f, &src, 2, 1);
    EXPECT_TRUE(same_pixels(both, two_passes));

    UseProcessors(1);
    ImageQ4 one(src);
    one.Fast_GaussianBlur(9.0f, nullptr, 2, 1);  // in place
    EXPECT_TRUE(same_pixels(one, both));
    UseProcessors(7);
    ImageQ4 seven(src);
    seven.Fast_GaussianBlur(9.0f, nullptr, 2, 1);
    EXPECT_TRUE(same_pixels(seven, both));
}

TEST_F(Blur, ChannelBlurKeepsOrClearsTheOtherChannelsAndAbortStopsEverything) {
    ImageQ4 src(16, 12), keep(16, 12), clear(16, 12), all(16, 12);
    fill_random(src, 8);
    keep.Fill(1, 1, 1, 1);
    clear.Fill(1, 1, 1, 1);
    keep.Fast_GaussianBlur_Channel(6.0f, &src, 2, 1, 1);
    clear.Fast_GaussianBlur_Channel(6.0f, &src, 2, 1, 0);
    all.Fast_GaussianBlur(6.0f, &src, 2, 1);
    for (int y = 0; y < 12; y++)
        for (int x = 0; x < 16; x++) {
            EXPECT_EQ(keep.rows[y][x].g, all.rows[y][x].g);
            EXPECT_EQ(clear.rows[y][x].g, all.rows[y][x].g);
            EXPECT_EQ(keep.rows[y][x].r, src.rows[y][x].r);
            EXPECT_EQ(keep.rows[y][x].a, src.rows[y][x].a);
            EXPECT_EQ(clear.rows[y][x].r + clear.rows[y][x].b + clear.rows[y][x].a, 0);
        }
    ImageQ4 before(src);
    src.Fast_GaussianBlur(8.0f, nullptr, 3, 1);  // not a direction
    ImageQ4::set_image_abort_hook([](void*) { return 1; }, nullptr);
    src.Fast_GaussianBlur(8.0f, nullptr, 2, 1);
    src.Fast_GaussianBlur_Channel(8.0f, nullptr, 1, 3, 1);
    ImageQ4::set_image_abort_hook(nullptr, nullptr);
    EXPECT_TRUE(same_pixels(src, before));
}
