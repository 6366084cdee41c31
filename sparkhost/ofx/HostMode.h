// How sparkhost behaves as an OFX host, so that an effect can be checked against what real hosts
// do (render frames in any order, a fresh instance per frame, the same and different frames on
// several threads at once). Written as a comma-separated list:
//   in-order            frames in the order asked, one instance, one sequence (the default)
//   reverse             the frames of a render from last to first
//   shuffle[=SEED]      the frames in a random order, the same for the same seed (default 1)
//   instance-per-frame  every frame on a new instance: create, clip preferences, one-frame
//                       sequence, render, destroy
//   threads=N           frames rendered N at a time on N threads, the first of them once more at
//                       the same time; two renders of one frame that differ are an error
#ifndef SPARKHOST_OFX_HOSTMODE_H
#define SPARKHOST_OFX_HOSTMODE_H

#include <string>
#include <vector>

namespace sparkhost {
namespace ofx {

struct HostMode {
    enum Order { InOrder, Reverse, Shuffle };
    Order order = InOrder;
    unsigned seed = 1;
    bool instancePerFrame = false;
    int threads = 1;
    bool isDefault() const { return order == InOrder && !instancePerFrame && threads == 1; }
};

// Fails with a message naming the word it does not know.
bool parseHostMode(const std::string& text, HostMode* mode, std::string* error);

// The frames in the order the mode renders them (the files written are named by frame all the same).
std::vector<int> renderOrder(const std::vector<int>& frames, const HostMode& mode);

}  // namespace ofx
}  // namespace sparkhost

#endif
