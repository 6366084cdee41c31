// Numbers, switches and colours as a person writes them and as the host shows them.
#ifndef SPARKHOST_LIB_VALUETEXT_H
#define SPARKHOST_LIB_VALUETEXT_H

#include <string>

namespace sparkhost {

std::string printfText(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string formatNumber(double value);  // shortest readable form ("%g")
std::string quoted(const std::string& text);

// Whole texts only: surrounding blanks are allowed, anything else after the number is not.
bool parseDouble(const std::string& text, double* out);
bool parseLong(const std::string& text, long* out, int base = 10);
// on/off, yes/no, true/false, 1/0, in any case.
bool parseOnOff(const std::string& text, bool* out);

// A colour record's packed word: red in the low byte, then green, blue and 0xFF.
unsigned long packColour(unsigned r, unsigned g, unsigned b);
void unpackColour(unsigned long packed, unsigned* r, unsigned* g, unsigned* b);

}  // namespace sparkhost

#endif
