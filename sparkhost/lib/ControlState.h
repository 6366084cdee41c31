// How a host shows a control, one answer for every front end (`sparkhost info`, the window):
// a control the plug-in disables with sparkDisableParameter is hidden until it enables it again
// (its value is kept), and a numeric control whose range the plug-in locked to one value is
// greyed (it refuses any other value). A plug-in applies its show/hide rules when it processes
// its first frame, so a front end asks after one.
#ifndef SPARKHOST_LIB_CONTROLSTATE_H
#define SPARKHOST_LIB_CONTROLSTATE_H

#include <string>

namespace sparkhost {

class Host;
class Panel;
struct Control;

struct ControlState {
    bool hidden = false;
    bool greyed = false;
};

ControlState controlState(const Panel& panel, const Host& host, const Control& control);
// "hidden", "greyed", "hidden, greyed" or empty.
std::string describeState(const ControlState& state);

}  // namespace sparkhost

#endif
