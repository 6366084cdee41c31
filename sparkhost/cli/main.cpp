// sparkhost: runs Spark plug-ins from the command line.
#include <CLI/CLI.hpp>

#include <csignal>
#include <iostream>
#include <new>
#include <unistd.h>

#include "sparkhost/lib/HelpPages.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/OutputLock.h"
#include "sparkhost/lib/PluginConsole.h"

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

static int runCommand(CLI::App* infoCmd, sparkhost::InfoOptions& info, CLI::App* render, sparkhost::RenderOptions& r,
                      sparkhost::ViewCommand& view) {
    if (infoCmd->parsed()) return sparkhost::runInfo(info);
    if (view.app->parsed()) return sparkhost::runViewCommand(view);
    sparkhost::collectEdits(*render, r);
    try {
        return sparkhost::runRender(r);
    } catch (const std::bad_alloc&) {
        // Sizes are checked against the machine's memory up front; this is memory taken by others.
        sparkhost::removePartialImages();
        return sparkhost::complain("out of memory while rendering", sparkhost::kFailed);
    }
}

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
    infoCmd->add_option("plugin", info.plugin, "The plug-in: a .spark file, an OpenFX .ofx.bundle or a folder of "
                                               "bundles")->required();
    infoCmd->add_option("--plugin", info.choice.effect, "The OpenFX effect to take from a folder of several");
    infoCmd->add_option("--setup", info.setup, "Load this setup before listing the panel")
        ->check(CLI::Validator([](std::string& s) { return s.empty() ? std::string("needs a value") : std::string(); },
                               "", "not empty"));
    bool infoQuiet = false;
    infoCmd->add_flag("--quiet", infoQuiet, "Leave out the plug-in's own console output");
    infoCmd->add_option("--depth", info.depth, "Host depth: 8 or 12 bits")->check(CLI::IsMember({8, 12}));

    sparkhost::RenderOptions r;
    CLI::App* render = sparkhost::addRenderCommand(app, r);

    sparkhost::ViewCommand view;
    sparkhost::addViewCommand(app, view);
    sparkhost::HelpPageCommand helpPage;
    sparkhost::addHelpPageCommand(app, helpPage);
    // A plug-in's Help button opens its page through sparkhost (see HelpPages.h).
    sparkhost::setHelpBrowser(sparkhost::selfPath() + " help-page");

    // CLI11 takes an unknown first word for a stray argument and asks for a subcommand instead.
    bool known = false;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        known = known || command->check_name(argc > 1 ? argv[1] : "");
    if (argc > 1 && argv[1][0] != '-' && !known) {
        std::cerr << "sparkhost: unknown command '" << argv[1] << "': give info, render or view "
                  << "(sparkhost --help describes them)\n";
        return 2;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? 0 : 2;
    }
    if (helpPage.app->parsed()) return sparkhost::runHelpPage(helpPage.app->remaining());
    // The plug-in's console lines go to standard error, marked as its own, so that standard
    // output holds sparkhost's results alone (a panel listing, a script's answers).
    bool quiet = (infoCmd->parsed() && infoQuiet) || (render->parsed() && r.quiet);
    std::string plugin = infoCmd->parsed() ? info.plugin : render->parsed() ? r.plugin : view.options.plugin;
    sparkhost::startPluginConsole(plugin.substr(plugin.rfind('/') + 1), quiet);
    int code = runCommand(infoCmd, info, render, r, view);
    sparkhost::stopPluginConsole();
    return code;
}
