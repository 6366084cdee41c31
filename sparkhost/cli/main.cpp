// sparkhost: runs Spark plug-ins from the command line.
#include <CLI/CLI.hpp>

#include <csignal>
#include <unistd.h>

#include "sparkhost/lib/ImageFiles.h"

#include "InfoCommand.h"
#include "RenderCommand.h"
#include "ViewCommand.h"

namespace {

// An interrupted render removes the frame it was writing; finished frames stay.
void interrupted(int sig) {
    const char* partial = sparkhost::partialImagePath();
    if (partial[0]) ::unlink(partial);
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
    CLI::App* render = app.add_subcommand("render", "Render frames with the plug-in and write them as images.");
    render->add_option("plugin", r.plugin, "The plug-in (a .spark file)")->required();
    render->add_option("--frames", r.frames, "Frames: 12, 1-100 or 1-100x2 (lists with commas)");
    render->add_option("--clip", r.clips,
                       "Input clip N (1 to 5): N=name.####.ext or N=name.%04d.ext; a still image "
                       "stands for every frame. Without clip 1 a built-in plate is used");
    render->add_option("--depth", r.depth, "Host depth: 8 or 12 bits (default 8)")->check(CLI::IsMember({8, 12}));
    render->add_option("--size", r.size, "Frame size WxH (default: clip 1's size, else 1280x720)");
    render->add_option("--threads", r.threads, "How many of the plug-in's jobs run at once (default: "
                                               "one per processor); frames do not depend on it")
        ->check(CLI::Range(1, 1024));
    render->add_option("--layers", r.layers, "The processor count the plug-in is told, and the jobs "
                                             "it gets (default 4); frames depend on it")
        ->check(CLI::Range(1, 127));
    render->add_option("--shot-start", r.shotStart, "First frame of the shot: the frames from it up to "
                                                     "the range are processed without being written, so "
                                                     "a chunk matches the same frames of one long render")
        ->check(CLI::NonNegativeNumber);
    render->add_option("--pixel-aspect", r.pixelAspect, "Pixel aspect ratio the host reports (default 1)")
        ->check(CLI::PositiveNumber);
    render->add_option("--resolution", r.resolution, "Working resolution, an entry of the plug-in's "
                                                     "resolution list: FULL, 1/2, 1/3, 1/4 ...");
    CLI::Option* setOption = render->add_option("--set", r.sets, "Set a control: NAME=VALUE, NAME being the label without its "
                                        "format, the control number or the record name; list entries "
                                        "by their text");
    CLI::Option* pressOption = render->add_option("--press", r.presses,
                                                  "Press a button (edits apply in the order given)");
    render->add_option("--setup", r.setup, "Load a setup file");
    render->add_option("--save-setup", r.saveSetup, "Save the setup after the render");
    render->add_option("--keys", r.keys, "Keyframe file: lines 'control frame value'");
    render->add_flag("--yes", r.yes, "Answer yes to the plug-in's questions (the default)");
    render->add_flag("--no", r.no, "Answer no to the plug-in's questions");
    render->add_option("--file", r.file, "The file the plug-in's file browser returns");
    render->add_flag("--overlay", r.overlay, "Write the viewer's picture: each frame with the plug-in's "
                                             "handles and guides drawn over it");
    render->add_option("--drag", r.drag, "Drag in the viewer once the first frame is shown: X0,Y0:X1,Y1 "
                                         "in frame pixels from the top-left corner");
    render->add_option("-o,--output", r.output, "Output frames: name.####.ext or name.%04d.ext")->required();
    render->footer(
        "Examples:\n"
        "  sparkhost render build/vesk.spark --frames 1-100 --clip 1=plate.####.exr \\\n"
        "      --set \"Render Mode=Render\" --set \"Vesk Size=300\" -o out/swarm.####.exr\n"
        "  sparkhost render build/vesk.spark --frames 1-50x2 --depth 12 --size 1920x1080 \\\n"
        "      --set \"Shape=Five Point Star\" --press \"Simple Food Hunt\" -o out/hunt.%04d.png\n"
        "  sparkhost render build/vesk.spark --frames 1-100 --keys keys.txt --save-setup my.setup \\\n"
        "      --resolution 1/2 -o out/preview.####.jpg\n"
        "  sparkhost render build/vesk.spark --frames 1-20 --overlay --drag 1075,605:400,300 \\\n"
        "      -o out/handles.####.png\n"
        "Keyframe file lines:  Vesk Size 1 20   /   Vesk Size 100 300");

    sparkhost::ViewCommand view;
    sparkhost::addViewCommand(app, view);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        int code = app.exit(e);
        return code == 0 ? 0 : 2;
    }
    if (infoCmd->parsed()) return sparkhost::runInfo(info);
    if (view.app->parsed()) return sparkhost::runViewCommand(view);
    size_t nextSet = 0, nextPress = 0;
    for (CLI::Option* option : render->parse_order()) {
        if (option == setOption && nextSet < r.sets.size())
            r.edits.push_back({false, r.sets[nextSet++]});
        else if (option == pressOption && nextPress < r.presses.size())
            r.edits.push_back({true, r.presses[nextPress++]});
    }
    return sparkhost::runRender(r);
}
