#include "sparkhost/lib/Pauses.h"

#include <mutex>

#include "sparkhost/lib/Host.h"

namespace {

std::mutex& pauseMutex() {
    static std::mutex m;
    return m;
}

// Never destroyed: a thread may still call sleep while the process runs its exit handlers.
std::vector<unsigned>& pauses() {
    static auto* p = new std::vector<unsigned>;
    return *p;
}

}  // namespace

// Interposes the C library's sleep for the host and for every plug-in it loads: the pause is
// recorded and the call returns at once with nothing left to sleep. A pause right after a message
// is the plug-in holding it on screen, and it prints that message itself.
extern "C" __attribute__((visibility("default"))) unsigned int sleep(unsigned int seconds) noexcept {
    {
        std::lock_guard<std::mutex> lock(pauseMutex());
        pauses().push_back(seconds);
    }
    sparkhost::Host::current().pausedOnMessage();
    return 0;
}

namespace sparkhost {

int pauseCount() {
    std::lock_guard<std::mutex> lock(pauseMutex());
    return int(pauses().size());
}

unsigned pauseSeconds() {
    std::lock_guard<std::mutex> lock(pauseMutex());
    unsigned total = 0;
    for (unsigned s : pauses()) total += s;
    return total;
}

std::vector<unsigned> pauseRequests() {
    std::lock_guard<std::mutex> lock(pauseMutex());
    return pauses();
}

void resetPauses() {
    std::lock_guard<std::mutex> lock(pauseMutex());
    pauses().clear();
}

}  // namespace sparkhost
