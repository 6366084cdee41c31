#include "ColourOptions.h"

#include <CLI/CLI.hpp>

namespace sparkhost {

void addColourOptions(CLI::App& render, ColourOptions& o) {
    render.add_option("--input-colorspace", o.inputs,
                      "Colour space of clip N: N=NAME (or --clip N=PATTERN@NAME); 'raw' takes the file as "
                      "it is. Default: scene-linear for float files, as it is for integer files");
    render.add_option("--working-colorspace", o.working, "The colour space the plug-in works in (default sRGB)");
    render.add_option("--output-colorspace", o.output,
                      "Colour space of the frames written (default: scene-linear for OpenEXR, as it is "
                      "otherwise)");
    render.add_flag("--no-colour-management", o.off,
                    "Take every file as it is: float values go straight into the host's codes");
}

}  // namespace sparkhost
