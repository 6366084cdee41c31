// Where and as what the window shows each control record: the mapping from the plug-in's records
// to panel widgets, kept apart from the toolkit so that it can be checked on its own.
//
// A page holds 29 places numbered from 6 + 29 x (page - 1). They fill columns of seven from the
// top, left to right, so a page's first seven controls form its first column and its standard
// block (Clear Overlay, Help, Reset, resolution, Auto Preview) lands at the right-hand end.
#ifndef SPARKHOST_VIEW_PANELLAYOUT_H
#define SPARKHOST_VIEW_PANELLAYOUT_H

#include <string>
#include <vector>

#include "sparkhost/lib/Panel.h"

namespace sparkhost {

class Host;

enum class WidgetKind {
    Slider,     // integer or float record: slider, editable field, label with the value
    Checkbox,   // boolean record
    PullDown,   // list record
    Button,     // push record
    Swatch,     // colour record: a swatch that opens a colour picker
    ClipName,   // the clip-name strings below the first page
    None,       // not shown on the panel (user float channels)
};

struct WidgetPlan {
    const Control* control = nullptr;
    WidgetKind kind = WidgetKind::None;
    int page = 0;        // 1.. for panel pages, 0 for clip names
    int column = 0;
    int row = 0;
    bool integer = false;
    int decimals = 0;    // digits after the point in the field, from the label's format
    double min = 0.0, max = 0.0, step = 1.0;
    bool locked = false;  // minimum equals maximum: the control is greyed
};

constexpr int kPlacesPerPage = 29;
constexpr int kRowsPerColumn = 7;

WidgetPlan widgetFor(const Panel& panel, const Control& control);
// Every control shown on a page, in the order of their numbers.
std::vector<WidgetPlan> pageWidgets(const Panel& panel, int page);
int pageCount(const Panel& panel);

// Digits after the point that a printf format shows for its value ("%.2f" 2, "%d" 0, "%f" 6).
int formatDecimals(const char* format);
// The value as the control's label shows it (its format's conversion alone, "%.2f" of
// "Food X: %.2f"), so that the field and the label round alike; whatever the range.
std::string fieldText(const Control& control, double value);

// A slider moves in whole increments from the minimum; the last position is the maximum.
int sliderPositions(const WidgetPlan& plan);
int sliderPosition(const WidgetPlan& plan, double value);
double sliderValue(const WidgetPlan& plan, int position);

}  // namespace sparkhost

#endif
