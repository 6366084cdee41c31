// sparkhost: runs Spark plug-ins from the command line.
#include <CLI/CLI.hpp>

#include <csignal>
#include <new>
#include <unistd.h>

#include "sparkhost/lib/HelpPages.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/OutputLock.h"

#include "HelpPageCommand.h"
#include "InfoCommand.h"
#include "RenderCommand.h"
#include "ViewCommand.h"

namespace {

// An interrupted render removes the frame it was writing; finished frames stay.
void interrupted(int sig) {
    sparkhost::removePartialImages();
    sparkhost::releaseOutputLock();
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGINT, interrupted);
    std::signal(SIGTERM, interrupted);

    CLI::App app{"sparkhost: a Spark host for Linux. Loads a Spark plug-in, shows its panel and "
                 "renders image sequences with it."};
    app.require_subcommand(1);
    app.footer(
        "Examples:\n"
        "  sparkhost info build/vesk.spark\n"
        "  sparkhost render build/vesk.spark --frames 1-100 --clip 1=plate.####.exr \\\n"
        "      --set \"Render Mode=Render\" --set \"Vesk Size=300\" -o out/swarm.####.exr\n"
        "Run 'sparkhost render --help' for every render option.");

    sparkhost::InfoOptions info;
    CLI::App* infoCmd = app.add_subcommand("info", "Print the plug-in's panel: pages, controls, "
                                                   "defaults, ranges, states and channel folders.");
    infoCmd->add_option("plugin", info.plugin, "The plug-in (a .spark file)")->required();
    infoCmd->add_option("--setup", info.setup, "Load this setup before listing the panel");
    infoCmd->add_option("--depth", info.depth, "Host depth: 8 or 12 bits")->check(CLI::IsMember({8, 12}));

    sparkhost::RenderOptions r;
    CLI::App* render = sparkhost::addRenderCommand(app, r);

    sparkhost::ViewCommand view;
    sparkhost::addViewCommand(app, view);
    sparkhost::HelpPageCommand helpPage;
    sparkhost::addHelpPageCommand(app, helpPage);
    // A plug-in's Help button opens its page through sparkhost (see HelpPages.h).
    sparkhost::setHelpBrowser(sparkhost::selfPath() + " help-page");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? 0 : 2;
    }
    if (infoCmd->parsed()) return sparkhost::runInfo(info);
    if (view.app->parsed()) return sparkhost::runViewCommand(view);
    if (helpPage.app->parsed()) return sparkhost::runHelpPage(helpPage.app->remaining());
    sparkhost::collectEdits(*render, r);
    try {
        return sparkhost::runRender(r);
    } catch (const std::bad_alloc&) {
        // Sizes are checked against the machine's memory up front; this is memory taken by others.
        sparkhost::removePartialImages();
        return sparkhost::complain("out of memory while rendering", sparkhost::kFailed);
    }
}
