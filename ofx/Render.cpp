// The render action: the frame asked for is made from the nearest kept simulation state before
// it, stepping the swarm forward through every frame in between (each with its own parameter
// values, events and mattes), and the frame itself is drawn at full resolution by the effect.
#include <cmath>
#include <cstring>
#include <memory>

#include "ofx/Binding.h"
#include "ofx/Checkpoints.h"
#include "ofx/ImageIO.h"
#include "ofx/Instance.h"
#include "ofx/Suites.h"

namespace vesk_ofx {

namespace {

// Binary format of the keys: a change here must never meet states saved by an older build in
// the same process, which cannot happen, but it keeps the key's meaning written down.
constexpr uint32_t kKeyVersion = 1;

struct Shot {
    InstanceData* d = nullptr;
    FrameGeometry geometry;
    Placement place;
    int start = 0;
    double scale_x = 1.0, scale_y = 1.0;
    EventList events;
    bool connected[kClipCount] = {};
};

// An image fetched for the length of one action, released when it goes.
struct HeldImage {
    Image image;
    HeldImage() = default;
    HeldImage(const HeldImage&) = delete;
    HeldImage& operator=(const HeldImage&) = delete;
    ~HeldImage() {
        if (image.handle) S().effect->clipReleaseImage(image.handle);
    }
    bool fetch(OfxImageClipHandle clip, double time) {
        OfxPropertySetHandle handle = nullptr;
        if (!clip || S().effect->clipGetImage(clip, time, nullptr, &handle) != kOfxStatOK || !handle) return false;
        image = DescribeImage(handle);
        return image.valid();
    }
};

bool fetch_clip(const Shot& shot, int clip, int frame, uint8_t* buffer) {
    if (!shot.connected[clip]) return false;
    HeldImage held;
    if (!held.fetch(shot.d->clips[clip], (double)frame)) return false;
    ImageToSpark(held.image, shot.place, shot.geometry.twelve_bit, buffer);
    return true;
}

size_t frame_bytes(const FrameGeometry& g) { return (size_t)g.width * g.height * (g.twelve_bit ? 6 : 3); }

// Index of a control in the table, by name.
size_t control_index(const char* name) {
    const std::vector<ControlParam>& params = ControlParams();
    for (size_t i = 0; i < params.size(); ++i)
        if (!strcmp(params[i].name, name)) return i;
    return 0;
}

// The mattes a step at these settings steers by.
bool uses_matte(const FrameSettings& s, int clip) {
    static const size_t birth = control_index("useBirthMatte");
    static const size_t avoid = control_index("useAvoidMatte");
    return s.values[clip == 3 ? birth : avoid].v[0] != 0.0;
}

// The key of the state after `frame`: the key before it and everything the step reads.
uint64_t chain_key(uint64_t before, int frame, const FrameSettings& s, const EventList& events,
                   const FrameInputs& mattes) {
    KeyHash h;
    h.add(before);
    h.add(frame);
    const std::vector<ControlParam>& params = ControlParams();
    for (size_t i = 0; i < params.size(); ++i)
        if (params[i].simulation) h.add(s.values[i].v, sizeof s.values[i].v);
    if (const std::vector<EventButton>* at = events.find(frame)) {
        for (EventButton b : *at) h.add((int)b);
    }
    for (int clip = 3; clip < kClipCount; ++clip) {
        if (!uses_matte(s, clip)) continue;
        h.add(clip);
        h.add(mattes.present[clip]);
        if (mattes.present[clip]) h.add(mattes.clips[clip].data(), mattes.clips[clip].size());
    }
    return h.value;
}

uint64_t base_key(const Shot& shot) {
    KeyHash h;
    h.add(kKeyVersion);
    h.add(shot.geometry.width);
    h.add(shot.geometry.height);
    h.add(shot.geometry.pixel_aspect);
    h.add(shot.geometry.twelve_bit);
    h.add(shot.start);
    // Mattes reach the simulation at the render scale; states of other scales are kept apart.
    h.add(shot.scale_x);
    h.add(shot.scale_y);
    return h.value;
}

// The mattes a step at `frame` reads, fetched before the engine is taken.
FrameInputs step_inputs(const Shot& shot, int frame, const FrameSettings& s) {
    FrameInputs inputs;
    for (int clip = 3; clip < kClipCount; ++clip) {
        if (!uses_matte(s, clip)) continue;
        inputs.clips[clip].resize(frame_bytes(shot.geometry));
        inputs.present[clip] = fetch_clip(shot, clip, frame, inputs.clips[clip].data());
    }
    return inputs;
}

SparkFrame render_routes(const Shot& shot) {
    SparkFrame routes;
    routes.fetch = [&shot](int clip, int frame, uint8_t* pixels) {
        return clip >= 0 && clip < kClipCount && fetch_clip(shot, clip, frame, pixels);
    };
    OfxImageEffectHandle effect = shot.d->effect;
    routes.message = [effect](const std::string& text, bool error) {
        if (S().message)
            S().message->message(effect, error ? kOfxMessageError : kOfxMessageLog, nullptr, "%s", text.c_str());
    };
    return routes;
}

bool describe_shot(InstanceData* d, OfxPropertySetHandle in, double time, const Image& output, Shot* shot) {
    shot->d = d;
    OfxPropertySetHandle effect_props = nullptr;
    S().effect->getPropertySet(d->effect, &effect_props);
    const double par = PropDouble(effect_props, kOfxImageEffectPropProjectPixelAspectRatio, 0, 1.0);
    shot->scale_x = PropDouble(in, kOfxImageEffectPropRenderScale, 0, 1.0);
    shot->scale_y = PropDouble(in, kOfxImageEffectPropRenderScale, 1, 1.0);
    OfxRectD rod{0, 0, 0, 0};
    if (S().effect->clipGetRegionOfDefinition(d->clips[0], time, &rod) != kOfxStatOK || rod.x2 <= rod.x1) {
        const double w = PropDouble(effect_props, kOfxImageEffectPropProjectSize, 0, 0.0);
        const double h = PropDouble(effect_props, kOfxImageEffectPropProjectSize, 1, 0.0);
        rod = OfxRectD{0, 0, w, h};
    }
    shot->place.x0 = (int)std::lround(rod.x1 / par);
    shot->place.y0 = (int)std::lround(rod.y1);
    shot->place.width = (int)std::lround((rod.x2 - rod.x1) / par);
    shot->place.height = (int)std::lround(rod.y2 - rod.y1);
    shot->place.sx = shot->scale_x;
    shot->place.sy = shot->scale_y;
    if (shot->place.width <= 0 || shot->place.height <= 0) return false;
    shot->geometry.width = shot->place.width;
    shot->geometry.height = shot->place.height;
    shot->geometry.pixel_aspect = (float)par;
    // 8-bit pictures go through the effect's 8-bit mode, deeper ones through its 12-bit mode.
    shot->geometry.twelve_bit = output.bytes != 1;
    shot->start = StartFrame(*d);
    char* text = nullptr;
    if (d->events && S().param->paramGetValueAtTime(d->events, time, &text) == kOfxStatOK && text)
        shot->events = ParseEvents(text);
    for (int i = 0; i < kClipCount; ++i) shot->connected[i] = ClipConnected(d->clips[i]);
    return true;
}

// The keys of the states after frames start .. last, from the instance's memo where it has them.
std::vector<uint64_t> shot_keys(const Shot& shot, int last, std::vector<FrameSettings>* settings) {
    InstanceData& d = *shot.d;
    const uint64_t base = base_key(shot);
    std::vector<uint64_t> keys;
    keys.reserve((size_t)(last - shot.start + 2));
    keys.push_back(base);
    std::lock_guard<std::mutex> hold(d.memo_lock);
    if (d.memo_base != base) {
        d.key_memo.clear();
        d.memo_base = base;
    }
    settings->assign((size_t)(last - shot.start + 1), FrameSettings());
    for (int f = shot.start; f <= last; ++f) {
        auto it = d.key_memo.find(f);
        FrameSettings& s = (*settings)[(size_t)(f - shot.start)];
        if (it != d.key_memo.end()) {
            keys.push_back(it->second);
            continue;
        }
        s = ReadSettings(d, (double)f);
        const FrameInputs mattes = step_inputs(shot, f, s);
        keys.push_back(chain_key(keys.back(), f, s, shot.events, mattes));
        d.key_memo[f] = keys.back();
    }
    return keys;
}

}  // namespace

OfxStatus Render(OfxImageEffectHandle effect, OfxPropertySetHandle in) {
    InstanceData* d = Data(effect);
    if (!d) return kOfxStatFailed;
    const double time = PropDouble(in, kOfxPropTime, 0, 0.0);
    const int frame = (int)std::lround(time);
    OfxRectI window{0, 0, 0, 0};
    S().prop->propGetIntN(in, kOfxImageEffectPropRenderWindow, 4, &window.x1);

    HeldImage output, source;
    if (!output.fetch(d->output, time)) return kOfxStatFailed;
    Shot shot;
    if (!describe_shot(d, in, time, output.image, &shot)) return kOfxStatFailed;
    const bool have_source = shot.connected[0] && source.fetch(d->clips[0], time);
    const int mode = OutputMode(*d, &time);

    // Every connected input at this frame, held until the frame is drawn; the engine converts
    // them into its own buffers. The others stay black there.
    HeldImage held[kClipCount];
    FrameInputs inputs;
    inputs.place = shot.place;
    if (have_source) inputs.images[0] = &source.image;
    for (int i = 1; i < kClipCount; ++i)
        if (shot.connected[i] && held[i].fetch(d->clips[i], time)) inputs.images[i] = &held[i].image;

    if (frame < shot.start) {
        // The swarm has not started: the background as it stands, or nothing of the swarm.
        std::vector<uint8_t> background(frame_bytes(shot.geometry), 0);
        ImageToSpark(source.image, shot.place, shot.geometry.twelve_bit, background.data());
        if (mode == kSwarmOnly) {
            const std::vector<uint8_t> empty(background.size(), 0), white(background.size(), 0xFF);
            SwarmOnlyToImage(empty, white, shot.place, shot.geometry.twelve_bit, window, output.image);
        } else {
            SparkToImage(background, &background, have_source ? &source.image : nullptr, shot.place,
                         shot.geometry.twelve_bit, window, output.image);
        }
        return kOfxStatOK;
    }

    std::vector<FrameSettings> settings;
    const std::vector<uint64_t> keys = shot_keys(shot, frame, &settings);
    auto settings_at = [&](int f) -> const FrameSettings& {
        FrameSettings& s = settings[(size_t)(f - shot.start)];
        if (s.values.empty()) s = ReadSettings(*d, (double)f);
        return s;
    };
    // keys[i] is the key of the state before frame start + i.
    CheckpointCache& cache = CheckpointCache::shared();
    Engine& engine = Engine::shared();
    std::shared_ptr<const SimState> state;
    int from = frame;  // first frame still to step
    for (; from > shot.start; --from) {
        state = cache.find(keys[(size_t)(from - shot.start)]);
        if (state) break;
    }
    if (!state) {
        from = shot.start;
        state = engine.initial_state();
    }
    uint64_t state_key = keys[(size_t)(from - shot.start)];

    const SparkFrame routes = render_routes(shot);
    for (int f = from; f < frame; ++f) {
        if (S().effect->abort(effect)) return kOfxStatOK;
        const FrameSettings& s = settings_at(f);
        const FrameInputs step = step_inputs(shot, f, s);
        FrameJob job;
        job.frame = f;
        job.settings = &s;
        job.events = shot.events.find(f);
        job.draw = false;
        const uint64_t next_key = keys[(size_t)(f - shot.start + 1)];
        std::shared_ptr<const SimState> next =
            engine.run(state, state_key, next_key, shot.geometry, job, step, FrameDelivery(), routes);
        cache.store(next_key, f, next);
        state = next;
        state_key = next_key;
    }

    FrameJob job;
    job.frame = frame;
    job.settings = &settings_at(frame);
    job.events = shot.events.find(frame);
    const uint64_t after_key = keys[(size_t)(frame - shot.start + 1)];
    const Image* source_image = have_source ? &source.image : nullptr;
    if (mode == kSwarmOnly) {
        std::vector<uint8_t> over_black;
        job.background = Background::Black;
        std::shared_ptr<const SimState> after = engine.run(
            state, state_key, after_key, shot.geometry, job, inputs,
            [&](const std::vector<uint8_t>& out, const std::vector<uint8_t>&) { over_black = out; }, routes);
        job.background = Background::White;
        engine.run(state, state_key, after_key, shot.geometry, job, inputs,
                   [&](const std::vector<uint8_t>& out, const std::vector<uint8_t>&) {
                       SwarmOnlyToImage(over_black, out, shot.place, shot.geometry.twelve_bit, window, output.image);
                   },
                   routes);
        cache.store(after_key, frame, after);
    } else {
        if (DirectExportable(output.image, source_image, shot.place, shot.geometry.twelve_bit, window)) {
            job.direct_output = &output.image;
            job.direct_alpha = source_image;
        }
        std::shared_ptr<const SimState> after = engine.run(
            state, state_key, after_key, shot.geometry, job, inputs,
            [&](const std::vector<uint8_t>& out, const std::vector<uint8_t>& background) {
                SparkToImage(out, &background, source_image, shot.place, shot.geometry.twelve_bit, window,
                             output.image);
            },
            routes);
        cache.store(after_key, frame, after);
    }
    return kOfxStatOK;
}

}  // namespace vesk_ofx
