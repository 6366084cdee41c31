#include "sparkhost/lib/ShotEvents.h"

#include <climits>
#include <sstream>

#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/ValueText.h"

namespace sparkhost {

namespace {

// A frame as events write it: a whole number from 0 up, nothing else.
bool parseEventFrame(const std::string& text, int* frame, std::string* error) {
    long value = 0;
    if (!parseLong(text, &value) || value < 0 || value > INT_MAX) {
        if (error) *error = "the event's frame " + quoted(trim(text)) + " is not a whole frame number from 0 up";
        return false;
    }
    *frame = int(value);
    return true;
}

// The names of the plug-in's event buttons, each once, for messages.
std::string eventButtonNames(const Panel& panel) {
    std::vector<std::string> names;
    for (const auto& c : panel.controls()) {
        if (eventAction(panel, c) == EventAction::None) continue;
        std::string name = panel.name(c);
        bool seen = false;
        for (const auto& n : names) seen = seen || n == name;
        if (!seen) names.push_back(name);
    }
    if (names.empty()) return "this plug-in has no button that acts on a simulation";
    std::string all;
    for (size_t i = 0; i < names.size(); ++i) all += (i ? ", " : "") + quoted(names[i]);
    return "the buttons that can be events are " + all;
}

std::string notAnEvent(const Panel& panel, const Control& c) {
    return quoted(panel.name(c).empty() ? c.record : panel.name(c)) +
           " is not a button that acts on the simulation; " + eventButtonNames(panel);
}

}  // namespace

EventAction eventAction(const Panel& panel, const Control& control) {
    if (control.kind != ControlKind::Push) return EventAction::None;
    std::string name = normaliseName(panel.name(control));
    if (name == "restart" || name == "restart+preroll" || name == "preroll") return EventAction::Request;
    if (name == "advance") return EventAction::Step;
    return EventAction::None;
}

bool parseEventOption(const Panel& panel, const Host* host, const std::string& text, ShotEvent* event,
                      std::string* error) {
    size_t colon = text.find(':');
    if (colon == std::string::npos) {
        if (error) *error = "bad --event " + quoted(text) + ": write FRAME:BUTTON, e.g. 45:Restart";
        return false;
    }
    std::string why;
    int frame = 0;
    if (!parseEventFrame(text.substr(0, colon), &frame, &why)) {
        if (error) *error = "bad --event " + quoted(text) + ": " + why;
        return false;
    }
    const Control* c = panel.resolve(trim(text.substr(colon + 1)), ControlUse::Press, host, &why);
    if (c && eventAction(panel, *c) == EventAction::None) {
        why = notAnEvent(panel, *c);
        c = nullptr;
    }
    if (!c) {
        if (error) *error = "bad --event " + quoted(text) + ": " + why;
        return false;
    }
    *event = ShotEvent{frame, c->record};
    return true;
}

bool parseEventRecord(const Panel& panel, const std::string& text, ShotEvent* event, std::string* error) {
    std::istringstream in(text);
    std::string frameText, record, extra;
    if (!(in >> frameText >> record) || (in >> extra)) {
        if (error) *error = "an event needs a frame and a button's record, e.g. 'event 45 SparkPush6'";
        return false;
    }
    int frame = 0;
    if (!parseEventFrame(frameText, &frame, error)) return false;
    const Control* c = panel.findRecord(record);
    if (!c || c->kind != ControlKind::Push) {
        if (error) *error = "the event's button " + quoted(record) + " is not a button of this plug-in; " +
                            eventButtonNames(panel);
        return false;
    }
    if (eventAction(panel, *c) == EventAction::None) {
        if (error) *error = notAnEvent(panel, *c);
        return false;
    }
    *event = ShotEvent{frame, record};
    return true;
}

std::string eventLine(const Panel& panel, const ShotEvent& event) {
    std::string line = "event " + std::to_string(event.frame) + " " + event.record;
    const Control* c = panel.findRecord(event.record);
    if (c && !panel.name(*c).empty()) line += "  # " + panel.name(*c);
    return line;
}

}  // namespace sparkhost
