// Particle rendering and compositing: the particle list is cut into one chunk per render layer,
// each rendering thread draws its chunk into its own transparent layer, and the layers are laid in
// chunk order over the base picture with the premultiplied "over" operator.
#include "effect/PartRender.h"

#include "Library/Q4Image.h"
#include "effect/Bounded.h"
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
    const int sx = bounded_int((double)p->size_cur[0] + 0.5);
    const int sy = bounded_int((double)p->size_cur[1] + 0.5);
    const int px = bounded_int((double)((float)s->width2 * p->pos.x) + 0.5);
    const int py = bounded_int((double)((float)s->height2 * p->pos.y) + 0.5);
    // A shape wider or taller than PART_MAX_EXTENT pixels (only a pixel ratio or control value no
    // picture uses makes one) is not drawn: its scan would need gigabytes.
    if (sx > PART_MAX_EXTENT || sx < -PART_MAX_EXTENT || sy > PART_MAX_EXTENT || sy < -PART_MAX_EXTENT) return;
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

int part_layers_in_use(int bands)
{
    if (bands < 1) return 1;
    if (bands > PART_MAX_BANDS) return PART_MAX_BANDS;
    return bands;
}

void Vesk::mp_PartRender(int start, int end)
{
    tagPARTSET* s = set;
    if (!s || !s->live_list || s->live_count == 0) return;
    if (end < start) return;  // an empty band: the frame has fewer rows than there are jobs
    const int layers = part_layers_in_use(bands);

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
