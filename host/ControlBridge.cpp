// The per-control callbacks: each carries one edit of a host record into its framework control,
// lets the effect react, and asks for a fresh frame or a viewer redraw.
#include <cmath>
#include <cstdint>

#include "effect/Vesk.h"
#include "host/ControlCallbacks.h"
#include "host/ControlTable.h"
#include "host/HostState.h"
#include "base/q4_int.h"

namespace {

using EffectOperation = void (Vesk::*)(ControlQ4*, double);

double current_frame(const SparkInfoStruct& info) { return static_cast<double>(info.FrameNo); }

// The common tail: with the refresh flag set, optionally re-apply the effect's show/hide rules,
// then render or redraw.
unsigned long* finish(const ControlQ4& control, bool resync, int reason, SparkInfoStruct info)
{
    if (!control.refresh)
        return nullptr;
    if (resync)
        Instance.SyncControls();
    return DefaultCB(reason, info);
}

void run(EffectOperation operation, ControlQ4& control, const SparkInfoStruct& info)
{
    if (operation != nullptr)
        (Instance.*operation)(&control, current_frame(info));
}

// A button has no value to take; a disabled button simply does nothing.
unsigned long* push(ButtonControlQ4& control, EffectOperation operation, int reason,
                    SparkInfoStruct info)
{
    if (control.disabled)
        return nullptr;
    run(operation, control, info);
    return finish(control, false, reason, info);
}

// Integer, float, size, angle, position and list controls: the control takes the host value
// first; while disabled the edit then stops there, with no effect operation and no new frame.
unsigned long* value(ControlQ4& control, EffectOperation operation, bool resync, int reason,
                     SparkInfoStruct info)
{
    control.Sync();
    if (control.disabled)
        return nullptr;
    run(operation, control, info);
    return finish(control, resync, reason, info);
}

// Checkboxes refuse an edit while disabled by putting their value back, so the panel never
// shows a state the effect does not use.
unsigned long* checkbox(CheckboxControlQ4& control, SparkBooleanStruct& record,
                        EffectOperation operation, int reason, SparkInfoStruct info)
{
    const bool before = control.checked;
    const int number = static_cast<int>(control.number);
    control.Sync();
    sparkControlUpdate(number);
    if (control.disabled) {
        control.checked = before;
        unsigned char* state = reinterpret_cast<unsigned char*>(&record.Value);
        state[0] = before ? 1 : 0;
        sparkControlUpdate(number);
        return nullptr;
    }
    run(operation, control, info);
    // Every checkbox may change which controls are shown.
    return finish(control, true, reason, info);
}

// The packed host word of a colour on the 15-bit scale: the top eight bits of each channel.
unsigned long packed_colour(const PixelQ4& colour)
{
    return static_cast<unsigned long>(static_cast<uint32_t>(colour.r >> 7) |
                                      static_cast<uint32_t>(colour.g >> 7) << 8 |
                                      static_cast<uint32_t>(colour.b >> 7) << 16 | 0xFF000000u);
}

VeskInfo& controls() { return Instance.info; }

}  // namespace

unsigned long* DefaultCB(int reason, SparkInfoStruct info)
{
    // Only the page-1 copy of "Auto Preview" is read; the four copies are kept equal.
    if (reason == 1 && (static_cast<unsigned>(SparkBoolean34.Value) & 0xFFu) != 0)
        return SparkProcess(info);
    sparkViewingDraw();
    return nullptr;
}

unsigned long* SetShapeColCB(int reason, SparkInfoStruct info)
{
    ColourControlQ4& colour = controls().shape_colour;
    if (colour.disabled)
        return nullptr;
    if (reason == 1) {
        const float sliders[3] = {SparkFloat50.Value, SparkFloat51.Value, SparkFloat52.Value};
        uint32_t word = 0xFF000000u;
        for (int c = 0; c < 3; ++c) {
            uint32_t channel;
            if (DLtwelveBit) {
                // A 12-bit level, of which the swatch keeps bits 4 to 11.
                const int32_t t = q4_truncated_int(sliders[c] * 40.951);
                channel = static_cast<uint32_t>(t >> 4) & 0xFFu;
            } else {
                // 2.551 rather than 2.55 so that 100 % reaches 255 despite the truncation.
                channel = static_cast<uint32_t>(
                              q4_truncated_int(sliders[c] * 2.551)) & 0xFFu;
            }
            word |= channel << (8 * c);
        }
        SparkColor49.Color = word;
        colour.Sync();
        sparkControlUpdate(50);
        sparkControlUpdate(51);
        sparkControlUpdate(52);
    }
    return DefaultCB(reason, info);
}

unsigned long* GetShapeColCB(int reason, SparkInfoStruct info)
{
    if (reason == 1) {
        controls().shape_colour.Sync();
        const uint32_t word = static_cast<uint32_t>(SparkColor49.Color & 0xFFFFFFFFul);
        SparkFloatStruct* sliders[3] = {&SparkFloat50, &SparkFloat51, &SparkFloat52};
        for (int c = 0; c < 3; ++c) {
            const uint32_t channel = (word >> (8 * c)) & 0xFFu;
            // A whole number of percent. 2.55 here against 2.551 in SetShapeColCB is
            // deliberate: a full swatch shows 100 % and a 100 % slider gives 255.
            const double percent = DLtwelveBit ? std::trunc(channel * 16 / 40.951)
                                               : std::trunc(channel / 2.55);
            sliders[c]->Value = static_cast<float>(percent);
        }
        sparkControlUpdate(50);
        sparkControlUpdate(51);
        sparkControlUpdate(52);
    }
    return DefaultCB(reason, info);
}

// ---- page 1 ------------------------------------------------------------------------------------
unsigned long* dlcb_6(int r, SparkInfoStruct i)
{ return push(controls().restart1, &Vesk::RestartCB, r, i); }
unsigned long* dlcb_7(int r, SparkInfoStruct i)
{ return push(controls().restart_preroll1, &Vesk::RestartPreRollCB, r, i); }
unsigned long* dlcb_8(int r, SparkInfoStruct i)
{ return push(controls().preroll1, &Vesk::PreRollCB, r, i); }
unsigned long* dlcb_9(int r, SparkInfoStruct i)
{ return value(controls().preroll, nullptr, false, r, i); }
// "Advance" has no operation of its own: rendering the frame again is what moves the swarm on.
unsigned long* dlcb_10(int r, SparkInfoStruct i) { return push(controls().advance, nullptr, r, i); }
unsigned long* dlcb_11(int r, SparkInfoStruct i)
{ return value(controls().vesk_size, nullptr, false, r, i); }
unsigned long* dlcb_12(int r, SparkInfoStruct i)
{ return value(controls().seed, nullptr, false, r, i); }
// Birth X and Birth Y share this callback: they are the two halves of one position control.
unsigned long* dlcb_13(int r, SparkInfoStruct i)
{ return value(controls().birth_pos, nullptr, false, r, i); }
unsigned long* dlcb_15(int r, SparkInfoStruct i)
{ return value(controls().birth_radius, nullptr, false, r, i); }
unsigned long* dlcb_20(int r, SparkInfoStruct i)
{ return checkbox(controls().use_birth_matte, SparkBoolean20, &Vesk::UseBirthMatteCB, r, i); }
unsigned long* dlcb_21(int r, SparkInfoStruct i)
{ return checkbox(controls().invert_birth_matte, SparkBoolean21, nullptr, r, i); }

// ---- page 2 ------------------------------------------------------------------------------------
unsigned long* dlcb_35(int r, SparkInfoStruct i)
{ return push(controls().restart2, &Vesk::RestartCB, r, i); }
unsigned long* dlcb_36(int r, SparkInfoStruct i)
{ return push(controls().restart_preroll2, &Vesk::RestartPreRollCB, r, i); }
unsigned long* dlcb_37(int r, SparkInfoStruct i)
{ return push(controls().preroll2, &Vesk::PreRollCB, r, i); }
unsigned long* dlcb_38(int r, SparkInfoStruct i)
{ return checkbox(controls().texturing_cycle, SparkBoolean38, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_39(int r, SparkInfoStruct i)
{ return checkbox(controls().random_start, SparkBoolean39, nullptr, r, i); }
unsigned long* dlcb_40(int r, SparkInfoStruct i)
{ return value(controls().frames_in_cycle, nullptr, false, r, i); }
unsigned long* dlcb_42(int r, SparkInfoStruct i)
{ return value(controls().shape, &Vesk::ShapeModeCB, true, r, i); }
unsigned long* dlcb_43(int r, SparkInfoStruct i)
{ return value(controls().shape_width, nullptr, false, r, i); }
unsigned long* dlcb_44(int r, SparkInfoStruct i)
{ return value(controls().shape_height, nullptr, false, r, i); }
unsigned long* dlcb_45(int r, SparkInfoStruct i)
{ return value(controls().random_sizes, nullptr, false, r, i); }
unsigned long* dlcb_46(int r, SparkInfoStruct i)
{ return value(controls().star_sharpness, nullptr, false, r, i); }
unsigned long* dlcb_47(int r, SparkInfoStruct i)
{ return checkbox(controls().living_rotate, SparkBoolean47, nullptr, r, i); }
unsigned long* dlcb_48(int r, SparkInfoStruct i)
{ return value(controls().base_rotation, nullptr, false, r, i); }

unsigned long* dlcb_49(int reason, SparkInfoStruct info)
{
    ColourControlQ4& colour = controls().shape_colour;
    const PixelQ4 before = colour.cache;
    colour.Sync();
    if (colour.disabled) {
        // The edit is undone: the swatch goes back to the colour the effect still uses.
        colour.cache = before;
        SparkColor49.Color = packed_colour(before);
        sparkControlUpdate(49);
        return nullptr;
    }
    // The sliders follow the swatch; that call already ends in DefaultCB.
    unsigned long* frame = GetShapeColCB(reason, info);
    if (!colour.refresh)
        return frame;
    // A second DefaultCB: with Auto Preview on, one swatch edit renders the frame twice. Kept,
    // since each render advances the swarm by a step and existing setups play back that way.
    return DefaultCB(reason, info);
}

unsigned long* dlcb_53(int r, SparkInfoStruct i)
{ return value(controls().random_colours, nullptr, false, r, i); }
unsigned long* dlcb_54(int r, SparkInfoStruct i)
{ return value(controls().shape_density, nullptr, false, r, i); }
unsigned long* dlcb_55(int r, SparkInfoStruct i)
{ return checkbox(controls().shapes_over_cols, SparkBoolean55, nullptr, r, i); }
unsigned long* dlcb_59(int r, SparkInfoStruct i)
{ return value(controls().render_mode, nullptr, true, r, i); }

// ---- page 3 ------------------------------------------------------------------------------------
unsigned long* dlcb_64(int r, SparkInfoStruct i)
{ return push(controls().restart3, &Vesk::RestartCB, r, i); }
unsigned long* dlcb_65(int r, SparkInfoStruct i)
{ return push(controls().restart_preroll3, &Vesk::RestartPreRollCB, r, i); }
unsigned long* dlcb_66(int r, SparkInfoStruct i)
{ return push(controls().preroll3, &Vesk::PreRollCB, r, i); }
unsigned long* dlcb_67(int r, SparkInfoStruct i)
{ return checkbox(controls().avoid_predator, SparkBoolean67, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_68(int r, SparkInfoStruct i)
{ return value(controls().predator_pos, nullptr, false, r, i); }
unsigned long* dlcb_70(int r, SparkInfoStruct i)
{ return value(controls().fear_of_predator, nullptr, false, r, i); }
unsigned long* dlcb_71(int r, SparkInfoStruct i)
{ return checkbox(controls().hunt_food, SparkBoolean71, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_72(int r, SparkInfoStruct i)
{ return value(controls().food_pos, nullptr, false, r, i); }
unsigned long* dlcb_75(int r, SparkInfoStruct i)
{ return checkbox(controls().use_avoid_matte, SparkBoolean75, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_76(int r, SparkInfoStruct i)
{ return value(controls().avoid_forward, nullptr, false, r, i); }
unsigned long* dlcb_77(int r, SparkInfoStruct i)
{ return value(controls().avoid_sides, nullptr, false, r, i); }
unsigned long* dlcb_78(int r, SparkInfoStruct i)
{ return checkbox(controls().match_velocity, SparkBoolean78, nullptr, r, i); }
unsigned long* dlcb_79(int r, SparkInfoStruct i)
{ return value(controls().speed, nullptr, false, r, i); }
unsigned long* dlcb_80(int r, SparkInfoStruct i)
{ return value(controls().acceleration, nullptr, false, r, i); }
unsigned long* dlcb_81(int r, SparkInfoStruct i)
{ return checkbox(controls().avoid_others, SparkBoolean81, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_82(int r, SparkInfoStruct i)
{ return value(controls().personal_space, nullptr, false, r, i); }
unsigned long* dlcb_83(int r, SparkInfoStruct i)
{ return checkbox(controls().vesk_gathering, SparkBoolean83, &Vesk::UpdateConCB, r, i); }
unsigned long* dlcb_84(int r, SparkInfoStruct i)
{ return value(controls().vesk_grouping, nullptr, false, r, i); }

// ---- page 4 ------------------------------------------------------------------------------------
unsigned long* dlcb_93(int r, SparkInfoStruct i)
{ return push(controls().restart4, &Vesk::RestartCB, r, i); }
unsigned long* dlcb_94(int r, SparkInfoStruct i)
{ return push(controls().restart_preroll4, &Vesk::RestartPreRollCB, r, i); }
unsigned long* dlcb_95(int r, SparkInfoStruct i)
{ return push(controls().preroll4, &Vesk::PreRollCB, r, i); }
unsigned long* dlcb_100(int r, SparkInfoStruct i)
{ return push(controls().simple_food_hunt, &Vesk::PresetCB, r, i); }
unsigned long* dlcb_101(int r, SparkInfoStruct i)
{ return checkbox(controls().add_predator, SparkBoolean101, &Vesk::PresetCB, r, i); }
unsigned long* dlcb_102(int r, SparkInfoStruct i)
{ return checkbox(controls().add_living_rotate, SparkBoolean102, &Vesk::PresetCB, r, i); }
unsigned long* dlcb_103(int r, SparkInfoStruct i)
{ return checkbox(controls().add_personal_space, SparkBoolean103, &Vesk::PresetCB, r, i); }
unsigned long* dlcb_104(int r, SparkInfoStruct i)
{ return checkbox(controls().add_vesk_centring, SparkBoolean104, &Vesk::PresetCB, r, i); }
unsigned long* dlcb_105(int r, SparkInfoStruct i)
{ return checkbox(controls().add_match_velocity, SparkBoolean105, &Vesk::PresetCB, r, i); }
