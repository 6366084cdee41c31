// The options of `sparkhost render`, and their definition on the command line.
#ifndef SPARKHOST_CLI_RENDEROPTIONS_H
#define SPARKHOST_CLI_RENDEROPTIONS_H

#include <string>
#include <vector>

#include "sparkhost/lib/ColourManagement.h"
#include "sparkhost/lib/PluginChoice.h"

namespace CLI {
class App;
}

namespace sparkhost {

struct RenderOptions {
    std::string plugin;
    std::string frames = "1";
    std::vector<std::string> clips;     // "N=PATTERN"
    int depth = 8;
    std::string size;                   // "WxH"
    int threads = 0;                    // jobs run at once; 0: one per processor of the machine
    int layers = 4;                     // the processor count the plug-in is told
    int shotStart = -1;                 // first frame of the shot; -1: the setup's, else none
    float pixelAspect = 1.0f;           // what sparkGraphSetup reports
    std::string resolution;             // an entry of the plug-in's resolution list, e.g. "1/2"
    std::vector<std::string> sets;      // "NAME=VALUE"
    std::vector<std::string> presses;   // "NAME"
    std::vector<std::string> events;    // "FRAME:BUTTON", added to the setup's events
    // --set and --press in the order they were given: a preset pressed first and then adjusted
    // must not be undone by its own later press. Empty when built by hand: sets, then presses.
    struct Edit {
        bool press;
        std::string text;
    };
    std::vector<Edit> edits;
    std::string setup;
    std::string saveSetup;
    std::string keys;
    bool yes = false;
    bool no = false;
    std::string file;
    bool overlay = false;               // write the viewer's picture: the frame with the overlay
    std::string drag;                   // "X0,Y0:X1,Y1", a drag in the viewer on the first frame
    std::string output;
    std::string compression;            // the image writer's compression; empty: fast defaults
    bool ifffsOrder = false;            // each frame asked one step of the swarm, in the order asked
    bool noOverlap = false;             // read, render and write one after the other (to measure)
    bool check = false;                 // check everything, render nothing
    bool quiet = false;                 // leave out the plug-in's console output
    ColourOptions colour;
    PluginChoice choice;                // the OpenFX effect and host mode
};

// Adds the render subcommand with every option bound to `options`.
CLI::App* addRenderCommand(CLI::App& app, RenderOptions& options);
// After parsing: fills options.edits with --set and --press in the order they were given.
void collectEdits(CLI::App& render, RenderOptions& options);

}  // namespace sparkhost

#endif
