#include "sparkhost/lib/SequencePattern.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace sparkhost {

namespace {

// Wider padding would not fit the digits buffer of path(), and every frame would then share one
// truncated name.
constexpr int kMaxPadding = 20;

}  // namespace

bool SequencePattern::parse(const std::string& pattern, std::string* error) {
    pattern_ = pattern;
    sequence_ = false;
    width_ = 0;
    prefix_ = pattern;
    suffix_.clear();
    auto fail = [&](const std::string& why) {
        if (error) *error = "bad file pattern '" + pattern + "': " + why;
        return false;
    };
    if (pattern.empty()) return fail("it is empty");
    // Only the file name may carry the frame number; folders are taken as they stand.
    size_t nameStart = pattern.rfind('/');
    nameStart = nameStart == std::string::npos ? 0 : nameStart + 1;

    size_t hashEnd = pattern.rfind('#');
    size_t percent = pattern.find('%', nameStart);
    bool hasHash = hashEnd != std::string::npos && hashEnd >= nameStart;
    if (hasHash && percent != std::string::npos)
        return fail("use either #### or %0Nd for the frame number, not both");
    if (hasHash) {
        size_t hashStart = hashEnd;
        while (hashStart > nameStart && pattern[hashStart - 1] == '#') --hashStart;
        if (pattern.find('#', nameStart) != hashStart)
            return fail("the frame number must be one run of '#'");
        prefix_ = pattern.substr(0, hashStart);
        suffix_ = pattern.substr(hashEnd + 1);
        width_ = int(hashEnd - hashStart + 1);
        if (width_ > kMaxPadding) return fail("at most " + std::to_string(kMaxPadding) + " '#' may pad the frame number");
        sequence_ = true;
        return true;
    }
    if (percent != std::string::npos) {
        size_t p = percent + 1;
        bool zero = p < pattern.size() && pattern[p] == '0';
        if (zero) ++p;
        size_t digits = p;
        while (p < pattern.size() && std::isdigit(static_cast<unsigned char>(pattern[p]))) ++p;
        if (p >= pattern.size() || pattern[p] != 'd')
            return fail("only %d or %0Nd may stand for the frame number");
        // strtol saturates, so any long run of digits is caught as too wide.
        long width = digits == p ? 0 : std::strtol(pattern.substr(digits, p - digits).c_str(), nullptr, 10);
        if (width > kMaxPadding) return fail("at most " + std::to_string(kMaxPadding) + " digits of padding");
        if (!zero && width > 0) return fail("pad the frame number with zeros: write %0" +
                                            std::to_string(width) + "d");
        if (pattern.find('%', p + 1) != std::string::npos)
            return fail("it has more than one % conversion");
        prefix_ = pattern.substr(0, percent);
        suffix_ = pattern.substr(p + 1);
        width_ = int(width);
        sequence_ = true;
        return true;
    }
    return true;
}

std::string SequencePattern::path(int frame) const {
    if (!sequence_) return pattern_;
    char digits[32];
    std::snprintf(digits, sizeof digits, "%0*d", width_, frame);
    return prefix_ + digits + suffix_;
}

}  // namespace sparkhost
