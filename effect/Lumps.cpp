// Soft round particles (lumps), clip-textured particles and the effect's gradient table.
#include <cmath>
#include <cstdlib>

#include "Library/Q4Image.h"
#include "base/q4_heap.h"
#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Shapes.h"
#include "effect/Bounded.h"
#include "effect/Vesk.h"
#include "framework/RandomQ4.h"

namespace {

const char* const kTag = "effect/Lumps";

int clamp15(long long v)
{
    if (v < 0) return 0;
    if (v > 32767) return 32767;
    return (int)v;
}

// One channel blended over the destination with weight a (32768 = one); the weight can pass
// 32768, and then the destination term turns negative and the clamp absorbs it.
unsigned short over(long long colour, long long a, long long dst)
{
    return (unsigned short)clamp15((colour * a + dst * (32768 - a)) >> 15);
}

// The band whose layer this is (-1 for an image that is no layer of the set).
int band_of_layer(const tagPARTSET* s, const ImageQ4* layer)
{
    for (int i = 0; i < 4; ++i)
        if (s->work[i] == layer) return i;
    return -1;
}

}  // namespace

tagPARTLUMP* part_lump_create(float r, float ax, float ay)
{
    if ((double)r < (double)0.01f) r = 0.01f;
    const int R = (int)std::ceil(r);
    const int n = 2 * R + 1;
    tagPARTLUMP* lump = (tagPARTLUMP*)q4_malloc(sizeof(tagPARTLUMP), kTag, __LINE__);
    if (!lump) return nullptr;
    lump->weights = (int*)q4_malloc(sizeof(int) * (size_t)n * (size_t)n, kTag, __LINE__);
    if (!lump->weights) {
        q4_free(lump, kTag, __LINE__);
        return nullptr;
    }
    lump->width = n;
    lump->height = n;
    const float ax2 = ax * ax;
    const float ay2 = ay * ay;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            const float di = (float)(i - R);
            const float dj = (float)(j - R);
            const float d = std::sqrt(dj * dj * ax2 + di * di * ay2);
            float t = (r - d) / r;
            // Not-a-number (from a pixel ratio that is none) weighs nothing, as beyond the radius.
            if (!(t >= 0.0f)) t = 0.0f;
            lump->weights[i * n + j] =
                (int)std::floor(std::sin((double)t * 1.570796327) * (double)LUMP_CENTRE_WEIGHT);
        }
    }
    return lump;
}

void part_lump_destroy(tagPARTLUMP* lump)
{
    if (!lump) return;
    q4_free(lump->weights, kTag, __LINE__);
    q4_free(lump, kTag, __LINE__);
}

void Vesk::part_anti_aliased_lump(ImageQ4* layer, int iw, int /*ih*/, int px, int py, int s,
                                  tagPARTLUMP* lump, int y0, int y1, tagPART* p)
{
    if (!layer || !lump) return;
    const int n = lump->width;
    const int half = n / 2;
    if (!(px - half < iw && px + half >= 0 && py + half >= y0 && py - half < y1)) return;

    const tagPARTSET* st = set;
    ImageQ4* colours = st->shapes_over_cols ? st->source2 : nullptr;
    const float density = st->density;
    const int own[3] = {bounded_int(p->colour[0]), bounded_int(p->colour[1]), bounded_int(p->colour[2])};
    // Columns of the lump inside the frame: left of the frame they are skipped, and the row ends
    // at the first column past its right edge.
    const int j0 = half - px > 0 ? half - px : 0;
    const int j1 = iw - px + half < n ? iw - px + half : n;
    {
        const int top = py - half > y0 ? py - half : y0;
        const int bottom = py - half + lump->height - 1 < y1 - 1 ? py - half + lump->height - 1 : y1 - 1;
        const int left = px - half + j0 > 0 ? px - half + j0 : 0;
        const int right = px - half + j1 - 1 < iw - 1 ? px - half + j1 - 1 : iw - 1;
        if (top <= bottom && top >= 0) mark_layer_area(band_of_layer(set, layer), top, bottom, left, right);
    }
    for (int i = 0; i < lump->height; ++i) {
        const int y = py - half + i;
        if (y < y0) continue;
        // y1 is exclusive and the caller passes the image height - 1, so a lump never touches
        // the bottom row of the image; kept so existing setups render the same pixels.
        if (y >= y1) break;
        PixelQ4* row = layer->rows[y];
        const PixelQ4* crow = colours ? colours->rows[y] : nullptr;
        const int left = px - half;
        const int* weights = lump->weights + i * n;
        for (int j = j0; j < j1; ++j) {
            // A weight of 0 gives coverage 0, which leaves every channel as it is.
            if (weights[j] == 0) continue;
            const int a = (int)((float)((s * weights[j]) >> 8) * density);
            const int x = left + j;
            const int cr = crow ? crow[x].r : own[0];
            const int cg = crow ? crow[x].g : own[1];
            const int cb = crow ? crow[x].b : own[2];
            PixelQ4& d = row[x];
            d.r = over(cr, a, d.r);
            d.g = over(cg, a, d.g);
            d.b = over(cb, a, d.b);
            d.a = over(32767, a, d.a);
        }
    }
}

tagTEXEL Vesk::anti_alias(int x, int y, int bw, int bh, ImageQ4* colour, ImageQ4* matte)
{
    tagTEXEL t = {0, 0, 0, 0};
    if (!colour || !matte) return t;
    const int width = set->width2;
    const int height = set->height2;
    int x0 = x - bw / 2, x1 = x + bw / 2 - 1;
    int yy0 = y - bh / 2, yy1 = y + bh / 2 - 1;
    if (x0 < 0) x0 = 0;
    if (x1 > width - 1) x1 = width - 1;
    if (yy0 < 0) yy0 = 0;
    if (yy1 > height - 1) yy1 = height - 1;
    // Sums are wide: a box can cover a whole frame of 15-bit values.
    long long sm = 0, sb = 0, sg = 0, sr = 0, count = 0;
    for (int row = yy0; row <= yy1; ++row) {
        const PixelQ4* c = colour->rows[row];
        const PixelQ4* m = matte->rows[row];
        for (int col = x0; col <= x1; ++col) {
            sr += c[col].r;
            sg += c[col].g;
            sb += c[col].b;
            sm += m[col].r;
        }
        if (x1 >= x0) count += x1 - x0 + 1;
    }
    if (count < 1) count = 1;
    t.matte = (int)(sm / count);
    t.blue = (int)(sb / count);
    t.green = (int)(sg / count);
    t.red = (int)(sr / count);
    return t;
}

void Vesk::draw_texture(int px, int py, int W, int H, int y0, int y1, tagPART* p, int band)
{
    tagPARTSET* st = set;
    ImageQ4* layer = st->work[band];
    ImageQ4* colour = st->source2;
    ImageQ4* matte = st->source3;
    if (!layer || !colour || !matte) return;

    const float A = shape_angle(p);
    float c, s;
    cos_sin_deg(-A, c, s);
    const int iw = st->width2;
    const int ih = st->height2;
    const float ax = (float)pixel_ratio;
    const float ay = (float)lump_param;
    const float k = ax / ay;

    // Half extents of the rotated footprint.
    const int hx = (std::abs(bounded_int((float)W * c)) + std::abs(bounded_int((float)H * s))) / 2 + 1;
    const int hy =
        bounded_int((float)(std::abs(bounded_int((float)H * c)) + std::abs(bounded_int((float)W * s))) * k) / 2 + 1;
    if (px - hx >= iw || px + hx < 0 || py + hy < y0 || py - hy >= y1) return;

    // One sprite pixel covers sx x sy source pixels.
    const float sx = (float)iw / (float)W;
    const float sy = (ay / ax) * ((float)ih / (float)H);
    const float half_w = (float)(W / 2);
    const float half_h = (float)bounded_int((float)(H / 2) * k);
    const int mode = st->shape;
    const int own_colour[3] = {bounded_int(p->colour[0]), bounded_int(p->colour[1]), bounded_int(p->colour[2])};
    const TextureSums* sums = &texture_sums;
    if (!(sums->ready && sums->width == iw && sums->height == ih)) sums = nullptr;
    {
        const int top = py - hy > 0 ? py - hy : 0;
        const int bottom = py + hy - 1 < ih - 1 ? py + hy - 1 : ih - 1;
        const int left = px - hx > 0 ? px - hx : 0;
        const int right = px + hx - 1 < iw - 1 ? px + hx - 1 : iw - 1;
        if (top <= bottom) mark_layer_area(band, top, bottom, left, right);
    }

    // Rows and columns outside the frame draw nothing: the loops start and stop at its edges.
    const int v_first = -hy > -py ? -hy : -py, v_end = hy < ih - py ? hy : ih - py;
    const int u_first = -hx > -px ? -hx : -px, u_end = hx < iw - px ? hx : iw - px;
    for (int v = v_first; v < v_end; ++v) {
        const int Y = py + v;
        if (Y < 0 || Y >= ih) continue;
        const float a1 = (float)v * ay;
        PixelQ4* row = layer->rows[Y];
        for (int u = u_first; u < u_end; ++u) {
            const int X = px + u;
            const float fu = (float)u;
            const float yr = (c * a1 - s * fu) / ay;
            const float fx = (a1 * s + c * fu + half_w) * sx;
            const float fy = (yr + half_h) * sy;
            if (!(fx > -1.0f && fx < (float)iw && fy > -1.0f && fy < (float)ih)) continue;
            if (X < 0 || X >= iw) continue;
            const tagTEXEL tx = sums ? anti_alias_sums(*sums, (int)fx, (int)fy, (int)sx, (int)sy)
                                     : anti_alias((int)fx, (int)fy, (int)sx, (int)sy, colour, matte);
            const long long m = tx.matte;
            PixelQ4& d = row[X];
            if (mode == 6) {
                // The alpha takes the matte squared, unlike the other two modes; kept so existing
                // setups render the same pixels.
                d.r = over(tx.red, m, d.r);
                d.g = over(tx.green, m, d.g);
                d.b = over(tx.blue, m, d.b);
                d.a = over(m, m, d.a);
            } else if (mode == 7) {
                const PixelQ4 own = colour->rows[Y][X];
                d.r = over(own.r, m, d.r);
                d.g = over(own.g, m, d.g);
                d.b = over(own.b, m, d.b);
                d.a = over(32767, m, d.a);
            } else {
                d.r = over(own_colour[0], m, d.r);
                d.g = over(own_colour[1], m, d.g);
                d.b = over(own_colour[2], m, d.b);
                d.a = over(32767, m, d.a);
            }
        }
    }
}

void Vesk::gradientTabInit(int seed)
{
    int state = seed;
    ran1fQ4(&state);  // the first draw after seeding is discarded
    for (int i = 0; i < GRADIENT_TABLE_SIZE; ++i) {
        const float z = 1.0f - 2.0f * ran1fQ4(&state);
        const float rho = std::sqrt(1.0f - z * z);
        const double phi = (double)ran1fQ4(&state) * 6.283185307179586;
        gradient_table[i][0] = (float)((double)rho * std::cos(phi));
        gradient_table[i][1] = (float)((double)rho * std::sin(phi));
        gradient_table[i][2] = z;
    }
}
