// The plug-in's panel as tabs: one page per tab titled as the plug-in named it, every control in
// the place its record's number gives it (PanelLayout.h), and the clip names above the tabs.
// Widgets keep the kind and number of their record, never its address, so they survive a reload
// of the plug-in; refresh() reads every record again.
#ifndef SPARKHOST_VIEW_PANELWIDGET_H
#define SPARKHOST_VIEW_PANELWIDGET_H

#include <QWidget>

#include <functional>
#include <string>
#include <vector>

#include "sparkhost/view/PanelLayout.h"

class QTabWidget;
class QLabel;

namespace sparkhost {

class ViewSession;
struct ControlCell;

class PanelWidget : public QWidget {
public:
    PanelWidget(ViewSession& session, QWidget* parent = nullptr);
    ~PanelWidget() override;

    // Builds the tabs from the plug-in's records (again after a reload).
    void build();
    // Every label, value, greyed and hidden state from the records and the host.
    void refresh();
    // Called after every edit made in the panel.
    void setEdited(std::function<void()> edited) { edited_ = std::move(edited); }

    QTabWidget* tabs() const { return tabs_; }
    // The cell of the control a person names by its label (without format) or list name.
    ControlCell* cell(const std::string& name) const;
    std::vector<std::string> pageTitles() const;

    // Edits as a person makes them through the widgets (used by scripts too).
    bool edit(ControlCell* cell, const std::string& value, std::string* error);
    void press(ControlCell* cell);
    // A value typed into a slider's field and committed; false when it was refused.
    bool commitText(ControlCell* cell, const std::string& text);
    // Why the last typed value was refused.
    const std::string& lastRefusal() const { return lastRefusal_; }

private:
    ControlCell* makeCell(const WidgetPlan& plan, QWidget* parent);
    void chooseColour(ControlCell* cell);
    void commitNumber(ControlCell* cell, double value);

    ViewSession& session_;
    QTabWidget* tabs_ = nullptr;
    QLabel* clipNames_ = nullptr;
    std::vector<ControlCell*> cells_;
    std::function<void()> edited_;
    bool refreshing_ = false;
    std::string lastRefusal_;
};

}  // namespace sparkhost

#endif
