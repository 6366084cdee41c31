// `sparkhost render`: runs a plug-in over a range of frames and writes the results.
#ifndef SPARKHOST_CLI_RENDERCOMMAND_H
#define SPARKHOST_CLI_RENDERCOMMAND_H

#include <string>
#include <vector>

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
};

int runRender(const RenderOptions& options);

// "WxH" with both at least 1.
bool parseSize(const std::string& text, int* width, int* height, std::string* error);

}  // namespace sparkhost

#endif
