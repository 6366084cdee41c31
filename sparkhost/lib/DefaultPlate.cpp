#include "sparkhost/lib/DefaultPlate.h"

#include <cmath>

namespace sparkhost {

namespace {

struct Rgb {
    double r, g, b;
};

Rgb mix(const Rgb& a, const Rgb& b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

double smooth(double t) {
    t = t < 0 ? 0 : (t > 1 ? 1 : t);
    return t * t * (3 - 2 * t);
}

// A ridge line: a few sine waves of fixed phases, so the picture never varies between runs.
double ridge(double x, double base, double amplitude, double phase) {
    return base - amplitude * (0.55 * std::sin(x * 5.1 + phase) + 0.3 * std::sin(x * 11.7 + phase * 2.3) +
                               0.15 * std::sin(x * 23.9 + phase * 0.7));
}

}  // namespace

void makeDefaultPlate(FrameBuffer* frame) {
    const int w = frame->width(), h = frame->height();
    if (w <= 0 || h <= 0) return;
    const Rgb zenith{0.08, 0.12, 0.32}, horizon{0.98, 0.62, 0.38}, glow{1.0, 0.9, 0.7};
    const Rgb farHills{0.36, 0.28, 0.42}, nearHills{0.16, 0.12, 0.22}, ground{0.06, 0.05, 0.09};
    const double sunX = 0.68, sunY = 0.58;
    const double aspect = double(w) / double(h);
    const double top = double(frame->maxValue());
    for (int y = 0; y < h; ++y) {
        double v = (y + 0.5) / h;  // 0 at the top
        for (int x = 0; x < w; ++x) {
            double u = (x + 0.5) / w;
            Rgb c = mix(zenith, horizon, smooth(v / 0.62));
            double dx = (u - sunX) * aspect, dy = v - sunY;
            double d = std::sqrt(dx * dx + dy * dy);
            c = mix(c, glow, 0.85 * std::exp(-d * d * 40.0) + 0.25 * std::exp(-d * 6.0));
            // Thin bands of cloud across the upper sky.
            double cloud = 0.5 + 0.5 * std::sin(v * 70.0 + 3.0 * std::sin(u * 4.0 + v * 9.0));
            c = mix(c, Rgb{1.0, 0.8, 0.75}, 0.08 * cloud * smooth((0.5 - v) / 0.4));
            if (v > ridge(u, 0.70, 0.05, 1.3)) c = mix(farHills, c, 0.25);
            if (v > ridge(u, 0.80, 0.06, 4.1)) c = nearHills;
            if (v > ridge(u, 0.92, 0.03, 2.2)) c = ground;
            frame->setValue(x, y, 0, unsigned(std::lround(c.r * top)));
            frame->setValue(x, y, 1, unsigned(std::lround(c.g * top)));
            frame->setValue(x, y, 2, unsigned(std::lround(c.b * top)));
        }
    }
}

}  // namespace sparkhost
