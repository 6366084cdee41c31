#include "sparkhost/lib/Processors.h"

#include <atomic>
#include <sched.h>

namespace {

std::atomic<int> gAnswer{sparkhost::kDefaultProcessorAnswer};

}  // namespace

// Interpose the C library's processor queries for the host and every plug-in it loads (the
// executable exports them, so a plug-in's undefined get_nprocs binds here first). The host's
// own thread teams use machineProcessors().
extern "C" __attribute__((visibility("default"))) int get_nprocs(void) noexcept {
    return gAnswer.load(std::memory_order_relaxed);
}

extern "C" __attribute__((visibility("default"))) int get_nprocs_conf(void) noexcept {
    return gAnswer.load(std::memory_order_relaxed);
}

namespace sparkhost {

int machineProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) != 0) return 1;
    int n = CPU_COUNT(&set);
    return n < 1 ? 1 : n;
}

void setProcessorAnswer(int count) { gAnswer.store(count < 1 ? 1 : count, std::memory_order_relaxed); }

int processorAnswer() { return gAnswer.load(std::memory_order_relaxed); }

}  // namespace sparkhost
