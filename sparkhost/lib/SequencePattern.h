// File names of image sequences: "plate.####.exr" (one '#' per digit) or "plate.%04d.exr". A
// name without either stands for the same file at every frame (a still).
#ifndef SPARKHOST_LIB_SEQUENCEPATTERN_H
#define SPARKHOST_LIB_SEQUENCEPATTERN_H

#include <string>

namespace sparkhost {

class SequencePattern {
public:
    bool parse(const std::string& pattern, std::string* error);
    // The file of a frame, its number padded with zeros to the width of the pattern.
    std::string path(int frame) const;
    bool isSequence() const { return sequence_; }
    const std::string& pattern() const { return pattern_; }
    // The pattern with its frame number written as '#'s, one per digit of padding: the same for
    // "f.####.png" and "f.%04d.png".
    std::string hashPattern() const { return sequence_ ? prefix_ + std::string(width_ > 0 ? width_ : 1, '#') + suffix_ : pattern_; }

private:
    std::string pattern_;
    std::string prefix_;
    std::string suffix_;
    int width_ = 0;
    bool sequence_ = false;
};

}  // namespace sparkhost

#endif
