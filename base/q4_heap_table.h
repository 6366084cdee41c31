// Info table of the tracked heap: the live blocks of one heap, hashed by address into 16,384
// buckets of one inline record each plus a chain of overflow records. Not locked here; the
// services hold the heap mutex around every call.
#ifndef Q4_HEAP_TABLE_H
#define Q4_HEAP_TABLE_H

#include <stddef.h>

enum { Q4_HEAP_BUCKETS = 16384, Q4_HEAP_TAG_CHARS = 47, Q4_HEAP_NAME_CHARS = 19 };

struct Q4HeapRecord {
    void* block;  // null marks an unused inline record
    size_t size;
    int line;
    char tag[Q4_HEAP_TAG_CHARS + 1];  // the last characters of the source tag
    Q4HeapRecord* next;               // overflow chain; unused in the inline record
};

struct Q4HeapBucket {
    Q4HeapRecord inline_record;
    Q4HeapRecord* chain;
};

struct Q4HeapTable {
    char name[Q4_HEAP_NAME_CHARS + 1];
    Q4HeapBucket buckets[Q4_HEAP_BUCKETS];
    long collisions;
    long allocations;
    long frees;
    long bytes;
    long peak;
    int internal_error;
};

// Bucket of a block address.
unsigned q4_heap_bucket_of(const void* block);

// The table, created zeroed and named on first use; null if it cannot be created.
Q4HeapTable* q4_heap_table_get(Q4HeapTable*& table, const char* name);
// Records a new live block.
void q4_heap_table_record(Q4HeapTable* table, void* block, size_t size, const char* tag, int line);
// The record of a live block, or null.
const Q4HeapRecord* q4_heap_table_find(Q4HeapTable* table, const void* block);
// Forgets a live block; false (with a message) when the block is not in the table.
bool q4_heap_table_forget(Q4HeapTable* table, const void* block);
// Report text of the table to the message log.
void q4_heap_table_report(Q4HeapTable* table, bool dump, double elapsed);
// Releases the table with its overflow records; the pointer is reset to null.
void q4_heap_table_destroy(Q4HeapTable*& table);

#endif
