// The `view` subcommand's options on the command line.
#ifndef SPARKHOST_CLI_VIEWCOMMAND_H
#define SPARKHOST_CLI_VIEWCOMMAND_H

#include <CLI/CLI.hpp>

#include <string>

#include "sparkhost/view/ViewOptions.h"

namespace sparkhost {

struct ViewCommand {
    ViewOptions options;
    std::string size;
    std::string fps;   // frames per second, or "max"
    CLI::App* app = nullptr;
};

void addViewCommand(CLI::App& app, ViewCommand& view);
// Runs the window (or says that this build has none).
int runViewCommand(ViewCommand& view);

}  // namespace sparkhost

#endif
