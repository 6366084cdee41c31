// Steering: each live particle's acceleration for the coming step, from its nearest
// neighbours, the predator, the food and the avoid matte ahead of it.
#include <climits>
#include <cmath>

#include "base/q4_heap.h"
#include "effect/NeighbourGrid.h"
#include "effect/Particles.h"
#include "effect/Vesk.h"
#include "Library/Q4Image.h"

#define STEERING_TAG "effect/Steering"

namespace {

// Distance of an empty neighbour row: farther than any real neighbour.
const float EMPTY_MATE_DISTANCE = 9999.0f;
// Avoid-matte values below this are obstacles.
const int AVOID_OBSTACLE_BELOW = 16384;

inline float length2(float x, float y) {
    return std::sqrt(x * x + y * y);
}

// Pixel of a frame coordinate, rounded to nearest, kept inside the range of int.
inline int round_pixel(float v, int size) {
    double d = (double)(v * (float)size) + 0.5;
    if (!(d > (double)INT_MIN)) return INT_MIN;
    if (!(d < (double)INT_MAX)) return INT_MAX;
    return (int)d;
}

// Walks the pixels of a line from (x0, y0) to (x1, y1), both ends included, calling
// visit(x, y) until it returns true. Returns whether a visit did.
template <typename Visit>
bool walk_line(int x0, int y0, int x1, int y1, Visit visit) {
    int dx = x1 - x0;
    int dy = y1 - y0;
    int ax = 2 * (dx < 0 ? -dx : dx);
    int ay = 2 * (dy < 0 ? -dy : dy);
    int sx = dx < 0 ? -1 : 1;
    int sy = dy < 0 ? -1 : 1;
    int x = x0;
    int y = y0;
    if (ay < ax) {
        int e = -(ax / 2);
        for (;;) {
            e += ay;
            if (visit(x, y)) return true;
            if (x == x1) return false;
            if (e >= 0) {
                y += sy;
                e -= ax;
            }
            x += sx;
        }
    }
    int e = -(ay / 2);
    for (;;) {
        e += ax;
        if (visit(x, y)) return true;
        if (y == y1) return false;
        if (e >= 0) {
            x += sx;
            e -= ay;
        }
        y += sy;
    }
}

}  // namespace

void Vesk::clear_table(tagF_MATE* table) {
    for (int i = 0; i < set->mates; ++i) {
        table[i].x = 0.0f;
        table[i].y = 0.0f;
        table[i].dist = EMPTY_MATE_DISTANCE;
        table[i].vx = 0.0f;
        table[i].vy = 0.0f;
    }
}

void Vesk::sort_table(tagF_MATE* table) {
    const int m = set->mates;
    // Bubble sort, farthest first; equal distances keep their order. A pass without a swap
    // leaves nothing for the later passes to do, so the sort stops there: the table is
    // sorted before each new row 0 arrives, and one pass settles it.
    for (int k = 1; k < m; ++k) {
        bool swapped = false;
        for (int i = 0; i <= m - 1 - k; ++i) {
            if (table[i + 1].dist > table[i].dist) {
                tagF_MATE tmp = table[i];
                table[i] = table[i + 1];
                table[i + 1] = tmp;
                swapped = true;
            }
        }
        if (!swapped) break;
    }
}

void Vesk::reduce_acc(tagPART* p, float a) {
    float amax = set->max_accel * p->accel_k;
    float k = 1.0f - (a - amax) / a;
    p->acc[0] *= k;
    p->acc[1] *= k;
}

tagSCANHIT Vesk::scan_down(int /*level*/, int x0, int y0, int x1, int y1) {
    tagSCANHIT hit = {-1, 0};
    const tagPARTSET* s = set;
    ImageQ4* matte = s->avoid_matte;
    if (!matte) return hit;
    const int w = s->width;
    const int h = s->height;
    walk_line(x0, y0, x1, y1, [&](int x, int y) {
        if (x < 0 || x >= w || y < 0 || y >= h) return false;
        // A matte smaller than the frame reads black (an obstacle) beyond its edge.
        int v = (x < matte->width && y < matte->height) ? matte->rows[y][x].r : 0;
        if (v < AVOID_OBSTACLE_BELOW) {
            hit.x = x;
            hit.y = y;
            return true;
        }
        return false;
    });
    return hit;
}

tagSCANHIT Vesk::scan_level(tagPART* p, int level) {
    tagSCANHIT none = {-1, 0};
    const tagPARTSET* s = set;
    float speed = length2(p->vel.x, p->vel.y);
    // A particle that is not moving does not look ahead.
    if (!((double)speed > 0.0001)) return none;
    float ux = p->vel.x / speed;
    float uy = p->vel.y / speed;
    // Avoid Forward sets the width of the searched band across the heading and Avoid Sides
    // its depth along it; the two work the other way round from their labels, and existing
    // setups are tuned to that.
    float nx = uy * s->avoid_forward;
    float ny = -ux * s->avoid_forward;
    const int w = s->width;
    const int h = s->height;
    int ax = round_pixel(p->pos.x + nx, w);
    int ay = round_pixel(p->pos.y + ny, h);
    int bx = round_pixel(p->pos.x - nx, w);
    int by = round_pixel(p->pos.y - ny, h);
    int ex = round_pixel(p->pos.x + nx + ux * s->avoid_sides, w);
    int ey = round_pixel(p->pos.y + ny + uy * s->avoid_sides, h);
    int span_x = bx - ax;
    int span_y = by - ay;

    tagSCANHIT hit = none;
    walk_line(ax, ay, ex, ey, [&](int x, int y) {
        hit = scan_down(level, x, y, x + span_x, y + span_y);
        return hit.x != -1;
    });
    return hit;
}

tagPOS Vesk::calc_avoid(tagPART* p) {
    tagPOS push = {0.0f, 0.0f, 0.0f};
    const tagPARTSET* s = set;
    tagSCANHIT hit = scan_level(p, 0);
    if (hit.x == -1) return push;
    float vx = p->pos.x - (float)hit.x / (float)s->width;
    float vy = p->pos.y - (float)hit.y / (float)s->height;
    float r = length2(vx, vy);
    if ((double)r > 0.0001) {
        vx /= r;
        vy /= r;
    }
    float t = (s->avoid_sides - r) / s->avoid_sides;
    if (t < 0.0f) t = 0.0f;
    // Scaled by the pre-roll count: the push nearly always saturates the acceleration
    // limit, which is how obstacles have always been kept clear. The direction takes the
    // weight first and the count second; grouping the two factors first rounds differently.
    float w = t * t;
    float pre = (float)s->preroll;
    push.x = vx * w * pre;
    push.y = vy * w * pre;
    return push;
}

void Vesk::calc_accel(tagF_MATE* table, tagPART* p) {
    const tagPARTSET* s = set;
    const float amax = s->max_accel * p->accel_k;
    const float space = s->personal_space * p->space_k;
    const float g = s->grouping;
    const int m = s->mates;

    p->acc[0] = 0.0f;
    p->acc[1] = 0.0f;
    // Adds a term; once the sum passes the limit it is scaled back and the lower-priority
    // terms are left out.
    auto add = [&](float vx, float vy) {
        p->acc[0] += vx;
        p->acc[1] += vy;
        float a = length2(p->acc[0], p->acc[1]);
        if (a > amax) {
            reduce_acc(p, a);
            return true;
        }
        return false;
    };

    // 1. Flee the predator.
    if (s->avoid_predator) {
        float vx = p->pos.x - s->predator_x;
        float vy = p->pos.y - s->predator_y;
        float r = length2(vx, vy);
        if (s->predator_fear > r && (double)r > 0.0001) {
            float t = (s->predator_fear - r) / s->predator_fear;
            float w = t * t;
            if (add(vx / r * w, vy / r * w)) return;
        }
    }

    // 2. Turn away from the avoid matte ahead.
    if (s->use_avoid_matte) {
        tagPOS v = calc_avoid(p);
        if (add(v.x, v.y)) return;
    }

    // 3. Keep personal space from the nearest neighbour (the last row).
    if (s->avoid_others) {
        const tagF_MATE& near = table[m - 1];
        float vx = p->pos.x - near.x;
        float vy = p->pos.y - near.y;
        float r = length2(vx, vy);
        if (space > r && (double)r > 0.0001) {
            float t = (space - r) / space;
            float w = t * t;
            if (add(vx / r * w, vy / r * w)) return;
        }
    }

    // 4. Match the neighbours' mean velocity; empty rows count with zero velocity.
    if (s->match_velocity) {
        float sx = 0.0f, sy = 0.0f;
        for (int i = 0; i < m; ++i) {
            sx += table[i].vx;
            sy += table[i].vy;
        }
        float mx = sx / (float)m;
        float my = sy / (float)m;
        if (add(mx - p->vel.x, my - p->vel.y)) return;
    }

    // 5. Move towards the neighbours' centre; empty rows count at (0, 0).
    if (s->gathering) {
        float sx = 0.0f, sy = 0.0f;
        for (int i = 0; i < m; ++i) {
            sx += table[i].x;
            sy += table[i].y;
        }
        float vx = sx / (float)m - p->pos.x;
        float vy = sy / (float)m - p->pos.y;
        float r = length2(vx, vy);
        if ((double)r > 0.0001) {
            vx /= r;
            vy /= r;
        }
        // With the tightest grouping (g = 0) the pull is always full.
        float t = g > 0.0f ? (r - g) / g : 1.0f;
        if (t > 1.0f) t = 1.0f;
        if ((double)t > 0.00001) {
            float w = t * t;
            if (add(vx * w, vy * w)) return;
        }
    }

    // 6. Hunt the food; the personal-space distance is its comfort radius, and distant food
    // pulls with full force.
    if (s->hunt_food != 0.0f) {
        float vx = s->food_x - p->pos.x;
        float vy = s->food_y - p->pos.y;
        float r = length2(vx, vy);
        if ((double)r > 0.0001) {
            vx /= r;
            vy /= r;
        }
        float t = (r - space) / space;
        float w = (double)t >= 0.00001 ? t * t : 0.0f;
        if (add(vx * w, vy * w)) return;
    }
}

int Vesk::calc_vesk() {
    tagPARTSET* s = set;
    if (!s || !s->live_list) return 1;
    const int m = s->mates;
    int n = 0;
    for (tagPART* p = s->live_list; p; p = p->next) ++n;
    // One table for the whole pass, reused for every particle, and the positions gathered
    // in list order.
    tagF_MATE* table = (tagF_MATE*)q4_malloc((size_t)m * sizeof(tagF_MATE), STEERING_TAG, __LINE__);
    float* xs = (float*)q4_malloc((size_t)n * sizeof(float), STEERING_TAG, __LINE__);
    float* ys = (float*)q4_malloc((size_t)n * sizeof(float), STEERING_TAG, __LINE__);
    float* vxs = (float*)q4_malloc((size_t)n * sizeof(float), STEERING_TAG, __LINE__);
    float* vys = (float*)q4_malloc((size_t)n * sizeof(float), STEERING_TAG, __LINE__);
    tagPART** parts = (tagPART**)q4_malloc((size_t)n * sizeof(tagPART*), STEERING_TAG, __LINE__);
    auto release = [&] {
        for (void* block : {(void*)table, (void*)xs, (void*)ys, (void*)vxs, (void*)vys, (void*)parts})
            if (block) q4_free(block, STEERING_TAG, __LINE__);
    };
    if (!table || !xs || !ys || !vxs || !vys || !parts) {
        // Out of memory: no steering this step, the particles keep their last acceleration.
        release();
        return 0;
    }
    int k = 0;
    for (tagPART* p = s->live_list; p; p = p->next, ++k) {
        xs[k] = p->pos.x;
        ys[k] = p->pos.y;
        vxs[k] = p->vel.x;
        vys[k] = p->vel.y;
        parts[k] = p;
    }

    // The nearest neighbours through a grid of cells, giving the very table the search over
    // every pair in list order gives (rows, order and ties).
    NeighbourGrid grid;
    grid.Build(xs, ys, n);
    for (int i = 0; i < n; ++i) {
        grid.Nearest(i, m, table, vxs, vys);
        calc_accel(table, parts[i]);
    }
    release();
    return 1;
}
