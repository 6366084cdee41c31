// One simulation step of the swarm: births, drawing of the current state,
// steering and motion; and the restart / pre-roll sequence around it.
#include <climits>
#include <cmath>

#include "base/q4mp.h"
#include "effect/Bounded.h"
#include "effect/PartRender.h"
#include "effect/Particles.h"
#include "effect/Shapes.h"
#include "effect/Vesk.h"
#include "framework/PluginQ4.h"
#include "Library/Q4Image.h"

namespace {

// Consecutive failed birth attempts tolerated in one step before births stop.
const int BIRTH_ATTEMPT_LIMIT = 100;
// A matte value above this lets a particle be born (or, inverted, below 32768 minus it).
const int BIRTH_MATTE_THRESHOLD = 512;
// Avoid-matte values above this are free space for motion.
const int AVOID_FREE_ABOVE = 16383;

// Truncation towards zero of a frame coordinate times a pixel count, kept inside the
// range of int so that particles far outside the frame stay outside it.
inline int trunc_pixel(float v) {
    if (!(v > (float)INT_MIN)) return INT_MIN;
    if (!(v < (float)INT_MAX)) return INT_MAX;
    return (int)v;
}

// First channel of a matte pixel; a matte smaller than the frame reads black beyond its edge.
inline int matte_value(ImageQ4* img, int x, int y) {
    if (x < 0 || y < 0 || x >= img->width || y >= img->height) return 0;
    return img->rows[y][x].r;
}

}  // namespace

tagPOS Vesk::CalcStartPoint(float aspect, int* counter) {
    const tagPARTSET* s = set;
    float r1 = part_rand_01(counter);
    float r2 = part_rand_01(counter);
    // sqrt makes the births uniform over the disc rather than crowded at its centre.
    float d = std::sqrt(r1) * s->birth_radius;
    float theta = r2 * 360.0f;
    tagPOS v = {d, 0.0f, 0.0f};
    v = RotateInZ(v, theta);
    tagPOS p;
    p.x = s->birth_x + v.x;
    // Scaled by width / height so the disc is round in pixels.
    p.y = s->birth_y + aspect * v.y;
    p.z = 0.0f;
    return p;
}

int Vesk::part_birth_point_ok(tagPARTSET* s, tagPOS p) {
    int px = trunc_pixel((float)s->width * p.x);
    int py = trunc_pixel((float)s->height * p.y);
    // The outermost ring of pixels never gives birth.
    bool interior = px > 0 && px < s->width - 1 && py > 0 && py < s->height - 1;

    if (s->use_birth_matte && s->birth_matte) {
        if (!interior) return 0;
        int v = matte_value(s->birth_matte, px, py);
        if (s->invert_birth_matte) {
            if (!(32768 - v > BIRTH_MATTE_THRESHOLD)) return 0;
        } else {
            if (!(v > BIRTH_MATTE_THRESHOLD)) return 0;
        }
    }
    if (s->use_avoid_matte && s->avoid_matte && interior) {
        // Off-frame points pass: the avoid matte only covers the picture.
        if (!(matte_value(s->avoid_matte, px, py) > BIRTH_MATTE_THRESHOLD)) return 0;
    }
    return 1;
}

void Vesk::part_init(tagPARTSET* s, tagPART* p, tagPOS at) {
    const double t = frame < 0.0 ? 0.0 : frame;
    int* c = &draw_counter;

    // The draws below are made in a fixed order; changing it changes every swarm. The formulas
    // of birth are worked in double and rounded once, when stored into the particle's floats.
    const double random_colours = info.random_colours.GetValue(t);
    if (random_colours > 0.0) {
        const double k = random_colours / 100.0;
        for (int i = 0; i < 3; ++i) {
            const double r = part_rand_01(c);
            p->colour[i] = (float)((1.0 - r * k) * (double)s->colour[i]);
        }
    } else {
        for (int i = 0; i < 3; ++i) p->colour[i] = s->colour[i];
    }

    p->pos.x = at.x;
    p->pos.y = at.y;
    p->pos.z = 0.0f;
    p->prev_pos[0] = at.x;
    p->prev_pos[1] = at.y;
    p->vel.x = p->vel.y = p->vel.z = 0.0f;
    p->heading[0] = p->heading[1] = 0.0f;

    p->speed_k = (float)(0.75 + 0.25 * (double)part_rand_01(c));
    p->accel_k = (float)(0.75 + 0.25 * (double)part_rand_01(c));
    p->space_k = (float)(0.75 + 0.25 * (double)part_rand_01(c));

    const double random_sizes = info.random_sizes.GetValue(t);
    if (random_sizes > 0.0) {
        const double r = part_rand_01(c);
        const double f = 1.0 - (random_sizes / 100.0) * r;
        // Smaller shapes keep more personal space.
        p->space_k = (float)(0.75 + 0.25 * (1.0 - r));
        double full[2] = {(double)s->shape_w * f, (double)s->shape_h * f};
        double cur[2] = {(double)s->shape_w_cur * f, (double)s->shape_h_cur * f};
        const double cur_min = 8.0 / (double)res_scale;
        for (int i = 0; i < 2; ++i) {
            if (full[i] < 8.0) full[i] = 8.0;
            if (full[i] > 100.0) full[i] = 100.0;
            if (cur[i] < cur_min) cur[i] = cur_min;
            if (cur[i] > 100.0) cur[i] = 100.0;
            p->size_full[i] = (float)full[i];
            p->size_cur[i] = (float)cur[i];
        }
        p->isize_full = bounded_int(p->size_full[0]);
        p->isize_cur = bounded_int(p->size_cur[0]);
    } else {
        // Whole pixels and no 8..100 clamp in this branch: existing setups rely on it.
        p->isize_cur = bounded_int(s->shape_w_cur);
        p->isize_full = bounded_int(s->shape_w);
        p->size_cur[0] = (float)bounded_int(s->shape_w_cur);
        p->size_cur[1] = (float)bounded_int(s->shape_h_cur);
        p->size_full[0] = (float)bounded_int(s->shape_w);
        p->size_full[1] = (float)bounded_int(s->shape_h);
    }

    if (info.random_start.GetValue(t)) {
        int frames = info.frames_in_cycle.GetValue(t);
        p->tex_frame = (int)((float)frames * part_rand_01(c));
    } else {
        p->tex_frame = 0;
    }
}

void Vesk::part_render_state(tagPARTSET* s) {
    // Up to four layers, one per processor (one for per-particle clip times); band 0 holds
    // live_count / bands particles and every later band one more, the last the rest.
    const int cpus = q4mp_get_raw_cpu_count();
    bands = part_render_layers(s, cpus);
    part_set_split_bands(s, bands, cpus);

    in_parallel = 1;
    if (s->single_band) {
        // Per-particle clip reads are not thread-safe: one band on this thread.
        mp_PartRender(0, s->height - 1);
    } else {
        // Texture sprites each box-filter about a whole clip frame; one summed-area table of the
        // clips, shared by every band, makes each box four lookups.
        const bool texture = s->shape >= 6 && s->shape <= 8 && s->live_count > 0;
        if (texture) build_texture_sums();
        MultiProcess(static_cast<PluginQ4::BandMethod>(&Vesk::mp_PartRender), s->height);
        texture_sums.ready = false;
    }
    MultiProcess(static_cast<PluginQ4::BandMethod>(&Vesk::mp_Composite), s->height);
    // The composite took the background and, with it, the matte still owed.
    if (background_pending) background_pending = matte_pending = false;
    in_parallel = 0;
}

void Vesk::reduce_vel(tagPART* p, float s) {
    float limit = p->speed_k * set->max_speed;
    float k = 1.0f - (s - limit) / s;
    p->vel.x *= k;
    p->vel.y *= k;
}

void Vesk::part_move(tagPARTSET* s, tagPART* p, int texturing_cycle, int frames_in_cycle) {
    p->vel.x += p->acc[0];
    p->vel.y += p->acc[1];
    p->prev_heading[0] = p->heading[0];
    p->prev_heading[1] = p->heading[1];
    p->prev_pos[0] = p->pos.x;
    p->prev_pos[1] = p->pos.y;

    float limit = p->speed_k * s->max_speed;
    float speed = std::sqrt(p->vel.x * p->vel.x + p->vel.y * p->vel.y);
    if (speed > limit) {
        reduce_vel(p, speed);
        speed = limit;
    }
    // A particle that has all but stopped keeps pointing the way it last went.
    if ((double)speed > 0.0001) {
        p->heading[0] = p->vel.x / speed;
        p->heading[1] = p->vel.y / speed;
    }
    float qx = p->pos.x + p->vel.x;
    float qy = p->pos.y + p->vel.y;

    if (texturing_cycle) {
        int next = p->tex_frame + 1;
        p->tex_frame = next >= frames_in_cycle ? 0 : next;
    }

    if (s->use_avoid_matte && s->avoid_matte) {
        int px = trunc_pixel((float)s->width * qx);
        int py = trunc_pixel((float)s->height * qy);
        if (px >= 0 && px < s->width && py >= 0 && py < s->height &&
            !(matte_value(s->avoid_matte, px, py) > AVOID_FREE_ABOVE)) {
            // Blocked: stop dead where it was.
            p->vel.x = 0.0f;
            p->vel.y = 0.0f;
            return;
        }
    }
    p->pos.x = qx;
    p->pos.y = qy;
}

void Vesk::part_set_execute(tagPARTSET* s, int frame_number) {
    if (!s) return;
    // Recorded for the renderer; the step itself does not depend on the frame number.
    s->frame = (float)frame_number;

    // 1. Births, topping the population up to the wanted size.
    int needed = s->size - s->live_count;
    int born = 0;
    int attempts = 0;
    while (born < needed) {
        if (attempts > BIRTH_ATTEMPT_LIMIT) {
            PrintError("Tried many times to create a particle\n");
            PrintError("Probability of success too low to continue - check matte\n");
            break;
        }
        tagPOS at = CalcStartPoint(s->aspect, &draw_counter);
        if (!part_birth_point_ok(s, at)) {
            ++attempts;
            continue;
        }
        tagPART* p = part_alloc(s);
        if (!p) {
            // Out of memory: the swarm stays as large as it has grown.
            PrintError("Out of memory for more particles\n");
            break;
        }
        part_init(s, p, at);
        p->next = s->live_list;
        s->live_list = p;
        s->live_count++;
        ++born;
        attempts = 0;
    }

    // 2. Draw the state as it stands, unless pre-rolling or previewing as wireframe.
    const double t = frame < 0.0 ? 0.0 : frame;
    if (!preroll_flag && info.render_mode.GetValue(t) == 1) part_render_state(s);

    // 3. Steering.
    calc_vesk();

    // 4. Motion, newest first.
    int cycle = info.texturing_cycle.GetValue(t) ? 1 : 0;
    int cycle_frames = info.frames_in_cycle.GetValue(t);
    for (tagPART* p = s->live_list; p; p = p->next) part_move(s, p, cycle, cycle_frames);
}

void Vesk::part_restart_and_step(int frame_number) {
    tagPARTSET* s = set;
    if (!s) return;
    if (restart_flag) {
        part_set_free_all(s);
        restart_flag = 0;
        draw_counter = 0;
    }
    if (preroll_flag) {
        // No drawing happens while the flag is set.
        for (int i = 0; i < s->preroll; ++i) part_set_execute(s, i);
        preroll_flag = 0;
    }
    s->frame = (float)frame_number;
    part_set_execute(s, frame_number);
}
