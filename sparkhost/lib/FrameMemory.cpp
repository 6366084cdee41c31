#include "sparkhost/lib/FrameMemory.h"

#include <climits>
#include <cstdio>
#include <unistd.h>

#include "sparkhost/lib/FrameBuffer.h"

namespace sparkhost {

namespace {

constexpr uint64_t kHostFrames = 7;          // output, five clips, one temporary buffer
constexpr uint64_t kWorkingImages = 12;
constexpr uint64_t kWorkingPixelBytes = 8;   // 16-bit RGBA

std::string gigabytes(uint64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f GB", double(bytes) / 1e9);
    return text;
}

}  // namespace

uint64_t renderBytes(int width, int height, int depthCode) {
    uint64_t pixels = uint64_t(width) * uint64_t(height);
    return pixels * (kHostFrames * uint64_t(bytesPerPixel(depthCode)) + kWorkingImages * kWorkingPixelBytes);
}

uint64_t physicalMemory() {
    long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
    return pages > 0 && size > 0 ? uint64_t(pages) * uint64_t(size) : 0;
}

bool checkFrameMemory(int width, int height, int depthCode, uint64_t available, std::string* error) {
    std::string size = std::to_string(width) + "x" + std::to_string(height);
    uint64_t need = renderBytes(width, height, depthCode);
    std::string needs = "frame size " + size + " needs about " + gigabytes(need) +
                        " of memory for its frames and working images";
    if (available && need > available) {
        if (error) *error = needs + ", more than this machine's " + gigabytes(available);
        return false;
    }
    // A working image's bytes must stay within a 32-bit int, the plug-in interface's size type.
    if (uint64_t(width) * uint64_t(height) * kWorkingPixelBytes > uint64_t(INT_MAX)) {
        if (error) *error = needs + ", but a frame of it holds more bytes than the plug-in interface can address "
                            "(at most " + std::to_string(INT_MAX / kWorkingPixelBytes) + " pixels)";
        return false;
    }
    return true;
}

}  // namespace sparkhost
