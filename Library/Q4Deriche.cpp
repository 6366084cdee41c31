// Coefficients of Deriche's fourth-order recursive Gaussian, normalised so that the sum of the
// causal and anti-causal parts has unit gain at zero frequency.
#include <math.h>

#include "Library/Q4Image.h"

void ImageQ4::make_coeffs(double sigma, double* n, double* d, double* m, double* dm, double* bn,
                          double* bm) {
    const double s = sigma;
    // sqrt(2 pi) as a single-precision constant widened to double; existing results use it.
    const double N = s * 2.5066282749176025;
    const double a0 = 1.6803 / N, a1 = 3.735 / N, c0 = -0.6803 / N, c1 = -0.2598 / N;
    const double b0 = 1.783 / s, b1 = 1.723 / s, w0 = 0.6318 / s, w1 = 1.997 / s;
    const double cw0 = cos(w0), sw0 = sin(w0), cw1 = cos(w1), sw1 = sin(w1);

    n[0] = a0 + c0;
    n[1] = exp(-b1) * (c1 * sw1 - (c0 + 2 * a0) * cw1) + exp(-b0) * (a1 * sw0 - (2 * c0 + a0) * cw0);
    n[2] = 2 * exp(-b0 - b1) * ((a0 + c0) * cw1 * cw0 - a1 * cw1 * sw0 - c1 * cw0 * sw1) +
           c0 * exp(-2 * b0) + a0 * exp(-2 * b1);
    n[3] = exp(-b1 - 2 * b0) * (c1 * sw1 - c0 * cw1) + exp(-b0 - 2 * b1) * (a1 * sw0 - a0 * cw0);
    n[4] = 0.0;

    d[0] = 0.0;
    d[1] = -2 * exp(-b1) * cw1 - 2 * exp(-b0) * cw0;
    d[2] = 4 * cw1 * cw0 * exp(-b0 - b1) + exp(-2 * b1) + exp(-2 * b0);
    d[3] = -2 * cw0 * exp(-b0 - 2 * b1) - 2 * cw1 * exp(-b1 - 2 * b0);
    d[4] = exp(-2 * b0 - 2 * b1);

    m[0] = 0.0;
    for (int i = 1; i <= 4; i++) m[i] = n[i] - d[i] * n[0];
    for (int i = 0; i <= 4; i++) dm[i] = d[i];

    double sum_n = 0, sum_m = 0, sum_d = 0;
    for (int i = 0; i <= 4; i++) {
        sum_n += n[i];
        sum_m += m[i];
        sum_d += d[i];
    }
    double Sn = sum_n / (1.0 + sum_d);
    double Sm = sum_m / (1.0 + sum_d);
    const double k = 1.0 / (Sn + Sm);
    Sn *= k;
    Sm *= k;
    for (int i = 0; i <= 4; i++) {
        bn[i] = d[i] * Sn;
        bm[i] = d[i] * Sm;
        n[i] *= k;
        m[i] *= k;
    }
}
