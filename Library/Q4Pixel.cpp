// Hue, saturation and value of a pixel. The arithmetic works on 14-bit copies of the channels
// and returns to the 15-bit channel range at the end.
#include "Library/Q4Pixel.h"

void PixelQ4::GetHSV(unsigned short& h, unsigned short& s, unsigned short& v) const {
    int rr = r >> 1, gg = g >> 1, bb = b >> 1;
    int max = rr > gg ? rr : gg;
    if (bb > max) max = bb;
    int min = rr < gg ? rr : gg;
    if (bb < min) min = bb;
    if (max == 0) {
        h = s = v = 0;
        return;
    }
    int d = max - min;
    int sat = (d * 16383) / max;
    int hue = 0;
    if (sat != 0) {
        int rc = ((max - rr) * 16383) / d;
        int gc = ((max - gg) * 16383) / d;
        int bc = ((max - bb) * 16383) / d;
        // Each sector is 16384 wide while the ratios scale by 16383; existing setups depend on
        // both constants.
        if (rr == max) hue = bc - gc;
        else if (gg == max) hue = rc - bc + 32768;
        else hue = gc - rc + 65536;
        if (hue < 0) hue += 98304;
    }
    h = (unsigned short)((hue / 6) * 2);
    s = (unsigned short)(sat * 2);
    v = (unsigned short)(max * 2);
}

void PixelQ4::SetHSV(unsigned short hue, unsigned short sat, unsigned short val) {
    int hh = hue >> 1, ss = sat >> 1, vv = val >> 1;
    int t = hh * 6;
    int sector = t >> 14;
    int f = t - sector * 16383;
    int p = ((16383 - ss) * vv) / 16383;
    // The two ramp levels are computed in single precision, as they always have been: K is
    // 16383 squared and the scale divides by the float nearest to it.
    const int K = 268402689;
    float scale = (float)vv / 268402688.0f;
    int q = (int)((float)(K - ss * f) * scale);
    int tt = (int)((float)(K - (16383 - f) * ss) * scale);
    int outr, outg, outb;
    switch (sector) {
        case 0: outr = vv; outg = tt; outb = p; break;
        case 1: outr = q; outg = vv; outb = p; break;
        case 2: outr = p; outg = vv; outb = tt; break;
        case 3: outr = p; outg = q; outb = vv; break;
        case 4: outr = tt; outg = p; outb = vv; break;
        default: outr = vv; outg = p; outb = q; break;
    }
    r = (unsigned short)(outr * 2);
    g = (unsigned short)(outg * 2);
    b = (unsigned short)(outb * 2);
}
