// The plug-in's control panel as the host sees it: the exported control records, found by their
// symbol names (SparkFloatN, SparkIntN, ...), read and written in place.
#ifndef SPARKHOST_LIB_PANEL_H
#define SPARKHOST_LIB_PANEL_H

#include <functional>
#include <string>
#include <vector>

#include "spark/spark.h"

namespace sparkhost {

class Host;

enum class ControlKind { String, Push, Int, Float, Boolean, List, Colour, UserFloat };

const char* kindName(ControlKind kind);    // "integer", "float", "checkbox", ...
const char* recordPrefix(ControlKind kind);  // "SparkInt", "SparkFloat", ...
size_t recordSize(ControlKind kind);

struct Control {
    ControlKind kind;
    int number;
    std::string record;            // symbol name, e.g. "SparkInt11"
    void* address;                 // the live record inside the plug-in
    std::vector<unsigned char> initial;  // the record as the plug-in first exported it

    SparkFloatStruct* asFloat() const { return static_cast<SparkFloatStruct*>(address); }
    SparkIntStruct* asInt() const { return static_cast<SparkIntStruct*>(address); }
    SparkBooleanStruct* asBoolean() const { return static_cast<SparkBooleanStruct*>(address); }
    SparkPushStruct* asPush() const { return static_cast<SparkPushStruct*>(address); }
    SparkPupStruct* asList() const { return static_cast<SparkPupStruct*>(address); }
    SparkColorStruct* asColour() const { return static_cast<SparkColorStruct*>(address); }
    SparkStringStruct* asString() const { return static_cast<SparkStringStruct*>(address); }
};

// What a reference to a control is for: a value to set, a button to press, or a curve to key.
enum class ControlUse { Value, Press, Animate };

class Panel {
public:
    using Lookup = std::function<void*(const char* symbol)>;

    // Looks up every record kind for numbers 0 .. maxNumber.
    void discover(const Lookup& lookup, int maxNumber = 199);
    void clear() { controls_.clear(); }
    // A panel a host builds itself, from records it owns (an OpenFX effect's parameters).
    void setControls(std::vector<Control> controls) { controls_ = std::move(controls); }

    const std::vector<Control>& controls() const { return controls_; }
    const Control* find(ControlKind kind, int number) const;
    const Control* findRecord(const std::string& record) const;

    // The page a control sits on: 1.. for the panel pages (29 places each, from number 6),
    // 0 for the clip names below 6, -1 for user float channels, which have no place on a page.
    static int page(const Control& c);

    // The label as the host shows it: the title's printf format filled with the current value.
    std::string label(const Control& c) const;
    // The label with its format and trailing blanks removed: how a person names the control.
    std::string name(const Control& c) const;
    // The value in words for a person (list entries by their text, checkboxes on/off).
    std::string displayValue(const Control& c) const;
    std::string displayDefault(const Control& c) const;
    // Every name a control answers to: its label name, the host channel name, number, record.
    std::vector<std::string> names(const Control& c, const Host* host) const;

    std::vector<std::string> listEntries(const Control& c) const;  // titles as exported
    // A list entry without the prefix all entries share ("Shape: ") and without trailing blanks.
    std::string listEntryName(const Control& c, int index) const;

    bool isNumeric(const Control& c) const;
    bool range(const Control& c, double* min, double* max, double* step) const;
    double numericValue(const Control& c) const;
    void setNumericValue(const Control& c, double value) const;
    // The value an animation channel shows when it has no keys (type 1 panel, 0 user float).
    bool channelValue(int type, int number, double* value) const;
    const Control* channel(int type, int number) const;
    static int channelType(const Control& c) { return c.kind == ControlKind::UserFloat ? 0 : 1; }

    SparkCallback callback(const Control& c) const;

    // Raw record values as a setup stores them: exact and round-tripping.
    std::string rawValue(const Control& c) const;
    bool setRawValue(const Control& c, const std::string& text, std::string* error) const;

    // A value as a person writes it: numbers, on/off, list entries by text or position (from 1),
    // colours as #RRGGBB or R,G,B. Values outside the record's range are refused, and so is any
    // change of a control the plug-in has greyed out by locking its range.
    bool setValue(const Control& c, const std::string& text, std::string* error) const;

    // The one rule for a value, whatever path it comes by (typed, keyed, read from a setup):
    // a finite number, whole for an integer control, within the control's range. The range is
    // the one the plug-in exported, or the record's present one where that is wider; greying out
    // (which locks the range at the value) does not narrow it. Returns why a number cannot be the
    // control's value, "" when it can: "is outside its range 1 to 999", "is not a whole number".
    std::string numberProblem(const Control& c, double value) const;
    // The same for the value the record holds now, list entries included ("" for the kinds
    // without a range: checkboxes, colours, text), as "value 1650 is outside its range 1 to 999"
    // or "entry 99 is outside its entries 0 to 7 (counted from 0)". A value outside the range there was stored
    // by the plug-in itself, as Vesk's "Simple Food Hunt" stores Seed 1650 outside 1 to 999.
    std::string recordProblem(const Control& c) const;
    // The range the plug-in exported the control with.
    bool configuredRange(const Control& c, double* min, double* max) const;
    // '"Vesk Size" (SparkInt11)', or the record alone for a control without a title.
    std::string shownName(const Control& c) const;

    // Finds the control a person means by a label name, channel name, number or record name.
    // On failure the error names the closest controls.
    const Control* resolve(const std::string& reference, ControlUse use, const Host* host,
                           std::string* error) const;

    // Writes every keyed curve's value at a frame into its record, as a host does before a frame.
    void applyCurves(const Host& host, double frame) const;

private:
    std::vector<Control> controls_;
};

// Fills a printf-style label with one value, refusing formats that do not take exactly one
// conversion of the right kind (the title is then shown as it stands).
std::string formatLabel(const char* format, ControlKind kind, double number, const char* text);

}  // namespace sparkhost

#endif
