#include "ofx/Checkpoints.h"

namespace vesk_ofx {

std::shared_ptr<const SimState> CheckpointCache::find(uint64_t key) {
    std::lock_guard<std::mutex> hold(lock_);
    auto it = entries_.find(key);
    if (it == entries_.end()) return nullptr;
    use_order_.splice(use_order_.begin(), use_order_, it->second.use);
    return it->second.state;
}

void CheckpointCache::store(uint64_t key, int frame, std::shared_ptr<const SimState> state) {
    if (!state) return;
    std::lock_guard<std::mutex> hold(lock_);
    auto it = entries_.find(key);
    if (it != entries_.end()) {
        use_order_.splice(use_order_.begin(), use_order_, it->second.use);
        return;
    }
    use_order_.push_front(key);
    bytes_ += state->bytes();
    entries_[key] = Entry{std::move(state), frame, use_order_.begin()};
    evict_locked();
}

void CheckpointCache::evict_locked() {
    // Two passes over the use order, oldest first: states between the spaced frames go first,
    // then spaced ones. The newest state always stays, so the next frame in order finds it.
    for (int pass = 0; pass < 2 && bytes_ > limit_; ++pass) {
        auto it = use_order_.end();
        while (bytes_ > limit_ && it != use_order_.begin()) {
            --it;
            if (it == use_order_.begin()) break;
            Entry& e = entries_[*it];
            if (pass == 0 && e.frame % kSpacing == 0) continue;
            bytes_ -= e.state->bytes();
            entries_.erase(*it);
            it = use_order_.erase(it);
        }
    }
}

void CheckpointCache::clear() {
    std::lock_guard<std::mutex> hold(lock_);
    entries_.clear();
    use_order_.clear();
    bytes_ = 0;
}

size_t CheckpointCache::bytes() const {
    std::lock_guard<std::mutex> hold(lock_);
    return bytes_;
}

size_t CheckpointCache::count() const {
    std::lock_guard<std::mutex> hold(lock_);
    return entries_.size();
}

void CheckpointCache::set_limit(size_t limit) {
    std::lock_guard<std::mutex> hold(lock_);
    limit_ = limit;
    evict_locked();
}

CheckpointCache& CheckpointCache::shared() {
    static CheckpointCache cache;
    return cache;
}

}  // namespace vesk_ofx
