// Stands in for libGL in the overlay tests: every gl… call the plug-in makes is recorded, so a
// test reads back exactly what would have been drawn.
#ifndef TESTS_UNIT_OVERLAY_GLRECORDER_H
#define TESTS_UNIT_OVERLAY_GLRECORDER_H

#include <string>
#include <vector>

namespace glrec {

struct Call {
    std::string name;
    std::vector<double> args;
};
struct Vertex {
    float x, y;
};
// One glBegin ... glEnd block with the colour current when it began.
struct Primitive {
    unsigned mode;
    float r, g, b;
    std::vector<Vertex> v;
};
struct Segment {
    float x0, y0, x1, y1;
};

void Clear();
const std::vector<Call>& Calls();
std::vector<Call> Named(const std::string& name);
std::vector<Primitive> Primitives();
std::vector<Segment> Segments();   // every GL_LINES pair, in order

}  // namespace glrec

#endif
