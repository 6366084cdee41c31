// Colour management of a render: plates are converted from their colour space into the working
// space the plug-in sees (display-referred 8- or 12-bit codes) and frames back into the output's
// space, with OpenColorIO as OpenImageIO exposes it ($OCIO, or OpenImageIO's built-in spaces
// "linear", "sRGB" and "Rec709" when it is unset).
//
// Defaults: floating-point files (OpenEXR, float TIFF) are read from the scene-linear role and
// written back to it; integer files are taken as they are. The name "raw" means "as it is".
#ifndef SPARKHOST_LIB_COLOURMANAGEMENT_H
#define SPARKHOST_LIB_COLOURMANAGEMENT_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/ImageFiles.h"

namespace sparkhost {

struct ColourOptions {
    std::vector<std::string> inputs;  // "N=NAME", clip N from 1
    std::string working;              // empty: sRGB, or the config's colour-picking role
    std::string output;               // empty: scene-linear for float files, else as it is
    bool off = false;                 // every file taken as it is, as before colour management
};

class ColourManagement {
public:
    ColourManagement();
    ~ColourManagement();

    // Reads the config and checks every name. "N=PATTERN@NAME" clip texts lose their "@NAME" when
    // NAME is a colour space, a role or "raw" (a file name with an '@' of its own stays whole).
    // outputPattern decides the output's default. The error names the option and the space.
    bool configure(const ColourOptions& options, std::vector<std::string>* clipTexts,
                   const std::string& outputPattern, std::string* error);

    // A clip's frame in working-space host codes. clip counts from 0.
    bool readClip(int clip, const std::string& path, int depthCode, FrameBuffer* out, std::string* error);
    // A rendered frame written in the output space. Reads and writes may run on several threads.
    bool writeFrame(const std::string& path, const FrameBuffer& frame, std::string* error,
                    const ImageWriteSettings& settings = {});

    // The transforms used and, once per clip, how many pixels the working space clipped.
    std::vector<std::string> report() const;
    // Where the colour spaces come from, the spaces known and the defaults, for `sparkhost info`.
    std::string describeConfig() const;

    // Pixels read so far for a clip with a channel outside 0 to 1 in the working space.
    long long clippedPixels(int clip) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace sparkhost

#endif
