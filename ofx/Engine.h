// The process-wide engine: the effect object, its control records and the in-plug-in Spark host
// exist once per loaded binary, so every instance's frames run here, one at a time, under one
// lock. A frame restores the simulation state it starts from (unless the engine already holds
// it), loads the frame's parameter values into the records, replays the frame's events, runs the
// effect's own frame entry point and hands back the state it ends in. Bands still run in parallel
// inside a frame.
#ifndef OFX_ENGINE_H
#define OFX_ENGINE_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "ofx/ControlParams.h"
#include "ofx/Events.h"
#include "ofx/ImageIO.h"
#include "ofx/SimState.h"
#include "ofx/SparkFrame.h"

namespace vesk_ofx {

// The parameter values of one frame, in ControlParams() order.
struct FrameSettings {
    std::vector<ParamValue> values;
};

struct FrameGeometry {
    int width = 0, height = 0;
    float pixel_aspect = 1.0f;
    bool twelve_bit = false;
};

enum class Background { Source, Black, White };

struct FrameJob {
    int frame = 0;
    const FrameSettings* settings = nullptr;
    const std::vector<EventButton>* events = nullptr;  // null: none at this frame
    bool draw = true;            // false: a step on the way to a later frame; nothing is drawn
    Background background = Background::Source;
    // An output image the drawn frame may be written into straight (ExportDirect), with the
    // source whose alpha it carries; the deliverer is then not called.
    const Image* direct_output = nullptr;
    const Image* direct_alpha = nullptr;
};

// The five inputs of a frame: either a picture already in Spark layout (the mattes of a step on
// the way, fetched and released before the engine is taken) or an image the render holds, which
// the engine converts straight into its own buffer. Fetching happens before the engine is taken,
// so that a compositor rendering another Vesk node upstream never waits on it.
struct FrameInputs {
    std::vector<uint8_t> clips[5];
    bool present[5] = {false, false, false, false, false};
    const Image* images[5] = {nullptr, nullptr, nullptr, nullptr, nullptr};
    Placement place;
};

// Receives the frame's Spark output and the background it was drawn over (both in the engine's
// buffers, valid only during the call).
using FrameDelivery = std::function<void(const std::vector<uint8_t>& output, const std::vector<uint8_t>& background)>;

class Engine {
public:
    static Engine& shared();

    // The state before the first frame of every shot.
    std::shared_ptr<const SimState> initial_state();

    // Runs one frame from `before` (whose key is `before_key`; 0: none) and returns the state it
    // ends in, saved under `after_key` as far as the engine is concerned. A drawn frame is handed
    // to `deliver` before the engine is released.
    std::shared_ptr<SimState> run(const std::shared_ptr<const SimState>& before, uint64_t before_key,
                                  uint64_t after_key, const FrameGeometry& geometry,
                                  const FrameJob& job, const FrameInputs& inputs,
                                  const FrameDelivery& deliver,
                                  const SparkFrame& routes);

    // Runs `work` with the records loaded from `settings` at `frame` (for the panel's callbacks:
    // presets, resets, show/hide rules) and returns the values of every control afterwards.
    FrameSettings edit(const FrameSettings& settings, const SparkFrame& routes,
                       const std::function<void()>& work);

    // Frames the effect has processed (steps on the way and drawn frames alike), for the
    // benchmark and the tests of what a render order costs.
    uint64_t frames_processed() const { return frames_processed_.load(); }
    // Seconds the effect's own frame entry point took for drawn frames: the Spark plug-in's
    // frame, against which the binding's cost is measured.
    double drawn_frame_seconds() const { return drawn_seconds_; }

private:
    Engine();
    void load_records(const FrameSettings& settings);

    std::mutex lock_;
    uint64_t held_key_ = 0;  // key of the state the effect holds now; 0: unknown
    std::shared_ptr<const SimState> initial_;
    std::atomic<uint64_t> frames_processed_{0};
    double drawn_seconds_ = 0.0;  // under lock_
};

}  // namespace vesk_ofx

#endif
