#include "sparkhost/view/PanelWidget.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSlider>
#include <QTabWidget>
#include <QVBoxLayout>

#include "sparkhost/lib/ControlState.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/view/ControlCell.h"
#include "sparkhost/view/ViewSession.h"

namespace sparkhost {

namespace {

QString q(const std::string& s) { return QString::fromStdString(s); }

// Packed colours hold red in the low byte; Qt's hold it in the third.
QColor toQColor(unsigned packed) {
    return QColor(int(packed & 0xFF), int((packed >> 8) & 0xFF), int((packed >> 16) & 0xFF));
}

}  // namespace

PanelWidget::PanelWidget(ViewSession& session, QWidget* parent) : QWidget(parent), session_(session) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    clipNames_ = new QLabel(this);
    clipNames_->setObjectName("clip names");
    tabs_ = new QTabWidget(this);
    layout->addWidget(clipNames_);
    layout->addWidget(tabs_, 1);
}

PanelWidget::~PanelWidget() {
    for (ControlCell* c : cells_) delete c;
}

void PanelWidget::build() {
    const int current = tabs_->currentIndex();
    while (tabs_->count() > 0) {
        QWidget* page = tabs_->widget(0);
        tabs_->removeTab(0);
        delete page;
    }
    for (ControlCell* c : cells_) delete c;
    cells_.clear();
    const Panel& panel = session_.panel();
    for (int page = 1; page <= pageCount(panel); ++page) {
        auto* sheet = new QWidget;
        auto* grid = new QGridLayout(sheet);
        grid->setHorizontalSpacing(18);
        for (const WidgetPlan& plan : pageWidgets(panel, page))
            grid->addWidget(makeCell(plan, sheet)->box, plan.row, plan.column);
        for (int column = 0; column * kRowsPerColumn < kPlacesPerPage; ++column)
            grid->setColumnStretch(column, 1);
        grid->setRowStretch(kRowsPerColumn, 1);
        auto it = session_.host().pageTitles().find(page - 1);
        const std::string title = it != session_.host().pageTitles().end() ? it->second
                                                                            : "Page " + std::to_string(page);
        // A page larger than the space the window leaves it scrolls.
        auto* scroll = new QScrollArea;
        scroll->setWidget(sheet);
        scroll->setWidgetResizable(true);
        scroll->setFrameShape(QFrame::NoFrame);
        tabs_->addTab(scroll, q(title));
    }
    if (current >= 0 && current < tabs_->count()) tabs_->setCurrentIndex(current);
    refresh();
}

ControlCell* PanelWidget::makeCell(const WidgetPlan& plan, QWidget* parent) {
    auto* cell = new ControlCell{plan.control->kind, plan.control->number, plan, {}};
    const Panel& panel = session_.panel();
    cell->name = panel.name(*plan.control);
    if (cell->name.empty() && plan.kind == WidgetKind::Swatch) cell->name = "Colour";
    cell->box = new QWidget(parent);
    cell->box->setObjectName(q(cell->name));
    auto* layout = new QHBoxLayout(cell->box);
    layout->setContentsMargins(2, 1, 2, 1);
    cells_.push_back(cell);

    switch (plan.kind) {
    case WidgetKind::Slider: {
        auto* column = new QVBoxLayout;
        cell->label = new QLabel(cell->box);
        auto* row = new QHBoxLayout;
        cell->slider = new QSlider(Qt::Horizontal, cell->box);
        cell->field = new QLineEdit(cell->box);
        cell->field->setMinimumWidth(70);
        cell->field->setMaximumWidth(110);
        cell->field->setAlignment(Qt::AlignRight);
        row->addWidget(cell->slider, 1);
        row->addWidget(cell->field);
        column->addWidget(cell->label);
        column->addLayout(row);
        layout->addLayout(column);
        QObject::connect(cell->slider, &QSlider::valueChanged, cell->box, [this, cell](int position) {
            if (refreshing_) return;
            const double v = sliderValue(cell->plan, position);
            if (cell->slider->isSliderDown()) {
                // While the slider moves only the field follows; the edit is made at release.
                const Control* c = session_.panel().find(cell->kind, cell->number);
                if (c) cell->field->setText(q(fieldText(*c, v)));
                return;
            }
            commitNumber(cell, v);
        });
        QObject::connect(cell->slider, &QSlider::sliderReleased, cell->box, [this, cell] {
            commitNumber(cell, sliderValue(cell->plan, cell->slider->value()));
        });
        // Only what the person typed is committed: passing through the field changes nothing.
        QObject::connect(cell->field, &QLineEdit::editingFinished, cell->box, [this, cell] {
            if (refreshing_ || !cell->field->isModified()) return;
            cell->field->setModified(false);
            commitText(cell, cell->field->text().toStdString());
        });
        QObject::connect(cell->field, &QLineEdit::textEdited, cell->box, [cell] {
            if (!cell->refused) return;
            cell->refused = false;
            cell->field->setStyleSheet(QString());
            cell->field->setToolTip(QString());
        });
        break;
    }
    case WidgetKind::Checkbox:
        cell->check = new QCheckBox(cell->box);
        layout->addWidget(cell->check);
        QObject::connect(cell->check, &QCheckBox::clicked, cell->box, [this, cell](bool on) {
            std::string error;
            edit(cell, on ? "on" : "off", &error);
        });
        break;
    case WidgetKind::PullDown:
        cell->list = new QComboBox(cell->box);
        for (const auto& entry : panel.listEntries(*plan.control)) cell->list->addItem(q(trimRight(entry)));
        layout->addWidget(cell->list);
        QObject::connect(cell->list, QOverload<int>::of(&QComboBox::activated), cell->box,
                         [this, cell](int index) {
                             std::string error;
                             edit(cell, std::to_string(index + 1), &error);
                         });
        break;
    case WidgetKind::Button:
        cell->button = new QPushButton(cell->box);
        layout->addWidget(cell->button);
        QObject::connect(cell->button, &QPushButton::clicked, cell->box, [this, cell] { press(cell); });
        break;
    case WidgetKind::Swatch:
        cell->label = new QLabel("Colour", cell->box);
        cell->button = new QPushButton(cell->box);
        cell->button->setMinimumWidth(60);
        layout->addWidget(cell->label);
        layout->addWidget(cell->button, 1);
        QObject::connect(cell->button, &QPushButton::clicked, cell->box, [this, cell] { chooseColour(cell); });
        break;
    case WidgetKind::ClipName:
    case WidgetKind::None: break;
    }
    return cell;
}

void PanelWidget::refresh() {
    refreshing_ = true;
    const Panel& panel = session_.panel();
    const Host& host = session_.host();
    for (ControlCell* cell : cells_) {
        const Control* c = panel.find(cell->kind, cell->number);
        if (!c) continue;
        cell->plan = widgetFor(panel, *c);
        const WidgetPlan& s = cell->plan;
        const ControlState state = controlState(panel, host, *c);
        cell->box->setVisible(!state.hidden);
        const QString label = q(trimRight(panel.label(*c)));
        switch (s.kind) {
        case WidgetKind::Slider: {
            const QSignalBlocker b1(cell->slider), b2(cell->field);
            cell->label->setText(label);
            cell->slider->setRange(0, sliderPositions(s));
            cell->slider->setValue(sliderPosition(s, panel.numericValue(*c)));
            // The value as it is, in range or not; text being typed is left alone.
            const QString text = q(fieldText(*c, panel.numericValue(*c)));
            if (cell->refused && text != cell->field->text()) {
                // The control changed since the refusal: the mark no longer applies.
                cell->refused = false;
                cell->field->setStyleSheet(QString());
                cell->field->setToolTip(QString());
            }
            if (!(cell->field->hasFocus() && cell->field->isModified())) cell->field->setText(text);
            cell->box->setEnabled(!state.greyed);
            cell->box->setProperty("keyed", session_.keyed(*c));
            break;
        }
        case WidgetKind::Checkbox: {
            const QSignalBlocker b(cell->check);
            cell->check->setText(label);
            cell->check->setChecked(panel.numericValue(*c) != 0.0);
            break;
        }
        case WidgetKind::PullDown: {
            const QSignalBlocker b(cell->list);
            cell->list->setCurrentIndex(int(panel.numericValue(*c)));
            break;
        }
        case WidgetKind::Button: cell->button->setText(label); break;
        case WidgetKind::Swatch: {
            const QColor colour = toQColor(c->asColour()->Color);
            cell->button->setStyleSheet("background-color: " + colour.name());
            cell->button->setText(colour.name());
            break;
        }
        default: break;
        }
    }
    // The clip names: what the plug-in calls each input, beside what the host feeds it.
    QStringList names;
    for (const Control& c : panel.controls())
        if (widgetFor(panel, c).kind == WidgetKind::ClipName) names << q(trimRight(panel.label(c)));
    clipNames_->setText("Clips:  " + names.join("   |   "));
    refreshing_ = false;
}

ControlCell* PanelWidget::cell(const std::string& name) const {
    const std::string wanted = normaliseName(name);
    for (ControlCell* c : cells_)
        if (normaliseName(c->name) == wanted || std::to_string(c->number) == name) return c;
    return nullptr;
}

std::vector<std::string> PanelWidget::pageTitles() const {
    std::vector<std::string> titles;
    for (int i = 0; i < tabs_->count(); ++i) titles.push_back(tabs_->tabText(i).toStdString());
    return titles;
}

bool PanelWidget::edit(ControlCell* cell, const std::string& value, std::string* error) {
    const Control* c = session_.panel().find(cell->kind, cell->number);
    if (!c) return false;
    const bool ok = session_.setValue(*c, value, error);
    if (edited_) edited_();
    return ok;
}

// A typed value goes through the same rule as every other way a person sets a value: a value
// outside the range, or no number at all, is refused with the reason, the field marked and the
// control left as it was.
bool PanelWidget::commitText(ControlCell* cell, const std::string& text) {
    const Control* c = session_.panel().find(cell->kind, cell->number);
    if (!c) return false;
    std::string error;
    // The value it already shows, typed again, is no edit (a preset may have stored it outside
    // the range; confirming it leaves it so).
    if (text == fieldText(*c, session_.panel().numericValue(*c))) return true;
    if (session_.setValue(*c, text, &error)) {
        cell->refused = false;
        cell->field->setStyleSheet(QString());
        cell->field->setToolTip(QString());
        if (edited_) edited_();
        return true;
    }
    const std::string why = error + "; it stays " + fieldText(*c, session_.panel().numericValue(*c));
    cell->refused = true;
    cell->field->setStyleSheet("background-color: #f6c9c4;");
    cell->field->setToolTip(q(why));
    cell->field->setText(q(fieldText(*c, session_.panel().numericValue(*c))));
    cell->field->selectAll();
    session_.host().report(HostMessage::Error, why);
    lastRefusal_ = why;
    if (edited_) edited_();
    return false;
}

void PanelWidget::commitNumber(ControlCell* cell, double value) {
    const Control* c = session_.panel().find(cell->kind, cell->number);
    if (!c) return;
    session_.setNumber(*c, std::clamp(value, cell->plan.min, cell->plan.max));
    if (edited_) edited_();
}

void PanelWidget::press(ControlCell* cell) {
    const Control* c = session_.panel().find(cell->kind, cell->number);
    if (!c) return;
    session_.press(*c);
    if (edited_) edited_();
}

void PanelWidget::chooseColour(ControlCell* cell) {
    const Control* c = session_.panel().find(cell->kind, cell->number);
    if (!c) return;
    const QColor chosen = QColorDialog::getColor(toQColor(c->asColour()->Color), this, "Shape colour");
    if (!chosen.isValid()) return;
    const unsigned packed = unsigned(chosen.red()) | unsigned(chosen.green()) << 8 |
                            unsigned(chosen.blue()) << 16 | 0xFF000000u;
    session_.setColour(*c, packed);
    if (edited_) edited_();
}

}  // namespace sparkhost
