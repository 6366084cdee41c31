// The particle set: pooled storage, the per-frame copy of the controls into the
// set, and the effect's private random source.
#include <cstring>

#include "base/q4_heap.h"
#include "effect/Bounded.h"
#include "effect/Lumps.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "framework/PluginQ4.h"

#define PARTSET_TAG "effect/PartSet"

tagPARTBLOB* Vesk::part_blob_create(int capacity) {
    if (capacity <= 0) return nullptr;
    tagPARTBLOB* blob = (tagPARTBLOB*)q4_calloc(1, sizeof(tagPARTBLOB), PARTSET_TAG, __LINE__);
    if (!blob) return nullptr;
    blob->parts = (tagPART*)q4_calloc((size_t)capacity, sizeof(tagPART), PARTSET_TAG, __LINE__);
    if (!blob->parts) {
        q4_free(blob, PARTSET_TAG, __LINE__);
        return nullptr;
    }
    blob->capacity = capacity;
    for (int i = 0; i + 1 < capacity; ++i) blob->parts[i].next = &blob->parts[i + 1];
    return blob;
}

tagPARTSET* Vesk::part_set_create(int capacity) {
    tagPARTSET* s = (tagPARTSET*)q4_calloc(1, sizeof(tagPARTSET), PARTSET_TAG, __LINE__);
    if (!s) return nullptr;
    s->blocks = part_blob_create(capacity);
    s->lumps = (tagPARTLUMP**)q4_calloc(PART_LUMP_COUNT, sizeof(tagPARTLUMP*), PARTSET_TAG,
                                        __LINE__);
    if (!s->blocks || !s->lumps) {
        part_set_destroy(s);
        return nullptr;
    }
    s->block_capacity = capacity;
    s->block_count = 1;
    s->lump_count = PART_LUMP_COUNT;
    s->live_count = 0;
    s->free_list = s->blocks->parts;
    return s;
}

tagPART* Vesk::part_alloc(tagPARTSET* s) {
    if (!s) return nullptr;
    if (!s->free_list) {
        tagPARTBLOB* blob = part_blob_create(s->block_capacity);
        if (!blob) return nullptr;
        blob->next = s->blocks;
        s->blocks = blob;
        s->block_count++;
        s->free_list = blob->parts;
    }
    tagPART* p = s->free_list;
    s->free_list = p->next;
    memset(p, 0, sizeof(*p));
    return p;
}

void Vesk::part_set_free_all(tagPARTSET* s) {
    if (!s || !s->live_list) return;
    tagPART* last = s->live_list;
    while (last->next) last = last->next;
    last->next = s->free_list;
    s->free_list = s->live_list;
    s->live_list = nullptr;
    s->live_count = 0;
}

void Vesk::part_set_destroy(tagPARTSET* s) {
    if (!s) return;
    tagPARTBLOB* blob = s->blocks;
    while (blob) {
        tagPARTBLOB* next = blob->next;
        q4_free(blob->parts, PARTSET_TAG, __LINE__);
        q4_free(blob, PARTSET_TAG, __LINE__);
        blob = next;
    }
    if (s->lumps) {
        for (int i = 0; i < s->lump_count; ++i) {
            if (s->lumps[i]) part_lump_destroy(s->lumps[i]);
        }
        q4_free(s->lumps, PARTSET_TAG, __LINE__);
    }
    q4_free(s, PARTSET_TAG, __LINE__);
}

void Vesk::part_info_from_spark(tagPARTSET* s) {
    if (!s) return;
    VeskInfo& c = info;
    // Values are read at the frame being processed, so animated controls follow their curves.
    const double t = frame < 0.0 ? 0.0 : frame;

    // The colour is the control's cached value, where a full byte reaches 32767; reading the
    // packed word again (GetValue) would stop at 32640 and leave white one level short.
    const PixelQ4& colour = c.shape_colour.cache;
    s->colour[0] = (float)colour.r;
    s->colour[1] = (float)colour.g;
    s->colour[2] = (float)colour.b;
    // A record may hold any number. Beyond what a control's range can give, a density is held
    // at ±1024 (a pixel's coverage then still fits an int; not-a-number draws nothing), the
    // flock at PART_MAX_PARTICLES and the pre-roll at PART_MAX_PREROLL steps.
    const double density = c.shape_density.GetValue(t) / 100.0;
    s->density = density == density ? (float)bounded_value(density, -1024.0, 1024.0) : 0.0f;
    const int size = c.vesk_size.GetValue(t);
    s->size = size < 0 ? 0 : size > PART_MAX_PARTICLES ? PART_MAX_PARTICLES : size;

    s->use_birth_matte = c.use_birth_matte.GetValue(t) ? 1 : 0;
    s->invert_birth_matte = c.invert_birth_matte.GetValue(t) ? 1 : 0;
    s->use_avoid_matte = c.use_avoid_matte.GetValue(t) ? 1 : 0;
    s->avoid_predator = c.avoid_predator.GetValue(t) ? 1 : 0;

    double x, y;
    c.birth_pos.GetValue(t, x, y);
    s->birth_x = (float)x;
    s->birth_y = (float)y;
    // The control gives the diameter of the birth disc as a fraction of the frame width.
    s->birth_radius = (float)(c.birth_radius.GetValue(t) * 0.5);
    c.food_pos.GetValue(t, x, y);
    s->food_x = (float)x;
    s->food_y = (float)y;
    c.predator_pos.GetValue(t, x, y);
    s->predator_x = (float)x;
    s->predator_y = (float)y;

    s->avoid_others = c.avoid_others.GetValue(t) ? 1 : 0;
    s->match_velocity = c.match_velocity.GetValue(t) ? 1 : 0;
    s->gathering = c.vesk_gathering.GetValue(t) ? 1 : 0;
    s->max_speed = (float)(c.speed.GetValue(t) / 1000.0);
    s->max_accel = (float)(c.acceleration.GetValue(t) / 1000.0);
    s->hunt_food = c.hunt_food.GetValue(t) ? 1.0f : 0.0f;
    s->personal_space = (float)(c.personal_space.GetValue(t) / 200.0);
    s->predator_fear = (float)(c.fear_of_predator.GetValue(t) / 100.0);
    const int preroll = c.preroll.GetValue(t);
    s->preroll = preroll > PART_MAX_PREROLL ? PART_MAX_PREROLL : preroll;
    s->avoid_forward = (float)(c.avoid_forward.GetValue(t) / 200.0);
    s->avoid_sides = (float)(c.avoid_sides.GetValue(t) / 200.0);
    s->grouping = (float)(0.5 - c.vesk_grouping.GetValue(t) / 200.0);

    // Shape widths are in square pixels on screen: divide by the pixel ratio so that a
    // non-square frame shows them undistorted, and by the preview divisor at reduced size.
    double width = c.shape_width.GetValue(t);
    double height = c.shape_height.GetValue(t);
    s->shape_w = (float)(width / pixel_ratio);
    s->shape_h = (float)height;
    s->shape_w_cur = (float)(width / pixel_ratio / res_scale);
    s->shape_h_cur = (float)(height / res_scale);

    s->shape = c.shape.GetValue(t) - 1;
    s->base_rotation = (float)c.base_rotation.GetValue(t);
    s->living_rotate = c.living_rotate.GetValue(t) ? 1 : 0;

    int mates = s->size - 1;
    if (mates >= 11) mates = 10;
    if (mates <= 0) mates = 1;
    s->mates = mates;

    s->star_sharpness = (float)(1.0 - c.star_sharpness.GetValue(t) / 100.0);
    s->shapes_over_cols = c.shapes_over_cols.GetValue(t) ? 1 : 0;
}

// ---- random source ----
//
// Draws never touch a generator: they read the table that the frame driver fills
// from -Seed, indexed by the draw counter, so the same Seed, controls, restarts and
// frames reproduce a run exactly.

float Vesk::get_safe_random(int* counter) {
    int n = *counter + 1;
    if (n > PART_DRAW_COUNTER_LIMIT) n = 0;
    *counter = n;
    return random_table[n % PART_RANDOM_TABLE_SIZE];
}

float Vesk::part_rand_01(int* counter) {
    // The draw is still made: the message is a warning to the developer, not a refusal.
    if (in_parallel) PrintError("part_rand_01() called with MP region!\n");
    float r = get_safe_random(counter);
    return r > 0.999999f ? 0.999999f : r;
}

float Vesk::part_rand_11(int* counter) {
    if (in_parallel) PrintError("part_rand_11() called with MP region!\n");
    double r = get_safe_random(counter);
    return (float)(2.0 * r - 1.0);
}

float Vesk::part_var_1(float base, float spread, int* counter) {
    if (in_parallel) PrintError("part_var_1() called with MP region!\n");
    double r = get_safe_random(counter);
    return (float)((double)base + (2.0 * r - 1.0) * (double)spread);
}
