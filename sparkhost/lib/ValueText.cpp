#include "sparkhost/lib/ValueText.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "sparkhost/lib/Names.h"

namespace sparkhost {

std::string printfText(const char* format, ...) {
    char buf[512];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(buf, sizeof buf, format, ap);
    va_end(ap);
    return buf;
}

std::string formatNumber(double value) { return printfText("%g", value); }

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

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

bool parseLong(const std::string& text, long* out, int base) {
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

unsigned long packColour(unsigned r, unsigned g, unsigned b) {
    return (unsigned long)r | ((unsigned long)g << 8) | ((unsigned long)b << 16) | (0xFFul << 24);
}

void unpackColour(unsigned long packed, unsigned* r, unsigned* g, unsigned* b) {
    *r = unsigned(packed & 0xFF);
    *g = unsigned((packed >> 8) & 0xFF);
    *b = unsigned((packed >> 16) & 0xFF);
}

}  // namespace sparkhost
