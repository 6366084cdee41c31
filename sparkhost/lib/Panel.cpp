#include "sparkhost/lib/Panel.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/ValueText.h"

namespace sparkhost {

namespace {

const ControlKind kAllKinds[] = {ControlKind::String,  ControlKind::Push,   ControlKind::Int,
                                 ControlKind::Float,   ControlKind::Boolean, ControlKind::List,
                                 ControlKind::Colour,  ControlKind::UserFloat};

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
        if (sameName(c.record, wanted)) return &c;
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
    case ControlKind::UserFloat: return formatNumber(static_cast<const SparkFloatStruct*>(record)->Value);
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
        unpackColour(static_cast<const SparkColorStruct*>(record)->Color, &r, &g, &b);
        return printfText("#%02X%02X%02X", r, g, b);
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

}  // namespace sparkhost
