// The engine: one frame of one instance at a time on the effect's globals.
#include "ofx/Engine.h"

#include <chrono>
#include <cstring>

#include "Library/Q4Image.h"
#include "effect/Vesk.h"
#include "host/ControlTable.h"
#include "host/HostState.h"

extern "C" int SparkMemoryTempBuffers(void);

namespace vesk_ofx {

namespace {

// "Render Mode" entry 1 draws nothing into the frame (the preview is the viewer's): a step on the
// way to a later frame moves the swarm exactly as a drawn one does, for less.
constexpr int kWireframeEntry = 1;

SparkInfoStruct frame_info(const FrameGeometry& g, int frame) {
    SparkInfoStruct info;
    memset(&info, 0, sizeof info);
    info.FrameNo = frame < 0 ? 0u : (unsigned)frame;
    info.TotalFrameNo = info.FrameNo + 1;
    info.FrameWidth = g.width;
    info.FrameHeight = g.height;
    info.FrameDepth = g.twelve_bit ? 48 : 24;
    info.FramePixels = g.width * g.height;
    info.FrameBytes = (int)((size_t)g.width * g.height * (g.twelve_bit ? 6 : 3));
    info.TotalClips = 5;
    info.TotalBuffers = 7;
    info.NumProcessors = (char)kSparkJobs;
    return info;
}

void fill_background(std::vector<uint8_t>& buffer, Background background, bool twelve_bit) {
    if (background == Background::Black) {
        std::fill(buffer.begin(), buffer.end(), 0);
    } else if (twelve_bit) {
        uint16_t* words = reinterpret_cast<uint16_t*>(buffer.data());
        std::fill(words, words + buffer.size() / 2, (uint16_t)(4095u << 4));
    } else {
        std::fill(buffer.begin(), buffer.end(), 255);
    }
}

// What the effect's frame entry asks of the pictures it converts (see DirectFrameIO): inputs left
// in the compositor's images until the effect reads them, and the output written straight.
struct DirectPictures {
    const Image* inputs[5] = {nullptr, nullptr, nullptr, nullptr, nullptr};
    Placement place;
    bool twelve_bit = false;
    const Image* output = nullptr;
    const Image* alpha = nullptr;
    bool discard_output = false;  // a step on the way: its picture is never looked at
    bool exported = false;
};

bool import_clip(void* context, int clip, int divisor, void* buffer, ImageQ4* image) {
    DirectPictures& d = *static_cast<DirectPictures*>(context);
    const Image* picture = clip >= 0 && clip < 5 ? d.inputs[clip] : nullptr;
    if (!picture) return false;  // its Spark buffer holds it already
    if (divisor == 1 && ImportDirect(*picture, d.place, image)) return true;
    // Anything else goes through the Spark buffer, filled now.
    ImageToSpark(*picture, d.place, d.twelve_bit, static_cast<uint8_t*>(buffer));
    return false;
}

bool export_result(void* context, int divisor, ImageQ4* image) {
    DirectPictures& d = *static_cast<DirectPictures*>(context);
    if (d.discard_output) return true;
    if (!d.output || divisor != 1 || !ExportDirect(image, d.place, *d.output, d.alpha)) return false;
    d.exported = true;
    return true;
}

}  // namespace

Engine& Engine::shared() {
    static Engine engine;
    return engine;
}

Engine::Engine() {
    std::lock_guard<std::mutex> hold(lock_);
    SnapshotFactoryRecords();
    // What the Spark start-up does for the panel, without its console banner: the controls are
    // bound to their records, the long filters may ask to stop, and the temporary buffer exists.
    ImageQ4::set_image_abort_hook(lib_abort_render, static_cast<PluginQ4*>(&Instance));
    BindControls();
    SwitchAutoPreviewOff();
    DLprocessingDisabled = false;
    DLtempBufferId = SparkMemoryTempBuffers();
    DL_Sync_Ctrl = 1;
    auto state = std::make_shared<SimState>();
    SaveSimState(Instance, state.get());
    initial_ = state;
}

std::shared_ptr<const SimState> Engine::initial_state() { return initial_; }

void Engine::load_records(const FrameSettings& settings) {
    const std::vector<ControlParam>& params = ControlParams();
    for (size_t i = 0; i < params.size() && i < settings.values.size(); ++i)
        StoreRecords(params[i], settings.values[i]);
    SwitchAutoPreviewOff();
    CopyControlValues();
}

std::shared_ptr<SimState> Engine::run(const std::shared_ptr<const SimState>& before, uint64_t before_key,
                                      uint64_t after_key, const FrameGeometry& geometry,
                                      const FrameJob& job, const FrameInputs& inputs,
                                      const FrameDelivery& deliver, const SparkFrame& routes) {
    std::lock_guard<std::mutex> hold(lock_);
    SparkFrame& frame = CurrentFrame();
    frame.resize(geometry.width, geometry.height, geometry.twelve_bit);
    frame.pixel_aspect = geometry.pixel_aspect;
    frame.fetch = routes.fetch;
    frame.message = routes.message;
    frame.confirm = routes.confirm;
    DLtwelveBit = geometry.twelve_bit;
    frame.buffers_ready = true;

    if (before && (before_key == 0 || before_key != held_key_)) RestoreSimState(Instance, *before);
    held_key_ = 0;

    if (job.settings) load_records(*job.settings);
    if (!job.draw) {
        SparkPup59.Value = kWireframeEntry;
        CopyControlValues();
    }
    DirectPictures direct;
    direct.place = inputs.place;
    direct.twelve_bit = geometry.twelve_bit;
    for (int i = 0; i < 5; ++i) {
        std::vector<uint8_t>& buffer = frame.buffers[kFirstInputBuffer + i];
        if (i == 0 && job.background != Background::Source) {
            fill_background(buffer, job.background, geometry.twelve_bit);
        } else if (inputs.images[i] && DirectImportable(*inputs.images[i], inputs.place, geometry.twelve_bit)) {
            // Converted when the effect reads it, straight into its working image.
            direct.inputs[i] = inputs.images[i];
            frame.black[kFirstInputBuffer + i] = false;
            continue;
        } else if (inputs.images[i]) {
            ImageToSpark(*inputs.images[i], inputs.place, geometry.twelve_bit, buffer.data());
            frame.black[kFirstInputBuffer + i] = false;
            continue;
        } else if (inputs.present[i] && inputs.clips[i].size() == buffer.size()) {
            memcpy(buffer.data(), inputs.clips[i].data(), buffer.size());
            frame.black[kFirstInputBuffer + i] = false;
            continue;
        } else if (!frame.black[kFirstInputBuffer + i]) {
            // A clip without a picture is black, as in every Spark host; a buffer already black
            // stays so without being cleared again.
            std::fill(buffer.begin(), buffer.end(), 0);
        }
        frame.black[kFirstInputBuffer + i] = job.background != Background::White || i != 0;
    }

    const SparkInfoStruct info = frame_info(geometry, job.frame);
    DirectFrameIO io{&direct, import_clip, export_result};
    DLdirectIO = &io;
    if (job.events) {
        for (EventButton button : *job.events) {
            if (button == EventButton::Advance) {
                // One more step at this frame, its picture discarded, as pressing Advance with the
                // frame shown renders it once more.
                SparkProcess(info);
                ++frames_processed_;
                continue;
            }
            // The button's own callback makes the request the frame's step acts on.
            const int number = EventButtonControl(button);
            SparkPushStruct* record = number == 6 ? &SparkPush6 : number == 7 ? &SparkPush7 : &SparkPush8;
            if (record->Callback) record->Callback(1, info);
        }
    }
    // Only the frame's own picture goes to the output image; an Advance's is discarded.
    direct.output = job.direct_output;
    direct.alpha = job.direct_alpha;
    direct.discard_output = !job.draw && !deliver;
    const auto started = std::chrono::steady_clock::now();
    SparkProcess(info);
    if (job.draw) drawn_seconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    ++frames_processed_;
    DLdirectIO = nullptr;
    if (deliver && !direct.exported) deliver(frame.buffers[kOutputBuffer], frame.buffers[kFirstInputBuffer]);

    auto after = std::make_shared<SimState>();
    SaveSimState(Instance, after.get());
    held_key_ = after_key;
    frame.buffers_ready = false;
    frame.fetch = nullptr;
    frame.message = nullptr;
    frame.confirm = nullptr;
    return after;
}

FrameSettings Engine::edit(const FrameSettings& settings, const SparkFrame& routes,
                           const std::function<void()>& work) {
    std::lock_guard<std::mutex> hold(lock_);
    SparkFrame& frame = CurrentFrame();
    frame.message = routes.message;
    frame.confirm = routes.confirm;
    load_records(settings);
    if (work) work();
    FrameSettings after;
    for (const ControlParam& p : ControlParams()) after.values.push_back(LoadRecords(p));
    frame.message = nullptr;
    frame.confirm = nullptr;
    return after;
}

}  // namespace vesk_ofx
