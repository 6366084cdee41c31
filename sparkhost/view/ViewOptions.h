// The options of `sparkhost view`, filled by the command line.
#ifndef SPARKHOST_VIEW_VIEWOPTIONS_H
#define SPARKHOST_VIEW_VIEWOPTIONS_H

#include <string>
#include <vector>

#include "sparkhost/lib/PluginChoice.h"

namespace sparkhost {

struct ViewOptions {
    std::string plugin;
    std::vector<std::string> clips;   // "N=PATTERN"
    std::string setup;
    std::string keys;
    std::string frames = "1-100";
    int width = 0, height = 0;        // 0: clip 1's size, else 1280 x 720
    int depth = 8;
    std::string screenshot;           // render the first frame, save the window, exit
    std::string script;               // scripted actions (see ScriptRunner.h)
    PluginChoice choice;              // which OpenFX effect of a folder of bundles
    bool everyFrameSteps = false;     // each processed frame advances the swarm, nothing replayed
    double fps = 24.0;                // play rate; 0 plays as fast as frames are made
};

// Runs the window; returns the exit code (2 for bad input, named on standard error).
int runView(const ViewOptions& options);

}  // namespace sparkhost

#endif
