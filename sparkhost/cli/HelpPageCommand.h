// `sparkhost help-page [--print] [-geometry +X+Y] URL`: what a plug-in's Help button runs in
// sparkhost (see sparkhost/lib/HelpPages.h). It names the page on standard output and opens it:
// in the desktop's browser through xdg-open, else, on a display, in a window of its own; with
// --print, or without a display, it only names it.
#ifndef SPARKHOST_CLI_HELPPAGECOMMAND_H
#define SPARKHOST_CLI_HELPPAGECOMMAND_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace sparkhost {

struct HelpPageCommand {
    CLI::App* app = nullptr;
};

void addHelpPageCommand(CLI::App& app, HelpPageCommand& command);
int runHelpPage(const std::vector<std::string>& words);

}  // namespace sparkhost

#endif
