#include "sparkhost/lib/Curve.h"

#include <iterator>

namespace sparkhost {

float Curve::valueAt(double frame) const {
    if (keys_.empty()) return 0.0f;
    auto after = keys_.lower_bound(int(frame));
    // lower_bound on the truncated frame may land on a key below a fractional frame; step past it.
    while (after != keys_.end() && double(after->first) < frame) ++after;
    if (after == keys_.end()) return keys_.rbegin()->second;
    if (after == keys_.begin() || double(after->first) == frame) return after->second;
    auto before = std::prev(after);
    // The span in double: keys at the ends of int would overflow an int difference.
    double t = (frame - double(before->first)) / (double(after->first) - double(before->first));
    return float(double(before->second) + (double(after->second) - double(before->second)) * t);
}

}  // namespace sparkhost
