// The process-wide cache of simulation states. A state is filed under the key of everything the
// simulation read to reach it (the settings, events and mattes of every frame from the start,
// the frame geometry), so instances with the same inputs share states and an edit that changes
// an input simply misses. Memory is bounded: states at every kSpacing-th frame are kept longest,
// the others go first, least recently used first.
#ifndef OFX_CHECKPOINTS_H
#define OFX_CHECKPOINTS_H

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "ofx/SimState.h"

namespace vesk_ofx {

class CheckpointCache {
public:
    enum { kSpacing = 10 };
    static constexpr size_t kDefaultLimit = 256u << 20;

    explicit CheckpointCache(size_t limit = kDefaultLimit) : limit_(limit) {}

    std::shared_ptr<const SimState> find(uint64_t key);
    void store(uint64_t key, int frame, std::shared_ptr<const SimState> state);
    void clear();
    size_t bytes() const;
    size_t count() const;
    size_t limit() const { return limit_; }
    void set_limit(size_t limit);

    static CheckpointCache& shared();

private:
    struct Entry {
        std::shared_ptr<const SimState> state;
        int frame;
        std::list<uint64_t>::iterator use;  // position in the use order (front = newest)
    };
    void evict_locked();

    mutable std::mutex lock_;
    std::unordered_map<uint64_t, Entry> entries_;
    std::list<uint64_t> use_order_;
    size_t bytes_ = 0;
    size_t limit_;
};

// Keys: a 64-bit FNV-1a hash chained frame to frame.
struct KeyHash {
    uint64_t value = 1469598103934665603ull;
    void add(const void* data, size_t size) {
        const unsigned char* p = static_cast<const unsigned char*>(data);
        for (size_t i = 0; i < size; ++i) value = (value ^ p[i]) * 1099511628211ull;
    }
    template <typename T> void add(const T& v) { add(&v, sizeof v); }
};

}  // namespace vesk_ofx

#endif
