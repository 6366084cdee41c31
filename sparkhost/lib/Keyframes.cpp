#include "sparkhost/lib/Keyframes.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "sparkhost/lib/Names.h"

namespace sparkhost {

bool parseKeyframes(const std::string& text, std::vector<KeyLine>* keys, std::string* error) {
    keys->clear();
    std::istringstream in(text);
    std::string line;
    int lineNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        std::string t = trim(line);
        if (t.empty() || t[0] == '#') continue;
        auto fail = [&](const std::string& why) {
            if (error) *error = "line " + std::to_string(lineNo) + ": " + why + ": '" + printable(t) + "'";
            keys->clear();
            return false;
        };
        // The last two words are the frame and the value; everything before names the control.
        size_t valueStart = t.find_last_of(" \t");
        if (valueStart == std::string::npos) return fail("expected 'control frame value'");
        std::string valueText = t.substr(valueStart + 1);
        std::string rest = trimRight(t.substr(0, valueStart));
        size_t frameStart = rest.find_last_of(" \t");
        if (frameStart == std::string::npos) return fail("expected 'control frame value'");
        std::string frameText = rest.substr(frameStart + 1);
        std::string control = trim(rest.substr(0, frameStart));
        char* end = nullptr;
        errno = 0;
        long frame = std::strtol(frameText.c_str(), &end, 10);
        // The form is named too: in "Food X 1" the value is missing, not the frame wrong.
        if (errno || *end || frameText.empty())
            return fail("'" + printable(frameText) + "' is no frame number (a key is 'control frame value')");
        if (frame < INT_MIN || frame > INT_MAX) return fail("the frame is out of range");
        errno = 0;
        double value = std::strtod(valueText.c_str(), &end);
        if (errno || *end || valueText.empty() || !std::isfinite(value))
            return fail("the value is not a number");
        // A key value is held in single precision: anything larger would become infinite.
        if (std::fabs(value) > FLT_MAX) return fail("the value is out of range");
        keys->push_back({control, int(frame), float(value), lineNo});
    }
    return true;
}

bool readKeyframes(const std::string& path, std::vector<KeyLine>* keys, std::string* error) {
    std::ifstream file(path);
    if (!file) {
        if (error) *error = "cannot read keyframe file '" + path + "'";
        return false;
    }
    std::stringstream all;
    all << file.rdbuf();
    std::string why;
    if (!parseKeyframes(all.str(), keys, &why)) {
        if (error) *error = path + ": " + why;
        return false;
    }
    return true;
}

}  // namespace sparkhost
