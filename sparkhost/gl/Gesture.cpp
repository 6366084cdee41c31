// Pointer gestures: parsing the command line's form and turning a drag into events.
#include "sparkhost/gl/Gesture.h"

#include <cstdio>

namespace sparkhost {

bool parseDrag(const std::string& text, DragGesture* gesture, std::string* error) {
    DragGesture g;
    char tail = 0;
    if (std::sscanf(text.c_str(), " %f , %f : %f , %f %c", &g.x0, &g.y0, &g.x1, &g.y1, &tail) !=
        4) {
        if (error)
            *error = "drag \"" + text + "\" is not of the form X0,Y0:X1,Y1 (viewer pixels)";
        return false;
    }
    if (gesture) *gesture = g;
    return true;
}

std::vector<PointerEvent> dragEvents(const DragGesture& g, int moves) {
    if (moves < 1) moves = 1;
    std::vector<PointerEvent> events;
    events.push_back({g.x0, g.y0, 0.0f});   // the pointer arrives over the start point
    events.push_back({g.x0, g.y0, 1.0f});   // press
    for (int i = 1; i <= moves; ++i) {
        const float t = float(i) / float(moves);
        events.push_back({g.x0 + (g.x1 - g.x0) * t, g.y0 + (g.y1 - g.y0) * t, 1.0f});
    }
    events.back().x = g.x1;                 // exactly at the end, whatever the rounding
    events.back().y = g.y1;
    events.push_back({g.x1, g.y1, 0.0f});   // release
    return events;
}

}  // namespace sparkhost
