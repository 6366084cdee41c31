// The tracked heap services: the plain path, debug-mode refusals and their texts, statistics,
// reports, overrides, tracing and parallel use.
#include <algorithm>
#include <thread>

#include "tests/unit/base/heap_capture.h"

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
    EXPECT_TRUE(captured_log().empty());
    // Without debug mode there are no statistics to give.
    long b = -1;
    EXPECT_FALSE(get_q4_heap_normal_memory_statistics(&b, nullptr, nullptr, nullptr));
    output_q4_heap_image_memory_report(true);
    const std::string refused = "Q4-HM-DEBUG: Debug mode not set. Statistics not available.\n";
    EXPECT_EQ(logged(), refused + refused);
    EXPECT_EQ(b, -1);
}

TEST_F(HeapTest, CountersFollowAllocationsReallocationsAndFreesPerHeap) {
    debug_on();
    void* a = q4_malloc(10, "count.cpp", 1);
    void* b = q4_malloc(20, "count.cpp", 2);
    void* c = q4_calloc(3, 10, "count.cpp", 3);
    q4_free(b, "count.cpp", 4);
    void* d = q4_realloc(a, 5, "count.cpp", 5);  // forgets 10 bytes, records 5
    void* img = q4_image_malloc(1000, "count.cpp", 6);
    long blocks, frees, bytes, peak;
    ASSERT_TRUE(get_q4_heap_normal_memory_statistics(&blocks, &frees, &bytes, &peak));
    EXPECT_EQ(blocks, 4);
    EXPECT_EQ(frees, 2);
    EXPECT_EQ(bytes, 35);
    EXPECT_EQ(peak, 60);
    ASSERT_TRUE(get_q4_heap_image_memory_statistics(&blocks, &frees, &bytes, &peak));
    EXPECT_EQ(blocks, 1);
    EXPECT_EQ(bytes, 1000);
    q4_image_free(img, "count.cpp", 7);
    q4_free(c, "count.cpp", 8);
    q4_free(d, "count.cpp", 9);
    ASSERT_TRUE(get_q4_heap_normal_memory_statistics(&blocks, &frees, &bytes, &peak));
    EXPECT_EQ(blocks, frees);
    EXPECT_EQ(bytes, 0);
    EXPECT_TRUE(captured_log().empty());
}

TEST_F(HeapTest, SecondFreeIsReportedAndChangesNoCounter) {
    debug_on();
    void* p = q4_malloc(48, "twice.cpp", 10);
    q4_free(p, "twice.cpp", 11);
    long before[4], after[4];
    get_q4_heap_normal_memory_statistics(&before[0], &before[1], &before[2], &before[3]);
    q4_free(p, "twice.cpp", 12);
    get_q4_heap_normal_memory_statistics(&after[0], &after[1], &after[2], &after[3]);
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0].first, 1);
    EXPECT_EQ(logged(), fmt("Q4-HM-DEBUG: q4_free(%p) attempted - but %p is not allocated! [twice.cpp(12)]\n", p, p));
    EXPECT_TRUE(std::equal(before, before + 4, after));
}

TEST_F(HeapTest, DebugModeRefusesSuspiciousCallsWithItsOwnTexts) {
    debug_on();
    void* p = q4_malloc(8, "odd.cpp", 1);
    int local = 0;
    EXPECT_EQ(q4_malloc(0, "odd.cpp", 2), nullptr);
    EXPECT_EQ(q4_strdup(nullptr, "odd.cpp", 3), nullptr);
    q4_free(nullptr, "odd.cpp", 4);
    EXPECT_EQ(q4_realloc(p, 0, "odd.cpp", 5), nullptr);
    EXPECT_EQ(q4_realloc(&local, 16, "odd.cpp", 6), nullptr);
    EXPECT_EQ(q4_image_malloc(0, "odd.cpp", 7), nullptr);
    EXPECT_EQ(q4_image_realloc(p, 0, "odd.cpp", 8), nullptr);
    EXPECT_EQ(q4_image_realloc(p, 4, "odd.cpp", 9), nullptr);  // p lives in the other table
    q4_image_free(p, "odd.cpp", 10);
    q4_image_free(nullptr, "odd.cpp", 11);
    EXPECT_EQ(logged(),
              std::string("Q4-HM-DEBUG: q4_malloc( size=0 ) attempted! [odd.cpp(2)]\n") +
                  "Q4-HM-DEBUG: q4_strdup( NULL ) attempted! [odd.cpp(3)]\n" +
                  "Q4-HM-DEBUG: q4_free( NULL ) attempted! [odd.cpp(4)]\n" +
                  "Q4-HM-DEBUG: q4_realloc( size=0 ) attempted! [odd.cpp(5)]\n" +
                  fmt("Q4-HM-DEBUG: q4_realloc(%p,16) attempted - but %p is not allocated!  [odd.cpp(6)]\n",
                      (void*)&local, (void*)&local) +
                  "Q4-HM-DEBUG: q4_image_malloc( size=0 ) attempted! [odd.cpp(7)]\n" +
                  "Q4-HM-DEBUG: q4_image_realloc( size=0 ) attempted! [odd.cpp(8)]\n" +
                  fmt("Q4-HM-DEBUG: q4_image_realloc(%p,4) attempted - but %p is not allocated!  [odd.cpp(9)]\n", p, p) +
                  fmt("Q4-HM-DEBUG: q4_image_free(%p) attempted - but %p is not allocated! [odd.cpp(10)]\n", p, p) +
                  "Q4-HM-DEBUG: q4_image_free( NULL ) attempted! [odd.cpp(11)]\n");
    q4_free(p, "odd.cpp", 12);  // the refusals left the block alive and recorded
    EXPECT_EQ(captured_log().size(), 10u);
}

TEST_F(HeapTest, ReportListsLiveBlocksWithTagsCutToTheirLast47Characters) {
    debug_on();
    const std::string long_tag = "a/very/deep/source/tree/of/the/framework/Library/Q4Image.cpp";
    void* a = q4_malloc(100, "short.cpp", 21);
    void* b = q4_malloc(7, long_tag.c_str(), 22);
    void* c = q4_image_malloc(64, "img.cpp", 23);
    output_q4_heap_normal_memory_report(true);
    std::vector<std::string> lines;
    for (auto& l : captured_log()) lines.push_back(l.second);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "NORMAL MEMORY ALLOCATOR REPORT\n");
    EXPECT_EQ(lines[1], "Blocks currently allocated: 2\n");
    double seconds = -1;
    EXPECT_EQ(sscanf(lines[2].c_str(), "Elapsed time in allocator: %lfs\n", &seconds), 1);
    EXPECT_GE(seconds, 0.0);
    EXPECT_EQ(lines[3], "DUMP OF CURRENTLY ALLOCATED BLOCKS\n");
    std::vector<std::string> dump = {lines[4], lines[5]};
    std::vector<std::string> want = {"            Alloc at [" + long_tag.substr(long_tag.size() - 47) + "(22)], size 7\n",
                                     "            Alloc at [short.cpp(21)], size 100\n"};
    std::sort(dump.begin(), dump.end());
    std::sort(want.begin(), want.end());
    EXPECT_EQ(dump, want);
    captured_log().clear();
    output_q4_heap_image_memory_report(false);
    ASSERT_EQ(captured_log().size(), 3u);
    EXPECT_EQ(captured_log()[0].second, "IMAGE MEMORY ALLOCATOR REPORT\n");
    EXPECT_EQ(captured_log()[1].second, "Blocks currently allocated: 1\n");
    q4_free(a, "r", 1);
    q4_free(b, "r", 1);
    q4_image_free(c, "r", 1);
}

namespace {
struct Calls {
    int allocs = 0, reallocs = 0, frees = 0;
};
void* counted_alloc(void* ctx, size_t size) { return static_cast<Calls*>(ctx)->allocs++, malloc(size); }
void* counted_realloc(void* ctx, void* p, size_t size) { return static_cast<Calls*>(ctx)->reallocs++, realloc(p, size); }
void counted_free(void* ctx, void* p) { static_cast<Calls*>(ctx)->frees++, free(p); }
}  // namespace

TEST_F(HeapTest, OverridesServeBlocksOnlyWhileTrackingIsEnabled) {
    Calls normal, image;
    set_q4_heap_normal_memory_overrides(&normal, counted_alloc, counted_realloc, counted_free);
    set_q4_heap_image_memory_overrides(&image, counted_alloc, counted_realloc, counted_free);
    q4_free(q4_malloc(16, "o.cpp", 1), "o.cpp", 2);  // plain path: the system
    EXPECT_EQ(normal.allocs + normal.frees, 0);
    set_q4_heap_memory_enable(true);
    q4_free(q4_realloc(q4_malloc(16, "o.cpp", 3), 32, "o.cpp", 4), "o.cpp", 5);
    q4_image_free(q4_image_malloc(16, "o.cpp", 6), "o.cpp", 7);
    set_q4_heap_memory_debug(true);
    q4_free(q4_malloc(16, "o.cpp", 8), "o.cpp", 9);
    EXPECT_EQ(normal.allocs, 2);
    EXPECT_EQ(normal.reallocs, 1);
    EXPECT_EQ(normal.frees, 2);
    EXPECT_EQ(image.allocs + image.frees, 2);
    EXPECT_TRUE(captured_log().empty());
}

TEST_F(HeapTest, TraceLogsOnlyCallsWithALineAtLevelThree) {
    set_q4_heap_memory_enable(true);
    set_q4_heap_memory_trace(true);
    void* p = q4_malloc(24, "trace.cpp", 31);
    q4_free_c(q4_malloc_c(24));
    ASSERT_EQ(captured_log().size(), 1u);
    EXPECT_EQ(captured_log()[0].first, 3);
    EXPECT_EQ(captured_log()[0].second, fmt("Q4-HM-TRACE: q4_malloc(24) ret (%p) at [trace.cpp(31)]\n", p));
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
    EXPECT_TRUE(captured_log().empty()) << logged();
}
