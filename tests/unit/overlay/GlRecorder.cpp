#include "GlRecorder.h"

#include <GL/gl.h>

namespace glrec {
namespace {
std::vector<Call> log;
void Add(const char* name, std::initializer_list<double> args) { log.push_back({name, args}); }
}  // namespace

void Clear() { log.clear(); }
const std::vector<Call>& Calls() { return log; }

std::vector<Call> Named(const std::string& name) {
    std::vector<Call> out;
    for (const Call& c : log)
        if (c.name == name) out.push_back(c);
    return out;
}

std::vector<Primitive> Primitives() {
    std::vector<Primitive> out;
    float r = 1, g = 1, b = 1;
    for (const Call& c : log) {
        if (c.name == "glColor3f") {
            r = float(c.args[0]), g = float(c.args[1]), b = float(c.args[2]);
        } else if (c.name == "glBegin") {
            out.push_back({unsigned(c.args[0]), r, g, b, {}});
        } else if (c.name == "glVertex2f" && !out.empty()) {
            out.back().v.push_back({float(c.args[0]), float(c.args[1])});
        }
    }
    return out;
}

std::vector<Segment> Segments() {
    std::vector<Segment> out;
    for (const Primitive& p : Primitives())
        for (size_t i = 0; p.mode == GL_LINES && i + 1 < p.v.size(); i += 2)
            out.push_back({p.v[i].x, p.v[i].y, p.v[i + 1].x, p.v[i + 1].y});
    return out;
}

}  // namespace glrec

extern "C" {
void glBegin(GLenum mode) { glrec::Add("glBegin", {double(mode)}); }
void glEnd(void) { glrec::Add("glEnd", {}); }
void glVertex2f(GLfloat x, GLfloat y) { glrec::Add("glVertex2f", {x, y}); }
void glColor3f(GLfloat r, GLfloat g, GLfloat b) { glrec::Add("glColor3f", {r, g, b}); }
void glLoadIdentity(void) { glrec::Add("glLoadIdentity", {}); }
void glTranslatef(GLfloat x, GLfloat y, GLfloat z) { glrec::Add("glTranslatef", {x, y, z}); }
void glScalef(GLfloat x, GLfloat y, GLfloat z) { glrec::Add("glScalef", {x, y, z}); }
void glFlush(void) { glrec::Add("glFlush", {}); }
}
