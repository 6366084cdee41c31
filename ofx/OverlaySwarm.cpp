#include "ofx/OverlaySwarm.h"

#include <mutex>

#include "effect/Vesk.h"
#include "ofx/Checkpoints.h"
#include "ofx/Instance.h"

namespace vesk_ofx {

std::shared_ptr<const SimState> StateAfterFrame(InstanceData& d, int frame) {
    uint64_t key = 0;
    {
        std::lock_guard<std::mutex> hold(d.memo_lock);
        auto it = d.key_memo.find(frame);
        if (it == d.key_memo.end()) return nullptr;
        key = it->second;
    }
    return CheckpointCache::shared().find(key);
}

ShownSwarm::ShownSwarm(const SimState* state, double frame)
    : saved_set_(Instance.set), saved_res_scale_(Instance.res_scale),
      saved_pixel_ratio_(Instance.pixel_ratio), saved_frame_(Instance.frame) {
    if (state) {
        set_ = state->set_fields;
        particles_ = state->particles;
        // The live list in its saved order, newest first.
        for (size_t i = 0; i + 1 < particles_.size(); ++i) particles_[i].next = &particles_[i + 1];
        if (!particles_.empty()) particles_.back().next = nullptr;
        set_.live_list = particles_.empty() ? nullptr : particles_.data();
        set_.live_count = (int)particles_.size();
        // The outlines are sized for the frame the state was made at.
        Instance.res_scale = state->res_scale;
        Instance.pixel_ratio = state->pixel_ratio;
    }
    Instance.frame = frame;
    Instance.set = &set_;
    if (state) Instance.part_info_from_spark(&set_);
}

ShownSwarm::~ShownSwarm() {
    Instance.set = saved_set_;
    Instance.res_scale = saved_res_scale_;
    Instance.pixel_ratio = saved_pixel_ratio_;
    Instance.frame = saved_frame_;
}

}  // namespace vesk_ofx
