// Finding the control a person means.
#include <algorithm>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/ValueText.h"

namespace sparkhost {

// ---- references -----------------------------------------------------------------------------

namespace {

bool suits(const Control& c, ControlUse use) {
    switch (use) {
    case ControlUse::Press: return c.kind == ControlKind::Push;
    case ControlUse::Value: return c.kind != ControlKind::Push;
    case ControlUse::Animate:
        return c.kind == ControlKind::Float || c.kind == ControlKind::Int ||
               c.kind == ControlKind::UserFloat;
    }
    return false;
}

const char* useWord(ControlUse use) {
    switch (use) {
    case ControlUse::Press: return "a button";
    case ControlUse::Value: return "a control with a value";
    case ControlUse::Animate: return "an animatable (number) control";
    }
    return "";
}

}  // namespace

const Control* Panel::resolve(const std::string& reference, ControlUse use, const Host* host,
                              std::string* error) const {
    std::string wanted = normaliseName(reference);
    const Control* unsuitable = nullptr;
    auto pick = [&](auto matches) -> const Control* {
        // Panel controls come before user float channels of the same number.
        const Control* best = nullptr;
        for (const auto& c : controls_) {
            if (!matches(c)) continue;
            if (!suits(c, use)) {
                if (!unsuitable) unsuitable = &c;
                continue;
            }
            if (!best || (best->kind == ControlKind::UserFloat && c.kind != ControlKind::UserFloat))
                best = &c;
        }
        return best;
    };
    const Control* found = pick([&](const Control& c) { return sameName(c.record, wanted); });
    long n;
    if (!found && parseLong(reference, &n))
        found = pick([&](const Control& c) { return c.number == n; });
    if (!found) found = pick([&](const Control& c) { return normaliseName(name(c)) == wanted; });
    if (!found && host)
        found = pick([&](const Control& c) {
            return normaliseName(host->controlName(channelType(c), c.number)) == wanted;
        });
    if (found) return found;
    if (error) {
        if (unsuitable) {
            std::string kind = kindName(unsuitable->kind);
            bool vowel = !kind.empty() && std::string("aeiou").find(kind[0]) != std::string::npos;
            *error = "control '" + reference + "' (" + unsuitable->record + (vowel ? ", an " : ", a ") + kind +
                     ") is not " + useWord(use);
            if (unsuitable->kind == ControlKind::Push) *error += "; press it with --press";
            else if (use == ControlUse::Press) *error += "; set it with --set";
            return nullptr;
        }
        std::vector<std::string> candidates;
        std::vector<const Control*> owners;
        for (const auto& c : controls_) {
            if (!suits(c, use)) continue;
            // People type label names; records stand in only for controls without a title.
            std::vector<std::string> typed;
            if (!name(c).empty()) typed.push_back(name(c));
            if (host && !host->controlName(channelType(c), c.number).empty())
                typed.push_back(host->controlName(channelType(c), c.number));
            if (typed.empty()) typed.push_back(c.record);
            for (const auto& nm : typed) {
                candidates.push_back(nm);
                owners.push_back(&c);
            }
        }
        // Rank by the names people type, then show each match with its number.
        std::vector<std::string> closest = closestNames(reference, candidates, 12);
        std::vector<std::string> shown;
        for (const auto& nm : closest) {
            size_t i = size_t(std::find(candidates.begin(), candidates.end(), nm) - candidates.begin());
            const Control* c = owners[i];
            std::string label = name(*c).empty() ? c->record : quoted(name(*c));
            std::string item = label + " (" + std::to_string(c->number) + ")";
            if (std::find(shown.begin(), shown.end(), item) == shown.end()) shown.push_back(item);
            if (shown.size() == 3) break;
        }
        *error = "unknown control '" + reference + "'";
        if (!shown.empty()) {
            *error += "; closest:";
            for (size_t i = 0; i < shown.size(); ++i) *error += (i ? ", " : " ") + shown[i];
        }
    }
    return nullptr;
}

}  // namespace sparkhost
