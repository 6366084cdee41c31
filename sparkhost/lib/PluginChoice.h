// What a person chooses about the plug-in besides its path, the same in info, render and view:
// which OpenFX effect of a bundle or folder (--plugin ID), and how sparkhost behaves as an OFX host
// (--ofx-host-mode, see ofx/HostMode.h). Clips may be named by the effect's own clip names.
#ifndef SPARKHOST_LIB_PLUGINCHOICE_H
#define SPARKHOST_LIB_PLUGINCHOICE_H

#include <string>
#include <vector>

namespace sparkhost {

class Plugin;

struct PluginChoice {
    std::string effect;     // an OFX effect's identifier; empty: the only one
    std::string hostMode;   // empty: in order, one instance
};

void applyChoice(const PluginChoice& choice, Plugin& plugin);

// Rewrites "--clip NAME=PATTERN" as "N=PATTERN", NAME being one of the plug-in's clip names
// (compared without case); numbered clips are left as they are. Loads the plug-in only when a
// clip is named. Fails with a message naming the clip and the names there are.
bool numberClipsByName(const std::string& pluginPath, const PluginChoice& choice, std::vector<std::string>* clips,
                       std::string* error);

}  // namespace sparkhost

#endif
