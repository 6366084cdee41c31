// Everything about a render that can be checked before the plug-in is loaded: frames, clips,
// size and memory, output, keys and setup files. Each failure names the option or file.
#ifndef SPARKHOST_CLI_RENDERCHECKS_H
#define SPARKHOST_CLI_RENDERCHECKS_H

#include <memory>
#include <string>
#include <vector>

#include "RenderOptions.h"
#include "sparkhost/lib/ClipSet.h"
#include "sparkhost/lib/Keyframes.h"
#include "sparkhost/lib/OutputLock.h"
#include "sparkhost/lib/SequencePattern.h"

namespace sparkhost {

struct RenderInputs {
    std::vector<int> frames;
    ClipSet clips;
    int width = 1280;
    int height = 720;
    SequencePattern output;
    std::vector<KeyLine> keys;
    std::shared_ptr<OutputLock> lock;  // the output's frames, held until the render ends
};

// Checks everything, then claims the output's frames (see OutputLock).
bool checkRenderInputs(const RenderOptions& options, RenderInputs* inputs, std::string* error);

// "WxH" with both at least 1.
bool parseSize(const std::string& text, int* width, int* height, std::string* error);

// Whether a file can be created in the folder (permission bits alone say nothing for the
// superuser or for read-only file systems).
bool canWriteIn(const std::string& folder);
std::string folderOf(const std::string& path);

}  // namespace sparkhost

#endif
