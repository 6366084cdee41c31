#include "ViewCommand.h"

#include <cstdio>
#include <cstdlib>

#include "RenderChecks.h"
#include "RenderCommand.h"

namespace sparkhost {

void addViewCommand(CLI::App& app, ViewCommand& v) {
    ViewOptions& o = v.options;
    CLI::App* view = app.add_subcommand("view", "Open the plug-in in a window: viewer with its handles, "
                                                "panel, timeline and setups.");
    view->add_option("plugin", o.plugin, "The plug-in: a .spark file, an OpenFX .ofx.bundle or a folder of "
                                         "bundles")->required();
    view->add_option("--plugin", o.choice.effect, "The OpenFX effect to take from a folder of several");
    view->add_option("--clip", o.clips, "Input clip N (1 to 5): N=name.####.ext or N=name.%04d.ext; "
                                        "without clip 1 a built-in plate is used");
    view->add_option("--setup", o.setup, "Load a setup file");
    view->add_option("--keys", o.keys, "Keyframe file: lines 'control frame value'");
    view->add_option("--frames", o.frames, "The timeline's frames: 1-100 (the default), 1-100x2 ...");
    view->add_option("--size", v.size, "Frame size WxH (default: clip 1's size, else 1280x720)");
    view->add_option("--depth", o.depth, "Host depth: 8 or 12 bits (default 8)")->check(CLI::IsMember({8, 12}));
    view->add_flag("--every-frame-steps", o.everyFrameSteps,
                   "Every processed frame advances the simulation and nothing is replayed, as in an "
                   "IFFFS host (by default frame N shows what `render` writes at N)");
    view->add_option("--fps", v.fps, "Play rate in frames per second: the shot's rate (default 24), "
                                     "or 'max' to play each frame as soon as it is made");
    view->add_option("--screenshot", o.screenshot, "Render the first frame, save a picture of the "
                                                   "whole window (PNG) and exit");
    view->add_option("--script", o.script, "Run the scripted actions of a file, then exit "
                                           "(see sparkhost/view/ScriptRunner.h)");
    view->footer("Examples:\n"
                 "  sparkhost view build/vesk.spark --clip 1=plate.####.exr --frames 1-100\n"
                 "  xvfb-run -a sparkhost view build/vesk.spark --screenshot window.png");
    v.app = view;
}

int runViewCommand(ViewCommand& v) {
    if (!v.fps.empty()) {
        char* end = nullptr;
        const double fps = std::strtod(v.fps.c_str(), &end);
        if (v.fps == "max") {
            v.options.fps = 0.0;
        } else if (end == v.fps.c_str() || *end || !(fps >= 1.0 && fps <= 1000.0)) {
            std::fprintf(stderr, "sparkhost: bad --fps '%s': write frames per second from 1 to 1000, or max\n",
                         v.fps.c_str());
            return 2;
        } else {
            v.options.fps = fps;
        }
    }
    if (!v.size.empty()) {
        std::string error;
        if (!parseSize(v.size, &v.options.width, &v.options.height, &error)) {
            std::fprintf(stderr, "sparkhost: %s\n", error.c_str());
            return 2;
        }
    }
#ifdef SPARKHOST_WITH_VIEW
    return runView(v.options);
#else
    std::fprintf(stderr, "sparkhost: this sparkhost was built without Qt 6, so it has no window; "
                         "install qt6-base-dev (scripts/setup.sh does) and build again\n");
    return 2;
#endif
}

}  // namespace sparkhost
