// Simulation buttons as events placed at a frame: the text of the "Events" parameter, one
// `FRAME BUTTON` per line, replayed when the simulation reaches that frame.
#ifndef OFX_EVENTS_H
#define OFX_EVENTS_H

#include <map>
#include <string>
#include <vector>

namespace vesk_ofx {

enum class EventButton { Restart, RestartPreRoll, PreRoll, Advance };

// The button's name as lines carry it ("Restart", "Restart+PreRoll", "PreRoll", "Advance").
const char* EventButtonName(EventButton button);
// The control number of the button's page-1 record, whose callback the replay calls.
int EventButtonControl(EventButton button);

struct EventList {
    std::map<int, std::vector<EventButton>> at;  // frame -> buttons in the order placed
    std::vector<std::string> errors;             // lines that name no frame or no button
    const std::vector<EventButton>* find(int frame) const {
        auto it = at.find(frame);
        return it == at.end() ? nullptr : &it->second;
    }
};

// Reads the parameter's text. Blank lines and text after '#' are ignored; a bad line is reported
// and otherwise skipped, so one typing slip does not throw away the others.
EventList ParseEvents(const std::string& text);
// The text with one more event at the end.
std::string AppendEvent(const std::string& text, int frame, EventButton button);

}  // namespace vesk_ofx

#endif
