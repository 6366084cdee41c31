#include "InfoCommand.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <sstream>
#include <unistd.h>

#include "sparkhost/lib/ColourManagement.h"
#include "sparkhost/lib/ControlState.h"
#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"
#include "sparkhost/lib/Setup.h"

namespace sparkhost {

namespace {

std::string pad(const std::string& s, size_t width) {
    return s.size() >= width ? s + " " : s + std::string(width - s.size(), ' ');
}

std::string num(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

std::string describe(const Plugin& plugin, const Control& c) {
    const Panel& panel = plugin.panel();
    const Host& host = const_cast<Plugin&>(plugin).host();
    std::string label = trimRight(panel.label(c));
    if (c.kind == ControlKind::Colour) label = panel.displayValue(c);
    // A checkbox shows its state beside its title, as a tick box would.
    if (c.kind == ControlKind::Boolean) label = (panel.displayValue(c) == "on" ? "[x] " : "[ ] ") + label;
    std::ostringstream line;
    line << "  " << pad(std::to_string(c.number), 5) << pad(label.empty() ? "(no title)" : label, 30)
         << pad(kindName(c.kind), 10);
    if (c.kind != ControlKind::Push) line << "default " << pad(panel.displayDefault(c), 12);
    double lo, hi, step;
    if (panel.range(c, &lo, &hi, &step))
        line << "range " << num(lo) << " to " << num(hi) << " step " << num(step);
    if (c.kind == ControlKind::List) {
        line << "entries:";
        for (size_t i = 0; i < panel.listEntries(c).size(); ++i)
            line << (i ? ", " : " ") << panel.listEntryName(c, int(i));
    }
    const std::string state = describeState(controlState(panel, host, c));
    if (!state.empty()) line << "  [" << state << "]";
    std::string text = line.str();
    return trimRight(text);
}

}  // namespace

void printPanel(const Plugin& plugin, std::ostream& out) {
    const Panel& panel = plugin.panel();
    const Host& host = const_cast<Plugin&>(plugin).host();
    out << "Plug-in " << plugin.path() << ": " << plugin.clips() << " input clip"
        << (plugin.clips() == 1 ? "" : "s") << ", " << plugin.summary() << "\n";

    std::map<int, std::vector<const Control*>> pages;
    std::vector<const Control*> channelsOnly;
    for (const auto& c : panel.controls()) {
        int page = Panel::page(c);
        if (page < 0) channelsOnly.push_back(&c);
        else pages[page].push_back(&c);
    }
    if (pages.count(0)) {
        out << "\nClips\n";
        for (const Control* c : pages[0]) {
            std::string line = "  " + pad(std::to_string(c->number), 5) + trimRight(panel.label(*c));
            auto title = host.clipTitles().find(c->number);
            if (title != host.clipTitles().end()) line += "  (title " + title->second + ")";
            out << line << "\n";
        }
        pages.erase(0);
    }
    for (const auto& page : pages) {
        out << "\nPage " << page.first;
        auto title = host.pageTitles().find(page.first - 1);
        if (title != host.pageTitles().end()) out << " \"" << title->second << "\"";
        out << "\n";
        for (const Control* c : page.second) out << describe(plugin, *c) << "\n";
    }
    if (!channelsOnly.empty()) {
        out << "\nChannels without a place on a page\n";
        for (const Control* c : channelsOnly) out << describe(plugin, *c) << "\n";
    }
    if (!host.channels().empty()) {
        out << "\nChannel folders\n";
        for (const auto& e : host.channels()) {
            std::string indent(size_t(e.level > 0 ? e.level : 1) * 2, ' ');
            if (e.folder) {
                out << indent << e.name << "\n";
                continue;
            }
            std::string name = host.controlName(e.type, e.control);
            const Control* c = panel.channel(e.type, e.control);
            if (name.empty() && c) name = panel.name(*c);
            out << indent << (e.type == 0 ? "user " : "") << e.control << "  " << name << "\n";
        }
    }
}

int runInfo(const InfoOptions& options) {
    Host host;
    host.setBitDepth(options.depth);
    host.setEcho(true);
    if (!options.setup.empty()) {
        if (access(options.setup.c_str(), R_OK) != 0) {
            std::cerr << "sparkhost: cannot read setup file '" << options.setup << "'\n";
            return 2;
        }
        host.setSetupName(options.setup);
    }
    Plugin plugin(host);
    applyChoice(options.choice, plugin);
    std::string error;
    if (!plugin.load(options.plugin, &error)) {
        std::cerr << "sparkhost: " << error << "\n";
        return 2;
    }
    plugin.initialise();
    if (!plugin.initialiseError().empty()) {
        std::cerr << "sparkhost: " << plugin.initialiseError() << "\n";
        return 2;
    }
    // A plug-in that never asks for its setup still gets the one given.
    if (!options.setup.empty() && host.setupLoads().end() == std::find(host.setupLoads().begin(),
                                                                         host.setupLoads().end(), options.setup)) {
        std::string why;
        if (!readSetup(plugin.panel(), host, options.setup, &why)) {
            std::cerr << "sparkhost: " << why << "\n";
            return 2;
        }
    }
    // The panel as the window shows it: the plug-in applies its show/hide rules when it processes
    // its first frame (a small black one here).
    host.setFrameSize(64, 36);
    plugin.startRender();
    plugin.renderFrame(1);
    host.setBuffersReady(false);
    printPanel(plugin, std::cout);
    ColourManagement colour;
    std::vector<std::string> noClips;
    if (colour.configure(ColourOptions(), &noClips, "", &error)) std::cout << "\n" << colour.describeConfig();
    else std::cerr << "sparkhost: " << error << "\n";
    std::cout.flush();
    plugin.uninitialise();
    return 0;
}

}  // namespace sparkhost
