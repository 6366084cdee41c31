#include "ViewCommand.h"

#include <cstdio>

#include "RenderChecks.h"
#include "RenderCommand.h"

namespace sparkhost {

void addViewCommand(CLI::App& app, ViewCommand& v) {
    ViewOptions& o = v.options;
    CLI::App* view = app.add_subcommand("view", "Open the plug-in in a window: viewer with its handles, "
                                                "panel, timeline and setups.");
    view->add_option("plugin", o.plugin, "The plug-in (a .spark file)")->required();
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
