// Framework controls: typed views on the host's control records.
#include <climits>
#include "framework/ControlQ4.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

#include "framework/PluginQ4.h"
#include "base/q4_int.h"

namespace {

// The first argument of the host's curve and parameter calls: panel controls.
const int kPanelControl = 1;

// Longest control title handled when marking it locked.
const size_t kTitleLength = 256;

// The value byte of a boolean record: the host reads and writes only the low byte of Value.
unsigned char& boolean_byte(SparkBooleanStruct* record) {
    return *reinterpret_cast<unsigned char*>(&record->Value);
}

uint32_t packed_colour(const SparkColorStruct* record) {
    return (uint32_t)(record->Color & 0xFFFFFFFFul);
}

// Writes the low 32 bits of the colour record; the upper half is the host's padding.
void store_packed_colour(SparkColorStruct* record, uint32_t packed) {
    record->Color = (record->Color & ~(ulong)0xFFFFFFFFul) | packed;
}

// The framework counts list entries from 1, the host from 0. A record may hold any int: the top
// of the type stays where it is, so the entry and the position one below it both exist (no such
// entry is drawn either way).
static int list_entry(int host_value) {
    return host_value == INT_MAX ? INT_MAX : host_value + 1;
}

float curve_value(long number, double time) {
    return sparkGetCurveValuef(kPanelControl, (int)number, (float)time);
}

void show_parameter(long number, bool hide) {
    if (hide)
        sparkDisableParameter(kPanelControl, (int)number);
    else
        sparkEnableParameter(kPanelControl, (int)number);
}

// The title a locked control would carry: stripped of trailing blanks and line ends, then marked
// with "*" when disabling or unmarked when enabling. The host keeps its own title unchanged, so
// the marked text is formed and dropped: hosts that shorten titles to fit their panel would
// otherwise cut the mark or the label.
void mark_title(const char* title, bool disable) {
    if (title == nullptr) return;
    char stripped[kTitleLength];
    char marked[kTitleLength + 1];
    snprintf(stripped, sizeof stripped, "%s", title);
    strcpy_strip(stripped, stripped);
    if (disable)
        strcpy_addlock(marked, stripped);
    else
        strcpy_dellock(marked, stripped);
}

// Greys a float record out by locking its range to its value, or restores the saved range.
void lock_float_range(SparkFloatStruct* record, const float* saved, bool lock) {
    if (lock) {
        record->Min = record->Value;
        record->Max = record->Value;
    } else if (saved != nullptr) {
        record->Min = saved[0];
        record->Max = saved[1];
    }
}

// Disable of the float-valued controls (Float, Angle, Size).
void disable_float_control(ControlQ4& control, bool disable) {
    if (disable == control.disabled) return;
    control.disabled = disable;
    SparkFloatStruct* record = static_cast<SparkFloatStruct*>(control.storage);
    if (record == nullptr) return;
    lock_float_range(record, static_cast<const float*>(control.second), disable);
    sparkControlUpdate((int)control.number);
    mark_title(record->Title, disable);
}

void bind_float_range(float* saved, const SparkFloatStruct* record, const float* range) {
    saved[0] = range != nullptr ? range[0] : record->Min;
    saved[1] = range != nullptr ? range[1] : record->Max;
}

// Copies text into a host text buffer (bounded by the host's field size) unless it already is
// that buffer.
void copy_text(char* destination, const char* text) {
    if (destination == nullptr || text == nullptr || destination == text) return;
    snprintf(destination, SPARK_STRING_LENGTH, "%s", text);
}

}  // namespace

// ---- exclusion group -----------------------------------------------------------------------

void CheckboxGroupQ4::Add(int control, unsigned char* value) {
    if (value == nullptr || count < 0 || count >= MAX_MEMBERS) return;
    numbers[count] = control;
    values[count] = value;
    ++count;
}

// ---- base ----------------------------------------------------------------------------------

ControlQ4::ControlQ4()
    : number(0),
      storage(nullptr),
      second(nullptr),
      group(nullptr),
      disabled(false),
      hidden(false),
      checked(false),
      refresh(true) {}

void ControlQ4::Sync() {}
void ControlQ4::Disable(bool) {}
void ControlQ4::Hide(bool hide) { hidden = hide; }
void ControlQ4::ResetKeyframes() {}
void ControlQ4::EnableKeyframes() {}

void ControlQ4::BindStorage(long control, void* value_storage, void* second_storage) {
    number = control;
    storage = value_storage;
    second = second_storage;
    disabled = false;
    refresh = true;
}

// ---- integer -------------------------------------------------------------------------------

IntegerControlQ4::IntegerControlQ4() : cache(0), saved_range{0, 0} {}

void IntegerControlQ4::Bind(long control, SparkIntStruct* record, const int32_t* range) {
    if (record != nullptr) {
        saved_range[0] = range != nullptr ? range[0] : record->Min;
        saved_range[1] = range != nullptr ? range[1] : record->Max;
    }
    BindStorage(control, record, saved_range);
}

void IntegerControlQ4::Sync() {
    if (storage != nullptr) cache = static_cast<SparkIntStruct*>(storage)->Value;
}

void IntegerControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkIntStruct* record = static_cast<SparkIntStruct*>(storage);
    if (record == nullptr) return;
    if (disable) {
        record->Min = record->Value;
        record->Max = record->Value;
    } else {
        const int32_t* saved = static_cast<const int32_t*>(second);
        record->Min = saved[0];
        record->Max = saved[1];
    }
    sparkControlUpdate((int)number);
    mark_title(record->Title, disable);
}

void IntegerControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void IntegerControlQ4::ResetKeyframes() {}
void IntegerControlQ4::EnableKeyframes() {}

void IntegerControlQ4::SetValue(double, int value) {
    if (storage == nullptr) return;
    static_cast<SparkIntStruct*>(storage)->Value = value;
    sparkControlUpdate((int)number);
    Sync();
}

void IntegerControlQ4::GetValue(double time, int& value) {
    // A curve may hold any number.
    value = time >= 0.0 ? q4_truncated_int(curve_value(number, time)) : cache;
}

int IntegerControlQ4::GetValue(double time) {
    int value;
    GetValue(time, value);
    return value;
}

// ---- float ---------------------------------------------------------------------------------

FloatControlQ4::FloatControlQ4() : cache(0.0), saved_range{0.0f, 0.0f} {}

void FloatControlQ4::Bind(long control, SparkFloatStruct* record, const float* range) {
    if (record != nullptr) bind_float_range(saved_range, record, range);
    BindStorage(control, record, saved_range);
}

void FloatControlQ4::Sync() {
    if (storage != nullptr) cache = static_cast<SparkFloatStruct*>(storage)->Value;
}

void FloatControlQ4::Disable(bool disable) { disable_float_control(*this, disable); }

void FloatControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void FloatControlQ4::ResetKeyframes() {}
void FloatControlQ4::EnableKeyframes() {}

void FloatControlQ4::SetValue(double, double value) {
    if (storage == nullptr) return;
    static_cast<SparkFloatStruct*>(storage)->Value = (float)value;
    sparkControlUpdate((int)number);
    Sync();
}

void FloatControlQ4::GetValue(double time, double& value) {
    value = time >= 0.0 ? (double)curve_value(number, time) : cache;
}

double FloatControlQ4::GetValue(double time) {
    double value;
    GetValue(time, value);
    return value;
}

// ---- angle ---------------------------------------------------------------------------------

AngleControlQ4::AngleControlQ4() : cache(0.0), saved_range{0.0f, 0.0f} {}

void AngleControlQ4::Bind(long control, SparkFloatStruct* record, const float* range) {
    if (record != nullptr) bind_float_range(saved_range, record, range);
    BindStorage(control, record, saved_range);
}

void AngleControlQ4::Sync() {
    if (storage != nullptr) cache = static_cast<SparkFloatStruct*>(storage)->Value;
}

void AngleControlQ4::Disable(bool disable) { disable_float_control(*this, disable); }

void AngleControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void AngleControlQ4::ResetKeyframes() {}
void AngleControlQ4::EnableKeyframes() {}

void AngleControlQ4::SetValue(double, double value) {
    if (storage == nullptr) return;
    static_cast<SparkFloatStruct*>(storage)->Value = (float)value;
    sparkControlUpdate((int)number);
    Sync();
}

void AngleControlQ4::GetValue(double time, double& value) {
    value = time >= 0.0 ? (double)curve_value(number, time) : cache;
}

double AngleControlQ4::GetValue(double time) {
    double value;
    GetValue(time, value);
    return value;
}

// ---- size ----------------------------------------------------------------------------------

SizeControlQ4::SizeControlQ4() : cache(0.0), saved_range{0.0f, 0.0f} {}

void SizeControlQ4::Bind(long control, SparkFloatStruct* record, const float* range) {
    if (record != nullptr) bind_float_range(saved_range, record, range);
    BindStorage(control, record, saved_range);
}

void SizeControlQ4::Sync() {
    if (storage != nullptr) cache = static_cast<SparkFloatStruct*>(storage)->Value / 100.0;
}

void SizeControlQ4::Disable(bool disable) { disable_float_control(*this, disable); }

void SizeControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void SizeControlQ4::ResetKeyframes() {}
void SizeControlQ4::EnableKeyframes() {}

void SizeControlQ4::SetValue(double, double value) {
    if (storage == nullptr) return;
    static_cast<SparkFloatStruct*>(storage)->Value = (float)(value * 100.0);
    sparkControlUpdate((int)number);
    Sync();
}

void SizeControlQ4::GetValue(double time, double& value) {
    // The cached size is already a fraction and is divided once more; kept so that existing
    // effects read the same values as before.
    value = time >= 0.0 ? curve_value(number, time) / 100.0 : cache / 100.0;
}

double SizeControlQ4::GetValue(double time) {
    double value;
    GetValue(time, value);
    return value;
}

// ---- position ------------------------------------------------------------------------------

PositionControlQ4::PositionControlQ4() : cache_x(0.0), cache_y(0.0), saved_ranges{0, 0, 0, 0} {}

void PositionControlQ4::Bind(long control, SparkFloatStruct* x_record, SparkFloatStruct* y_record,
                             const float* ranges) {
    if (x_record != nullptr) bind_float_range(saved_ranges, x_record, ranges);
    if (y_record != nullptr) bind_float_range(saved_ranges + 2, y_record, ranges ? ranges + 2 : nullptr);
    BindStorage(control, x_record, y_record);
    group = saved_ranges;
}

// The position's cache is filled by the host bridge, not from the records.
void PositionControlQ4::Sync() {}

void PositionControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkFloatStruct* x_record = static_cast<SparkFloatStruct*>(storage);
    SparkFloatStruct* y_record = static_cast<SparkFloatStruct*>(second);
    const float* ranges = static_cast<const float*>(group);
    if (x_record != nullptr) {
        lock_float_range(x_record, ranges, disable);
        mark_title(x_record->Title, disable);
    }
    if (y_record != nullptr) {
        lock_float_range(y_record, ranges != nullptr ? ranges + 2 : nullptr, disable);
        mark_title(y_record->Title, disable);
    }
    sparkControlUpdate((int)number);
    sparkControlUpdate((int)number + 1);
}

void PositionControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
    show_parameter(number + 1, hide);
}

void PositionControlQ4::ResetKeyframes() {}
void PositionControlQ4::EnableKeyframes() {}

void PositionControlQ4::SetValue(double, double x, double y) {
    SparkFloatStruct* x_record = static_cast<SparkFloatStruct*>(storage);
    SparkFloatStruct* y_record = static_cast<SparkFloatStruct*>(second);
    if (x_record == nullptr || y_record == nullptr) return;
    x_record->Value = (float)(x * 100.0);
    y_record->Value = (float)(y * 100.0);
    sparkControlUpdate((int)number);
    sparkControlUpdate((int)number + 1);
    Sync();
}

void PositionControlQ4::GetValue(double time, double& x, double& y) {
    if (time >= 0.0) {
        x = curve_value(number, time) / 100.0;
        y = curve_value(number + 1, time) / 100.0;
    } else {
        x = cache_x / 100.0;
        y = cache_y / 100.0;
    }
}

// ---- checkbox ------------------------------------------------------------------------------

CheckboxControlQ4::CheckboxControlQ4() {}

void CheckboxControlQ4::Bind(long control, SparkBooleanStruct* record, CheckboxGroupQ4* members) {
    BindStorage(control, record, nullptr);
    group = members;
}

void CheckboxControlQ4::Sync() {
    if (storage != nullptr) checked = boolean_byte(static_cast<SparkBooleanStruct*>(storage)) != 0;
}

void CheckboxControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkBooleanStruct* record = static_cast<SparkBooleanStruct*>(storage);
    if (record == nullptr) return;
    sparkControlUpdate((int)number);
    mark_title(record->Title, disable);
}

void CheckboxControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void CheckboxControlQ4::SetValue(double, bool value) {
    SparkBooleanStruct* record = static_cast<SparkBooleanStruct*>(storage);
    if (record == nullptr) return;
    boolean_byte(record) = value ? 1 : 0;
    // Switching one member of an exclusion group on switches the others off.
    CheckboxGroupQ4* members = static_cast<CheckboxGroupQ4*>(group);
    if (value && members != nullptr) {
        for (int i = 0; i < members->count && i < CheckboxGroupQ4::MAX_MEMBERS; ++i) {
            if (members->values[i] != nullptr) *members->values[i] = 0;
            sparkControlUpdate(members->numbers[i]);
        }
    }
    sparkControlUpdate((int)number);
    Sync();
}

void CheckboxControlQ4::GetValue(double, bool& value) { value = checked; }

bool CheckboxControlQ4::GetValue(double) { return checked; }

// ---- list ----------------------------------------------------------------------------------

ListControlQ4::ListControlQ4() : cache(1) {}

void ListControlQ4::Bind(long control, SparkPupStruct* record) {
    BindStorage(control, record, nullptr);
}

void ListControlQ4::Sync() {
    if (storage != nullptr) cache = list_entry(static_cast<SparkPupStruct*>(storage)->Value);
}

// A list has no range to lock; only the flag is kept and the title marked.
void ListControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkPupStruct* record = static_cast<SparkPupStruct*>(storage);
    if (record == nullptr) return;
    int entry = record->Value;
    if (entry >= 0 && entry < SPARK_PUP_MAX_TITLES) mark_title(record->Titles[entry], disable);
}

void ListControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void ListControlQ4::SetValue(double, int value) {
    if (storage == nullptr) return;
    static_cast<SparkPupStruct*>(storage)->Value = value - 1;
    sparkControlUpdate((int)number);
    Sync();
}

void ListControlQ4::GetValue(double, int& value) {
    if (storage != nullptr) cache = list_entry(static_cast<SparkPupStruct*>(storage)->Value);
    value = cache;
}

int ListControlQ4::GetValue(double time) {
    int value;
    GetValue(time, value);
    return value;
}

// ---- colour --------------------------------------------------------------------------------

ColourControlQ4::ColourControlQ4() : sliders{nullptr, nullptr, nullptr}, cache(0, 0, 0, 0), shadow(0) {}

void ColourControlQ4::Bind(long control, SparkColorStruct* record, SparkFloatStruct* red,
                           SparkFloatStruct* green, SparkFloatStruct* blue) {
    bool with_sliders = red != nullptr && green != nullptr && blue != nullptr;
    sliders[0] = with_sliders ? red : nullptr;
    sliders[1] = with_sliders ? green : nullptr;
    sliders[2] = with_sliders ? blue : nullptr;
    BindStorage(control, record, with_sliders ? &shadow : nullptr);
}

void ColourControlQ4::Sync() {
    if (storage == nullptr) return;
    uint32_t packed = packed_colour(static_cast<SparkColorStruct*>(storage));
    for (int c = 0; c < 3; ++c) {
        unsigned b = (packed >> (8 * c)) & 0xFF;
        // The low bit fill makes 255 reach full scale, 32767.
        cache[c] = (unsigned short)((b << 7) | (b >> 1));
    }
    cache.a = 32767;
}

void ColourControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkColorStruct* record = static_cast<SparkColorStruct*>(storage);
    if (record == nullptr || second == nullptr) return;
    for (SparkFloatStruct* slider : sliders) {
        if (slider == nullptr) continue;
        if (disable) {
            slider->Min = slider->Value;
            slider->Max = slider->Value;
        } else {
            slider->Min = 0.0f;
            slider->Max = 100.0f;
        }
    }
    *static_cast<uint32_t*>(second) = packed_colour(record);
    sparkControlUpdate((int)number);
    if (sliders[0] != nullptr) mark_title(sliders[0]->Title, disable);
}

void ColourControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
    if (second != nullptr) {
        show_parameter(number + 1, hide);
        show_parameter(number + 2, hide);
        show_parameter(number + 3, hide);
    }
}

void ColourControlQ4::ResetKeyframes() {}
void ColourControlQ4::EnableKeyframes() {}

void ColourControlQ4::SetValue(double, const PixelQ4& colour) {
    SparkColorStruct* record = static_cast<SparkColorStruct*>(storage);
    if (record == nullptr) return;
    uint32_t packed = (uint32_t)(colour.r >> 7) | (uint32_t)(colour.g >> 7) << 8 |
                      (uint32_t)(colour.b >> 7) << 16 | 0xFF000000u;
    store_packed_colour(record, packed);
    if (second != nullptr) {
        for (int c = 0; c < 3; ++c) {
            if (sliders[c] != nullptr) sliders[c]->Value = (float)((colour[c] >> 7) / 2.55);
        }
        sparkControlUpdate((int)number + 1);
        sparkControlUpdate((int)number + 2);
        sparkControlUpdate((int)number + 3);
    }
    sparkControlUpdate((int)number);
    Sync();
}

void ColourControlQ4::GetValue(double, PixelQ4& colour) {
    if (storage == nullptr) {
        colour = cache;
        return;
    }
    uint32_t packed = packed_colour(static_cast<SparkColorStruct*>(storage));
    // Unlike Sync, no low bit fill: a full byte reads 32640.
    for (int c = 0; c < 3; ++c) colour[c] = (unsigned short)(((packed >> (8 * c)) & 0xFF) << 7);
    colour.a = 32767;
}

// ---- text ----------------------------------------------------------------------------------

TextControlQ4::TextControlQ4() : cache(nullptr) {}

void TextControlQ4::Bind(long control, SparkStringStruct* record) {
    BindStorage(control, record != nullptr ? record->Value : nullptr, record);
}

void TextControlQ4::Sync() {
    if (cache != nullptr) copy_text(cache, static_cast<const char*>(storage));
}

void TextControlQ4::Disable(bool disable) { disabled = disable; }

void TextControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}

void TextControlQ4::SetValue(double, const char* text) {
    if (storage == nullptr || text == nullptr) return;
    copy_text(static_cast<char*>(storage), text);
    sparkControlUpdate((int)number);
    Sync();
}

void TextControlQ4::GetValue(double, char*& text) {
    cache = static_cast<char*>(storage);
    text = cache;
}

char* TextControlQ4::GetValue(double time) {
    char* text;
    GetValue(time, text);
    return text;
}

// ---- file ----------------------------------------------------------------------------------

FileControlQ4::FileControlQ4() : cache(nullptr) {}

void FileControlQ4::Bind(long control, SparkStringStruct* record) {
    BindStorage(control, record != nullptr ? record->Value : nullptr, record);
}

void FileControlQ4::Sync() {
    if (cache != nullptr) copy_text(cache, static_cast<const char*>(storage));
}

void FileControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    if (storage == nullptr) return;
    sparkControlUpdate((int)number + 7);
    const SparkStringStruct* record = static_cast<const SparkStringStruct*>(second);
    if (record != nullptr) mark_title(record->Title, disable);
}

void FileControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
    show_parameter(number + 7, hide);
}

void FileControlQ4::SetValue(double, const char* text) {
    if (storage == nullptr || text == nullptr) return;
    copy_text(static_cast<char*>(storage), text);
    // The name field of a file control is the host control seven places on.
    sparkControlUpdate((int)number + 7);
    Sync();
}

void FileControlQ4::GetValue(double, char*& text) {
    char* name = static_cast<char*>(storage);
    if (name != nullptr) {
        // File names never contain white space; blanks and tabs typed around or inside a path
        // are dropped, in the host's own text too.
        char* out = name;
        for (const char* in = name; *in != '\0'; ++in) {
            if (!isspace((unsigned char)*in)) *out++ = *in;
        }
        *out = '\0';
    }
    cache = name;
    text = cache;
}

char* FileControlQ4::GetValue(double time) {
    char* text;
    GetValue(time, text);
    return text;
}

// ---- button --------------------------------------------------------------------------------

ButtonControlQ4::ButtonControlQ4() {}

void ButtonControlQ4::Bind(long control, SparkPushStruct* record) {
    BindStorage(control, record, nullptr);
}

void ButtonControlQ4::Disable(bool disable) {
    if (disable == disabled) return;
    disabled = disable;
    SparkPushStruct* record = static_cast<SparkPushStruct*>(storage);
    if (record != nullptr) mark_title(record->Title, disable);
}

void ButtonControlQ4::Hide(bool hide) {
    hidden = hide;
    show_parameter(number, hide);
}
