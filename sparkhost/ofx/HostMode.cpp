#include "sparkhost/ofx/HostMode.h"

#include <algorithm>
#include <random>

namespace sparkhost {
namespace ofx {

namespace {

bool parseCount(const std::string& text, long lo, long hi, long* out) {
    if (text.empty() || text.size() > 9) return false;
    for (char c : text)
        if (c < '0' || c > '9') return false;
    *out = std::stol(text);
    return *out >= lo && *out <= hi;
}

}  // namespace

bool parseHostMode(const std::string& text, HostMode* mode, std::string* error) {
    *mode = HostMode();
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        std::string word = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        start = comma == std::string::npos ? text.size() + 1 : comma + 1;
        if (word.empty() && text.empty()) break;
        std::string key = word.substr(0, word.find('='));
        std::string value = word.find('=') == std::string::npos ? "" : word.substr(word.find('=') + 1);
        long n = 0;
        if (word == "in-order") {
            mode->order = HostMode::InOrder;
        } else if (word == "reverse") {
            mode->order = HostMode::Reverse;
        } else if (key == "shuffle" && (value.empty() || parseCount(value, 0, 999999999, &n))) {
            mode->order = HostMode::Shuffle;
            mode->seed = value.empty() ? 1u : unsigned(n);
        } else if (word == "instance-per-frame") {
            mode->instancePerFrame = true;
        } else if (key == "threads" && parseCount(value, 1, 64, &n)) {
            mode->threads = int(n);
        } else {
            *error = "bad --ofx-host-mode '" + word +
                     "': write in-order, reverse, shuffle[=SEED], instance-per-frame or threads=N (1 to 64), "
                     "separated by commas";
            return false;
        }
    }
    return true;
}

std::vector<int> renderOrder(const std::vector<int>& frames, const HostMode& mode) {
    std::vector<int> order = frames;
    if (mode.order == HostMode::Reverse) std::reverse(order.begin(), order.end());
    if (mode.order == HostMode::Shuffle) {
        // The shuffle is written out rather than std::shuffle, whose order the library may change.
        std::mt19937 random(mode.seed);
        for (size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[random() % i]);
    }
    return order;
}

}  // namespace ofx
}  // namespace sparkhost
