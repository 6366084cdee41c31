#include "sparkhost/lib/Panel.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"

namespace sparkhost {

namespace {

const ControlKind kAllKinds[] = {ControlKind::String,  ControlKind::Push,   ControlKind::Int,
                                 ControlKind::Float,   ControlKind::Boolean, ControlKind::List,
                                 ControlKind::Colour,  ControlKind::UserFloat};

std::string printfString(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string printfString(const char* format, ...) {
    char buf[512];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(buf, sizeof buf, format, ap);
    va_end(ap);
    return buf;
}

std::string number(double v) { return printfString("%g", v); }

// A colour record's packed word: red in the low byte, then green, blue and 0xFF.
void unpack(ulong packed, unsigned* r, unsigned* g, unsigned* b) {
    *r = unsigned(packed & 0xFF);
    *g = unsigned((packed >> 8) & 0xFF);
    *b = unsigned((packed >> 16) & 0xFF);
}

ulong pack(unsigned r, unsigned g, unsigned b) {
    return ulong(r) | (ulong(g) << 8) | (ulong(b) << 16) | (ulong(0xFF) << 24);
}

bool parseDouble(const std::string& text, double* out) {
    std::string t = trim(text);
    if (t.empty()) return false;
    errno = 0;
    char* end = nullptr;
    double v = std::strtod(t.c_str(), &end);
    if (errno != 0 || *end != '\0' || !std::isfinite(v)) return false;
    *out = v;
    return true;
}

bool parseLong(const std::string& text, long* out, int base = 10) {
    std::string t = trim(text);
    if (t.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long v = std::strtol(t.c_str(), &end, base);
    if (errno != 0 || *end != '\0') return false;
    *out = v;
    return true;
}

bool parseOnOff(const std::string& text, bool* out) {
    std::string t = normaliseName(text);
    if (t == "on" || t == "1" || t == "yes" || t == "true") *out = true;
    else if (t == "off" || t == "0" || t == "no" || t == "false") *out = false;
    else return false;
    return true;
}

// The part of a title before its first conversion, without trailing blanks and a closing colon.
std::string stripFormat(const char* title) {
    if (!title) return "";
    std::string out;
    for (const char* p = title; *p; ++p) {
        if (*p == '%') {
            if (p[1] == '%') {
                out += '%';
                ++p;
                continue;
            }
            break;
        }
        out += *p;
    }
    out = trimRight(out);
    while (!out.empty() && out.back() == ':') out = trimRight(out.substr(0, out.size() - 1));
    return out;
}

std::string quoted(const std::string& s) { return "\"" + s + "\""; }

}  // namespace

// ---- kinds ----------------------------------------------------------------------------------

const char* kindName(ControlKind kind) {
    switch (kind) {
    case ControlKind::String: return "text";
    case ControlKind::Push: return "button";
    case ControlKind::Int: return "integer";
    case ControlKind::Float: return "float";
    case ControlKind::Boolean: return "checkbox";
    case ControlKind::List: return "list";
    case ControlKind::Colour: return "colour";
    case ControlKind::UserFloat: return "channel";
    }
    return "?";
}

const char* recordPrefix(ControlKind kind) {
    switch (kind) {
    case ControlKind::String: return "SparkString";
    case ControlKind::Push: return "SparkPush";
    case ControlKind::Int: return "SparkInt";
    case ControlKind::Float: return "SparkFloat";
    case ControlKind::Boolean: return "SparkBoolean";
    case ControlKind::List: return "SparkPup";
    case ControlKind::Colour: return "SparkColor";
    case ControlKind::UserFloat: return "SparkUserFloat";
    }
    return "";
}

size_t recordSize(ControlKind kind) {
    switch (kind) {
    case ControlKind::String: return sizeof(SparkStringStruct);
    case ControlKind::Push: return sizeof(SparkPushStruct);
    case ControlKind::Int: return sizeof(SparkIntStruct);
    case ControlKind::Float:
    case ControlKind::UserFloat: return sizeof(SparkFloatStruct);
    case ControlKind::Boolean: return sizeof(SparkBooleanStruct);
    case ControlKind::List: return sizeof(SparkPupStruct);
    case ControlKind::Colour: return sizeof(SparkColorStruct);
    }
    return 0;
}

// ---- labels ---------------------------------------------------------------------------------

std::string formatLabel(const char* format, ControlKind kind, double value, const char* text) {
    if (!format) return "";
    // Walk the format once: exactly one conversion, with flags, width and precision only.
    int conversions = 0;
    char conversion = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        while (*p && std::strchr("-+ #0", *p)) ++p;
        while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        if (*p == '.') {
            ++p;
            while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
        }
        if (!*p) return format;
        conversion = *p;
        ++conversions;
    }
    if (conversions == 0) {
        std::string plain;
        for (const char* p = format; *p; ++p) {
            plain += *p;
            if (p[0] == '%' && p[1] == '%') ++p;
        }
        return plain;
    }
    if (conversions > 1) return format;
    char buf[512];
    bool isFloat = kind == ControlKind::Float || kind == ControlKind::UserFloat;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (isFloat && std::strchr("fFeEgGaA", conversion))
        std::snprintf(buf, sizeof buf, format, value);
    else if (kind == ControlKind::Int && std::strchr("di", conversion))
        std::snprintf(buf, sizeof buf, format, int(value));
    else if (kind == ControlKind::String && conversion == 's')
        std::snprintf(buf, sizeof buf, format, text ? text : "");
    else
        return format;
#pragma GCC diagnostic pop
    return buf;
}

// ---- discovery ------------------------------------------------------------------------------

void Panel::discover(const Lookup& lookup, int maxNumber) {
    controls_.clear();
    for (int n = 0; n <= maxNumber; ++n) {
        for (ControlKind kind : kAllKinds) {
            std::string symbol = recordPrefix(kind) + std::to_string(n);
            void* address = lookup(symbol.c_str());
            if (!address) continue;
            Control c{kind, n, symbol, address, {}};
            const unsigned char* bytes = static_cast<const unsigned char*>(address);
            c.initial.assign(bytes, bytes + recordSize(kind));
            controls_.push_back(std::move(c));
        }
    }
}

const Control* Panel::find(ControlKind kind, int number) const {
    for (const auto& c : controls_)
        if (c.kind == kind && c.number == number) return &c;
    return nullptr;
}

const Control* Panel::findRecord(const std::string& record) const {
    std::string wanted = normaliseName(record);
    for (const auto& c : controls_)
        if (normaliseName(c.record) == wanted) return &c;
    return nullptr;
}

int Panel::page(const Control& c) {
    if (c.kind == ControlKind::UserFloat) return -1;
    if (c.number < 6) return 0;
    return (c.number - 6) / 29 + 1;
}

namespace {

// Label, value and default all read a record through the same code, live or as first exported.
std::string labelOf(ControlKind kind, const void* record) {
    switch (kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat: {
        auto r = static_cast<const SparkFloatStruct*>(record);
        return formatLabel(r->Title, kind, r->Value, nullptr);
    }
    case ControlKind::Int: {
        auto r = static_cast<const SparkIntStruct*>(record);
        return formatLabel(r->Title, kind, r->Value, nullptr);
    }
    case ControlKind::Boolean: {
        auto r = static_cast<const SparkBooleanStruct*>(record);
        return r->Title ? r->Title : "";
    }
    case ControlKind::Push: {
        auto r = static_cast<const SparkPushStruct*>(record);
        return r->Title ? r->Title : "";
    }
    case ControlKind::List: {
        auto r = static_cast<const SparkPupStruct*>(record);
        if (r->Value >= 0 && r->Value < SPARK_PUP_MAX_TITLES && r->Titles[r->Value])
            return r->Titles[r->Value];
        return "";
    }
    case ControlKind::Colour: return "";
    case ControlKind::String: {
        auto r = static_cast<const SparkStringStruct*>(record);
        char value[SPARK_STRING_LENGTH + 1];
        std::memcpy(value, r->Value, SPARK_STRING_LENGTH);
        value[SPARK_STRING_LENGTH] = '\0';
        return formatLabel(r->Title ? r->Title : "%s", kind, 0.0, value);
    }
    }
    return "";
}

}  // namespace

std::string Panel::label(const Control& c) const { return labelOf(c.kind, c.address); }

std::string Panel::name(const Control& c) const {
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat: return stripFormat(c.asFloat()->Title);
    case ControlKind::Int: return stripFormat(c.asInt()->Title);
    case ControlKind::Boolean: return stripFormat(c.asBoolean()->Title);
    case ControlKind::Push: return stripFormat(c.asPush()->Title);
    case ControlKind::String: return "";
    case ControlKind::Colour: return "";
    case ControlKind::List: {
        // The prefix every entry shares up to its last ": " names the list ("Shape: Blob").
        std::vector<std::string> entries = listEntries(c);
        if (entries.empty()) return "";
        std::string common = entries[0];
        for (const auto& e : entries) {
            size_t i = 0;
            while (i < common.size() && i < e.size() && common[i] == e[i]) ++i;
            common.resize(i);
        }
        size_t colon = common.rfind(": ");
        return colon == std::string::npos ? "" : trimRight(common.substr(0, colon));
    }
    }
    return "";
}

std::vector<std::string> Panel::listEntries(const Control& c) const {
    std::vector<std::string> out;
    if (c.kind != ControlKind::List) return out;
    const SparkPupStruct* r = c.asList();
    int count = std::min(std::max(r->TitleCount, 0), SPARK_PUP_MAX_TITLES);
    for (int i = 0; i < count; ++i) out.push_back(r->Titles[i] ? r->Titles[i] : "");
    return out;
}

std::string Panel::listEntryName(const Control& c, int index) const {
    std::vector<std::string> entries = listEntries(c);
    if (index < 0 || index >= int(entries.size())) return "";
    std::string prefix = name(c);
    std::string e = entries[size_t(index)];
    if (!prefix.empty() && e.compare(0, prefix.size(), prefix) == 0) {
        e = e.substr(prefix.size());
        if (!e.empty() && e[0] == ':') e = e.substr(1);
    }
    return trim(e);
}

namespace {

std::string displayOf(const Panel& panel, const Control& c, const void* record) {
    switch (c.kind) {
    case ControlKind::Float:
    case ControlKind::UserFloat: return number(static_cast<const SparkFloatStruct*>(record)->Value);
    case ControlKind::Int: return std::to_string(static_cast<const SparkIntStruct*>(record)->Value);
    case ControlKind::Boolean:
        return (static_cast<const SparkBooleanStruct*>(record)->Value & 0xFF) ? "on" : "off";
    case ControlKind::Push: return "";
    case ControlKind::List: {
        int v = static_cast<const SparkPupStruct*>(record)->Value;
        std::string entry = panel.listEntryName(c, v);
        return entry.empty() ? std::to_string(v + 1) : entry;
    }
    case ControlKind::Colour: {
        unsigned r, g, b;
        unpack(static_cast<const SparkColorStruct*>(record)->Color, &r, &g, &b);
        return printfString("#%02X%02X%02X", r, g, b);
    }
    case ControlKind::String: {
        auto s = static_cast<const SparkStringStruct*>(record);
        return quoted(std::string(s->Value, strnlen(s->Value, SPARK_STRING_LENGTH)));
    }
    }
    return "";
}

}  // namespace

std::string Panel::displayValue(const Control& c) const { return displayOf(*this, c, c.address); }

std::string Panel::displayDefault(const Control& c) const {
    return displayOf(*this, c, c.initial.data());
}

std::vector<std::string> Panel::names(const Control& c, const Host* host) const {
    std::vector<std::string> out;
    std::string n = name(c);
    if (!n.empty()) out.push_back(n);
    if (host) {
        std::string channel = host->controlName(channelType(c), c.number);
        if (!channel.empty() && normaliseName(channel) != normaliseName(n)) out.push_back(channel);
    }
    out.push_back(std::to_string(c.number));
    out.push_back(c.record);
    return out;
}

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
    case ControlKind::UserFloat: return printfString("%.9g", double(c.asFloat()->Value));
    case ControlKind::Int: return std::to_string(c.asInt()->Value);
    case ControlKind::Boolean: return std::to_string(c.asBoolean()->Value);
    case ControlKind::List: return std::to_string(c.asList()->Value);
    case ControlKind::Colour: return printfString("0x%08lX", c.asColour()->Color & 0xFFFFFFFFul);
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
        if (!parseDouble(text, &d)) return fail("not a number:");
        c.asFloat()->Value = float(d);
        return true;
    case ControlKind::Int:
        if (!parseLong(text, &l)) return fail("not a whole number:");
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
        std::memset(c.asString()->Value, 0, SPARK_STRING_LENGTH);
        std::memcpy(c.asString()->Value, text.data(), text.size());
        return true;
    case ControlKind::Push: return fail("a button has no value:");
    }
    return false;
}

bool Panel::setValue(const Control& c, const std::string& text, std::string* error) const {
    std::string shownName = name(c).empty() ? c.record : quoted(name(c)) + " (" + c.record + ")";
    auto fail = [&](const std::string& why) {
        if (error) *error = shownName + ": " + why;
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
        double lo, hi, step;
        range(c, &lo, &hi, &step);
        if (v < lo || v > hi) {
            std::string why = "value " + number(v) + " is outside its range " + number(lo) +
                              " to " + number(hi);
            if (lo == hi) why += " (the control is locked at " + number(lo) + ")";
            return fail(why);
        }
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
        c.asColour()->Color = pack(unsigned(r), unsigned(g), unsigned(b));
        return true;
    }
    case ControlKind::String: return setRawValue(c, text, error);
    case ControlKind::Push: return fail("a button has no value; press it with --press");
    }
    return false;
}

// ---- references -----------------------------------------------------------------------------

namespace {

bool suits(const Control& c, ControlUse use) {
    switch (use) {
    case ControlUse::Press: return c.kind == ControlKind::Push;
    case ControlUse::Value: return c.kind != ControlKind::Push;
    case ControlUse::Animate:
        return c.kind == ControlKind::Float || c.kind == ControlKind::Int ||
               c.kind == ControlKind::UserFloat;
    }
    return false;
}

const char* useWord(ControlUse use) {
    switch (use) {
    case ControlUse::Press: return "a button";
    case ControlUse::Value: return "a control with a value";
    case ControlUse::Animate: return "an animatable (number) control";
    }
    return "";
}

}  // namespace

const Control* Panel::resolve(const std::string& reference, ControlUse use, const Host* host,
                              std::string* error) const {
    std::string wanted = normaliseName(reference);
    const Control* unsuitable = nullptr;
    auto pick = [&](auto matches) -> const Control* {
        // Panel controls come before user float channels of the same number.
        const Control* best = nullptr;
        for (const auto& c : controls_) {
            if (!matches(c)) continue;
            if (!suits(c, use)) {
                if (!unsuitable) unsuitable = &c;
                continue;
            }
            if (!best || (best->kind == ControlKind::UserFloat && c.kind != ControlKind::UserFloat))
                best = &c;
        }
        return best;
    };
    const Control* found = pick([&](const Control& c) { return normaliseName(c.record) == wanted; });
    long n;
    if (!found && parseLong(reference, &n))
        found = pick([&](const Control& c) { return c.number == n; });
    if (!found) found = pick([&](const Control& c) { return normaliseName(name(c)) == wanted; });
    if (!found && host)
        found = pick([&](const Control& c) {
            return normaliseName(host->controlName(channelType(c), c.number)) == wanted;
        });
    if (found) return found;
    if (error) {
        if (unsuitable) {
            *error = "control '" + reference + "' (" + unsuitable->record + ", a " +
                     kindName(unsuitable->kind) + ") is not " + useWord(use);
            if (unsuitable->kind == ControlKind::Push) *error += "; press it with --press";
            else if (use == ControlUse::Press) *error += "; set it with --set";
            return nullptr;
        }
        std::vector<std::string> candidates;
        std::vector<const Control*> owners;
        for (const auto& c : controls_) {
            if (!suits(c, use)) continue;
            // People type label names; records stand in only for controls without a title.
            std::vector<std::string> typed;
            if (!name(c).empty()) typed.push_back(name(c));
            if (host && !host->controlName(channelType(c), c.number).empty())
                typed.push_back(host->controlName(channelType(c), c.number));
            if (typed.empty()) typed.push_back(c.record);
            for (const auto& nm : typed) {
                candidates.push_back(nm);
                owners.push_back(&c);
            }
        }
        // Rank by the names people type, then show each match with its number.
        std::vector<std::string> closest = closestNames(reference, candidates, 12);
        std::vector<std::string> shown;
        for (const auto& nm : closest) {
            size_t i = size_t(std::find(candidates.begin(), candidates.end(), nm) - candidates.begin());
            const Control* c = owners[i];
            std::string label = name(*c).empty() ? c->record : quoted(name(*c));
            std::string item = label + " (" + std::to_string(c->number) + ")";
            if (std::find(shown.begin(), shown.end(), item) == shown.end()) shown.push_back(item);
            if (shown.size() == 3) break;
        }
        *error = "unknown control '" + reference + "'";
        if (!shown.empty()) {
            *error += "; closest:";
            for (size_t i = 0; i < shown.size(); ++i) *error += (i ? ", " : " ") + shown[i];
        }
    }
    return nullptr;
}

void Panel::applyCurves(const Host& host, double frame) const {
    for (const auto& entry : host.curves()) {
        if (entry.second.empty()) continue;
        const Control* c = channel(entry.first.first, entry.first.second);
        if (c) setNumericValue(*c, entry.second.valueAt(frame));
    }
}

}  // namespace sparkhost
