// The info table behind the tracked heap: bucket hashing, collisions and overflow chains.
#include <unistd.h>

#include <cstdint>
#include <map>
#include <vector>

#include "base/q4_heap_table.h"
#include "base/q4mp.h"
#include "tests/unit/base/heap_capture.h"

namespace {

// Bob Jenkins' one-at-a-time hash of the eight address bytes (little-endian), without its final
// step, which a 14-bit mask cannot see; written out independently here.
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

TEST(HeapTableHash, IsTheOneAtATimeHashOfTheAddressBytes) {
    EXPECT_EQ(q4_heap_bucket_of(nullptr), 0u);
    for (uintptr_t a : {(uintptr_t)1, (uintptr_t)0x7f12345678a0u, (uintptr_t)0xdeadbeef})
        EXPECT_EQ(q4_heap_bucket_of(fake(a)), expected_bucket(a)) << std::hex << a;
    for (int i = 0; i < 500; i++) {
        void* p = malloc(1 + i);
        EXPECT_EQ(q4_heap_bucket_of(p), expected_bucket(reinterpret_cast<uintptr_t>(p)));
        free(p);
    }
}

TEST_F(HeapTest, BlocksSharingABucketAreFoundAndForgottenInAnyOrder) {
    // Three fake addresses in one bucket: the newest sits inline, the older two in the chain.
    std::map<unsigned, std::vector<uintptr_t>> by_bucket;
    std::vector<uintptr_t> three;
    for (uintptr_t a = 0x20000; three.empty(); a += 8) {
        auto& v = by_bucket[expected_bucket(a)];
        v.push_back(a);
        if (v.size() == 3) three = v;
    }
    const int orders[][3] = {{0, 1, 2}, {2, 1, 0}, {1, 0, 2}, {1, 2, 0}};
    for (const auto& order : orders) {
        Q4HeapTable* table = nullptr;
        ASSERT_NE(q4_heap_table_get(table, "IMAGE"), nullptr);
        for (int i = 0; i < 3; i++) q4_heap_table_record(table, fake(three[i]), 10 << i, "t.cpp", i);
        EXPECT_EQ(table->collisions, 2);
        EXPECT_EQ(table->bytes, 70);
        long left = 70;
        for (int j = 0; j < 3; j++) {
            const int i = order[j];
            const Q4HeapRecord* r = q4_heap_table_find(table, fake(three[i]));
            ASSERT_NE(r, nullptr);
            EXPECT_EQ(r->size, (size_t)(10 << i));
            EXPECT_EQ(r->line, i);
            EXPECT_TRUE(q4_heap_table_forget(table, fake(three[i])));
            EXPECT_EQ(q4_heap_table_find(table, fake(three[i])), nullptr);
            EXPECT_EQ(table->bytes, left -= 10 << i);
        }
        EXPECT_EQ(table->frees, 3);
        EXPECT_EQ(table->peak, 70);
        EXPECT_TRUE(captured_log().empty());
        EXPECT_FALSE(q4_heap_table_forget(table, fake(three[0])));
        EXPECT_EQ(logged(), fmt("Q4-HM-DEBUG: Attempt to free %p - Not allocated in IMAGE!\n", fake(three[0])));
        EXPECT_EQ(table->frees, 3);
        captured_log().clear();
        q4_heap_table_destroy(table);
    }
}

TEST(HeapCpuCount, ReportsTheProcessorsTheSystemHasOnline) {
    EXPECT_EQ(q4mp_get_raw_cpu_count(), (int)sysconf(_SC_NPROCESSORS_ONLN));
}
