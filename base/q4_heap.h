// Tracked heap: every allocation of the framework and the effect goes through these services,
// one family for ordinary memory and one for image memory, each call carrying the caller's
// source tag and line. With tracking off (the state in which the plug-in runs) they are plain
// system allocation; with tracking on they keep a table of live blocks per heap, refuse
// suspicious calls with a message, time the allocator and can report what is still allocated.
#ifndef Q4_HEAP_H
#define Q4_HEAP_H

#include <stddef.h>

// Ordinary memory, recorded in the "NORMAL" table when tracking.
void* q4_malloc(size_t size, const char* tag, int line);
void* q4_realloc(void* block, size_t size, const char* tag, int line);
void* q4_calloc(size_t count, size_t size, const char* tag, int line);
char* q4_strdup(const char* text, const char* tag, int line);
void q4_free(void* block, const char* tag, int line);

// Image memory, recorded in the "IMAGE" table when tracking.
void* q4_image_malloc(size_t size, const char* tag, int line);
void* q4_image_realloc(void* block, size_t size, const char* tag, int line);
void q4_image_free(void* block, const char* tag, int line);

// The same services for plain-function code that has no tag and line to give.
extern "C" {
void* q4_malloc_c(size_t size);
void* q4_realloc_c(void* block, size_t size);
void* q4_calloc_c(size_t count, size_t size);
char* q4_strdup_c(const char* text);
void q4_free_c(void* block);
void* q4_image_malloc_c(size_t size);
void* q4_image_realloc_c(void* block, size_t size);
void q4_image_free_c(void* block);
}

// Process-wide switches, all false at load. The plug-in never sets them.
void set_q4_heap_memory_enable(bool on);
void set_q4_heap_memory_debug(bool on);
void set_q4_heap_memory_trace(bool on);

// A heap override: blocks come from these functions instead of the system allocator while
// tracking is enabled. Each is called with the context pointer given here, under the heap mutex.
typedef void* (*q4_heap_alloc_fn)(void* context, size_t size);
typedef void* (*q4_heap_realloc_fn)(void* context, void* block, size_t size);
typedef void (*q4_heap_free_fn)(void* context, void* block);
// Passing null functions removes the override.
void set_q4_heap_normal_memory_overrides(void* context, q4_heap_alloc_fn alloc,
                                         q4_heap_realloc_fn realloc_fn, q4_heap_free_fn free_fn);
void set_q4_heap_image_memory_overrides(void* context, q4_heap_alloc_fn alloc,
                                        q4_heap_realloc_fn realloc_fn, q4_heap_free_fn free_fn);

// Statistics of a table: allocations recorded, frees recorded, bytes currently allocated and
// the peak of that count. Returns false (with a message) when debug mode is not set.
bool get_q4_heap_normal_memory_statistics(long* blocks, long* frees, long* bytes, long* peak);
bool get_q4_heap_image_memory_statistics(long* blocks, long* frees, long* bytes, long* peak);

// Report of a table to the message log; with dump true also one line per live block.
void output_q4_heap_normal_memory_report(bool dump);
void output_q4_heap_image_memory_report(bool dump);

// Forgets every record of a table (the blocks themselves are not released) and resets its
// counters; the table is recreated on its next use.
void q4_heap_normal_memory_cleanup();
void q4_heap_image_memory_cleanup();

// Seconds spent inside the tracked allocator so far.
double get_q4_heap_elapsed_time();

#endif
