// An animation curve: keys at whole frames, linear between them, flat before the first key and
// after the last one, as a compositor's channel editor shows an unedited channel.
#ifndef SPARKHOST_LIB_CURVE_H
#define SPARKHOST_LIB_CURVE_H

#include <cstddef>
#include <map>

namespace sparkhost {

class Curve {
public:
    void setKey(int frame, float value) { keys_[frame] = value; }
    bool removeKey(int frame) { return keys_.erase(frame) != 0; }
    bool empty() const { return keys_.empty(); }
    std::size_t size() const { return keys_.size(); }
    const std::map<int, float>& keys() const { return keys_; }

    // The value at any frame, fractional frames included. A curve without keys has no value of
    // its own: the caller falls back to the control's static value.
    float valueAt(double frame) const;

private:
    std::map<int, float> keys_;
};

}  // namespace sparkhost

#endif
