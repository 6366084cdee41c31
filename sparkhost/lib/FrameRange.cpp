#include "sparkhost/lib/FrameRange.h"

#include <cctype>
#include <climits>

#include "sparkhost/lib/Names.h"

namespace sparkhost {

namespace {

constexpr size_t kMaxFrames = 1000000;
constexpr long kLastFrame = 999999999;  // nine digits

// A whole number of digits; one too large for a frame number is still read as one (up to
// LONG_MAX), so that it can be refused as too large rather than as no number.
bool parseNumber(const std::string& s, long* out) {
    if (s.empty() || s.size() > 18) return false;
    for (char c : s)
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    *out = std::stol(s);
    return true;
}

}  // namespace

bool parseFrameRange(const std::string& text, std::vector<int>* frames, std::string* error) {
    frames->clear();
    auto fail = [&](const std::string& part, const std::string& why) {
        if (error)
            *error = "bad frame range '" + text + "': " + (part.empty() ? "" : "'" + part + "' ") + why +
                     " (write 12, 1-100 or 1-100x2)";
        frames->clear();
        return false;
    };
    std::string all = trim(text);
    if (all.empty()) return fail("", "is empty");
    size_t start = 0;
    while (start <= all.size()) {
        size_t comma = all.find(',', start);
        std::string part = trim(all.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (part.empty()) return fail("", "has an empty part");
        long first, last, step = 1;
        std::string body = part;
        size_t x = body.find_first_of("xX");
        if (x != std::string::npos) {
            if (!parseNumber(body.substr(x + 1), &step) || step < 1)
                return fail(part, "needs a whole step of at least 1 after 'x'");
            body = body.substr(0, x);
        }
        size_t dash = body.find('-', 1);
        if (dash == std::string::npos) {
            if (x != std::string::npos) return fail(part, "has a step but no range");
            if (!parseNumber(body, &first)) return fail(part, "is not a frame number");
            last = first;
        } else {
            if (!parseNumber(body.substr(0, dash), &first) || !parseNumber(body.substr(dash + 1), &last))
                return fail(part, "needs two frame numbers from 0 up");
        }
        if (first > kLastFrame || last > kLastFrame)
            return fail(part, "goes beyond the last frame number, " + std::to_string(kLastFrame));
        if (step > kLastFrame) return fail(part, "has a step beyond " + std::to_string(kLastFrame));
        // A range may run backwards (20-11); its step counts down then.
        long direction = last < first ? -1 : 1;
        for (long f = first; (last - f) * direction >= 0; f += step * direction) {
            if (frames->size() >= kMaxFrames) return fail("", "has more than " + std::to_string(kMaxFrames) + " frames, the most one render takes");
            frames->push_back(int(f));
        }
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return true;
}

}  // namespace sparkhost
