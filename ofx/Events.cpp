#include "ofx/Events.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace vesk_ofx {

namespace {

struct Named {
    EventButton button;
    const char* name;
    int control;
};

const Named kButtons[] = {
    {EventButton::Restart, "Restart", 6},
    {EventButton::RestartPreRoll, "Restart+PreRoll", 7},
    {EventButton::PreRoll, "PreRoll", 8},
    {EventButton::Advance, "Advance", 10},
};

std::string trim(const std::string& s) {
    size_t a = 0, b = s.size();
    while (a < b && std::isspace((unsigned char)s[a])) ++a;
    while (b > a && std::isspace((unsigned char)s[b - 1])) --b;
    return s.substr(a, b - a);
}

// Names compare without case and blanks, so "restart + preroll" is the same button.
std::string fold(const std::string& s) {
    std::string out;
    for (char c : s)
        if (!std::isspace((unsigned char)c)) out += (char)std::tolower((unsigned char)c);
    return out;
}

}  // namespace

const char* EventButtonName(EventButton button) {
    for (const Named& n : kButtons)
        if (n.button == button) return n.name;
    return "";
}

int EventButtonControl(EventButton button) {
    for (const Named& n : kButtons)
        if (n.button == button) return n.control;
    return 0;
}

EventList ParseEvents(const std::string& text) {
    EventList list;
    std::istringstream lines(text);
    std::string line;
    int number = 0;
    while (std::getline(lines, line)) {
        ++number;
        size_t hash = line.find('#');
        if (hash != std::string::npos) line.erase(hash);
        line = trim(line);
        if (line.empty()) continue;
        size_t space = 0;
        while (space < line.size() && !std::isspace((unsigned char)line[space])) ++space;
        const std::string frame_text = line.substr(0, space);
        const std::string name = fold(line.substr(space));
        char* end = nullptr;
        errno = 0;
        long frame = std::strtol(frame_text.c_str(), &end, 10);
        if (frame_text.empty() || *end != '\0' || errno != 0 || frame < -1000000 || frame > 100000000) {
            list.errors.push_back("line " + std::to_string(number) + ": \"" + frame_text +
                                  "\" is not a frame number");
            continue;
        }
        bool found = false;
        for (const Named& n : kButtons) {
            if (fold(n.name) == name) {
                list.at[(int)frame].push_back(n.button);
                found = true;
                break;
            }
        }
        if (!found)
            list.errors.push_back("line " + std::to_string(number) +
                                  ": no button is called \"" + trim(line.substr(space)) +
                                  "\" (Restart, Restart+PreRoll, PreRoll or Advance)");
    }
    return list;
}

std::string AppendEvent(const std::string& text, int frame, EventButton button) {
    std::string out = text;
    if (!out.empty() && out.back() != '\n') out += '\n';
    out += std::to_string(frame) + " " + EventButtonName(button) + "\n";
    return out;
}

}  // namespace vesk_ofx
