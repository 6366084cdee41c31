// Keyframe files: one key per line as "control frame value", where the control is named as on
// the command line (label name, number or record name, which may contain blanks). Blank lines and
// lines starting with '#' are ignored.
#ifndef SPARKHOST_LIB_KEYFRAMES_H
#define SPARKHOST_LIB_KEYFRAMES_H

#include <string>
#include <vector>

namespace sparkhost {

struct KeyLine {
    std::string control;
    int frame;
    float value;
    int line;
};

bool parseKeyframes(const std::string& text, std::vector<KeyLine>* keys, std::string* error);
bool readKeyframes(const std::string& path, std::vector<KeyLine>* keys, std::string* error);

}  // namespace sparkhost

#endif
