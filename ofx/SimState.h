// A saved simulation state of the effect: everything a frame leaves behind that the next frame
// reads (the particles in list order, the set's carried fields, the random source, the restart and
// pre-roll requests, the lump and size bookkeeping). Restoring one into the engine's effect makes
// the next frame exactly what it would be after the frames that produced the state.
#ifndef OFX_SIMSTATE_H
#define OFX_SIMSTATE_H

#include <cstddef>
#include <vector>

#include "effect/Particles.h"
#include "framework/RandomQ4.h"

class Vesk;

namespace vesk_ofx {

struct SimState {
    std::vector<tagPART> particles;  // live list, newest first
    tagPARTSET set_fields;           // the set's scalar fields; its pointers are not kept
    int random_state = 0, random_table_seed = -1, random_state_after = 0;
    Ran1fStateQ4 random_shuffle_after{};
    Ran1fStateQ4 ran1f{};            // the shared generator's shuffle table
    int first_frame = 1, restart_flag = 0, preroll_flag = 0, lumps_dirty = 0, draw_counter = 0;
    float res_scale = 1.0f;
    int frame_w = 0, frame_h = 0;
    double pixel_ratio = 1.0, lump_param = 1.0;
    float last_pixel_ratio = -1.0f, last_lump_param = -1.0f;
    int last_w = 0, last_h = 0;

    size_t bytes() const { return sizeof(SimState) + particles.size() * sizeof(tagPART); }
};

// Saves the effect's state.
void SaveSimState(Vesk& effect, SimState* state);
// Puts a saved state back. The random table is made again from the Seed by the next frame, and
// the lumps are rebuilt here when the ones in memory were made for other frame attributes.
void RestoreSimState(Vesk& effect, const SimState& state);

}  // namespace vesk_ofx

#endif
