// Everything the effect reads from the host: its five input clips, the output clip, the four
// on-screen handles and every control of its panel, in that order.
#ifndef EFFECT_VESKINFO_H
#define EFFECT_VESKINFO_H

#include "framework/ControlQ4.h"
#include "framework/OverlayControlQ4.h"

struct VeskInfo {
    VeskInfo();

    // Input clips, in the host's clip order.
    SourceQ4 source1;  // "1: Background Clip": the picture the swarm is drawn over
    SourceQ4 source2;  // "2: Shape Colour"
    SourceQ4 source3;  // "3: Shape Matte"
    SourceQ4 source4;  // "4: Birth Matte"
    SourceQ4 source5;  // "5: Avoidance Matte"
    ResultQ4 result;

    // On-screen handles: a crosshair, a circle and two more crosshairs.
    CrosshairOverlayQ4 birth_handle;   // Birth X / Birth Y
    CircleOverlayQ4 radius_handle;     // centre on Birth X / Birth Y, size from Birth Radius
    CrosshairOverlayQ4 food_handle;    // Food X / Food Y
    CrosshairOverlayQ4 predator_handle;// Predator X / Predator Y

    // ---- Page 1 "Vesk" ----
    ButtonControlQ4 restart1;           //  6 "Restart   "
    ButtonControlQ4 restart_preroll1;   //  7 "Restart+PreRoll   "
    ButtonControlQ4 preroll1;           //  8 "PreRoll   "
    IntegerControlQ4 preroll;           //  9 "PreRoll: %d"            40, 1..1000, step 1
    ButtonControlQ4 advance;            // 10 "Advance   "
    IntegerControlQ4 vesk_size;         // 11 "Vesk Size: %d"          20, 1..5000, step 1
    IntegerControlQ4 seed;              // 12 "Seed: %d"               165, 1..999, step 17
    PositionControlQ4 birth_pos;        // 13/14 "Birth X/Y: %.2f"     84, -150..250, step 0.05
    SizeControlQ4 birth_radius;         // 15 "Birth Radius: %.2f"     50, 0..200, step 0.05
    CheckboxControlQ4 use_birth_matte;  // 20 "Use Birth Matte   "     off
    CheckboxControlQ4 invert_birth_matte; // 21 "Invert Birth Matte   " off

    // ---- Page 2 "Shape" ----
    ButtonControlQ4 restart2;           // 35
    ButtonControlQ4 restart_preroll2;   // 36
    ButtonControlQ4 preroll2;           // 37
    CheckboxControlQ4 texturing_cycle;  // 38 "Texturing Cycle   "     off
    CheckboxControlQ4 random_start;     // 39 "Random Start   "        off
    IntegerControlQ4 frames_in_cycle;   // 40 "Frames in Cycle: %d"    5, 1..10000, step 1
    ListControlQ4 shape;                // 42 Shape list, values 1 to 9, default 1 (Blob)
    FloatControlQ4 shape_width;         // 43 "Shape Width: %.2f"      72, 1..100, step 0.5
    FloatControlQ4 shape_height;        // 44 "Shape Height: %.2f"     57, 1..100, step 0.5
    FloatControlQ4 random_sizes;        // 45 "Random Sizes: %.2f"     60, 0..100, step 0.5
    FloatControlQ4 star_sharpness;      // 46 "Star Sharpness: %.2f"   50, 1..100, step 0.5
    CheckboxControlQ4 living_rotate;    // 47 "Living Rotate   "       off
    AngleControlQ4 base_rotation;       // 48 "Base Rotation: %.2f"    0, -360..360, step 0.01
    ColourControlQ4 shape_colour;       // 49 swatch with sliders 50, 51, 52 (100 each, 0..100)
    FloatControlQ4 random_colours;      // 53 "Random Colours: %.2f"   0, 0..100, step 0.5
    FloatControlQ4 shape_density;       // 54 "Shape Density: %.2f"    100, 0..100, step 0.5
    CheckboxControlQ4 shapes_over_cols; // 55 "Use Shapes over Cols   " off
    ListControlQ4 render_mode;          // 59 Render Mode list, values 1 and 2, default 2 (Wireframe)

    // ---- Page 3 "Influence" ----
    ButtonControlQ4 restart3;           // 64
    ButtonControlQ4 restart_preroll3;   // 65
    ButtonControlQ4 preroll3;           // 66
    CheckboxControlQ4 avoid_predator;   // 67 "Avoid Predator   "      off
    PositionControlQ4 predator_pos;     // 68/69 "Predator X/Y: %.2f"  40, -150..250, step 0.05
    FloatControlQ4 fear_of_predator;    // 70 "Fear of Predator: %.2f" 18, 1..100, step 0.5
    CheckboxControlQ4 hunt_food;        // 71 "Hunt Food   "           on
    PositionControlQ4 food_pos;         // 72/73 "Food X/Y: %.2f"      20, 15, -150..250, step 0.05
    CheckboxControlQ4 use_avoid_matte;  // 75 "Use Avoid Matte   "     off
    FloatControlQ4 avoid_forward;       // 76 "Avoid Forward: %.2f"    10, 1..100, step 0.5
    FloatControlQ4 avoid_sides;         // 77 "Avoid Sides: %.2f"      5, 1..100, step 0.5
    CheckboxControlQ4 match_velocity;   // 78 "Match Velocity   "      off
    FloatControlQ4 speed;               // 79 "Speed: %.2f"            20, 0..100, step 0.5
    FloatControlQ4 acceleration;        // 80 "Acceleration: %.2f"     3.5, 0..100, step 0.5
    CheckboxControlQ4 avoid_others;     // 81 "Avoid Others   "        off
    FloatControlQ4 personal_space;      // 82 "Personal Space: %.2f"   15, 1..100, step 0.5
    CheckboxControlQ4 vesk_gathering;   // 83 "Vesk Gathering   "      off
    FloatControlQ4 vesk_grouping;       // 84 "Vesk Grouping: %.2f"    10, 0..100, step 0.5

    // ---- Page 4 "Presets" ----
    ButtonControlQ4 restart4;           // 93
    ButtonControlQ4 restart_preroll4;   // 94
    ButtonControlQ4 preroll4;           // 95
    ButtonControlQ4 simple_food_hunt;   // 100 "Simple Food Hunt   "
    CheckboxControlQ4 add_predator;     // 101 "Add Predator   "       off
    CheckboxControlQ4 add_living_rotate;  // 102 "Add Living Rotate   " off
    CheckboxControlQ4 add_personal_space; // 103 "Add Personal Space   " off
    CheckboxControlQ4 add_vesk_centring;  // 104 "Add Vesk Centring   " off
    CheckboxControlQ4 add_match_velocity; // 105 "Add Match Velocity   " off
};

#endif
