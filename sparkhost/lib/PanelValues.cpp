// Reading and writing the values of control records.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/ValueText.h"

namespace sparkhost {

// ---- values ---------------------------------------------------------------------------------

bool Panel::isNumeric(const Control& c) const {
    return c.kind == ControlKind::Float || c.kind == ControlKind::Int ||
           c.kind == ControlKind::UserFloat;
}

bool Panel::range(const Control& c, double* min, double* max, double* step) const {
    if (c.kind == ControlKind::Int) {
        *min = c.asInt()->Min;
        *max = c.asInt()->Max;
        *step = c.asInt()->Increment;
        return true;
    }
    if (c.kind == ControlKind::Float || c.kind == ControlKind::UserFloat) {
        *min = c.asFloat()->Min;
        *max = c.asFloat()->Max;
        *step = c.asFloat()->Increment;
        return true;
    }
    return false;
}

bool Panel::configuredRange(const Control& c, double* min, double* max) const {
    if (c.kind == ControlKind::Int && c.initial.size() >= sizeof(SparkIntStruct)) {
        SparkIntStruct exported;
        std::memcpy(&exported, c.initial.data(), sizeof exported);
        *min = exported.Min;
        *max = exported.Max;
        return true;
    }
    if ((c.kind == ControlKind::Float || c.kind == ControlKind::UserFloat) &&
        c.initial.size() >= sizeof(SparkFloatStruct)) {
        SparkFloatStruct exported;
        std::memcpy(&exported, c.initial.data(), sizeof exported);
        *min = exported.Min;
        *max = exported.Max;
        return true;
    }
    double step;
    return range(c, min, max, &step);
}

std::string Panel::shownName(const Control& c) const {
    return name(c).empty() ? c.record : quoted(name(c)) + " (" + c.record + ")";
}

std::string Panel::numberProblem(const Control& c, double v) const {
    if (!std::isfinite(v)) return "is not a number";
    if (c.kind == ControlKind::Int && v != std::floor(v)) return "is not a whole number";
    double lo, hi, nowLo, nowHi, step;
    if (!configuredRange(c, &lo, &hi) || !range(c, &nowLo, &nowHi, &step)) return "";
    if ((v >= lo && v <= hi) || (v >= nowLo && v <= nowHi)) return "";
    return "is outside its range " + formatNumber(lo) + " to " + formatNumber(hi);
}

std::string Panel::recordProblem(const Control& c) const {
    if (isNumeric(c)) {
        std::string why = numberProblem(c, numericValue(c));
        return why.empty() ? why : "value " + rawValue(c) + " " + why;
    }
    if (c.kind != ControlKind::List) return "";
    int entries = int(listEntries(c).size());
    int index = c.asList()->Value;
    if (index >= 0 && index < entries) return "";
    return "entry " + std::to_string(index) + " is outside its entries 0 to " + std::to_string(entries - 1) +
           " (counted from 0)";
}

double Panel::numericValue(const Control& c) const {
    switch (c.kind) {
    case ControlKind::Int: return c.asInt()->Value;
    case ControlKind::Float:
    case ControlKind::UserFloat: return c.asFloat()->Value;
    case ControlKind::Boolean: return c.asBoolean()->Value & 0xFF;
    case ControlKind::List: return c.asList()->Value;
    default: return 0.0;
    }
}

void Panel::setNumericValue(const Control& c, double value) const {
    switch (c.kind) {
    // Integer channels take the nearest whole value of their curve.
    case ControlKind::Int: c.asInt()->Value = int(std::lround(value)); break;
    case ControlKind::Float:
    case ControlKind::UserFloat: c.asFloat()->Value = float(value); break;
    default: break;
    }
}

const Control* Panel::channel(int type, int number) const {
    if (type == 0) return find(ControlKind::UserFloat, number);
    if (const Control* c = find(ControlKind::Float, number)) return c;
    return find(ControlKind::Int, number);
}

bool Panel::channelValue(int type, int number, double* value) const {
    const Control* c = channel(type, number);
    if (!c) return false;
    *value = numericValue(*c);
    return true;
}

SparkCallback Panel::callback(const Control& c) const {
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat: return c.asFloat()->Callback;
    case ControlKind::Int: return c.asInt()->Callback;
    case ControlKind::Boolean: return c.asBoolean()->Callback;
    case ControlKind::Push: return c.asPush()->Callback;
    case ControlKind::List: return c.asList()->Callback;
    case ControlKind::Colour: return c.asColour()->Callback;
    case ControlKind::String: return c.asString()->Callback;
    }
    return nullptr;
}

std::string Panel::rawValue(const Control& c) const {
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat: return printfText("%.9g", double(c.asFloat()->Value));
    case ControlKind::Int: return std::to_string(c.asInt()->Value);
    case ControlKind::Boolean: return std::to_string(c.asBoolean()->Value);
    case ControlKind::List: return std::to_string(c.asList()->Value);
    case ControlKind::Colour: return printfText("0x%08lX", c.asColour()->Color & 0xFFFFFFFFul);
    case ControlKind::String: {
        auto s = c.asString();
        return std::string(s->Value, strnlen(s->Value, SPARK_STRING_LENGTH));
    }
    case ControlKind::Push: return "";
    }
    return "";
}

bool Panel::setRawValue(const Control& c, const std::string& text, std::string* error) const {
    auto fail = [&](const char* what) {
        if (error) *error = c.record + ": " + what + " '" + text + "'";
        return false;
    };
    double d;
    long l;
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat:
        // Past single precision the record would hold infinity, which no setup can hold.
        if (!parseDouble(text, &d) || std::fabs(d) > FLT_MAX) return fail("not a number:");
        c.asFloat()->Value = float(d);
        return true;
    case ControlKind::Int:
        if (!parseLong(text, &l) || l < INT_MIN || l > INT_MAX) return fail("not a whole number:");
        c.asInt()->Value = int(l);
        return true;
    case ControlKind::Boolean:
        if (!parseLong(text, &l)) return fail("not a whole number:");
        c.asBoolean()->Value = int(l);
        return true;
    case ControlKind::List:
        if (!parseLong(text, &l)) return fail("not a whole number:");
        c.asList()->Value = int(l);
        return true;
    case ControlKind::Colour:
        if (!parseLong(text, &l, 0)) return fail("not a packed colour:");
        c.asColour()->Color = ulong(l) & 0xFFFFFFFFul;
        return true;
    case ControlKind::String:
        if (text.size() >= SPARK_STRING_LENGTH) return fail("text longer than 199 characters:");
        // A setup keeps one text per line: a line end or NUL inside would not read back.
        if (text.find_first_of(std::string("\r\n\0", 3)) != std::string::npos)
            return fail("text with a line end or NUL:");
        std::memset(c.asString()->Value, 0, SPARK_STRING_LENGTH);
        std::memcpy(c.asString()->Value, text.data(), text.size());
        return true;
    case ControlKind::Push: return fail("a button has no value:");
    }
    return false;
}

bool Panel::setValue(const Control& c, const std::string& text, std::string* error) const {
    auto fail = [&](const std::string& why) {
        if (error) *error = shownName(c) + ": " + why;
        return false;
    };
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat:
    case ControlKind::Int: {
        double v;
        if (!parseDouble(text, &v)) return fail("'" + text + "' is not a number");
        if (c.kind == ControlKind::Int && v != std::floor(v))
            return fail("'" + text + "' is not a whole number");
        std::string why = numberProblem(c, v);
        if (!why.empty()) return fail("value " + trim(text) + " " + why);
        double lo, hi, step;
        range(c, &lo, &hi, &step);
        if (lo == hi && v != lo)
            return fail("value " + formatNumber(v) + " cannot be set: the control is locked at " + formatNumber(lo));
        if (c.kind == ControlKind::Int) c.asInt()->Value = int(v);
        else c.asFloat()->Value = float(v);
        return true;
    }
    case ControlKind::Boolean: {
        bool on;
        if (!parseOnOff(text, &on)) return fail("'" + text + "' is not on or off");
        // Only the low byte carries the state; the rest of the word is the plug-in's.
        c.asBoolean()->Value = (c.asBoolean()->Value & ~0xFF) | (on ? 1 : 0);
        return true;
    }
    case ControlKind::List: {
        std::vector<std::string> entries = listEntries(c);
        std::string wanted = normaliseName(text);
        for (size_t i = 0; i < entries.size(); ++i) {
            if (normaliseName(entries[i]) == wanted || normaliseName(listEntryName(c, int(i))) == wanted) {
                c.asList()->Value = int(i);
                return true;
            }
        }
        long position;
        if (parseLong(text, &position)) {
            if (position >= 1 && position <= long(entries.size())) {
                c.asList()->Value = int(position - 1);
                return true;
            }
            return fail("entry " + std::to_string(position) + " is outside 1 to " +
                        std::to_string(entries.size()));
        }
        std::vector<std::string> choices;
        for (size_t i = 0; i < entries.size(); ++i) choices.push_back(listEntryName(c, int(i)));
        std::string why = "no entry '" + text + "'; the entries are";
        for (const auto& e : choices) why += " " + quoted(e);
        return fail(why);
    }
    case ControlKind::Colour: {
        std::string t = trim(text);
        long r = 0, g = 0, b = 0;
        bool ok = false;
        if (t.size() == 7 && t[0] == '#') {
            long packed;
            if (parseLong(t.substr(1), &packed, 16)) {
                r = (packed >> 16) & 0xFF;
                g = (packed >> 8) & 0xFF;
                b = packed & 0xFF;
                ok = true;
            }
        } else {
            size_t c1 = t.find(','), c2 = t.rfind(',');
            if (c1 != std::string::npos && c2 != c1) {
                ok = parseLong(t.substr(0, c1), &r) && parseLong(t.substr(c1 + 1, c2 - c1 - 1), &g) &&
                     parseLong(t.substr(c2 + 1), &b) && r >= 0 && r <= 255 && g >= 0 &&
                     g <= 255 && b >= 0 && b <= 255;
            }
        }
        if (!ok) return fail("'" + text + "' is not a colour (#RRGGBB or R,G,B from 0 to 255)");
        c.asColour()->Color = packColour(unsigned(r), unsigned(g), unsigned(b));
        return true;
    }
    case ControlKind::String: return setRawValue(c, text, error);
    case ControlKind::Push: return fail("a button has no value; press it with --press");
    }
    return false;
}

void Panel::applyCurves(const Host& host, double frame) const {
    for (const auto& entry : host.curves()) {
        if (entry.second.empty()) continue;
        const Control* c = channel(entry.first.first, entry.first.second);
        if (c) setNumericValue(*c, entry.second.valueAt(frame));
    }
}

}  // namespace sparkhost
