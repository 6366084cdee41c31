#include "sparkhost/view/PanelLayout.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace sparkhost {

int formatDecimals(const char* format) {
    if (!format) return 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        int precision = -1;
        for (++p; *p && !std::isalpha(static_cast<unsigned char>(*p)); ++p)
            if (*p == '.') precision = std::atoi(p + 1);
        if (*p == 'd' || *p == 'i') return 0;
        return precision < 0 ? 6 : precision;
    }
    return 0;
}

std::string fieldText(const Control& c, double value) {
    const char* title = c.kind == ControlKind::Int ? c.asInt()->Title : c.asFloat()->Title;
    std::string conversion = c.kind == ControlKind::Int ? "%d" : "%g";
    for (const char* p = title; p && *p; ++p) {
        if (*p != '%') continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        const char* end = p + 1;
        while (*end && !std::isalpha(static_cast<unsigned char>(*end))) ++end;
        if (*end) conversion.assign(p, size_t(end - p + 1));
        break;
    }
    return formatLabel(conversion.c_str(), c.kind, value, nullptr);
}

WidgetPlan widgetFor(const Panel& panel, const Control& c) {
    WidgetPlan s;
    s.control = &c;
    s.page = Panel::page(c);
    if (s.page > 0) {
        const int offset = c.number - (6 + kPlacesPerPage * (s.page - 1));
        s.column = offset / kRowsPerColumn;
        s.row = offset % kRowsPerColumn;
    } else if (s.page == 0) {
        s.column = c.number;
    }
    switch (c.kind) {
    case ControlKind::Int:
    case ControlKind::Float:
        s.kind = WidgetKind::Slider;
        s.integer = c.kind == ControlKind::Int;
        panel.range(c, &s.min, &s.max, &s.step);
        if (!(s.step > 0.0)) s.step = s.integer ? 1.0 : (s.max - s.min) / 100.0;
        if (!(s.step > 0.0)) s.step = 1.0;
        s.decimals = s.integer ? 0 : formatDecimals(c.asFloat()->Title);
        s.locked = s.min == s.max;
        break;
    case ControlKind::Boolean: s.kind = WidgetKind::Checkbox; break;
    case ControlKind::List: s.kind = WidgetKind::PullDown; break;
    case ControlKind::Push: s.kind = WidgetKind::Button; break;
    case ControlKind::Colour: s.kind = WidgetKind::Swatch; break;
    case ControlKind::String: s.kind = s.page == 0 ? WidgetKind::ClipName : WidgetKind::None; break;
    case ControlKind::UserFloat: s.kind = WidgetKind::None; break;
    }
    return s;
}

std::vector<WidgetPlan> pageWidgets(const Panel& panel, int page) {
    std::vector<WidgetPlan> out;
    for (const Control& c : panel.controls()) {
        WidgetPlan s = widgetFor(panel, c);
        if (s.kind != WidgetKind::None && s.page == page) out.push_back(s);
    }
    std::stable_sort(out.begin(), out.end(), [](const WidgetPlan& a, const WidgetPlan& b) {
        return a.control->number < b.control->number;
    });
    return out;
}

int pageCount(const Panel& panel) {
    int pages = 0;
    for (const Control& c : panel.controls()) pages = std::max(pages, Panel::page(c));
    return pages;
}

int sliderPositions(const WidgetPlan& s) {
    if (s.locked || !(s.max > s.min)) return 0;
    return int(std::ceil((s.max - s.min) / s.step - 1e-9));
}

int sliderPosition(const WidgetPlan& s, double value) {
    const int last = sliderPositions(s);
    if (last == 0) return 0;
    const int p = int(std::lround((value - s.min) / s.step));
    return std::clamp(p, 0, last);
}

double sliderValue(const WidgetPlan& s, int position) {
    if (position >= sliderPositions(s)) return s.max;
    return std::clamp(s.min + double(position) * s.step, s.min, s.max);
}

}  // namespace sparkhost
