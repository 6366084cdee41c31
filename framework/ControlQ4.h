// Typed controls bound to the host's numbered control records, and the handles on the input and
// output clips.
//
// A control is bound once (Bind) to its host control number and record; from then on it reads
// and writes the record directly. Values are typed for the effect: sizes and positions as
// fractions of the frame, angles in degrees, list choices counted from 1, colours on the 15-bit
// pixel scale. GetValue with a time of 0 or more asks the host's animation curve at that frame;
// a negative time means "now" and answers from the cached value.
#ifndef FRAMEWORK_CONTROLQ4_H
#define FRAMEWORK_CONTROLQ4_H

#include <stdint.h>

#include "spark/spark.h"
#include "Library/Q4Image.h"

// Members of a checkbox exclusion group: setting one checkbox of the group clears the others.
struct CheckboxGroupQ4 {
    enum { MAX_MEMBERS = 125 };
    int32_t count;
    int32_t numbers[MAX_MEMBERS];           // host control numbers
    unsigned char* values[MAX_MEMBERS];     // the Value byte of each member's host record

    // Appends a member; ignored when the group is full or the value storage is null.
    void Add(int number, unsigned char* value);
};

class ControlQ4 {
public:
    ControlQ4();

    // Virtual operations, in this order. The base does nothing except store the hidden flag.
    virtual void Sync();
    virtual void Disable(bool disable);
    virtual void Hide(bool hide);
    virtual void ResetKeyframes();
    virtual void EnableKeyframes();

    // Stores the control number and the value storage, and resets the two callback flags
    // (disabled false, refresh true). The typed Bind of each subclass calls it.
    void BindStorage(long number, void* storage, void* second);

    // ---- fields, in this order ----
    long number;       // the host's number of the control, passed to every host call
    void* storage;     // the host record (numeric, colour, checkbox, list, button) or text buffer
    void* second;      // numeric: saved (min, max) pair; position: y record; colour: non-null
                       // with component sliders; text and file: the host record (for its title)
    void* group;       // checkbox: exclusion group; position: saved x min, x max, y min, y max
    bool disabled;     // set by Disable; the host bridge refuses edits while it is set
    bool hidden;       // set by Hide
    bool checked;      // checkbox value
    bool refresh;      // true: an edit resynchronises and re-renders (set at binding)
};

class IntegerControlQ4 : public ControlQ4 {
public:
    IntegerControlQ4();
    // `range` points to the configured (min, max); null takes the record's range at binding.
    void Bind(long number, SparkIntStruct* record, const int32_t* range = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, int value);
    void GetValue(double time, int& value);
    int GetValue(double time);

    int cache;
    int32_t saved_range[2];
};

class FloatControlQ4 : public ControlQ4 {
public:
    FloatControlQ4();
    void Bind(long number, SparkFloatStruct* record, const float* range = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, double value);
    void GetValue(double time, double& value);
    double GetValue(double time);

    double cache;
    float saved_range[2];
};

// An angle in degrees, exactly as the host shows it.
class AngleControlQ4 : public ControlQ4 {
public:
    AngleControlQ4();
    void Bind(long number, SparkFloatStruct* record, const float* range = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, double value);
    void GetValue(double time, double& value);
    double GetValue(double time);

    double cache;
    float saved_range[2];
};

// A size shown in percent of the frame and read as a fraction (host 250 reads 2.5).
class SizeControlQ4 : public ControlQ4 {
public:
    SizeControlQ4();
    void Bind(long number, SparkFloatStruct* record, const float* range = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, double value);
    void GetValue(double time, double& value);
    double GetValue(double time);

    double cache;
    float saved_range[2];
};

// A point spread over two host float controls, N (x) and N + 1 (y), shown in percent of the
// frame and read as fractions.
class PositionControlQ4 : public ControlQ4 {
public:
    PositionControlQ4();
    // `ranges` points to x min, x max, y min, y max; null takes the records' ranges at binding.
    void Bind(long number, SparkFloatStruct* x_record, SparkFloatStruct* y_record,
              const float* ranges = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, double x, double y);
    void GetValue(double time, double& x, double& y);

    double cache_x;
    double cache_y;
    float saved_ranges[4];
};

class CheckboxControlQ4 : public ControlQ4 {
public:
    CheckboxControlQ4();
    // `group`, when given, is the exclusion group whose members this checkbox clears when set.
    void Bind(long number, SparkBooleanStruct* record, CheckboxGroupQ4* group = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;

    void SetValue(double time, bool value);
    void GetValue(double time, bool& value);
    bool GetValue(double time);
};

// A choice list; the framework counts its entries from 1, the host from 0.
class ListControlQ4 : public ControlQ4 {
public:
    ListControlQ4();
    void Bind(long number, SparkPupStruct* record);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;

    void SetValue(double time, int value);
    void GetValue(double time, int& value);
    int GetValue(double time);

    int cache;
};

// A colour swatch, optionally with three percentage sliders (controls N + 1, N + 2, N + 3).
class ColourControlQ4 : public ControlQ4 {
public:
    ColourControlQ4();
    // The slider records are either all given or all null.
    void Bind(long number, SparkColorStruct* record, SparkFloatStruct* red = nullptr,
              SparkFloatStruct* green = nullptr, SparkFloatStruct* blue = nullptr);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;
    void ResetKeyframes() override;
    void EnableKeyframes() override;

    void SetValue(double time, const PixelQ4& colour);
    void GetValue(double time, PixelQ4& colour);

    SparkFloatStruct* sliders[3];  // red, green, blue component sliders (0 to 100), or null
    PixelQ4 cache;
    uint32_t shadow;               // second copy of the packed colour, kept while sliders exist
};

class TextControlQ4 : public ControlQ4 {
public:
    TextControlQ4();
    void Bind(long number, SparkStringStruct* record);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;

    void SetValue(double time, const char* text);
    void GetValue(double time, char*& text);
    char* GetValue(double time);

    char* cache;
};

// A file name. Its name field is told about changes as control N + 7, and it reads back
// without any white space.
class FileControlQ4 : public ControlQ4 {
public:
    FileControlQ4();
    void Bind(long number, SparkStringStruct* record);

    void Sync() override;
    void Disable(bool disable) override;
    void Hide(bool hide) override;

    void SetValue(double time, const char* text);
    void GetValue(double time, char*& text);
    char* GetValue(double time);

    char* cache;
};

class ButtonControlQ4 : public ControlQ4 {
public:
    ButtonControlQ4();
    void Bind(long number, SparkPushStruct* record);

    void Disable(bool disable) override;
    void Hide(bool hide) override;
};

// An input clip. SparkProcess fills it before each frame: its host clip index, the depth of
// the host frames, the temporary buffer for random frame access, and the current frame as an
// ImageQ4 (`image`).
class SourceQ4 {
public:
    SourceQ4();

    // Fetches frame trunc(frame + 0.5) of this clip into `image` (which must be given; its
    // ratio is kept). Without a temporary buffer the request is reported and nothing changes.
    void GetValue(double frame, ImageQ4*& image);

    SparkMemBufStruct* temp_record;  // temporary frame buffer, null when the host gave none
    int temp_id;                     // its host buffer id
    int index;                       // host clip index (buffer id - 2)
    int twelve_bit;                  // non-zero when host frames are 12-bit
    int flag;                        // 1 after construction
    ImageQ4* image;                  // the current frame, owned by SparkProcess
};

// The output clip: SparkProcess makes `image`, the effect renders into it.
class ResultQ4 {
public:
    ResultQ4();

    SparkMemBufStruct* temp_record;
    int temp_id;
    int index;
    int twelve_bit;
    ImageQ4* image;
};

#endif
