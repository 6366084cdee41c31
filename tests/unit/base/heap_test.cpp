// The tracked heap: plain path, debug-mode counters, refusals and their texts, reports,
// overrides, tracing, parallel use, and the info table's hashing and overflow chains.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/q4_heap.h"
#include "base/q4_heap_table.h"
#include "base/q4_log.h"
#include "base/q4mp.h"

namespace {

std::vector<std::pair<int, std::string>> logged_lines;

std::string fmt(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string fmt(const char* format, ...) {
    char buf[512];
    va_list ap;
    va_start(ap, format);
    vsnprintf(buf, sizeof buf, format, ap);
    va_end(ap);
    return buf;
}

class HeapTest : public ::testing::Test {
protected:
    void SetUp() override {
        reset();
        set_q4_log_sink([](int level, const char* text) { logged_lines.emplace_back(level, text); });
        logged_lines.clear();
    }
    void TearDown() override {
        reset();
        set_q4_log_sink(nullptr);
    }
    static void reset() {
        set_q4_heap_memory_enable(false);
        set_q4_heap_memory_debug(false);
        set_q4_heap_memory_trace(false);
        set_q4_heap_normal_memory_overrides(nullptr, nullptr, nullptr, nullptr);
        set_q4_heap_image_memory_overrides(nullptr, nullptr, nullptr, nullptr);
        q4_heap_normal_memory_cleanup();
        q4_heap_image_memory_cleanup();
    }
    static void debug_on() {
        set_q4_heap_memory_enable(true);
        set_q4_heap_memory_debug(true);
    }
    static std::string logged() {
        std::string all;
        for (auto& l : logged_lines) all += l.second;
        return all;
    }
};

// One-at-a-time hash of the eight address bytes (little-endian) without its final step,
// written out independently of the table code.
unsigned expected_bucket(uintptr_t address) {
    uint32_t h = 0;
    for (int i = 0; i < 8; i++) {
        h += (uint32_t)((address >> (8 * i)) & 0xFF);
        h += (h << 10);
        h ^= (h >> 6);
    }
    h += (h << 3);
    h ^= (h >> 11);
    return h % 16384;
}

void* fake(uintptr_t a) { return reinterpret_cast<void*>(a); }

}  // namespace

TEST_F(HeapTest, PlainPathIsSilentSystemAllocation) {
    q4_free(q4_malloc(0, "plain.cpp", 1), "plain.cpp", 2);  // size 0 goes to the system
    q4_free(nullptr, "plain.cpp", 3);
    q4_image_free(nullptr, "plain.cpp", 4);
    char* s = q4_strdup("swarm", "plain.cpp", 5);
    EXPECT_STREQ(s, "swarm");
    q4_free(s, "plain.cpp", 6);
    int* z = static_cast<int*>(q4_calloc(8, sizeof(int), "plain.cpp", 7));
    EXPECT_EQ(std::count(z, z + 8, 0), 8);
    q4_free_c(q4_realloc(z, 256, "plain.cpp", 8));
    EXPECT_TRUE(logged_lines.empty());
    long b = -1;  // without debug mode there are no statistics to give
    EXPECT_FALSE(get_q4_heap_normal_memory_statistics(&b, nullptr, nullptr, nullptr));
    output_q4_heap_image_memory_report(true);
    const std::string refused = "Q4-HM-DEBUG: Debug mode not set. Statistics not available.\n";
    EXPECT_EQ(logged(), refused + refused);
    EXPECT_EQ(b, -1);
}

TEST_F(HeapTest, CountersAndReportFollowTheLiveBlocksOfEachHeap) {
    debug_on();
    const std::string long_tag = "a/very/deep/source/tree/of/the/framework/Library/Q4Image.cpp";
    void* a = q4_malloc(10, "count.cpp", 1);
    void* b = q4_malloc(20, "count.cpp", 2);
    void* c = q4_calloc(3, 10, long_tag.c_str(), 3);
    q4_free(b, "count.cpp", 4);
    void* d = q4_realloc(a, 5, "count.cpp", 5);  // forgets 10 bytes, records 5
    void* img = q4_image_malloc(1000, "count.cpp", 6);
    long blocks, frees, bytes, peak;
    ASSERT_TRUE(get_q4_heap_normal_memory_statistics(&blocks, &frees, &bytes, &peak));
    EXPECT_EQ(std::vector<long>({blocks, frees, bytes, peak}), std::vector<long>({4, 2, 35, 60}));
    ASSERT_TRUE(get_q4_heap_image_memory_statistics(&blocks, &frees, &bytes, &peak));
    EXPECT_EQ(std::vector<long>({blocks, frees, bytes, peak}), std::vector<long>({1, 0, 1000, 1000}));

    output_q4_heap_normal_memory_report(true);
    output_q4_heap_image_memory_report(false);
    std::vector<std::string> lines;
    for (auto& l : logged_lines) lines.push_back(l.second);
    ASSERT_EQ(lines.size(), 9u);
    double seconds = -1;
    EXPECT_EQ(sscanf(lines[2].c_str(), "Elapsed time in allocator: %lfs\n", &seconds), 1);
    EXPECT_GE(seconds, 0.0);
    lines[2] = lines[8] = "time\n";
    std::vector<std::string> want({
        "NORMAL MEMORY ALLOCATOR REPORT\n", "Blocks currently allocated: 2\n", "time\n",
        "DUMP OF CURRENTLY ALLOCATED BLOCKS\n",
        "            Alloc at [" + long_tag.substr(long_tag.size() - 47) + "(3)], size 30\n",
        "            Alloc at [count.cpp(5)], size 5\n",
        "IMAGE MEMORY ALLOCATOR REPORT\n", "Blocks currently allocated: 1\n", "time\n"});
    std::sort(lines.begin() + 4, lines.begin() + 6);  // the dump follows the buckets
    std::sort(want.begin() + 4, want.begin() + 6);
    EXPECT_EQ(lines, want);
    q4_image_free(img, "count.cpp", 7);
    q4_free(c, "count.cpp", 8);
    q4_free(d, "count.cpp", 9);
}

TEST_F(HeapTest, DebugModeRefusesSuspiciousCallsWithItsOwnTexts) {
    debug_on();
    void* p = q4_malloc(8, "odd.cpp", 1);
    void* gone = q4_malloc(48, "odd.cpp", 1);
    q4_free(gone, "odd.cpp", 1);
    long before[4], after[4];
    get_q4_heap_normal_memory_statistics(&before[0], &before[1], &before[2], &before[3]);
    int local = 0;
    EXPECT_EQ(q4_malloc(0, "odd.cpp", 2), nullptr);
    EXPECT_EQ(q4_realloc(p, 0, "odd.cpp", 5), nullptr);
    EXPECT_EQ(q4_realloc(&local, 16, "odd.cpp", 6), nullptr);
    EXPECT_EQ(q4_image_realloc(p, 4, "odd.cpp", 9), nullptr);  // p lives in the other table
    q4_image_free(p, "odd.cpp", 10);
    q4_free(gone, "odd.cpp", 12);  // a second free
    EXPECT_EQ(logged(),
              std::string("Q4-HM-DEBUG: q4_malloc( size=0 ) attempted! [odd.cpp(2)]\n") +
                  "Q4-HM-DEBUG: q4_realloc( size=0 ) attempted! [odd.cpp(5)]\n" +
                  fmt("Q4-HM-DEBUG: q4_realloc(%p,16) attempted - but %p is not allocated!  [odd.cpp(6)]\n",
                      (void*)&local, (void*)&local) +
                  fmt("Q4-HM-DEBUG: q4_image_realloc(%p,4) attempted - but %p is not allocated!  [odd.cpp(9)]\n", p, p) +
                  fmt("Q4-HM-DEBUG: q4_image_free(%p) attempted - but %p is not allocated! [odd.cpp(10)]\n", p, p) +
                  fmt("Q4-HM-DEBUG: q4_free(%p) attempted - but %p is not allocated! [odd.cpp(12)]\n", gone, gone));
    for (auto& l : logged_lines) EXPECT_EQ(l.first, 1);
    // The refusals left the counters as they were and the live block recorded.
    get_q4_heap_normal_memory_statistics(&after[0], &after[1], &after[2], &after[3]);
    EXPECT_TRUE(std::equal(before, before + 4, after));
    logged_lines.clear();
    q4_free(p, "odd.cpp", 13);
    EXPECT_TRUE(logged_lines.empty());
}

namespace {
struct Calls {
    int allocs = 0, reallocs = 0, frees = 0;
};
void* counted_alloc(void* ctx, size_t size) { return static_cast<Calls*>(ctx)->allocs++, malloc(size); }
void* counted_realloc(void* ctx, void* p, size_t size) { return static_cast<Calls*>(ctx)->reallocs++, realloc(p, size); }
void counted_free(void* ctx, void* p) { static_cast<Calls*>(ctx)->frees++, free(p); }
}  // namespace

TEST_F(HeapTest, OverridesServeBlocksOnlyWhileTrackingIsEnabledAndTracesNeedALine) {
    Calls normal, image;
    set_q4_heap_normal_memory_overrides(&normal, counted_alloc, counted_realloc, counted_free);
    set_q4_heap_image_memory_overrides(&image, counted_alloc, counted_realloc, counted_free);
    q4_free(q4_malloc(16, "o.cpp", 1), "o.cpp", 2);  // plain path: the system, not counted below
    set_q4_heap_memory_enable(true);
    q4_free(q4_realloc(q4_malloc(16, "o.cpp", 3), 32, "o.cpp", 4), "o.cpp", 5);
    q4_image_free(q4_image_malloc(16, "o.cpp", 6), "o.cpp", 7);
    set_q4_heap_memory_debug(true);
    q4_free(q4_malloc(16, "o.cpp", 8), "o.cpp", 9);
    EXPECT_EQ(std::vector<int>({normal.allocs, normal.reallocs, normal.frees}), std::vector<int>({2, 1, 2}));
    EXPECT_EQ(image.allocs + image.frees, 2);
    EXPECT_TRUE(logged_lines.empty());

    set_q4_heap_memory_debug(false);
    set_q4_heap_memory_trace(true);
    void* p = q4_malloc(24, "trace.cpp", 31);
    q4_free_c(q4_malloc_c(24));  // no line: not traced
    EXPECT_EQ(logged_lines, (std::vector<std::pair<int, std::string>>{
                                {3, fmt("Q4-HM-TRACE: q4_malloc(24) ret (%p) at [trace.cpp(31)]\n", p)}}));
    q4_free_c(p);
}

TEST_F(HeapTest, ParallelTrackedUseKeepsTheTablesConsistent) {
    debug_on();
    const int threads = 4, rounds = 2000;
    std::vector<std::thread> team;
    for (int t = 0; t < threads; t++)
        team.emplace_back([] {
            std::vector<void*> live;  // odd entries ordinary, even entries image memory
            auto release = [&](size_t k) { k % 2 ? q4_free(live[k], "mt", 1) : q4_image_free(live[k], "mt", 1); };
            for (int i = 0; i < rounds; i++) {
                live.push_back(i % 2 ? q4_malloc(1 + i % 40, "mt", i + 1) : q4_image_malloc(1 + i % 40, "mt", i + 1));
                if (i >= 16) release(i - 16);
            }
            for (int k = rounds - 16; k < rounds; k++) release(k);
        });
    for (auto& th : team) th.join();
    long blocks, frees, bytes, peak;
    for (auto stats : {get_q4_heap_normal_memory_statistics, get_q4_heap_image_memory_statistics}) {
        ASSERT_TRUE(stats(&blocks, &frees, &bytes, &peak));
        EXPECT_EQ(blocks, threads * rounds / 2);
        EXPECT_EQ(frees, blocks);
        EXPECT_EQ(bytes, 0);
    }
    EXPECT_TRUE(logged_lines.empty()) << logged();
}

TEST_F(HeapTest, BlocksSharingABucketAreHashedFoundAndForgottenInAnyOrder) {
    EXPECT_EQ(q4_heap_bucket_of(nullptr), 0u);
    for (uintptr_t a : {(uintptr_t)1, (uintptr_t)0x7f12345678a0u, (uintptr_t)0xdeadbeef})
        EXPECT_EQ(q4_heap_bucket_of(fake(a)), expected_bucket(a)) << std::hex << a;
    // Three fake addresses in one bucket: the newest sits inline, the older two in the chain.
    std::map<unsigned, std::vector<uintptr_t>> by_bucket;
    std::vector<uintptr_t> three;
    for (uintptr_t a = 0x20000; three.empty(); a += 8) {
        auto& v = by_bucket[expected_bucket(a)];
        v.push_back(a);
        if (v.size() == 3) three = v;
    }
    for (const auto& order : {std::vector<int>{0, 1, 2}, {2, 1, 0}, {1, 0, 2}, {1, 2, 0}}) {
        Q4HeapTable* table = nullptr;
        ASSERT_NE(q4_heap_table_get(table, "IMAGE"), nullptr);
        for (int i = 0; i < 3; i++) q4_heap_table_record(table, fake(three[i]), 10 << i, "t.cpp", i);
        EXPECT_EQ(table->collisions, 2);
        long left = 70;
        for (int i : order) {
            const Q4HeapRecord* r = q4_heap_table_find(table, fake(three[i]));
            ASSERT_NE(r, nullptr);
            EXPECT_EQ(r->size * 100 + r->line, (size_t)(10 << i) * 100 + i);
            EXPECT_TRUE(q4_heap_table_forget(table, fake(three[i])));
            EXPECT_EQ(q4_heap_table_find(table, fake(three[i])), nullptr);
            EXPECT_EQ(table->bytes, left -= 10 << i);
        }
        EXPECT_EQ(table->frees * 100 + table->peak, 370);
        EXPECT_FALSE(q4_heap_table_forget(table, fake(three[0])));
        EXPECT_EQ(logged(), fmt("Q4-HM-DEBUG: Attempt to free %p - Not allocated in IMAGE!\n", fake(three[0])));
        EXPECT_EQ(table->frees, 3);
        logged_lines.clear();
        q4_heap_table_destroy(table);
    }
    EXPECT_EQ(q4mp_get_raw_cpu_count(), (int)sysconf(_SC_NPROCESSORS_ONLN));
}
