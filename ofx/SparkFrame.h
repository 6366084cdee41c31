// The Spark host inside the OpenFX plug-in: the frame buffers, pixel geometry and clip access that
// the effect's own entry points ask the host for, filled by the OpenFX render from the compositor's
// images. Every field is engine state: only the holder of the engine lock reads or writes it.
#ifndef OFX_SPARKFRAME_H
#define OFX_SPARKFRAME_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vesk_ofx {

// Buffer ids as the effect asks for them: 1 output, 2 .. 6 the five input clips, 7 the temporary
// buffer the effect registers.
enum { kOutputBuffer = 1, kFirstInputBuffer = 2, kTempBuffer = 7, kBufferCount = 8 };

// The fixed processor count of every render: the effect splits its work into this many bands
// whatever the machine, so a frame has the same bytes everywhere (sparkhost answers the same).
enum { kSparkJobs = 4 };

struct SparkFrame {
    int width = 0, height = 0;
    bool twelve_bit = false;       // 12-bit values in 16-bit words (value << 4), else 8-bit bytes
    float pixel_aspect = 1.0f;
    std::vector<uint8_t> buffers[kBufferCount];
    // False while the panel's callbacks run outside a render: a callback that would render the
    // frame at once (a new preview resolution) is refused its buffers and renders nothing.
    bool buffers_ready = false;
    bool black[kBufferCount] = {};  // buffers known to hold only zeros
    // Reads input clip `clip` (0 .. 4) at `frame` into a buffer of this geometry; false when the
    // clip has no picture there (the buffer is then black).
    std::function<bool(int clip, int frame, uint8_t* pixels)> fetch;
    // Messages of the effect (host message line, errors) go here; empty: dropped.
    std::function<void(const std::string& text, bool error)> message;
    // Answers the effect's confirmation questions (reset of a page); empty: yes.
    std::function<bool(const std::string& text)> confirm;

    int bytes_per_pixel() const { return twelve_bit ? 6 : 3; }
    size_t frame_bytes() const { return (size_t)width * (size_t)height * (size_t)bytes_per_pixel(); }
    // Sizes every buffer for the geometry; buffers keep their pixels while it stays.
    void resize(int w, int h, bool twelve);
};

SparkFrame& CurrentFrame();

// Whether the effect has asked for panel control `number` to be shown (sparkEnableParameter) or
// greyed (sparkDisableParameter); controls it never named are shown.
bool ControlEnabled(int number);

// Keys the effect set on its user channel (the amplitude import): taken and cleared.
struct ChannelKey { int frame; float value; };
std::vector<ChannelKey> TakeChannelKeys();

}  // namespace vesk_ofx

#endif
