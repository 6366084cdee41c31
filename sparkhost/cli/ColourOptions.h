// The colour-management options of `sparkhost render`.
#ifndef SPARKHOST_CLI_COLOUROPTIONS_H
#define SPARKHOST_CLI_COLOUROPTIONS_H

#include "sparkhost/lib/ColourManagement.h"

namespace CLI {
class App;
}

namespace sparkhost {

void addColourOptions(CLI::App& render, ColourOptions& options);

}  // namespace sparkhost

#endif
