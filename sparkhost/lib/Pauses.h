// The pauses a plug-in asked for. sparkhost defines sleep() itself: a command-line host keeps
// every message readable on standard error, so it records each requested pause instead of waiting.
#ifndef SPARKHOST_LIB_PAUSES_H
#define SPARKHOST_LIB_PAUSES_H

#include <vector>

namespace sparkhost {

int pauseCount();
unsigned pauseSeconds();                  // total of all requested pauses
std::vector<unsigned> pauseRequests();    // each requested length, in order
void resetPauses();

}  // namespace sparkhost

#endif
