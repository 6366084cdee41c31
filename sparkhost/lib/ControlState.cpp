#include "sparkhost/lib/ControlState.h"

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Panel.h"

namespace sparkhost {

ControlState controlState(const Panel& panel, const Host& host, const Control& c) {
    ControlState state;
    state.hidden = !host.parameterEnabled(Panel::channelType(c), c.number);
    double lo, hi, step;
    state.greyed = panel.isNumeric(c) && panel.range(c, &lo, &hi, &step) && lo == hi;
    return state;
}

std::string describeState(const ControlState& state) {
    if (state.hidden && state.greyed) return "hidden, greyed";
    if (state.hidden) return "hidden";
    if (state.greyed) return "greyed";
    return "";
}

}  // namespace sparkhost
