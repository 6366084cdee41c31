// Division of the particle list into render chunks, one per layer. The render and composite
// passes themselves are members of Vesk (part_render, mp_PartRender, mp_Composite).
#ifndef EFFECT_PARTRENDER_H
#define EFFECT_PARTRENDER_H

struct tagPARTSET;

// Number of render layers for this machine: the raw processor count, at most four; one when the
// set renders in a single band (per-particle clip time).
int part_render_layers(const tagPARTSET* s, int raw_cpu_count);

// The layers a render and composite pass use for the effect's band count: 1 .. 4.
int part_layers_in_use(int bands);

// Fills the set's chunk heads for `layers` layers: head 0 is the live-list head, heads
// 1 .. clear_count are cleared, then with per = live_count / layers the first chunk takes per
// particles and every further chunk per + 1 (the last one the rest). With per = 0 every particle
// stays in chunk 0. Returns the number of non-empty chunks.
int part_set_split_bands(tagPARTSET* s, int layers, int clear_count);

#endif
