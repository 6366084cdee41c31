// The effect's reactions to its panel: which controls are shown for the current settings, the
// restart and pre-roll requests, and the preset page.
#include "effect/Vesk.h"

namespace {

// Shape list values (counting from 1) that the show/hide rules single out.
constexpr int kShapeBlob = 1;
constexpr int kShapeFourPointStar = 5;
constexpr int kShapeFivePointStar = 6;
constexpr int kShapeColsWithMatte = 7;

// Each rule shows the controls that depend on a setting only while they matter. A hidden
// control keeps its value, so switching the setting back restores what the user had.

void avoid_others_rule(VeskInfo& v) { v.personal_space.Hide(!v.avoid_others.checked); }

void hunt_food_rule(VeskInfo& v) { v.food_pos.Hide(!v.hunt_food.checked); }

void avoid_predator_rule(VeskInfo& v)
{
    const bool on = v.avoid_predator.checked;
    v.predator_pos.Hide(!on);
    v.fear_of_predator.Hide(!on);
}

void avoid_matte_rule(VeskInfo& v)
{
    const bool on = v.use_avoid_matte.checked;
    v.avoid_forward.Hide(!on);
    v.avoid_sides.Hide(!on);
}

void texturing_cycle_rule(VeskInfo& v)
{
    const bool on = v.texturing_cycle.checked;
    v.random_start.Hide(!on);
    v.frames_in_cycle.Hide(!on);
}

void gathering_rule(VeskInfo& v) { v.vesk_grouping.Hide(!v.vesk_gathering.checked); }

void shape_rule(VeskInfo& v)
{
    const int shape = v.shape.cache;
    // A blob is round: its size comes from the width alone.
    v.shape_height.Hide(shape == kShapeBlob);
    v.star_sharpness.Hide(shape != kShapeFourPointStar && shape != kShapeFivePointStar);
    // Only "Cols with Matte" gives each particle its own time in the shape clips, so the
    // texturing cycle means nothing for the other shapes.
    if (shape != kShapeColsWithMatte) {
        v.texturing_cycle.Hide(true);
        v.random_start.Hide(true);
        v.frames_in_cycle.Hide(true);
    } else {
        v.texturing_cycle.Hide(false);
        texturing_cycle_rule(v);
    }
}

void birth_matte_rule(VeskInfo& v) { v.invert_birth_matte.Hide(!v.use_birth_matte.checked); }

}  // namespace

void Vesk::SyncControls()
{
    // The shape rule comes after the texturing-cycle rule so that it has the last word on the
    // cycle's controls.
    avoid_others_rule(info);
    hunt_food_rule(info);
    avoid_predator_rule(info);
    avoid_matte_rule(info);
    texturing_cycle_rule(info);
    gathering_rule(info);
    shape_rule(info);
    birth_matte_rule(info);
}

// Restart and pre-roll are requests: the next processed frame acts on them.
void Vesk::RestartCB(ControlQ4*, double) { restart_flag = 1; }

void Vesk::RestartPreRollCB(ControlQ4*, double)
{
    restart_flag = 1;
    preroll_flag = 1;
}

void Vesk::PreRollCB(ControlQ4*, double) { preroll_flag = 1; }

void Vesk::UseBirthMatteCB(ControlQ4*, double) { birth_matte_rule(info); }

void Vesk::UpdateConCB(ControlQ4* control, double)
{
    if (control == &info.avoid_others)
        avoid_others_rule(info);
    else if (control == &info.hunt_food)
        hunt_food_rule(info);
    else if (control == &info.avoid_predator)
        avoid_predator_rule(info);
    else if (control == &info.use_avoid_matte)
        avoid_matte_rule(info);
    else if (control == &info.texturing_cycle)
        texturing_cycle_rule(info);
    else if (control == &info.vesk_gathering)
        gathering_rule(info);
}

void Vesk::ShapeModeCB(ControlQ4*, double) { shape_rule(info); }

void Vesk::PresetCB(ControlQ4* control, double frame)
{
    VeskInfo& v = info;
    // Each switch of the preset page turns its behaviour on or off directly.
    struct Switch {
        CheckboxControlQ4* add;
        CheckboxControlQ4* behaviour;
    };
    const Switch switches[] = {
        {&v.add_predator, &v.avoid_predator},     {&v.add_living_rotate, &v.living_rotate},
        {&v.add_personal_space, &v.avoid_others}, {&v.add_vesk_centring, &v.vesk_gathering},
        {&v.add_match_velocity, &v.match_velocity},
    };
    for (const Switch& s : switches) {
        if (control == s.add) {
            s.behaviour->SetValue(frame, s.add->checked);
            return;
        }
    }
    if (control != &v.simple_food_hunt)
        return;

    // "Simple Food Hunt": a small swarm of stars chasing the food point. The five switches of
    // the page are left as they are.
    v.preroll.SetValue(frame, 40);
    // Beyond the Seed slider's range; the host holds it as it is given.
    v.seed.SetValue(frame, 1650);
    v.birth_pos.SetValue(frame, 0.8, 0.8);
    v.birth_radius.SetValue(frame, 0.25);
    v.use_birth_matte.SetValue(frame, false);
    v.invert_birth_matte.SetValue(frame, false);
    v.vesk_size.SetValue(frame, 40);
    v.shape.SetValue(frame, kShapeFivePointStar);
    v.shape_width.SetValue(frame, 50);
    v.shape_height.SetValue(frame, 50);
    v.random_sizes.SetValue(frame, 100);
    v.star_sharpness.SetValue(frame, 50);
    v.render_mode.SetValue(frame, 1);  // "Render Mode: Render"
    v.shape_colour.SetValue(frame, PixelQ4(32640, 32640, 32640, 32640));
    v.random_colours.SetValue(frame, 50);
    v.shape_density.SetValue(frame, 100);
    v.shapes_over_cols.SetValue(frame, false);
    v.living_rotate.SetValue(frame, false);
    v.base_rotation.SetValue(frame, 0);
    v.texturing_cycle.SetValue(frame, false);
    v.random_start.SetValue(frame, false);
    v.frames_in_cycle.SetValue(frame, 5);
    v.hunt_food.SetValue(frame, true);
    v.food_pos.SetValue(frame, 0.2, 0.2);
    v.avoid_predator.SetValue(frame, false);
    v.predator_pos.SetValue(frame, 0.5, 0.5);
    v.fear_of_predator.SetValue(frame, 20);
    v.use_avoid_matte.SetValue(frame, false);
    v.avoid_forward.SetValue(frame, 5);
    v.avoid_sides.SetValue(frame, 10);
    v.match_velocity.SetValue(frame, false);
    v.speed.SetValue(frame, 20);
    v.acceleration.SetValue(frame, 10);
    v.avoid_others.SetValue(frame, false);
    v.personal_space.SetValue(frame, 20);
    v.vesk_gathering.SetValue(frame, false);
    v.vesk_grouping.SetValue(frame, 20);
}
