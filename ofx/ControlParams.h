// The effect's panel as OpenFX parameters: one entry per control (a position pair and the colour
// sliders each become one parameter), with the control record(s) it is carried in. Labels,
// ranges, list entries and defaults are read from the records themselves, so the parameters
// always say what the panel says.
#ifndef OFX_CONTROLPARAMS_H
#define OFX_CONTROLPARAMS_H

#include <string>
#include <vector>

namespace vesk_ofx {

enum class ParamKind { Integer, Double, Boolean, Choice, Position, Colour, Button };

struct ControlParam {
    const char* name;   // the parameter's name: stable, saved with compositors' scripts
    ParamKind kind;
    int page;           // 0 "Vesk", 1 "Shape", 2 "Influence", 3 "Presets"; -1 every page
    int number;         // control number of the (first) record
    bool simulation;    // read by the swarm's steps; false: only drawing reads it
    const char* label;  // null: the record's title without its value format
};

// Every control parameter, in panel order.
const std::vector<ControlParam>& ControlParams();
const ControlParam* FindControlParam(const std::string& name);

// A parameter's value in the units of its records: Integer, Boolean and Choice in v[0];
// Double in v[0]; Position x, y; Colour r, g, b as fractions (the sliders / 100).
struct ParamValue {
    double v[3] = {0.0, 0.0, 0.0};
    bool operator==(const ParamValue& o) const { return v[0] == o.v[0] && v[1] == o.v[1] && v[2] == o.v[2]; }
    bool operator!=(const ParamValue& o) const { return !(*this == o); }
};

std::string ParamLabel(const ControlParam& p);
std::vector<std::string> ChoiceOptions(const ControlParam& p);
// Range of the record (both halves share it for a position); false for kinds without one.
bool ParamRange(const ControlParam& p, double* min, double* max);
// The factory value: the record's value when the plug-in was loaded.
ParamValue DefaultValue(const ControlParam& p);

// Writes a value into the record(s) of the parameter; the colour also makes the swatch as an
// edit of its sliders does. Records are engine state: callers hold the engine lock.
void StoreRecords(const ControlParam& p, const ParamValue& value);
ParamValue LoadRecords(const ControlParam& p);
// Calls the record's own callback (reason 1, an edit), as a host does after writing it.
void CallRecordCallback(const ControlParam& p, double frame);

// The value of control record `number` as the effect's curve query returns it.
float RecordValue(int number);

// Takes the records' factory values once, before anything writes them; later calls do nothing.
void SnapshotFactoryRecords();

// The amplitude file the import reads (set by the binding from its parameter).
std::string AmplitudeFilePath();
void SetAmplitudeFilePath(const std::string& path);

// The controls the binding drives itself: every copy of the standard controls and the buttons
// that become events.
void StoreClearOverlay(bool on);
void StoreResolution(int entry);
void SwitchAutoPreviewOff();

}  // namespace vesk_ofx

#endif
