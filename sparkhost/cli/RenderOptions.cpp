#include "RenderOptions.h"

#include <CLI/CLI.hpp>

#include <cfloat>
#include <cmath>
#include <cstdlib>

#include "ColourOptions.h"

namespace sparkhost {

namespace {

// An option given with an empty value ("--setup ''", a script's unset variable) is refused rather
// than taken as left out.
const CLI::Validator kNotEmpty(
    [](std::string& text) { return text.empty() ? std::string("needs a value, not an empty text") : std::string(); },
    "", "not empty");

const CLI::Validator kFrameNumber(
    [](std::string& text) {
        bool digits = !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
        return digits ? std::string() : "'" + text + "' is not a frame number (a whole number from 0 to 999999999)";
    },
    "FRAME", "frame number");

const CLI::Validator kPositiveNumber(
    [](std::string& text) {
        char* end = nullptr;
        double v = text.empty() ? 0.0 : std::strtod(text.c_str(), &end);
        // The ratio reaches the plug-in as a float: values single precision makes zero or infinite
        // are refused with the rest.
        bool ok = !text.empty() && *end == '\0' && std::isfinite(v) && v >= FLT_MIN && v <= FLT_MAX;
        return ok ? std::string() : "'" + text + "' is not a positive number (for example 1 or 0.9)";
    },
    "NUMBER", "positive number");

const CLI::Validator kDepth(
    [](std::string& text) {
        return text == "8" || text == "12" ? std::string() : "'" + text + "' is no host depth: give 8 or 12 (bits)";
    },
    "8|12", "depth");

}  // namespace

CLI::App* addRenderCommand(CLI::App& app, RenderOptions& o) {
    CLI::App* render = app.add_subcommand("render", "Render frames with the plug-in and write them as images.");
    render->add_option("plugin", o.plugin, "The plug-in: a .spark file, an OpenFX .ofx.bundle or a folder of bundles")->required();
    render->add_option("--plugin", o.choice.effect, "The OpenFX effect to take from a bundle or folder "
                                                     "holding several: its identifier");
    render->add_option("--ofx-host-mode", o.choice.hostMode,
                       "Render an OpenFX effect as other hosts do, to check it: reverse, shuffle[=SEED], "
                       "instance-per-frame, threads=N (comma-separated; frames keep their names)");
    render->add_option("--frames", o.frames, "Frames: 12, 1-100 or 1-100x2 (lists with commas)");
    render->add_option("--clip", o.clips,
                       "Input clip N (1 to 5): N=name.####.ext or N=name.%04d.ext; a still image "
                       "stands for every frame. Without clip 1 a built-in plate is used");
    render->add_option("--depth", o.depth, "Host depth: 8 or 12 bits (default 8)")->check(kDepth);
    render->add_option("--size", o.size, "Frame size WxH (default: clip 1's size, else 1280x720)");
    render->add_option("--threads", o.threads, "How many of the plug-in's jobs run at once (default: "
                                               "one per processor); frames do not depend on it")
        ->check(CLI::Range(1, 1024));
    render->add_option("--layers", o.layers, "The processor count the plug-in is told, and the jobs "
                                             "it gets (default 4); frames depend on it")
        ->check(CLI::Range(1, 127));
    render->add_option("--shot-start", o.shotStart, "First frame of the shot: the frames from it up to "
                                                     "the range are processed without being written, so "
                                                     "a chunk matches the same frames of one long render")
        ->check(kFrameNumber);
    render->add_option("--pixel-aspect", o.pixelAspect, "Pixel aspect ratio the host reports (default 1)")
        ->check(kPositiveNumber);
    render->add_option("--resolution", o.resolution, "Working resolution, an entry of the plug-in's "
                                                     "resolution list: FULL, 1/2, 1/3, 1/4 ...");
    render->add_option("--set", o.sets, "Set a control: NAME=VALUE, NAME being the label without its "
                                        "format, the control number or the record name; list entries "
                                        "by their text");
    render->add_option("--press", o.presses,
                                                  "Press a button (edits apply in the order given)");
    render->add_option("--event", o.events, "Place a simulation button at a frame: FRAME:BUTTON, e.g. "
                                            "45:Restart; it acts when the swarm reaches the frame, "
                                            "before the frame's own step (repeatable)");
    render->add_option("--setup", o.setup, "Load a setup file");
    render->add_option("--save-setup", o.saveSetup, "Save the setup after the render");
    render->add_option("--keys", o.keys, "Keyframe file: lines 'control frame value'");
    render->add_flag("--yes", o.yes, "Answer yes to the plug-in's questions (the default)");
    render->add_flag("--no", o.no, "Answer no to the plug-in's questions");
    render->add_option("--file", o.file, "The file the plug-in's file browser returns");
    render->add_flag("--overlay", o.overlay, "Write the viewer's picture: each frame with the plug-in's "
                                             "handles and guides drawn over it");
    render->add_option("--drag", o.drag, "Drag in the viewer once the first frame is shown: X0,Y0:X1,Y1 "
                                         "in frame pixels from the top-left corner");
    addColourOptions(*render, o.colour);
    render->add_option("-o,--output", o.output, "Output frames: name.####.ext or name.%04d.ext")->required();
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

    render->add_option("--compression", o.compression,
                       "Compression of the files written, as the image library names it: zip:6, "
                       "piz, none ... (default: zip:1 for PNG, zips for OpenEXR)");
    render->add_flag("--ifffs-order", o.ifffsOrder,
                     "Process the frames as asked, in that order and repeats included, each one step of "
                     "the swarm, as an IFFFS host does (default: file N holds frame N of the shot)");
    render->add_flag("--no-overlap", o.noOverlap,
                     "Read, render and write each frame one after the other, to measure each stage "
                     "alone (slower)");
    render->add_flag("--check", o.check,
                     "Check everything (options, files, the plug-in, setup, keys and edits) and render "
                     "nothing: exit 0 when the render would start, 2 with the reason when not");
    render->add_flag("--quiet", o.quiet, "Leave out the plug-in's own console output");
    for (const char* name : {"--frames", "--clip", "--size", "--setup", "--save-setup", "--keys", "--output",
                             "--resolution", "--set", "--press", "--event", "--drag", "--compression",
                             "--input-colorspace", "--working-colorspace", "--output-colorspace"})
        if (CLI::Option* option = render->get_option_no_throw(name)) option->check(kNotEmpty);
    return render;
}

void collectEdits(CLI::App& render, RenderOptions& o) {
    const CLI::Option* setOption = render.get_option("--set");
    const CLI::Option* pressOption = render.get_option("--press");
    size_t nextSet = 0, nextPress = 0;
    for (CLI::Option* option : render.parse_order()) {
        if (option == setOption && nextSet < o.sets.size())
            o.edits.push_back({false, o.sets[nextSet++]});
        else if (option == pressOption && nextPress < o.presses.size())
            o.edits.push_back({true, o.presses[nextPress++]});
    }
}

}  // namespace sparkhost
