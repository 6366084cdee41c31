// What the fuzz targets share: one host with the real plug-in loaded for the whole run (its panel
// gives the controls that setups, keys and values name), the records put back as the plug-in
// exported them after every input, and a scratch file for readers that take a path.
#ifndef TESTS_FUZZ_FUZZ_SUPPORT_H
#define TESTS_FUZZ_FUZZ_SUPPORT_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Plugin.h"

namespace fuzz {

struct Loaded {
    sparkhost::Host host;
    sparkhost::Plugin plugin{host};
};

// Loads vesk.spark once; initialised when the target calls into the plug-in itself.
inline Loaded& loaded(bool initialise) {
    static Loaded* l = [initialise] {
        auto* made = new Loaded;
        made->host.setEcho(false);
        made->host.setFrameSize(16, 9);
        std::string error;
        if (!made->plugin.load(VESK_PLUGIN_PATH, &error)) {
            std::fprintf(stderr, "fuzz: %s\n", error.c_str());
            std::abort();
        }
        if (initialise) made->plugin.initialise();
        return made;
    }();
    return *l;
}

// Every record back to what the plug-in first exported, so inputs do not depend on each other.
inline void restoreRecords(const sparkhost::Panel& panel) {
    for (const auto& c : panel.controls())
        std::memcpy(c.address, c.initial.data(), c.initial.size());
}

inline void check(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "fuzz: broken property: %s\n", what);
    std::abort();
}

// The input written to a file of this process, for readers that open a path.
inline const std::string& scratchFile(const uint8_t* data, size_t size) {
    static const std::string path = [] {
        const char* dir = std::getenv("TMPDIR");
        return std::string(dir && *dir ? dir : "/tmp") + "/vesk-fuzz-" + std::to_string(::getpid());
    }();
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f || std::fwrite(data, 1, size, f) != size || std::fclose(f) != 0) std::abort();
    return path;
}

}  // namespace fuzz

#endif
