// The effect object's life and the frame driver: one host request becomes one
// simulated and rendered frame.
#include <cstring>
#include <new>

#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "framework/RandomQ4.h"
#include "Library/Q4Image.h"

namespace {

// Seeds used at construction, before any frame has set the Seed control's table.
const int CONSTRUCTION_RANDOM_SEED = -567;
const int CONSTRUCTION_GRADIENT_SEED = -665;

// The first column of a layer row nothing has been drawn into (above any column).
const int kNoColumn = 1 << 30;

}  // namespace

Vesk::Vesk()
    : random_state(CONSTRUCTION_RANDOM_SEED),
      set(nullptr),
      first_frame(1),
      restart_flag(0),
      preroll_flag(0),
      lumps_dirty(0),
      in_parallel(0),
      draw_counter(0),
      bands(0),
      res_scale(1.0f),
      frame_w(0),
      frame_h(0),
      pixel_ratio(1.0),
      lump_param(1.0),
      last_pixel_ratio(-1.0f),
      last_lump_param(-1.0f),
      last_w(0),
      last_h(0),
      scratch_a(nullptr),
      scratch_b(nullptr) {
    for (int i = 0; i < 4; ++i) {
        layers[i] = nullptr;
        layer_dirty[i][0] = 0;
        layer_dirty[i][1] = -1;
    }
    gradientTabInit(CONSTRUCTION_GRADIENT_SEED);
    fill_random_table();
    set = part_set_create(PART_BLOCK_CAPACITY);
}

Vesk::~Vesk() {
    part_set_destroy(set);
    set = nullptr;
    for (ImageQ4*& layer : layers) {
        frame_blocks.Give(layer);
        layer = nullptr;
    }
}

void Vesk::mp_clear_layers(int first_row, int last_row) {
    for (int i = 0; i < 4; ++i) {
        ImageQ4* layer = layers[i];
        if (!layer) continue;
        const int from = first_row > layer_dirty[i][0] ? first_row : layer_dirty[i][0];
        const int to = last_row < layer_dirty[i][1] ? last_row : layer_dirty[i][1];
        if (from > to) continue;
        if (2 * (size_t)(to + 1) > layer_cols[i].size()) {
            // No columns kept for this layer: its rows are cleared whole.
            for (int y = from; y <= to; ++y) memset(layer->rows[y], 0, (size_t)layer->width * sizeof(PixelQ4));
            continue;
        }
        int* cols = layer_cols[i].data();
        for (int y = from; y <= to; ++y) {
            const int left = cols[2 * y] < 0 ? 0 : cols[2 * y];
            const int right = cols[2 * y + 1] > layer->width - 1 ? layer->width - 1 : cols[2 * y + 1];
            if (left <= right) memset(layer->rows[y] + left, 0, (size_t)(right - left + 1) * sizeof(PixelQ4));
            cols[2 * y] = kNoColumn;
            cols[2 * y + 1] = -1;
        }
    }
}

// The four layers of this frame, cleared to transparent black. They keep their blocks while the
// frame size stays, and only the pixels the previous frame drew into need clearing again.
void Vesk::prepare_layers(int w, int h) {
    for (int i = 0; i < 4; ++i) {
        if (layers[i] && layers[i]->width == w && layers[i]->height == h) continue;
        frame_blocks.Give(layers[i]);
        layers[i] = frame_blocks.Take(w, h);
        // A block from the cache holds whatever it held last.
        layer_dirty[i][0] = 0;
        layer_dirty[i][1] = h - 1;
        layer_cols[i].assign(2 * (size_t)(h > 0 ? h : 0), 0);
        for (int y = 0; y < h; ++y) layer_cols[i][2 * y + 1] = w - 1;
    }
    MultiProcess(static_cast<PluginQ4::BandMethod>(&Vesk::mp_clear_layers), h);
    for (int i = 0; i < 4; ++i) {
        layer_dirty[i][0] = h;
        layer_dirty[i][1] = -1;
    }
}

void Vesk::seed_random_tables(int seed) {
    // Negated as a 32-bit register does: the most negative seed stays itself.
    const int negated = (int)(0u - (unsigned)seed);
    gradientTabInit(negated);
    if (seed >= 0 && seed == random_table_seed) {
        // A seed of zero or more restarts the generator, so the table and the state the fill
        // leaves depend on the seed alone: the last frame's fill is this frame's, without a
        // quarter of a million draws.
        random_state = random_state_after;
        ran1fQ4SetState(random_shuffle_after);
    } else {
        random_state = negated;
        fill_random_table();
        random_table_seed = seed >= 0 ? seed : -1;
        random_state_after = random_state;
        ran1fQ4GetState(&random_shuffle_after);
    }
}

void Vesk::fill_random_table() {
    for (int i = 0; i < PART_RANDOM_TABLE_SIZE; ++i) random_table[i] = ran1fQ4(&random_state);
}

bool Vesk::reads_source(int index) {
    const double t = frame < 0.0 ? 0.0 : frame;
    // The shape list counts from 1 in the control; 7 to 9 are the three textured shapes, which
    // take colour and matte from clips 2 and 3. The other shapes read clip 2 only when drawn
    // over its colours. The two mattes are read only when their rules are on. Every control is
    // read at the current frame, as the frame's own steps (pre-roll included) read them.
    const int shape = info.shape.GetValue(t) - 1;
    const bool textured = shape >= 6 && shape <= 8;
    switch (index) {
    case 1: return textured || info.shapes_over_cols.GetValue(t);
    case 2: return textured;
    case 3: return info.use_birth_matte.GetValue(t) != 0;
    case 4: return info.use_avoid_matte.GetValue(t) != 0;
    default: return true;
    }
}

void Vesk::mp_process(int first_row, int last_row) {
    ImageQ4* src = info.source1.image;
    ImageQ4* dst = info.result.image;
    if (!src || !dst) return;
    for (int y = first_row; y <= last_row; ++y) {
        PixelQ4* in = src->rows[y];
        PixelQ4* out = dst->rows[y];
        for (int x = 0; x < dst->width; ++x) out[x] = in[x];
    }
}

void Vesk::ProcessFrame() {
    ImageQ4* out = info.result.image;
    tagPARTSET* s = set;
    if (!out || !s) return;
    const double t = frame < 0.0 ? 0.0 : frame;

    // 1. Frame size and the two scratch images of this frame.
    frame_w = out->width;
    frame_h = out->height;
    scratch_a = frame_blocks.Take(frame_w, frame_h);
    scratch_b = frame_blocks.Take(frame_w, frame_h);

    // 2. Geometry of the output.
    s->width = s->width2 = frame_w;
    s->height = s->height2 = frame_h;
    pixel_ratio = out->ratio;
    lump_param = out->ratio2;
    res_scale = out->sample_step;
    s->aspect = (float)frame_w / (float)frame_h;

    // 3. Per-particle clip times read clips while rendering, which is not thread-safe.
    s->single_band = (info.texturing_cycle.GetValue(t) && info.shape.GetValue(t) == 7) ? 1 : 0;

    // 4. The random table is a pure function of Seed, so every frame sees the same numbers
    // for the same settings.
    seed_random_tables(info.seed.GetValue(t));

    // 5. Wire the set to this frame's images.
    s->result = out;
    s->source1 = info.source1.image;
    s->source2 = info.source2.image;
    s->source3 = info.source3.image;
    s->birth_matte = info.source4.image;
    s->avoid_matte = info.source5.image;
    prepare_layers(frame_w, frame_h);
    for (int i = 0; i < 4; ++i) s->work[i] = layers[i];

    // 6. The swarm is drawn over the background clip. Nothing reads the result before the
    // composite, which makes the copy row by row (or step 12 makes it, without a composite).
    background_pending = s->source1 != nullptr && s->source1->width == out->width &&
                         s->source1->height == out->height;
    matte_pending = s->source1 != nullptr && !second_flag;
    if (s->source1 && !background_pending) out->CopyValues(s->source1, 1.0f, 1.0f, 1.0f, 1.0f);

    // 7. Controls into the set.
    part_info_from_spark(s);

    // 8. Lumps depend on the output's two aspect attributes; rebuild them when those change.
    if (!first_frame &&
        ((float)pixel_ratio != last_pixel_ratio || (float)lump_param != last_lump_param)) {
        lumps_dirty = 1;
    }
    if (lumps_dirty) {
        for (int i = 0; i < s->lump_count; ++i) {
            if (s->lumps[i]) {
                part_lump_destroy(s->lumps[i]);
                s->lumps[i] = nullptr;
            }
        }
    }
    if (first_frame || lumps_dirty) {
        for (int i = 0; i < PART_LUMP_COUNT; ++i) {
            s->lumps[i] = part_lump_create((float)(i + 1), (float)pixel_ratio, (float)lump_param);
        }
        first_frame = 0;
        lumps_dirty = 0;
        last_pixel_ratio = (float)pixel_ratio;
        last_lump_param = (float)lump_param;
        // Remembered here too, as it always has been: a frame that rebuilds the lumps does
        // not also rescale the particle sizes.
        last_w = frame_w;
        last_h = frame_h;
    }

    // 9. A new preview resolution keeps every particle's full-resolution size and rescales
    // the current one, within 8 / divisor .. 100 pixels.
    if (frame_w != last_w || frame_h != last_h) {
        const float lo = 8.0f / res_scale;
        for (tagPART* p = s->live_list; p; p = p->next) {
            float ic = (float)p->isize_full / res_scale;
            if (ic < lo) {
                p->isize_cur = (int)lo;
            } else if (ic > 100.0f) {
                p->isize_cur = 100;
            } else {
                p->isize_cur = (int)ic;
            }
            for (int k = 0; k < 2; ++k) {
                float v = p->size_full[k] / res_scale;
                if (v < lo) {
                    v = lo;
                } else if (v > 100.0f) {
                    v = 100.0f;
                }
                p->size_cur[k] = v;
            }
        }
        last_w = frame_w;
        last_h = frame_h;
    }

    // 10. Restart, pre-roll and this frame's step.
    part_restart_and_step((int)frame);

    // 11. This frame's images go.
    for (int i = 0; i < 4; ++i) s->work[i] = nullptr;
    frame_blocks.Give(scratch_a);
    frame_blocks.Give(scratch_b);
    scratch_a = scratch_b = nullptr;

    // 12. The output keeps the background's matte.
    if (background_pending) {
        out->CopyValues(s->source1, 1.0f, 1.0f, 1.0f, 1.0f);
        background_pending = false;
    }
    if (matte_pending) {
        out->CopyAlpha(s->source1);
        matte_pending = false;
    }
}
