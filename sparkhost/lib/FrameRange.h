// Frame ranges as compositors write them: "12", "1-100", "1-100x2", and lists of those
// separated by commas ("1-10,20,30-40x5"); a range may run backwards ("20-11", "20-11x3").
#ifndef SPARKHOST_LIB_FRAMERANGE_H
#define SPARKHOST_LIB_FRAMERANGE_H

#include <string>
#include <vector>

namespace sparkhost {

// The frames in order of writing, repeats kept. Frames are whole numbers from 0; an empty
// result never comes back: a bad range is an error naming the faulty part.
bool parseFrameRange(const std::string& text, std::vector<int>* frames, std::string* error);

}  // namespace sparkhost

#endif
