// Statistics of a heap, and walks that test whether it is whole. They serve tests and debugging and
// change no block; each works on the process-wide heap unless told another.
//
// Each check comes in two forms: one takes the heap's lock, the other, named Unlocked, is for a
// caller that holds it.
#pragma once

#include "Memory/GlobalHeap.h"
#include "Memory/HeapStats.h"

enum class StatsDetail {
  kCounters,  // the counters and the number of segments; the walked values stay 0
  kWalked,    // also what takes a walk over all blocks
};

[[nodiscard]] HeapStats GetStats(StatsDetail detail, const Heap& heap = GlobalHeap());

// Deliberate: zeroes every counter, those of the blocks and segments that stand included. From then
// on they count differences, which may be below zero and wrap.
void ResetStats(Heap& heap = GlobalHeap());

// Whether `address` lies in any segment.
[[nodiscard]] bool IsInHeap(const void* address, const Heap& heap = GlobalHeap());
[[nodiscard]] bool IsInHeapUnlocked(const void* address, const Heap& heap = GlobalHeap());

// Whether `address` is exactly the payload of a block, free or in use.
[[nodiscard]] bool IsBlock(const void* address, const Heap& heap = GlobalHeap());
[[nodiscard]] bool IsBlockUnlocked(const void* address, const Heap& heap = GlobalHeap());

// Whether every free list has, forwards and backwards, the blocks that its bucket counts.
[[nodiscard]] bool CheckBuckets(const Heap& heap = GlobalHeap());
[[nodiscard]] bool CheckBucketsUnlocked(const Heap& heap = GlobalHeap());

// Whether the blocks of every segment join up to its sentinel, know the block before them, never
// lie free side by side, and add up to the counters and the lists. Requires: no ResetStats while
// there are any.
[[nodiscard]] bool CheckBlocks(const Heap& heap = GlobalHeap());
