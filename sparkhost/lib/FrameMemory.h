// Whether a frame size can be rendered at all, decided before anything is allocated: a size whose
// buffers cannot fit is refused with the memory it would need instead of failing half-way.
#ifndef SPARKHOST_LIB_FRAMEMEMORY_H
#define SPARKHOST_LIB_FRAMEMEMORY_H

#include <cstdint>
#include <string>

namespace sparkhost {

// Bytes a render of one frame size needs: the host's frames (output, five input clips and one
// temporary buffer, at the host depth) and the working images a plug-in of Vesk's kind keeps for a
// frame (twelve images of 16-bit RGBA: five clips, the result, four layers, two scratch images).
uint64_t renderBytes(int width, int height, int depthCode);

// The machine's physical memory in bytes.
uint64_t physicalMemory();

// Fails with a message naming the size, the memory it needs and the memory there is, when the
// render needs more than the machine has or a frame larger than the plug-in interface can address
// (its sizes are 32-bit integers).
bool checkFrameMemory(int width, int height, int depthCode, uint64_t available, std::string* error);

}  // namespace sparkhost

#endif
