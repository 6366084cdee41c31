// Ties the effect's framework controls to the host's records: the binding at start-up, the copy
// of every host value before a frame, and the full re-read after a Reset.
#include <climits>
#include <cstdint>

#include "effect/Vesk.h"
#include "host/ControlTable.h"

namespace {

// The configured ranges. They are handed over at binding rather than read from the records, so
// that a control whose record was locked to its value when a setup was saved still gets its
// full range back when it is enabled again.
const int32_t kPreRollRange[2] = {1, 1000};
const int32_t kVeskSizeRange[2] = {1, 5000};
const int32_t kSeedRange[2] = {1, 999};
const int32_t kFramesInCycleRange[2] = {1, 10000};
const float kPositionRanges[4] = {-150, 250, -150, 250};
const float kBirthRadiusRange[2] = {0, 200};
const float kZeroTo100[2] = {0, 100};
const float kOneTo100[2] = {1, 100};
const float kRotationRange[2] = {-360, 360};

// Positions and the birth radius are shown in percent of the frame and used as fractions.
double fraction_of_frame(const SparkFloatStruct& record) { return record.Value / 100.0; }

void copy(IntegerControlQ4& c, const SparkIntStruct& r) { c.cache = r.Value; }
void copy(FloatControlQ4& c, const SparkFloatStruct& r) { c.cache = r.Value; }
void copy(AngleControlQ4& c, const SparkFloatStruct& r) { c.cache = r.Value; }
void copy(SizeControlQ4& c, const SparkFloatStruct& r) { c.cache = fraction_of_frame(r); }
void copy(PositionControlQ4& c, const SparkFloatStruct& x, const SparkFloatStruct& y)
{
    c.cache_x = fraction_of_frame(x);
    c.cache_y = fraction_of_frame(y);
}
// The framework counts list entries from 1, the host from 0.
// A record may hold any int: the top of the type stays where it is, so the entry and the
// position one below it both exist (no such entry is drawn either way).
void copy(ListControlQ4& c, const SparkPupStruct& r) { c.cache = r.Value == INT_MAX ? INT_MAX : r.Value + 1; }
// Only the low byte of a boolean record carries its state.
void copy(CheckboxControlQ4& c, const SparkBooleanStruct& r)
{
    c.checked = (static_cast<unsigned>(r.Value) & 0xFFu) != 0;
}
// Each 8-bit channel is spread over the 15-bit pixel scale with its top bits refilling the low
// bit, so 255 reaches full scale 32767.
void copy(ColourControlQ4& c, const SparkColorStruct& r)
{
    const unsigned packed = static_cast<unsigned>(r.Color & 0xFFFFFFFFul);
    for (int channel = 0; channel < 3; ++channel) {
        const unsigned b = (packed >> (8 * channel)) & 0xFFu;
        c.cache[channel] = static_cast<unsigned short>((b >> 1) | (b << 7));
    }
    c.cache.a = 0x7FFF;
}

}  // namespace

void BindControls()
{
    VeskInfo& v = Instance.info;

    v.restart1.Bind(6, &SparkPush6);
    v.restart_preroll1.Bind(7, &SparkPush7);
    v.preroll1.Bind(8, &SparkPush8);
    v.preroll.Bind(9, &SparkInt9, kPreRollRange);
    v.advance.Bind(10, &SparkPush10);
    v.vesk_size.Bind(11, &SparkInt11, kVeskSizeRange);
    v.seed.Bind(12, &SparkInt12, kSeedRange);
    v.birth_pos.Bind(13, &SparkFloat13, &SparkFloat14, kPositionRanges);
    v.birth_radius.Bind(15, &SparkFloat15, kBirthRadiusRange);
    v.use_birth_matte.Bind(20, &SparkBoolean20);
    v.invert_birth_matte.Bind(21, &SparkBoolean21);

    v.restart2.Bind(35, &SparkPush35);
    v.restart_preroll2.Bind(36, &SparkPush36);
    v.preroll2.Bind(37, &SparkPush37);
    v.texturing_cycle.Bind(38, &SparkBoolean38);
    v.random_start.Bind(39, &SparkBoolean39);
    v.frames_in_cycle.Bind(40, &SparkInt40, kFramesInCycleRange);
    v.shape.Bind(42, &SparkPup42);
    v.shape_width.Bind(43, &SparkFloat43, kOneTo100);
    v.shape_height.Bind(44, &SparkFloat44, kOneTo100);
    v.random_sizes.Bind(45, &SparkFloat45, kZeroTo100);
    v.star_sharpness.Bind(46, &SparkFloat46, kOneTo100);
    v.living_rotate.Bind(47, &SparkBoolean47);
    v.base_rotation.Bind(48, &SparkFloat48, kRotationRange);
    v.shape_colour.Bind(49, &SparkColor49, &SparkFloat50, &SparkFloat51, &SparkFloat52);
    v.random_colours.Bind(53, &SparkFloat53, kZeroTo100);
    v.shape_density.Bind(54, &SparkFloat54, kZeroTo100);
    v.shapes_over_cols.Bind(55, &SparkBoolean55);
    v.render_mode.Bind(59, &SparkPup59);

    v.restart3.Bind(64, &SparkPush64);
    v.restart_preroll3.Bind(65, &SparkPush65);
    v.preroll3.Bind(66, &SparkPush66);
    v.avoid_predator.Bind(67, &SparkBoolean67);
    v.predator_pos.Bind(68, &SparkFloat68, &SparkFloat69, kPositionRanges);
    v.fear_of_predator.Bind(70, &SparkFloat70, kOneTo100);
    v.hunt_food.Bind(71, &SparkBoolean71);
    v.food_pos.Bind(72, &SparkFloat72, &SparkFloat73, kPositionRanges);
    v.use_avoid_matte.Bind(75, &SparkBoolean75);
    v.avoid_forward.Bind(76, &SparkFloat76, kOneTo100);
    v.avoid_sides.Bind(77, &SparkFloat77, kOneTo100);
    v.match_velocity.Bind(78, &SparkBoolean78);
    v.speed.Bind(79, &SparkFloat79, kZeroTo100);
    v.acceleration.Bind(80, &SparkFloat80, kZeroTo100);
    v.avoid_others.Bind(81, &SparkBoolean81);
    v.personal_space.Bind(82, &SparkFloat82, kOneTo100);
    v.vesk_gathering.Bind(83, &SparkBoolean83);
    v.vesk_grouping.Bind(84, &SparkFloat84, kZeroTo100);

    v.restart4.Bind(93, &SparkPush93);
    v.restart_preroll4.Bind(94, &SparkPush94);
    v.preroll4.Bind(95, &SparkPush95);
    v.simple_food_hunt.Bind(100, &SparkPush100);
    v.add_predator.Bind(101, &SparkBoolean101);
    v.add_living_rotate.Bind(102, &SparkBoolean102);
    v.add_personal_space.Bind(103, &SparkBoolean103);
    v.add_vesk_centring.Bind(104, &SparkBoolean104);
    v.add_match_velocity.Bind(105, &SparkBoolean105);

    // The texturing cycle only applies to "Shape: Cols with Matte", which is not the starting
    // shape, so its three controls start greyed.
    const int cycle_controls[] = {38, 39, 40};
    for (int number : cycle_controls) {
        sparkDisableParameter(1, number);
        sparkControlUpdate(number);
    }
}

void CopyControlValues()
{
    VeskInfo& v = Instance.info;
    copy(v.preroll, SparkInt9);
    copy(v.vesk_size, SparkInt11);
    copy(v.seed, SparkInt12);
    copy(v.birth_pos, SparkFloat13, SparkFloat14);
    copy(v.birth_radius, SparkFloat15);
    copy(v.use_birth_matte, SparkBoolean20);
    copy(v.invert_birth_matte, SparkBoolean21);

    copy(v.texturing_cycle, SparkBoolean38);
    copy(v.random_start, SparkBoolean39);
    copy(v.frames_in_cycle, SparkInt40);
    copy(v.shape, SparkPup42);
    copy(v.shape_width, SparkFloat43);
    copy(v.shape_height, SparkFloat44);
    copy(v.random_sizes, SparkFloat45);
    copy(v.star_sharpness, SparkFloat46);
    copy(v.living_rotate, SparkBoolean47);
    copy(v.base_rotation, SparkFloat48);
    copy(v.shape_colour, SparkColor49);
    copy(v.random_colours, SparkFloat53);
    copy(v.shape_density, SparkFloat54);
    copy(v.shapes_over_cols, SparkBoolean55);
    copy(v.render_mode, SparkPup59);

    copy(v.avoid_predator, SparkBoolean67);
    copy(v.predator_pos, SparkFloat68, SparkFloat69);
    copy(v.fear_of_predator, SparkFloat70);
    copy(v.hunt_food, SparkBoolean71);
    copy(v.food_pos, SparkFloat72, SparkFloat73);
    copy(v.use_avoid_matte, SparkBoolean75);
    copy(v.avoid_forward, SparkFloat76);
    copy(v.avoid_sides, SparkFloat77);
    copy(v.match_velocity, SparkBoolean78);
    copy(v.speed, SparkFloat79);
    copy(v.acceleration, SparkFloat80);
    copy(v.avoid_others, SparkBoolean81);
    copy(v.personal_space, SparkFloat82);
    copy(v.vesk_gathering, SparkBoolean83);
    copy(v.vesk_grouping, SparkFloat84);

    copy(v.add_predator, SparkBoolean101);
    copy(v.add_living_rotate, SparkBoolean102);
    copy(v.add_personal_space, SparkBoolean103);
    copy(v.add_vesk_centring, SparkBoolean104);
    copy(v.add_match_velocity, SparkBoolean105);
}

void CopyOverlayControlValues()
{
    VeskInfo& v = Instance.info;
    copy(v.birth_pos, SparkFloat13, SparkFloat14);
    copy(v.birth_radius, SparkFloat15);
    copy(v.predator_pos, SparkFloat68, SparkFloat69);
    copy(v.food_pos, SparkFloat72, SparkFloat73);
    copy(v.avoid_predator, SparkBoolean67);
    copy(v.hunt_food, SparkBoolean71);
    copy(v.render_mode, SparkPup59);
    copy(v.shape, SparkPup42);
}

void SyncAllControls()
{
    VeskInfo& v = Instance.info;
    ControlQ4* const controls[] = {
        &v.restart1, &v.restart_preroll1, &v.preroll1, &v.preroll, &v.advance, &v.vesk_size,
        &v.seed, &v.birth_pos, &v.birth_radius, &v.use_birth_matte, &v.invert_birth_matte,
        &v.restart2, &v.restart_preroll2, &v.preroll2, &v.texturing_cycle, &v.random_start,
        &v.frames_in_cycle, &v.shape, &v.shape_width, &v.shape_height, &v.random_sizes,
        &v.star_sharpness, &v.living_rotate, &v.base_rotation, &v.shape_colour,
        &v.random_colours, &v.shape_density, &v.shapes_over_cols, &v.render_mode,
        &v.restart3, &v.restart_preroll3, &v.preroll3, &v.avoid_predator, &v.predator_pos,
        &v.fear_of_predator, &v.hunt_food, &v.food_pos, &v.use_avoid_matte, &v.avoid_forward,
        &v.avoid_sides, &v.match_velocity, &v.speed, &v.acceleration, &v.avoid_others,
        &v.personal_space, &v.vesk_gathering, &v.vesk_grouping,
        &v.restart4, &v.restart_preroll4, &v.preroll4, &v.simple_food_hunt, &v.add_predator,
        &v.add_living_rotate, &v.add_personal_space, &v.add_vesk_centring,
        &v.add_match_velocity,
    };
    for (ControlQ4* control : controls)
        control->Sync();
}
