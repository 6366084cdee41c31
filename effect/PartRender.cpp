// Particle rendering and compositing: the particle list is cut into one chunk per render layer,
// each rendering thread draws its chunk into its own transparent layer, and the layers are laid in
// chunk order over the base picture with the premultiplied "over" operator.
#include "effect/PartRender.h"

#include "Library/Q4Image.h"
#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"

// Processor count handed to band dispatch by the host interface.
extern int DLnumProc;

int part_render_layers(const tagPARTSET* s, int raw_cpu_count)
{
    // Per-particle clip time swaps the set's source images between particles, which only one
    // thread may do.
    if (s && s->single_band) return 1;
    int layers = raw_cpu_count;
    if (layers > PART_MAX_BANDS) layers = PART_MAX_BANDS;
    if (layers < 1) layers = 1;
    return layers;
}

int part_set_split_bands(tagPARTSET* s, int layers, int clear_count)
{
    if (!s) return 0;
    if (layers < 1) layers = 1;
    if (clear_count > PART_BAND_SLOTS - 1) clear_count = PART_BAND_SLOTS - 1;
    s->band_start[0] = s->live_list;
    for (int i = 1; i <= clear_count; ++i) s->band_start[i] = nullptr;
    int chunks = s->live_list ? 1 : 0;
    const int per = s->live_count / layers;
    if (per <= 0) return chunks;
    // The head of each later chunk is the particle that takes the counter past `per`, and the
    // counter restarts at 0 there: the first chunk holds per particles and every later one
    // per + 1, the last one the rest. This uneven split is the renderer's settled layering.
    int counter = 0;
    int head = 1;
    for (tagPART* p = s->live_list; p; p = p->next) {
        counter += 1;
        if (counter > per) {
            if (head >= PART_BAND_SLOTS - 1) break;
            s->band_start[head++] = p;
            counter = 0;
            chunks += 1;
        }
    }
    return chunks;
}

void Vesk::part_render(tagPARTSET* s, tagPART* p, int y0, int y1, int band)
{
    const int sx = (int)((double)p->size_cur[0] + 0.5);
    const int sy = (int)((double)p->size_cur[1] + 0.5);
    const int px = (int)((double)((float)s->width2 * p->pos.x) + 0.5);
    const int py = (int)((double)((float)s->height2 * p->pos.y) + 0.5);
    switch (s->shape) {
    case 0: {
        // Lump of radius isize_cur + 1; sizes are kept inside the table by the particle model,
        // a size outside it draws nothing rather than reading past the table.
        if (!s->lumps || p->isize_cur < 0 || p->isize_cur >= s->lump_count) return;
        part_anti_aliased_lump(s->work[band], s->width2, s->height2, px, py, 32767,
                               s->lumps[p->isize_cur], y0, y1, p);
        break;
    }
    case 1:
        // The one-pixel offset belongs to the rectangle alone and is kept so existing setups
        // render the same pixels.
        draw_square(px + 1, py + 1, sx, sy, y0, y1, p, band);
        break;
    case 2: draw_triangle(px, py, sx, sy, y0, y1, p, band); break;
    case 3: draw_diamond(px, py, sx, sy, y0, y1, p, band); break;
    case 4: draw_star4pt(px, py, sx, sy, y0, y1, p, band); break;
    case 5: draw_star5pt(px, py, sx, sy, y0, y1, p, band); break;
    case 6:
    case 7:
    case 8: draw_texture(px, py, sx, sy, y0, y1, p, band); break;
    default: break;
    }
}

namespace {

int layer_count(int bands)
{
    if (bands < 1) return 1;
    if (bands > PART_MAX_BANDS) return PART_MAX_BANDS;
    return bands;
}

}  // namespace

void Vesk::mp_PartRender(int start, int end)
{
    tagPARTSET* s = set;
    if (!s || !s->live_list || s->live_count == 0) return;
    if (end < start) return;  // an empty band: the frame has fewer rows than there are jobs
    const int layers = layer_count(bands);

    auto render_chunk = [&](int band) {
        if (band >= RASTER_SCAN_SLOTS - 1 || !s->work[band]) return;
        tagPART* stop = s->band_start[band + 1];
        tagPART* head = s->band_start[band];
        // An empty chunk draws nothing; with fewer layers than jobs several jobs land on the same
        // empty chunk, so it must not touch the chunk's state either.
        if (!head) return;
        for (tagPART* p = head; p && p != stop; p = p->next) {
            if (s->single_band) {
                // Each particle takes its texture from the clips at its own clip time. The set's
                // source images are replaced in place, which is why this mode runs on one thread.
                if (s->source2) info.source2.GetValue((double)p->tex_frame, s->source2);
                if (s->source3) info.source3.GetValue((double)p->tex_frame, s->source3);
            }
            part_render(s, p, 0, s->height2 - 1, band);
        }
    };

    // The band is the job index. Jobs get rows in equal bands (the last one takes the remainder),
    // so the job index is the band start over the band length; it is recovered from the same
    // division the dispatcher made, which also holds for the last job when the remainder is large.
    int band = 0;
    if (!s->single_band) {
        const int jobs = DLnumProc < 1 ? 1 : DLnumProc;
        const int per = s->height2 / jobs;
        if (per < 1) {
            // Fewer rows than jobs: only the last job has rows, and it draws every chunk.
            for (int b = 0; b < layers; ++b) render_chunk(b);
            return;
        }
        band = start / per;
    }
    if (band > layers) band = layers;
    render_chunk(band);
}

namespace {

// A layer's part in one row of the composite: absent, known to be transparent black (a row the
// frame driver's layer did not draw into), or to be read.
enum LayerRow { kAbsent, kClear, kRead };

// One row over which every layer present is clear: each channel only shrinks by the layers'
// complement, (v * 32767) >> 15 per layer. A value of at most 65535 keeps the product within 32
// bits, so the loop runs on plain unsigned lanes that the compiler vectorises.
void composite_clear_row(unsigned short* v, int count, int clear_layers)
{
    for (int i = 0; i < count; ++i) {
        unsigned t = v[i];
        for (int k = 0; k < clear_layers; ++k) t = (t * 32767u) >> 15;
        v[i] = (unsigned short)(t > 32767u ? 32767u : t);
    }
}

}  // namespace

void Vesk::mp_Composite(int start, int end)
{
    tagPARTSET* s = set;
    if (!s || !s->result) return;
    ImageQ4* out = s->result;
    const int layers_in_use = layer_count(bands);
    const int width = out->width;
    for (int y = start; y <= end; ++y) {
        PixelQ4* row = out->rows[y];
        const PixelQ4* lrow[PART_MAX_BANDS];
        LayerRow kind[PART_MAX_BANDS];
        int read = 0, clear = 0;
        for (int i = 0; i < layers_in_use; ++i) {
            lrow[i] = nullptr;
            kind[i] = kAbsent;
            if (!s->work[i]) continue;
            // Rows of the frame driver's own layers outside what this frame drew into are
            // known to be transparent black.
            if (s->work[i] == layers[i] && (y < layer_dirty[i][0] || y > layer_dirty[i][1])) {
                kind[i] = kClear;
                ++clear;
            } else {
                kind[i] = kRead;
                lrow[i] = s->work[i]->rows[y];
                ++read;
            }
        }
        if (read == 0) {
            composite_clear_row(&row[0].r, width * 4, clear);
            continue;
        }
        for (int x = 0; x < width; ++x) {
            // The base is the output image itself (the frame driver placed the background there).
            // Wide values: layers of faint texture sprites can hold colour well above their alpha,
            // and four of them could carry a sum past 32 bits.
            long long v[4] = {row[x].r, row[x].g, row[x].b, row[x].a};
            // Premultiplied "over", layer by layer in chunk order. The complement is taken against
            // 32767 while the shift divides by 32768, so even a fully opaque layer lets 1/32768 of
            // what lies beneath through and an empty layer shrinks a value by 1/32768; colours are
            // never rounded up. Kept so existing setups composite to the same values.
            for (int i = 0; i < layers_in_use; ++i) {
                if (kind[i] == kAbsent) continue;
                static const PixelQ4 transparent(0, 0, 0, 0);
                const PixelQ4& P = kind[i] == kRead ? lrow[i][x] : transparent;
                const long long k = 32767 - P.a;
                v[0] = P.r + ((v[0] * k) >> 15);
                v[1] = P.g + ((v[1] * k) >> 15);
                v[2] = P.b + ((v[2] * k) >> 15);
                v[3] = P.a + ((v[3] * k) >> 15);
            }
            for (int c = 0; c < 4; ++c) {
                const long long t = v[c] < 0 ? 0 : (v[c] > 32767 ? 32767 : v[c]);
                row[x].c[c] = (unsigned short)t;
            }
        }
    }
}
