// `sparkhost render`: runs a plug-in over a range of frames and writes the results.
#ifndef SPARKHOST_CLI_RENDERCOMMAND_H
#define SPARKHOST_CLI_RENDERCOMMAND_H

#include "RenderOptions.h"

namespace sparkhost {

// Exit codes: 0 done, 2 bad input (refused before any frame is written), 1 a failure while
// rendering.
constexpr int kBadInput = 2;
constexpr int kFailed = 1;

int runRender(const RenderOptions& options);

// Prints "sparkhost: text" on standard error and returns the code.
int complain(const std::string& text, int code = kBadInput);

}  // namespace sparkhost

#endif
