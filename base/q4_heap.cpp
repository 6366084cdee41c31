// Tracked heap services. The plain path (tracking not enabled) is what the plug-in runs: straight
// system allocation with no lock, relying on the system allocator's own thread safety. The
// tracked paths are called from parallel render bands, so they and every override call hold the
// one heap mutex.
#include "base/q4_heap.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <chrono>

#include "base/q4_heap_table.h"
#include "base/q4_log.h"

namespace {

std::atomic<bool> hm_enable{false};
std::atomic<bool> hm_debug{false};
std::atomic<bool> hm_trace{false};

pthread_mutex_t hm_mutex = PTHREAD_MUTEX_INITIALIZER;
std::atomic<int> hm_mutex_init{0};
double hm_elapsed = 0.0;  // guarded by hm_mutex

struct Override {
    void* context = nullptr;
    q4_heap_alloc_fn alloc = nullptr;
    q4_heap_realloc_fn realloc_fn = nullptr;
    q4_heap_free_fn free_fn = nullptr;
};

// One heap: its table, its override and the names its messages use.
struct Heap {
    const char* table_name;
    const char* malloc_name;
    const char* realloc_name;
    const char* free_name;
    Q4HeapTable* table;
    Override over;
};

Heap normal_heap = {"NORMAL", "q4_malloc", "q4_realloc", "q4_free", nullptr, {}};
Heap image_heap = {"IMAGE", "q4_image_malloc", "q4_image_realloc", "q4_image_free", nullptr, {}};

const char* const untagged = "<untagged>";

void acquire_hm_mutex() {
    hm_mutex_init.store(1);
    if (pthread_mutex_lock(&hm_mutex) != 0)
        q4_log(1, "Q4-HM-DEBUG: INTERNAL ERROR: pthread_mutex_lock() failed!\n");
}

void release_hm_mutex() {
    if (!hm_mutex_init.load()) {
        q4_log(1, "Q4-HM-DEBUG: INTERNAL ERROR: release_hm_mutex() found hm_mutex_init=0!\n");
        return;
    }
    if (pthread_mutex_unlock(&hm_mutex) != 0)
        q4_log(1, "Q4-HM-DEBUG: INTERNAL ERROR: pthread_mutex_unlock() failed!\n");
}

double now_seconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Raw block operations of a heap: its override when one is set, otherwise the system.
// The caller holds the mutex when an override is set.
void* raw_alloc(Heap& h, size_t size) {
    return h.over.alloc ? h.over.alloc(h.over.context, size) : malloc(size);
}
void* raw_realloc(Heap& h, void* block, size_t size) {
    return h.over.realloc_fn ? h.over.realloc_fn(h.over.context, block, size) : realloc(block, size);
}
void raw_free(Heap& h, void* block) {
    if (h.over.free_fn) h.over.free_fn(h.over.context, block);
    else free(block);
}
bool has_override(const Heap& h) { return h.over.alloc || h.over.realloc_fn || h.over.free_fn; }

void* heap_malloc(Heap& h, size_t size, const char* tag, int line) {
    if (!hm_enable.load()) return malloc(size);
    void* block;
    if (!hm_debug.load()) {
        if (has_override(h)) {
            acquire_hm_mutex();
            block = raw_alloc(h, size);
            release_hm_mutex();
        } else {
            block = malloc(size);
        }
    } else {
        if (size == 0) {
            q4_log(1, "Q4-HM-DEBUG: %s( size=0 ) attempted! [%s(%d)]\n", h.malloc_name, tag, line);
            return nullptr;
        }
        acquire_hm_mutex();
        Q4HeapTable* table = q4_heap_table_get(h.table, h.table_name);
        double start = now_seconds();
        block = raw_alloc(h, size);
        if (block && table) q4_heap_table_record(table, block, size, tag, line);
        hm_elapsed += now_seconds() - start;
        release_hm_mutex();
    }
    if (hm_trace.load() && line != 0)
        q4_log(3, "Q4-HM-TRACE: %s(%d) ret (%p) at [%s(%d)]\n", h.malloc_name, (int)size, block, tag, line);
    return block;
}

void* heap_realloc(Heap& h, void* block, size_t size, const char* tag, int line) {
    if (!hm_enable.load()) return realloc(block, size);
    void* moved;
    if (!hm_debug.load()) {
        if (has_override(h)) {
            acquire_hm_mutex();
            moved = raw_realloc(h, block, size);
            release_hm_mutex();
        } else {
            moved = realloc(block, size);
        }
    } else {
        if (size == 0) {
            q4_log(1, "Q4-HM-DEBUG: %s( size=0 ) attempted! [%s(%d)]\n", h.realloc_name, tag, line);
            return nullptr;
        }
        acquire_hm_mutex();
        Q4HeapTable* table = q4_heap_table_get(h.table, h.table_name);
        // A null block is a fresh allocation, as with the system's realloc.
        if (block && table && !q4_heap_table_find(table, block)) {
            release_hm_mutex();
            q4_log(1, "Q4-HM-DEBUG: %s(%p,%d) attempted - but %p is not allocated!  [%s(%d)]\n",
                   h.realloc_name, block, (int)size, block, tag, line);
            return nullptr;
        }
        double start = now_seconds();
        moved = raw_realloc(h, block, size);
        if (moved && table) {
            if (block) q4_heap_table_forget(table, block);
            q4_heap_table_record(table, moved, size, tag, line);
        }
        hm_elapsed += now_seconds() - start;
        release_hm_mutex();
    }
    if (hm_trace.load() && line != 0)
        q4_log(3, "Q4-HM-TRACE: %s(%p,%d) ret (%p) at [%s(%d)]\n", h.realloc_name, block, (int)size,
               moved, tag, line);
    return moved;
}

void heap_free(Heap& h, void* block, const char* tag, int line) {
    if (!hm_enable.load()) {
        free(block);
        return;
    }
    if (!hm_debug.load()) {
        if (has_override(h)) {
            acquire_hm_mutex();
            if (block) raw_free(h, block);
            release_hm_mutex();
        } else {
            free(block);
        }
    } else {
        if (!block) {
            q4_log(1, "Q4-HM-DEBUG: %s( NULL ) attempted! [%s(%d)]\n", h.free_name, tag, line);
            return;
        }
        acquire_hm_mutex();
        Q4HeapTable* table = q4_heap_table_get(h.table, h.table_name);
        if (table && !q4_heap_table_find(table, block)) {
            release_hm_mutex();
            // Not releasing an unknown block keeps a double free from corrupting the heap.
            q4_log(1, "Q4-HM-DEBUG: %s(%p) attempted - but %p is not allocated! [%s(%d)]\n",
                   h.free_name, block, block, tag, line);
            return;
        }
        double start = now_seconds();
        if (table) q4_heap_table_forget(table, block);
        raw_free(h, block);
        hm_elapsed += now_seconds() - start;
        release_hm_mutex();
    }
    if (hm_trace.load() && line != 0)
        q4_log(3, "Q4-HM-TRACE: %s(%p) at [%s(%d)]\n", h.free_name, block, tag, line);
}

void set_overrides(Heap& h, void* context, q4_heap_alloc_fn alloc, q4_heap_realloc_fn realloc_fn,
                   q4_heap_free_fn free_fn) {
    acquire_hm_mutex();
    h.over.context = context;
    h.over.alloc = alloc;
    h.over.realloc_fn = realloc_fn;
    h.over.free_fn = free_fn;
    release_hm_mutex();
}

bool statistics(Heap& h, long* blocks, long* frees, long* bytes, long* peak) {
    if (!hm_debug.load()) {
        q4_log(1, "Q4-HM-DEBUG: Debug mode not set. Statistics not available.\n");
        return false;
    }
    acquire_hm_mutex();
    Q4HeapTable* table = q4_heap_table_get(h.table, h.table_name);
    if (table) {
        if (blocks) *blocks = table->allocations;
        if (frees) *frees = table->frees;
        if (bytes) *bytes = table->bytes;
        if (peak) *peak = table->peak;
    }
    release_hm_mutex();
    return table != nullptr;
}

void report(Heap& h, bool dump) {
    if (!hm_debug.load()) {
        q4_log(1, "Q4-HM-DEBUG: Debug mode not set. Statistics not available.\n");
        return;
    }
    acquire_hm_mutex();
    if (Q4HeapTable* table = q4_heap_table_get(h.table, h.table_name))
        q4_heap_table_report(table, dump, hm_elapsed);
    release_hm_mutex();
}

void cleanup(Heap& h) {
    acquire_hm_mutex();
    q4_heap_table_destroy(h.table);
    release_hm_mutex();
}

}  // namespace

void* q4_malloc(size_t size, const char* tag, int line) { return heap_malloc(normal_heap, size, tag, line); }
void* q4_realloc(void* block, size_t size, const char* tag, int line) {
    return heap_realloc(normal_heap, block, size, tag, line);
}
void* q4_calloc(size_t count, size_t size, const char* tag, int line) {
    if (!hm_enable.load()) return calloc(count, size);
    if (size != 0 && count > (size_t)-1 / size) return nullptr;
    // Cleared memory is an ordinary tracked allocation, zeroed afterwards.
    void* block = heap_malloc(normal_heap, count * size, tag, line);
    if (block) memset(block, 0, count * size);
    return block;
}
char* q4_strdup(const char* text, const char* tag, int line) {
    if (!text) {
        if (hm_enable.load() && hm_debug.load())
            q4_log(1, "Q4-HM-DEBUG: q4_strdup( NULL ) attempted! [%s(%d)]\n", tag, line);
        return nullptr;
    }
    size_t size = strlen(text) + 1;
    char* copy = static_cast<char*>(heap_malloc(normal_heap, size, tag, line));
    if (copy) memcpy(copy, text, size);
    return copy;
}
void q4_free(void* block, const char* tag, int line) { heap_free(normal_heap, block, tag, line); }

void* q4_image_malloc(size_t size, const char* tag, int line) { return heap_malloc(image_heap, size, tag, line); }
void* q4_image_realloc(void* block, size_t size, const char* tag, int line) {
    return heap_realloc(image_heap, block, size, tag, line);
}
void q4_image_free(void* block, const char* tag, int line) { heap_free(image_heap, block, tag, line); }

void* q4_malloc_c(size_t size) { return q4_malloc(size, untagged, 0); }
void* q4_realloc_c(void* block, size_t size) { return q4_realloc(block, size, untagged, 0); }
void* q4_calloc_c(size_t count, size_t size) { return q4_calloc(count, size, untagged, 0); }
char* q4_strdup_c(const char* text) { return q4_strdup(text, untagged, 0); }
void q4_free_c(void* block) { q4_free(block, untagged, 0); }
void* q4_image_malloc_c(size_t size) { return q4_image_malloc(size, untagged, 0); }
void* q4_image_realloc_c(void* block, size_t size) { return q4_image_realloc(block, size, untagged, 0); }
void q4_image_free_c(void* block) { q4_image_free(block, untagged, 0); }

void set_q4_heap_memory_enable(bool on) { hm_enable.store(on); }
void set_q4_heap_memory_debug(bool on) { hm_debug.store(on); }
void set_q4_heap_memory_trace(bool on) { hm_trace.store(on); }

void set_q4_heap_normal_memory_overrides(void* context, q4_heap_alloc_fn alloc,
                                         q4_heap_realloc_fn realloc_fn, q4_heap_free_fn free_fn) {
    set_overrides(normal_heap, context, alloc, realloc_fn, free_fn);
}
void set_q4_heap_image_memory_overrides(void* context, q4_heap_alloc_fn alloc,
                                        q4_heap_realloc_fn realloc_fn, q4_heap_free_fn free_fn) {
    set_overrides(image_heap, context, alloc, realloc_fn, free_fn);
}

bool get_q4_heap_normal_memory_statistics(long* blocks, long* frees, long* bytes, long* peak) {
    return statistics(normal_heap, blocks, frees, bytes, peak);
}
bool get_q4_heap_image_memory_statistics(long* blocks, long* frees, long* bytes, long* peak) {
    return statistics(image_heap, blocks, frees, bytes, peak);
}

void output_q4_heap_normal_memory_report(bool dump) { report(normal_heap, dump); }
void output_q4_heap_image_memory_report(bool dump) { report(image_heap, dump); }

void q4_heap_normal_memory_cleanup() { cleanup(normal_heap); }
void q4_heap_image_memory_cleanup() { cleanup(image_heap); }

double get_q4_heap_elapsed_time() {
    acquire_hm_mutex();
    double t = hm_elapsed;
    release_hm_mutex();
    return t;
}
