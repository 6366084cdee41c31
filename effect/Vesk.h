// The swarm effect: one object of this class, `Instance`, lives as long as the plug-in is loaded.
#ifndef EFFECT_VESK_H
#define EFFECT_VESK_H

#include "framework/PluginQ4.h"
#include "framework/OverlayQ4.h"
#include "effect/VeskInfo.h"
#include "Library/Q4FrameCache.h"
#include "effect/Raster.h"
#include "framework/RandomQ4.h"

#include <vector>

class Vesk : public PluginQ4, public OverlayQ4 {
public:
    VeskInfo info;

    // ==== swarm and frame driver ====
    // (records in effect/Particles.h; elaborated names so this header needs no include)
    Vesk();
    ~Vesk() override;
    void ProcessFrame() override;
    void mp_process(int first_row, int last_row);  // copies source 1 into the output, by rows

    float random_table[262144];   // refilled from -Seed every frame
    int random_state;             // ran1fQ4 state; -567 after construction
    // The seed the random table was last filled from (-1: none that can be reused), with the
    // generator's state after that fill.
    int random_table_seed;
    int random_state_after;
    Ran1fStateQ4 random_shuffle_after;
    struct tagPARTSET* set;       // the swarm
    int first_frame;              // 1 until the lumps have been built
    int restart_flag;             // requests consumed by the next frame
    int preroll_flag;
    int lumps_dirty;
    int in_parallel;              // set while the renderer runs in bands
    int draw_counter;             // index of the next random-table draw
    int bands;                    // render bands of the current step
    float res_scale;              // resolution divisor of the current output
    int frame_w, frame_h;         // output size of the current frame
    double pixel_ratio, lump_param;            // output attributes the lumps depend on
    float last_pixel_ratio, last_lump_param;   // values the lumps were built for
    int last_w, last_h;           // frame size the particle sizes were computed for
    class ImageQ4* scratch_a;
    class ImageQ4* scratch_b;
    // Blocks of the frame-sized images (clips, result, layers, scratch), kept between frames.
    FrameBlockCacheQ4 frame_blocks;
    // Rows of each layer that may hold non-zero pixels ([first, last], empty when first > last),
    // and within each row the columns that may ([first, last] per row, in layer_cols). The layers
    // keep their blocks between frames, so only these pixels need clearing again, and the
    // composite reads nothing else of them.
    int layer_dirty[4][2];
    std::vector<int> layer_cols[4];
    class ImageQ4* layers[4];
    void mp_clear_layers(int first_row, int last_row);
    void prepare_layers(int w, int h);
    // Widens the drawn area of a band's layer by rows top .. bottom, columns left .. right (both
    // within the frame); called by the shape writers of that band only.
    void mark_layer_area(int band, int top, int bottom, int left, int right) {
        if (band < 0 || band > 3 || top > bottom || left > right) return;
        if (top < layer_dirty[band][0]) layer_dirty[band][0] = top;
        if (bottom > layer_dirty[band][1]) layer_dirty[band][1] = bottom;
        int* cols = layer_cols[band].data();
        if (2 * (bottom + 1) > (int)layer_cols[band].size()) return;
        for (int y = top; y <= bottom; ++y) {
            if (left < cols[2 * y]) cols[2 * y] = left;
            if (right > cols[2 * y + 1]) cols[2 * y + 1] = right;
        }
    }
    // The columns of row y that layer i may have drawn into; first > last when none.
    void layer_columns(int i, int y, int* first, int* last) const {
        if (y < layer_dirty[i][0] || y > layer_dirty[i][1]) {
            *first = 1, *last = 0;
        } else if (2 * (y + 1) <= (int)layer_cols[i].size()) {
            *first = layer_cols[i][2 * y];
            *last = layer_cols[i][2 * y + 1];
        }  // else: no columns kept for this layer, the caller's whole row stands
    }

    void fill_random_table();
    // The gradient and random tables of a Seed value, as every frame makes them.
    void seed_random_tables(int seed);
    // Whether this frame reads input clip `index` (0 = background ... 4 = avoidance matte) at
    // all, from the controls at the current frame; a clip it does not read need not be converted.
    bool reads_source(int index);

    // Particle set and random source (effect/PartSet.cpp)
    struct tagPARTSET* part_set_create(int capacity);
    struct tagPARTBLOB* part_blob_create(int capacity);
    struct tagPART* part_alloc(struct tagPARTSET* s);
    void part_set_free_all(struct tagPARTSET* s);
    void part_set_destroy(struct tagPARTSET* s);
    void part_info_from_spark(struct tagPARTSET* s);
    float get_safe_random(int* counter);
    float part_rand_01(int* counter);
    float part_rand_11(int* counter);
    float part_var_1(float base, float spread, int* counter);

    // Simulation step (effect/Simulation.cpp)
    struct tagPOS CalcStartPoint(float aspect, int* counter);
    void part_set_execute(struct tagPARTSET* s, int frame);
    int part_birth_point_ok(struct tagPARTSET* s, struct tagPOS p);
    void part_init(struct tagPARTSET* s, struct tagPART* p, struct tagPOS at);
    void part_render_state(struct tagPARTSET* s);
    void part_move(struct tagPARTSET* s, struct tagPART* p, int texturing_cycle,
                   int frames_in_cycle);
    void part_restart_and_step(int frame);

    // Steering and neighbour search (effect/Steering.cpp)
    int calc_vesk();
    void clear_table(struct tagF_MATE* table);
    void sort_table(struct tagF_MATE* table);
    void calc_accel(struct tagF_MATE* table, struct tagPART* p);
    struct tagPOS calc_avoid(struct tagPART* p);
    struct tagSCANHIT scan_level(struct tagPART* p, int level);
    struct tagSCANHIT scan_down(int level, int x0, int y0, int x1, int y1);
    void reduce_acc(struct tagPART* p, float a);
    void reduce_vel(struct tagPART* p, float s);
    // ==== end swarm and frame driver ====

    // ==== controls and callbacks ====
    // (effect/VeskControls.cpp) Effect operations called by the panel's callbacks with the
    // control that changed and the current frame number.
    void SyncControls() override;
    void RestartCB(class ControlQ4* control, double frame);
    void RestartPreRollCB(class ControlQ4* control, double frame);
    void PreRollCB(class ControlQ4* control, double frame);
    void UseBirthMatteCB(class ControlQ4* control, double frame);
    void UpdateConCB(class ControlQ4* control, double frame);
    void ShapeModeCB(class ControlQ4* control, double frame);
    void PresetCB(class ControlQ4* control, double frame);
    // ==== end controls and callbacks ====

    // ==== rendering ====
    // (records in effect/Raster.h and effect/Lumps.h; elaborated names so this header needs no
    // include)
    // Per-thread state of the scan conversion: one slot per render band, so several threads can
    // scan polygons at once. Five slots: four layers plus the clamp of the band index.
    struct ScanSlot {
        int n;                 // vertex count of the polygon being drawn
        struct tagPOS* pt;     // its vertices (owned by the caller)
        int nact;              // active edge count
        struct EDGE* active;   // active edge list (owned by concave_d for one call)
    };
    ScanSlot scan_slots[5];
    RasterScratch raster_scratch[5];
    float gradient_table[256][3];  // unit vectors, refilled by gradientTabInit
    // Summed-area table of the texture clips, built once per render pass on the calling thread
    // and read by every band, so that a texture sprite's box filter costs four lookups per pixel
    // instead of a scan of the box (effect/TextureSums.cpp). Its block is kept from frame to frame.
    struct TextureSums {
        unsigned* sums = nullptr;  // (width + 1) x (height + 1) x 4: red, green, blue, matte
        long capacity = 0;         // entries allocated
        int width = 0, height = 0;
        bool ready = false;
        ~TextureSums();
    };
    TextureSums texture_sums;

    // Polygon rasteriser (effect/Raster.cpp)
    void concave_d(int n, struct tagPOS* pts, struct tagPART* part, int band);
    struct tagPOS ssize(struct tagPOS p, int fx, int fy);
    void sort_indx(int* ind, int n, int band);
    void sort_indy(int* ind, int n, int band);
    void add_edge(int i, int y, int band);
    void rem_edge(int i, int band);
    void sort_act(struct EDGE* active, int n);
    void draw_line(int y, int xl, int xr, int xmin, int ymin, int w, int h, int* mask);
    void draw_ssimage(int ox, int oy, int w, int h, int* mask, struct tagPART* part, int band);
    // The blend of draw_ssimage from its bw x bh block sums (0 .. 64 each).
    void blend_coverage(int ox, int oy, int bw, int bh, const int* sums, struct tagPART* part,
                        int band);

    // Polygon shapes (effect/Shapes.cpp); y1 is the band bottom (image height - 1)
    void draw_square(int cx, int cy, int W, int H, int y0, int y1, struct tagPART* p, int band);
    void draw_triangle(int cx, int cy, int W, int H, int y0, int y1, struct tagPART* p, int band);
    void draw_diamond(int cx, int cy, int W, int H, int y0, int y1, struct tagPART* p, int band);
    void draw_star4pt(int cx, int cy, int W, int H, int y0, int y1, struct tagPART* p, int band);
    void draw_star5pt(int cx, int cy, int W, int H, int y0, int y1, struct tagPART* p, int band);
    float shape_angle(struct tagPART* p);  // base rotation, plus the heading with Living Rotate

    // Lumps, textures and the gradient table (effect/Lumps.cpp)
    void part_anti_aliased_lump(class ImageQ4* layer, int iw, int ih, int px, int py, int s,
                                struct tagPARTLUMP* lump, int y0, int y1, struct tagPART* p);
    void draw_texture(int px, int py, int W, int H, int y0, int y1, struct tagPART* p, int band);
    struct tagTEXEL anti_alias(int x, int y, int bw, int bh, class ImageQ4* colour,
                               class ImageQ4* matte);
    // The same means from the summed-area table (identical integer sums).
    struct tagTEXEL anti_alias_sums(const TextureSums& sums, int x, int y, int bw, int bh) const;
    // Builds the summed-area table of the set's colour and matte clips; false without memory or
    // clips, and then the texture sprites filter pixel by pixel.
    bool build_texture_sums();
    void gradientTabInit(int seed);

    // Particle rendering and compositing (effect/PartRender.cpp)
    void part_render(struct tagPARTSET* s, struct tagPART* p, int y0, int y1, int band);
    void mp_PartRender(int start, int end);
    void mp_Composite(int start, int end);
    // The background copy of the frame (and the copy of its matte at the frame's end) waits for
    // the composite, which copies each row just before laying the layers over it and takes the
    // matte just after, while the row is in cache: two passes over the frame fewer. A frame
    // without a composite makes both copies at the end of its step, in the usual order.
    bool background_pending = false;  // the result still has to receive the background
    bool matte_pending = false;       // ... and the background's matte, after the composite
    // ==== end rendering ====

    // ==== overlay ====
    // (effect/VeskOverlay.cpp) The wireframe preview and the four on-screen handles, drawn and
    // driven through the host's viewer.
    void RenderOverlay() override;
    void HandleInteraction(InterType type, float x, float y) override;
    void PartDrawGL(struct tagPARTSET* s, int mode);
    // ==== end overlay ====
};

extern Vesk Instance;

#endif
