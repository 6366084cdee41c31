// Pointer gestures in the host's viewer, as a person makes them with a pen or a mouse.
#ifndef SPARKHOST_GL_GESTURE_H
#define SPARKHOST_GL_GESTURE_H

#include <string>
#include <vector>

namespace sparkhost {

// One pointer event in viewer pixels (see Viewer.h); pressure 0 means no button or pen contact.
struct PointerEvent {
    float x = 0.0f;
    float y = 0.0f;
    float pressure = 0.0f;
};

// A press at (x0, y0), a drag to (x1, y1) and a release there.
struct DragGesture {
    float x0 = 0.0f, y0 = 0.0f, x1 = 0.0f, y1 = 0.0f;
};

// Parses "X0,Y0:X1,Y1" (numbers may have decimals). On failure returns false with a message
// that quotes the text.
bool parseDrag(const std::string& text, DragGesture* gesture, std::string* error);

// The events of a gesture: a hover at the start, a press there, `moves` drag events evenly along
// the way (the last one at the end point) and a release at the end point. Pressure is 1 while
// the button is down.
std::vector<PointerEvent> dragEvents(const DragGesture& gesture, int moves = 8);

}  // namespace sparkhost

#endif
