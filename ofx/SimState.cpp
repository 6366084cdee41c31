// Saving and restoring the effect's simulation state.
#include "ofx/SimState.h"

#include <cstring>

#include "effect/Lumps.h"
#include "effect/Vesk.h"

namespace vesk_ofx {

namespace {

// Attributes the lumps in memory were last built for (none yet: NaN never compares equal).
struct BuiltLumps {
    bool built = false;
    float ratio = 0.0f, param = 0.0f;
};

BuiltLumps built_lumps(const Vesk& effect) {
    BuiltLumps b;
    const tagPARTSET* s = effect.set;
    b.built = s && s->lumps && s->lump_count > 0 && s->lumps[0] != nullptr;
    if (b.built && !effect.first_frame) {
        b.ratio = effect.last_pixel_ratio;
        b.param = effect.last_lump_param;
    } else {
        b.built = false;
    }
    return b;
}

void rebuild_lumps(tagPARTSET* s, float ratio, float param) {
    for (int i = 0; i < s->lump_count; ++i) {
        if (s->lumps[i]) part_lump_destroy(s->lumps[i]);
        s->lumps[i] = nullptr;
    }
    for (int i = 0; i < PART_LUMP_COUNT && i < s->lump_count; ++i)
        s->lumps[i] = part_lump_create((float)(i + 1), ratio, param);
}

}  // namespace

void SaveSimState(Vesk& effect, SimState* state) {
    tagPARTSET* s = effect.set;
    state->particles.clear();
    if (s) {
        state->particles.reserve((size_t)s->live_count);
        for (tagPART* p = s->live_list; p; p = p->next) {
            state->particles.push_back(*p);
            state->particles.back().next = nullptr;
        }
        state->set_fields = *s;
    } else {
        memset(&state->set_fields, 0, sizeof state->set_fields);
    }
    tagPARTSET& f = state->set_fields;
    f.result = f.source1 = f.source2 = f.source3 = f.birth_matte = f.avoid_matte = nullptr;
    for (ImageQ4*& w : f.work) w = nullptr;
    f.free_list = f.live_list = nullptr;
    f.blocks = nullptr;
    f.lumps = nullptr;
    for (tagPART*& b : f.band_start) b = nullptr;

    state->random_state = effect.random_state;
    state->random_table_seed = effect.random_table_seed;
    state->random_state_after = effect.random_state_after;
    state->random_shuffle_after = effect.random_shuffle_after;
    ran1fQ4GetState(&state->ran1f);
    state->first_frame = effect.first_frame;
    state->restart_flag = effect.restart_flag;
    state->preroll_flag = effect.preroll_flag;
    state->lumps_dirty = effect.lumps_dirty;
    state->draw_counter = effect.draw_counter;
    state->res_scale = effect.res_scale;
    state->frame_w = effect.frame_w;
    state->frame_h = effect.frame_h;
    state->pixel_ratio = effect.pixel_ratio;
    state->lump_param = effect.lump_param;
    state->last_pixel_ratio = effect.last_pixel_ratio;
    state->last_lump_param = effect.last_lump_param;
    state->last_w = effect.last_w;
    state->last_h = effect.last_h;
}

void RestoreSimState(Vesk& effect, const SimState& state) {
    tagPARTSET* s = effect.set;
    if (!s) return;
    const BuiltLumps lumps = built_lumps(effect);

    // The particles, in the same list order: allocated oldest first, each pushed at the head.
    effect.part_set_free_all(s);
    for (size_t i = state.particles.size(); i-- > 0;) {
        tagPART* p = effect.part_alloc(s);
        if (!p) break;
        *p = state.particles[i];
        p->next = s->live_list;
        s->live_list = p;
    }

    // The carried fields; the set keeps its own storage, lumps and frame wiring.
    tagPARTSET kept = *s;
    *s = state.set_fields;
    s->result = kept.result;
    s->source1 = kept.source1;
    s->source2 = kept.source2;
    s->source3 = kept.source3;
    s->birth_matte = kept.birth_matte;
    s->avoid_matte = kept.avoid_matte;
    for (int i = 0; i < 4; ++i) s->work[i] = kept.work[i];
    s->free_list = kept.free_list;
    s->live_list = kept.live_list;
    s->blocks = kept.blocks;
    s->block_capacity = kept.block_capacity;
    s->block_count = kept.block_count;
    s->lumps = kept.lumps;
    s->lump_count = kept.lump_count;
    for (int i = 0; i < PART_BAND_SLOTS; ++i) s->band_start[i] = kept.band_start[i];
    int count = 0;
    for (tagPART* p = s->live_list; p; p = p->next) ++count;
    s->live_count = count;

    effect.random_state = state.random_state;
    // The table in memory is kept when it was filled from the same Seed (for seeds of zero or
    // more the table and the generator state after the fill depend on the seed alone);
    // otherwise the next frame fills it again, as the saved run's frame did.
    const int live_seed = effect.random_table_seed;
    effect.random_table_seed = live_seed >= 0 && live_seed == state.random_table_seed ? live_seed : -1;
    effect.random_state_after = state.random_state_after;
    effect.random_shuffle_after = state.random_shuffle_after;
    ran1fQ4SetState(state.ran1f);
    effect.first_frame = state.first_frame;
    effect.restart_flag = state.restart_flag;
    effect.preroll_flag = state.preroll_flag;
    effect.lumps_dirty = state.lumps_dirty;
    effect.draw_counter = state.draw_counter;
    effect.res_scale = state.res_scale;
    effect.frame_w = state.frame_w;
    effect.frame_h = state.frame_h;
    effect.pixel_ratio = state.pixel_ratio;
    effect.lump_param = state.lump_param;
    effect.last_pixel_ratio = state.last_pixel_ratio;
    effect.last_lump_param = state.last_lump_param;
    effect.last_w = state.last_w;
    effect.last_h = state.last_h;

    if (state.first_frame) {
        // The first frame builds the lumps; any left in memory are released by it first.
        if (s->lumps && s->lump_count > 0 && s->lumps[0]) effect.lumps_dirty = 1;
    } else if (!lumps.built || lumps.ratio != state.last_pixel_ratio || lumps.param != state.last_lump_param) {
        rebuild_lumps(s, state.last_pixel_ratio, state.last_lump_param);
    }
}

}  // namespace vesk_ofx
