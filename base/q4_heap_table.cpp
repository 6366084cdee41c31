// Info table of the tracked heap.
#include "base/q4_heap_table.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "base/q4_log.h"

unsigned q4_heap_bucket_of(const void* block) {
    // One-at-a-time hash over the address bytes in memory order, without its final step,
    // which the bucket mask would make irrelevant.
    unsigned char bytes[sizeof block];
    memcpy(bytes, &block, sizeof block);
    uint32_t h = 0;
    for (unsigned char b : bytes) {
        h += b;
        h += h << 10;
        h ^= h >> 6;
    }
    h += h << 3;
    h ^= h >> 11;
    return h & (Q4_HEAP_BUCKETS - 1);
}

Q4HeapTable* q4_heap_table_get(Q4HeapTable*& table, const char* name) {
    if (!table) {
        table = static_cast<Q4HeapTable*>(calloc(1, sizeof(Q4HeapTable)));
        if (table) {
            strncpy(table->name, name, Q4_HEAP_NAME_CHARS);
            table->name[Q4_HEAP_NAME_CHARS] = '\0';
        }
    }
    return table;
}

static void fill_record(Q4HeapRecord& r, void* block, size_t size, const char* tag, int line) {
    r.block = block;
    r.size = size;
    r.line = line;
    if (!tag) tag = "";
    // The end of a source path says most about where a block came from, so a long tag keeps
    // its last characters.
    size_t len = strlen(tag);
    const char* from = len > Q4_HEAP_TAG_CHARS ? tag + (len - Q4_HEAP_TAG_CHARS) : tag;
    strncpy(r.tag, from, Q4_HEAP_TAG_CHARS);
    r.tag[Q4_HEAP_TAG_CHARS] = '\0';
}

void q4_heap_table_record(Q4HeapTable* table, void* block, size_t size, const char* tag, int line) {
    Q4HeapBucket& bucket = table->buckets[q4_heap_bucket_of(block)];
    if (bucket.inline_record.block) {
        Q4HeapRecord* moved = static_cast<Q4HeapRecord*>(malloc(sizeof(Q4HeapRecord)));
        if (!moved) {
            q4_log(1, "Q4-HM-DEBUG: INTERNAL ERROR: Cannot allocate space for info node.\n");
            table->internal_error = 1;
            return;
        }
        *moved = bucket.inline_record;
        moved->next = bucket.chain;
        bucket.chain = moved;
        table->collisions++;
    }
    fill_record(bucket.inline_record, block, size, tag, line);
    bucket.inline_record.next = nullptr;
    table->bytes += (long)size;
    table->allocations++;
    if (table->bytes > table->peak) table->peak = table->bytes;
}

const Q4HeapRecord* q4_heap_table_find(Q4HeapTable* table, const void* block) {
    if (!block) return nullptr;
    const Q4HeapBucket& bucket = table->buckets[q4_heap_bucket_of(block)];
    if (bucket.inline_record.block == block) return &bucket.inline_record;
    for (const Q4HeapRecord* r = bucket.chain; r; r = r->next)
        if (r->block == block) return r;
    return nullptr;
}

bool q4_heap_table_forget(Q4HeapTable* table, const void* block) {
    Q4HeapBucket& bucket = table->buckets[q4_heap_bucket_of(block)];
    size_t size = 0;
    bool found = false;
    if (block && bucket.inline_record.block == block) {
        size = bucket.inline_record.size;
        found = true;
        if (Q4HeapRecord* head = bucket.chain) {
            bucket.inline_record = *head;
            bucket.chain = head->next;
            bucket.inline_record.next = nullptr;
            free(head);
        } else {
            memset(&bucket.inline_record, 0, sizeof bucket.inline_record);
        }
    } else if (block) {
        for (Q4HeapRecord** link = &bucket.chain; *link; link = &(*link)->next) {
            if ((*link)->block == block) {
                Q4HeapRecord* gone = *link;
                size = gone->size;
                *link = gone->next;
                free(gone);
                found = true;
                break;
            }
        }
    }
    if (!found) {
        q4_log(1, "Q4-HM-DEBUG: Attempt to free %p - Not allocated in %s!\n", block, table->name);
        return false;
    }
    table->bytes -= (long)size;
    table->frees++;
    return true;
}

void q4_heap_table_report(Q4HeapTable* table, bool dump, double elapsed) {
    q4_log(1, "%s MEMORY ALLOCATOR REPORT\n", table->name);
    q4_log(1, "Blocks currently allocated: %d\n", (int)(table->allocations - table->frees));
    q4_log(1, "Elapsed time in allocator: %fs\n", elapsed);
    if (!dump) return;
    q4_log(1, "DUMP OF CURRENTLY ALLOCATED BLOCKS\n");
    for (const Q4HeapBucket& bucket : table->buckets) {
        const Q4HeapRecord& r = bucket.inline_record;
        if (r.block) q4_log(1, "            Alloc at [%s(%d)], size %d\n", r.tag, r.line, (int)r.size);
        for (const Q4HeapRecord* c = bucket.chain; c; c = c->next)
            q4_log(1, "            Alloc at [%s(%d)], size %d\n", c->tag, c->line, (int)c->size);
    }
}

void q4_heap_table_destroy(Q4HeapTable*& table) {
    if (!table) return;
    for (Q4HeapBucket& bucket : table->buckets) {
        Q4HeapRecord* r = bucket.chain;
        while (r) {
            Q4HeapRecord* next = r->next;
            free(r);
            r = next;
        }
    }
    free(table);
    table = nullptr;
}
