// The parameter table and the two-way copy between parameter values and control records.
#include "ofx/ControlParams.h"

#include <cstring>
#include <map>
#include <mutex>

#include "host/ControlTable.h"
#include "spark/spark.h"

namespace vesk_ofx {

namespace {

enum class RecordType { Int, Float, Boolean, Pup, Colour, Push };

struct RecordRef {
    RecordType type;
    void* record;
};

// Every record of the panel by control number (the user float channel 93 is kept apart: its
// number is its own).
const std::map<int, RecordRef>& records() {
    static const std::map<int, RecordRef> table = {
        {6, {RecordType::Push, &SparkPush6}},       {7, {RecordType::Push, &SparkPush7}},
        {8, {RecordType::Push, &SparkPush8}},       {9, {RecordType::Int, &SparkInt9}},
        {10, {RecordType::Push, &SparkPush10}},     {11, {RecordType::Int, &SparkInt11}},
        {12, {RecordType::Int, &SparkInt12}},       {13, {RecordType::Float, &SparkFloat13}},
        {14, {RecordType::Float, &SparkFloat14}},   {15, {RecordType::Float, &SparkFloat15}},
        {20, {RecordType::Boolean, &SparkBoolean20}}, {21, {RecordType::Boolean, &SparkBoolean21}},
        {27, {RecordType::Float, &SparkFloat27}},   {28, {RecordType::Boolean, &SparkBoolean28}},
        {31, {RecordType::Push, &SparkPush31}},     {32, {RecordType::Push, &SparkPush32}},
        {33, {RecordType::Pup, &SparkPup33}},       {34, {RecordType::Boolean, &SparkBoolean34}},
        {35, {RecordType::Push, &SparkPush35}},     {36, {RecordType::Push, &SparkPush36}},
        {37, {RecordType::Push, &SparkPush37}},     {38, {RecordType::Boolean, &SparkBoolean38}},
        {39, {RecordType::Boolean, &SparkBoolean39}}, {40, {RecordType::Int, &SparkInt40}},
        {42, {RecordType::Pup, &SparkPup42}},       {43, {RecordType::Float, &SparkFloat43}},
        {44, {RecordType::Float, &SparkFloat44}},   {45, {RecordType::Float, &SparkFloat45}},
        {46, {RecordType::Float, &SparkFloat46}},   {47, {RecordType::Boolean, &SparkBoolean47}},
        {48, {RecordType::Float, &SparkFloat48}},   {49, {RecordType::Colour, &SparkColor49}},
        {50, {RecordType::Float, &SparkFloat50}},   {51, {RecordType::Float, &SparkFloat51}},
        {52, {RecordType::Float, &SparkFloat52}},   {53, {RecordType::Float, &SparkFloat53}},
        {54, {RecordType::Float, &SparkFloat54}},   {55, {RecordType::Boolean, &SparkBoolean55}},
        {57, {RecordType::Boolean, &SparkBoolean57}}, {59, {RecordType::Pup, &SparkPup59}},
        {60, {RecordType::Push, &SparkPush60}},     {61, {RecordType::Push, &SparkPush61}},
        {62, {RecordType::Pup, &SparkPup62}},       {63, {RecordType::Boolean, &SparkBoolean63}},
        {64, {RecordType::Push, &SparkPush64}},     {65, {RecordType::Push, &SparkPush65}},
        {66, {RecordType::Push, &SparkPush66}},     {67, {RecordType::Boolean, &SparkBoolean67}},
        {68, {RecordType::Float, &SparkFloat68}},   {69, {RecordType::Float, &SparkFloat69}},
        {70, {RecordType::Float, &SparkFloat70}},   {71, {RecordType::Boolean, &SparkBoolean71}},
        {72, {RecordType::Float, &SparkFloat72}},   {73, {RecordType::Float, &SparkFloat73}},
        {75, {RecordType::Boolean, &SparkBoolean75}}, {76, {RecordType::Float, &SparkFloat76}},
        {77, {RecordType::Float, &SparkFloat77}},   {78, {RecordType::Boolean, &SparkBoolean78}},
        {79, {RecordType::Float, &SparkFloat79}},   {80, {RecordType::Float, &SparkFloat80}},
        {81, {RecordType::Boolean, &SparkBoolean81}}, {82, {RecordType::Float, &SparkFloat82}},
        {83, {RecordType::Boolean, &SparkBoolean83}}, {84, {RecordType::Float, &SparkFloat84}},
        {86, {RecordType::Boolean, &SparkBoolean86}}, {89, {RecordType::Push, &SparkPush89}},
        {90, {RecordType::Push, &SparkPush90}},     {91, {RecordType::Pup, &SparkPup91}},
        {92, {RecordType::Boolean, &SparkBoolean92}}, {93, {RecordType::Push, &SparkPush93}},
        {94, {RecordType::Push, &SparkPush94}},     {95, {RecordType::Push, &SparkPush95}},
        {100, {RecordType::Push, &SparkPush100}},   {101, {RecordType::Boolean, &SparkBoolean101}},
        {102, {RecordType::Boolean, &SparkBoolean102}}, {103, {RecordType::Boolean, &SparkBoolean103}},
        {104, {RecordType::Boolean, &SparkBoolean104}}, {105, {RecordType::Boolean, &SparkBoolean105}},
        {114, {RecordType::Push, &SparkPush114}},   {115, {RecordType::Boolean, &SparkBoolean115}},
        {118, {RecordType::Push, &SparkPush118}},   {119, {RecordType::Push, &SparkPush119}},
        {120, {RecordType::Pup, &SparkPup120}},     {121, {RecordType::Boolean, &SparkBoolean121}},
    };
    return table;
}

// The user float channel shares number 93 with a push button; the amplitude parameter is the
// only Double entry that names it.
constexpr int kAmplitudeChannel = 93;

bool is_amplitude(const ControlParam& p) { return p.kind == ParamKind::Double && p.number == kAmplitudeChannel; }

SparkFloatStruct* float_record(const ControlParam& p, int offset = 0) {
    if (is_amplitude(p)) return &SparkUserFloat93;
    auto it = records().find(p.number + offset);
    return it != records().end() && it->second.type == RecordType::Float
               ? static_cast<SparkFloatStruct*>(it->second.record) : nullptr;
}

template <typename T>
T* record_of(int number, RecordType type) {
    auto it = records().find(number);
    return it != records().end() && it->second.type == type ? static_cast<T*>(it->second.record) : nullptr;
}

// Factory copies of the records, taken before any edit.
std::map<int, std::vector<unsigned char>> g_factory;
SparkFloatStruct g_factory_amplitude;

size_t record_size(RecordType type) {
    switch (type) {
    case RecordType::Int: return sizeof(SparkIntStruct);
    case RecordType::Float: return sizeof(SparkFloatStruct);
    case RecordType::Boolean: return sizeof(SparkBooleanStruct);
    case RecordType::Pup: return sizeof(SparkPupStruct);
    case RecordType::Colour: return sizeof(SparkColorStruct);
    case RecordType::Push: return sizeof(SparkPushStruct);
    }
    return 0;
}

template <typename T>
const T* factory_record(int number) {
    auto it = g_factory.find(number);
    return it == g_factory.end() ? nullptr : reinterpret_cast<const T*>(it->second.data());
}

std::mutex g_path_lock;
std::string g_amplitude_path;

const int kClearOverlayNumbers[4] = {28, 57, 86, 115};
const int kResolutionNumbers[4] = {33, 62, 91, 120};
const int kAutoPreviewNumbers[4] = {34, 63, 92, 121};

std::string strip_format(const char* title) {
    std::string text = title ? title : "";
    size_t format = text.find(": %");
    if (format != std::string::npos) text.erase(format);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\n')) text.pop_back();
    return text;
}

}  // namespace

const std::vector<ControlParam>& ControlParams() {
    using K = ParamKind;
    static const std::vector<ControlParam> table = {
        // "Vesk"
        {"preRoll", K::Integer, 0, 9, true, nullptr},
        {"veskSize", K::Integer, 0, 11, true, nullptr},
        {"seed", K::Integer, 0, 12, true, nullptr},
        {"birth", K::Position, 0, 13, true, "Birth"},
        {"birthRadius", K::Double, 0, 15, true, nullptr},
        {"useBirthMatte", K::Boolean, 0, 20, true, nullptr},
        {"invertBirthMatte", K::Boolean, 0, 21, true, nullptr},
        {"blend", K::Double, 0, 27, false, nullptr},
        {"clearOverlay", K::Boolean, -1, 28, false, nullptr},
        {"resolution", K::Choice, -1, 33, true, "Resolution"},
        {"help", K::Button, -1, 31, false, nullptr},
        {"resetVesk", K::Button, 0, 32, false, nullptr},
        // "Shape"
        {"texturingCycle", K::Boolean, 1, 38, true, nullptr},
        {"randomStart", K::Boolean, 1, 39, true, nullptr},
        {"framesInCycle", K::Integer, 1, 40, true, nullptr},
        {"shape", K::Choice, 1, 42, true, nullptr},
        {"shapeWidth", K::Double, 1, 43, true, nullptr},
        {"shapeHeight", K::Double, 1, 44, true, nullptr},
        {"randomSizes", K::Double, 1, 45, true, nullptr},
        {"starSharpness", K::Double, 1, 46, false, nullptr},
        {"livingRotate", K::Boolean, 1, 47, false, nullptr},
        {"baseRotation", K::Double, 1, 48, false, nullptr},
        {"shapeColour", K::Colour, 1, 50, true, "Shape Colour"},
        {"randomColours", K::Double, 1, 53, true, nullptr},
        {"shapeDensity", K::Double, 1, 54, false, nullptr},
        {"useShapesOverCols", K::Boolean, 1, 55, false, nullptr},
        {"renderMode", K::Choice, 1, 59, false, nullptr},
        {"resetShape", K::Button, 1, 61, false, nullptr},
        // "Influence"
        {"avoidPredator", K::Boolean, 2, 67, true, nullptr},
        {"predator", K::Position, 2, 68, true, "Predator"},
        {"fearOfPredator", K::Double, 2, 70, true, nullptr},
        {"huntFood", K::Boolean, 2, 71, true, nullptr},
        {"food", K::Position, 2, 72, true, "Food"},
        {"useAvoidMatte", K::Boolean, 2, 75, true, nullptr},
        {"avoidForward", K::Double, 2, 76, true, nullptr},
        {"avoidSides", K::Double, 2, 77, true, nullptr},
        {"matchVelocity", K::Boolean, 2, 78, true, nullptr},
        {"speed", K::Double, 2, 79, true, nullptr},
        {"acceleration", K::Double, 2, 80, true, nullptr},
        {"avoidOthers", K::Boolean, 2, 81, true, nullptr},
        {"personalSpace", K::Double, 2, 82, true, nullptr},
        {"veskGathering", K::Boolean, 2, 83, true, nullptr},
        {"veskGrouping", K::Double, 2, 84, true, nullptr},
        {"resetInfluence", K::Button, 2, 90, false, nullptr},
        // "Presets": the switches only write other controls, which carry their own weight.
        {"simpleFoodHunt", K::Button, 3, 100, false, nullptr},
        {"addPredator", K::Boolean, 3, 101, false, nullptr},
        {"addLivingRotate", K::Boolean, 3, 102, false, nullptr},
        {"addPersonalSpace", K::Boolean, 3, 103, false, nullptr},
        {"addVeskCentring", K::Boolean, 3, 104, false, nullptr},
        {"addMatchVelocity", K::Boolean, 3, 105, false, nullptr},
        {"amplitudeImport", K::Double, 3, kAmplitudeChannel, false, nullptr},
        {"importAmplitude", K::Button, 3, 114, false, nullptr},
        {"resetPresets", K::Button, 3, 119, false, nullptr},
    };
    return table;
}

const ControlParam* FindControlParam(const std::string& name) {
    for (const ControlParam& p : ControlParams())
        if (name == p.name) return &p;
    return nullptr;
}

void SnapshotFactoryRecords() {
    // Once, by a function-local static: std::call_once would need a newer C library than hosts
    // on glibc 2.28 have (pthread_once@GLIBC_2.34) and the C++ runtime's thread-local state.
    static const bool taken = [] {
        for (const auto& entry : records()) {
            const unsigned char* bytes = static_cast<const unsigned char*>(entry.second.record);
            g_factory[entry.first].assign(bytes, bytes + record_size(entry.second.type));
        }
        g_factory_amplitude = SparkUserFloat93;
        return true;
    }();
    (void)taken;
}

std::string ParamLabel(const ControlParam& p) {
    if (p.label) return p.label;
    if (is_amplitude(p)) return strip_format(SparkUserFloat93.Title);
    auto it = records().find(p.number);
    if (it == records().end()) return p.name;
    const RecordRef& r = it->second;
    switch (r.type) {
    case RecordType::Int: return strip_format(static_cast<SparkIntStruct*>(r.record)->Title);
    case RecordType::Float: return strip_format(static_cast<SparkFloatStruct*>(r.record)->Title);
    case RecordType::Boolean: return strip_format(static_cast<SparkBooleanStruct*>(r.record)->Title);
    case RecordType::Push: return strip_format(static_cast<SparkPushStruct*>(r.record)->Title);
    case RecordType::Pup: {
        // A list's entries carry the label before ": ".
        std::string first = static_cast<SparkPupStruct*>(r.record)->Titles[0];
        size_t colon = first.find(": ");
        return colon == std::string::npos ? std::string(p.name) : first.substr(0, colon);
    }
    case RecordType::Colour: break;
    }
    return p.name;
}

std::vector<std::string> ChoiceOptions(const ControlParam& p) {
    std::vector<std::string> options;
    const SparkPupStruct* pup = record_of<SparkPupStruct>(p.number, RecordType::Pup);
    if (!pup) return options;
    const std::string prefix = ParamLabel(p) + ": ";
    for (int i = 0; i < pup->TitleCount && i < SPARK_PUP_MAX_TITLES; ++i) {
        std::string entry = pup->Titles[i] ? pup->Titles[i] : "";
        if (entry.compare(0, prefix.size(), prefix) == 0) entry.erase(0, prefix.size());
        while (!entry.empty() && entry.back() == ' ') entry.pop_back();
        options.push_back(entry);
    }
    return options;
}

bool ParamRange(const ControlParam& p, double* min, double* max) {
    switch (p.kind) {
    case ParamKind::Integer: {
        const SparkIntStruct* r = record_of<SparkIntStruct>(p.number, RecordType::Int);
        if (!r) return false;
        *min = r->Min, *max = r->Max;
        return true;
    }
    case ParamKind::Double:
    case ParamKind::Position:
    case ParamKind::Colour: {
        const SparkFloatStruct* r = float_record(p);
        if (!r) return false;
        *min = r->Min, *max = r->Max;
        if (p.kind == ParamKind::Colour) *min /= 100.0, *max /= 100.0;
        return true;
    }
    default: return false;
    }
}

ParamValue DefaultValue(const ControlParam& p) {
    SnapshotFactoryRecords();
    ParamValue value;
    switch (p.kind) {
    case ParamKind::Integer:
        if (auto* r = factory_record<SparkIntStruct>(p.number)) value.v[0] = r->Value;
        break;
    case ParamKind::Double:
        if (is_amplitude(p))
            value.v[0] = g_factory_amplitude.Value;
        else if (auto* r = factory_record<SparkFloatStruct>(p.number))
            value.v[0] = r->Value;
        break;
    case ParamKind::Boolean:
        if (auto* r = factory_record<SparkBooleanStruct>(p.number)) value.v[0] = (r->Value & 0xFF) != 0;
        break;
    case ParamKind::Choice:
        if (auto* r = factory_record<SparkPupStruct>(p.number)) value.v[0] = r->Value;
        break;
    case ParamKind::Position:
        for (int i = 0; i < 2; ++i)
            if (auto* r = factory_record<SparkFloatStruct>(p.number + i)) value.v[i] = r->Value;
        break;
    case ParamKind::Colour:
        for (int i = 0; i < 3; ++i)
            if (auto* r = factory_record<SparkFloatStruct>(p.number + i)) value.v[i] = r->Value / 100.0;
        break;
    case ParamKind::Button: break;
    }
    return value;
}

void StoreRecords(const ControlParam& p, const ParamValue& value) {
    switch (p.kind) {
    case ParamKind::Integer:
        if (auto* r = record_of<SparkIntStruct>(p.number, RecordType::Int)) r->Value = (int)value.v[0];
        break;
    case ParamKind::Double:
        if (auto* r = float_record(p)) r->Value = (float)value.v[0];
        break;
    case ParamKind::Boolean:
        if (auto* r = record_of<SparkBooleanStruct>(p.number, RecordType::Boolean)) r->Value = value.v[0] != 0.0 ? 1 : 0;
        if (p.number == 28) StoreClearOverlay(value.v[0] != 0.0);
        break;
    case ParamKind::Choice:
        if (p.number == 33) {
            StoreResolution((int)value.v[0]);
        } else if (auto* r = record_of<SparkPupStruct>(p.number, RecordType::Pup)) {
            r->Value = (int)value.v[0];
        }
        break;
    case ParamKind::Position:
        for (int i = 0; i < 2; ++i)
            if (auto* r = float_record(p, i)) r->Value = (float)value.v[i];
        break;
    case ParamKind::Colour: {
        bool changed = false;
        for (int i = 0; i < 3; ++i) {
            SparkFloatStruct* r = float_record(p, i);
            if (!r) continue;
            const float slider = (float)(value.v[i] * 100.0);
            changed = changed || r->Value != slider;
            r->Value = slider;
        }
        // The swatch is made from the sliders as an edit of a slider makes it.
        if (changed) {
            SparkInfoStruct info;
            memset(&info, 0, sizeof info);
            SetShapeColCB(1, info);
        }
        break;
    }
    case ParamKind::Button: break;
    }
}

ParamValue LoadRecords(const ControlParam& p) {
    ParamValue value;
    switch (p.kind) {
    case ParamKind::Integer:
        if (auto* r = record_of<SparkIntStruct>(p.number, RecordType::Int)) value.v[0] = r->Value;
        break;
    case ParamKind::Double:
        if (auto* r = float_record(p)) value.v[0] = r->Value;
        break;
    case ParamKind::Boolean:
        if (auto* r = record_of<SparkBooleanStruct>(p.number, RecordType::Boolean)) value.v[0] = (r->Value & 0xFF) != 0;
        break;
    case ParamKind::Choice:
        if (auto* r = record_of<SparkPupStruct>(p.number, RecordType::Pup)) value.v[0] = r->Value;
        break;
    case ParamKind::Position:
        for (int i = 0; i < 2; ++i)
            if (auto* r = float_record(p, i)) value.v[i] = r->Value;
        break;
    case ParamKind::Colour:
        for (int i = 0; i < 3; ++i)
            if (auto* r = float_record(p, i)) value.v[i] = r->Value / 100.0;
        break;
    case ParamKind::Button: break;
    }
    return value;
}

void CallRecordCallback(const ControlParam& p, double frame) {
    SparkInfoStruct info;
    memset(&info, 0, sizeof info);
    info.FrameNo = frame < 0.0 ? 0u : (unsigned)frame;
    SparkCallback callback = nullptr;
    if (p.kind == ParamKind::Colour) {
        callback = SparkFloat50.Callback;
    } else if (is_amplitude(p)) {
        callback = SparkUserFloat93.Callback;
    } else {
        auto it = records().find(p.number);
        if (it == records().end()) return;
        const RecordRef& r = it->second;
        switch (r.type) {
        case RecordType::Int: callback = static_cast<SparkIntStruct*>(r.record)->Callback; break;
        case RecordType::Float: callback = static_cast<SparkFloatStruct*>(r.record)->Callback; break;
        case RecordType::Boolean: callback = static_cast<SparkBooleanStruct*>(r.record)->Callback; break;
        case RecordType::Pup: callback = static_cast<SparkPupStruct*>(r.record)->Callback; break;
        case RecordType::Colour: callback = static_cast<SparkColorStruct*>(r.record)->Callback; break;
        case RecordType::Push: callback = static_cast<SparkPushStruct*>(r.record)->Callback; break;
        }
    }
    if (callback) callback(1, info);
}

float RecordValue(int number) {
    auto it = records().find(number);
    if (it == records().end()) return 0.0f;
    switch (it->second.type) {
    case RecordType::Int: return (float)static_cast<SparkIntStruct*>(it->second.record)->Value;
    case RecordType::Float: return static_cast<SparkFloatStruct*>(it->second.record)->Value;
    case RecordType::Boolean: return (float)(static_cast<SparkBooleanStruct*>(it->second.record)->Value & 0xFF);
    case RecordType::Pup: return (float)static_cast<SparkPupStruct*>(it->second.record)->Value;
    default: return 0.0f;
    }
}

std::string AmplitudeFilePath() {
    std::lock_guard<std::mutex> hold(g_path_lock);
    return g_amplitude_path;
}

void SetAmplitudeFilePath(const std::string& path) {
    std::lock_guard<std::mutex> hold(g_path_lock);
    g_amplitude_path = path;
}

void StoreClearOverlay(bool on) {
    for (int number : kClearOverlayNumbers)
        if (auto* r = record_of<SparkBooleanStruct>(number, RecordType::Boolean)) r->Value = on ? 1 : 0;
}

void StoreResolution(int entry) {
    for (int number : kResolutionNumbers)
        if (auto* r = record_of<SparkPupStruct>(number, RecordType::Pup)) r->Value = entry;
}

// With "Auto Preview" on, an edit's callback renders the frame at once; in a compositor the
// host asks for frames itself, so the binding keeps every copy off.
void SwitchAutoPreviewOff() {
    for (int number : kAutoPreviewNumbers)
        if (auto* r = record_of<SparkBooleanStruct>(number, RecordType::Boolean)) r->Value = 0;
}

}  // namespace vesk_ofx
