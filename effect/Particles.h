// The swarm's records: a particle, a block of particle storage, a row of the
// neighbour table and the particle set. The routines that work on them are
// members of Vesk (effect/Vesk.h), since they read its controls and its random
// table.
//
// Positions, velocities, accelerations and distances are in frame units:
// x = 0 is the left edge and 1 the right edge, y = 0 the top row and 1 the
// bottom row of the output image.
#ifndef EFFECT_PARTICLES_H
#define EFFECT_PARTICLES_H

#include "effect/Raster.h"  // tagPOS

class ImageQ4;
struct tagPARTLUMP;

// Storage grows by whole blocks of this many particles.
enum { PART_BLOCK_CAPACITY = 1024 };
// One soft-edged lump per radius 1 .. 101 pixels.
enum { PART_LUMP_COUNT = 101 };
// Size of the random table: 2^18 floats.
enum { PART_RANDOM_TABLE_SIZE = 262144 };
// The draw counter wraps to 0 once it passes this value.
enum { PART_DRAW_COUNTER_LIMIT = 1000000000 };
// The neighbour table never holds more rows than this.
enum { PART_MAX_MATES = 10 };
// Render bands in use never exceed four; the band table is larger so that
// every render job of a machine with many processors finds a null head.
enum { PART_MAX_BANDS = 4, PART_BAND_SLOTS = 64 };

// One particle. Every field is cleared when the record is handed out.
struct tagPART {
    tagPOS pos;               // current position (x, y); z unused
    tagPOS vel;               // velocity per frame (x, y); z unused
    float heading[2];         // unit vector of the last non-negligible velocity
    float prev_heading[2];    // heading before the latest step
    float prev_pos[2];        // position before the latest step
    float acc[2];             // steering acceleration for the coming step
    float size_cur[2];        // shape width, height in pixels at the current resolution
    float size_full[2];       // shape width, height in pixels at full resolution
    int isize_cur;            // trunc(size_cur[0]); also the lump index
    int isize_full;           // trunc(size_full[0])
    float speed_k;            // personal speed factor, 0.75 .. 1
    float accel_k;            // personal acceleration factor, 0.75 .. 1
    float space_k;            // personal-space factor, 0.75 .. 1
    float colour[3];          // red, green, blue on the 0 .. 32767 scale
    tagPART* next;            // live list or free list
    int tex_frame;            // frame within the texturing cycle
};

// A block of particle storage.
struct tagPARTBLOB {
    tagPART* parts;
    int capacity;
    tagPARTBLOB* next;
};

// One row of the neighbour table, sorted farthest first.
struct tagF_MATE {
    float x, y;       // neighbour position
    float dist;       // distance to the neighbour; 9999 for an empty row
    float vx, vy;     // neighbour velocity
};

// A pixel found by the avoid-matte scan; x = -1 when nothing was found.
struct tagSCANHIT {
    int x, y;
};

// The swarm; one per effect instance.
struct tagPARTSET {
    ImageQ4* result;          // output image of the frame being processed
    ImageQ4* source1;         // the picture the swarm is drawn over
    ImageQ4* source2;         // shape colour clip
    ImageQ4* source3;         // shape matte clip
    ImageQ4* birth_matte;
    ImageQ4* avoid_matte;
    ImageQ4* work[4];         // render layers, one per band, owned by the frame driver

    float colour[3];          // Shape Colour, 0 .. 32767
    float density;            // Shape Density / 100
    int size;                 // wanted number of particles

    tagPART* free_list;
    tagPART* live_list;       // newest first
    tagPARTBLOB* blocks;      // newest first
    int block_capacity;
    int block_count;
    int live_count;
    int lump_count;

    int width, height;        // output frame size in pixels
    int width2, height2;      // second copy, kept for the renderer
    tagPARTLUMP** lumps;      // lump_count slots
    float frame;              // frame being processed

    int use_birth_matte;
    int invert_birth_matte;
    int use_avoid_matte;
    int avoid_predator;
    float birth_x, birth_y;
    float birth_radius;       // Birth Radius * 0.5
    float food_x, food_y;
    float predator_x, predator_y;
    int avoid_others;
    int match_velocity;
    int gathering;
    float max_speed;          // Speed / 1000
    float max_accel;          // Acceleration / 1000
    float hunt_food;          // 0.0 or 1.0
    float personal_space;     // Personal Space / 200
    float predator_fear;      // Fear of Predator / 100
    int preroll;              // PreRoll frame count
    float avoid_forward;      // Avoid Forward / 200
    float avoid_sides;        // Avoid Sides / 200
    float grouping;           // 0.5 - Vesk Grouping / 200
    float shape_w_cur, shape_h_cur;  // shape size at the current resolution
    float shape_w, shape_h;          // shape size at full resolution
    int shape;                // 0 .. 8, the Shape list value - 1
    float base_rotation;      // degrees
    int living_rotate;
    int mates;                // rows of the neighbour table, 1 .. 10
    float star_sharpness;     // 1 - Star Sharpness / 100
    float aspect;             // width / height
    int shapes_over_cols;
    int single_band;          // render in one band (per-particle clip time)
    tagPART* band_start[PART_BAND_SLOTS];  // first particle of each render band
};

#endif
