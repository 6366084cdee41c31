// `sparkhost info`: the plug-in's panel page by page, then its channel folders.
#ifndef SPARKHOST_CLI_INFOCOMMAND_H
#define SPARKHOST_CLI_INFOCOMMAND_H

#include <ostream>
#include <string>

#include "sparkhost/lib/PluginChoice.h"

namespace sparkhost {

class Plugin;

struct InfoOptions {
    std::string plugin;
    std::string setup;
    int depth = 8;
    PluginChoice choice;
};

// Prints the panel of an initialised plug-in.
void printPanel(const Plugin& plugin, std::ostream& out);
int runInfo(const InfoOptions& options);

}  // namespace sparkhost

#endif
