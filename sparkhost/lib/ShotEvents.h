// Events: the buttons that act on a simulation, placed at frames of a shot.
//
// A stateful plug-in such as Vesk's swarm has buttons that change the simulation rather than a
// value: Restart, Restart+PreRoll and PreRoll leave a request that the next processed frame acts
// on, and Advance has the current frame processed once more. Pressing them while frames are
// rendered in any order would make a frame depend on when the button was pressed, so in
// replayed time (render's default, the viewer's timeline) they are events: a button at a frame F.
// Frame N of a shot is then a pure function of the settings, the clips and the events at frames
// from the shot's start to N. When the simulation reaches F, before F's own processing, each
// event at F is replayed in the order placed (see replayEvents in ShotCatchUp.h):
//   - the button's callback is called with the frame buffers withheld, so the requests it leaves
//     are acted on by the next processed frame, and a preview it asks for renders and steps
//     nothing, whatever the plug-in's Auto Preview says;
//   - an Advance event then has frame F processed once more and the picture discarded: what
//     pressing Advance with Auto Preview on does in a host that processes frames in order.
//
// Setups carry events as "event FRAME RECORD  # label" lines; `render --event FRAME:BUTTON`
// places one, the button named as --press names it.
#ifndef SPARKHOST_LIB_SHOTEVENTS_H
#define SPARKHOST_LIB_SHOTEVENTS_H

#include <string>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"

namespace sparkhost {

enum class EventAction {
    None,     // not a button that acts on the simulation: it cannot be an event
    Request,  // Restart, Restart+PreRoll, PreRoll: the callback's request acts at the frame
    Step,     // Advance: the frame is processed once more
};

// What a button does as an event, found by its name as a person knows it (compared without
// case and without the label's trailing blanks), so that every page's copy of a button counts.
EventAction eventAction(const Panel& panel, const Control& control);

// Parses "FRAME:BUTTON" (a whole frame from 0 up; the button named as --press names it) into an
// event of the button's record. The error names the text and, for a button that is no event,
// the buttons that are.
bool parseEventOption(const Panel& panel, const Host* host, const std::string& text, ShotEvent* event,
                      std::string* error);

// Checks a setup's "FRAME RECORD" pair (the words after "event", comment removed).
bool parseEventRecord(const Panel& panel, const std::string& text, ShotEvent* event, std::string* error);

// The event as a setup line, without the line end: "event 45 SparkPush6  # Restart".
std::string eventLine(const Panel& panel, const ShotEvent& event);

}  // namespace sparkhost

#endif
