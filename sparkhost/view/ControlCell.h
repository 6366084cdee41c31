// One control on the panel: the record it shows (by kind and number) and its widgets.
#ifndef SPARKHOST_VIEW_CONTROLCELL_H
#define SPARKHOST_VIEW_CONTROLCELL_H

#include <string>

#include "sparkhost/view/PanelLayout.h"

class QWidget;
class QLabel;
class QSlider;
class QLineEdit;
class QCheckBox;
class QComboBox;
class QPushButton;

namespace sparkhost {

struct ControlCell {
    ControlKind kind;
    int number;
    WidgetPlan plan;          // control pointer refreshed on every use
    std::string name;         // how a person names it
    QWidget* box = nullptr;   // the whole cell, hidden with the control
    QLabel* label = nullptr;
    QSlider* slider = nullptr;
    QLineEdit* field = nullptr;   // the value in the label's own format; any text may be typed
    bool refused = false;         // the last value typed was refused; marked until the next edit
    QCheckBox* check = nullptr;
    QComboBox* list = nullptr;
    QPushButton* button = nullptr;  // push buttons and the colour swatch
};

}  // namespace sparkhost

#endif
