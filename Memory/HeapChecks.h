// Statistics of a heap, and checks whether it is consistent. They complete the interface for tests
// and debugging; the tool calls none. They change no block and use the process-wide heap by
// default.
//
// Each takes the heap's lock. The forms named Unlocked are for a caller that holds it.
#pragma once

#include "Memory/GlobalHeap.h"
#include "Memory/HeapStats.h"

enum class StatsDetail {
  kCounters,  // the counters and the number of segments
  kWalked,    // also the values that take a walk over all blocks; 0 otherwise
};

[[nodiscard]] HeapStats GetStats(StatsDetail detail, const Heap& heap = GlobalHeap());

// Deliberate: zeroes every counter, also those of the blocks in use and the segments. From then on
// they count differences, which may be negative and then wrap.
void ResetStats(Heap& heap = GlobalHeap());

// Whether `address` lies in any segment.
[[nodiscard]] bool IsInHeap(const void* address, const Heap& heap = GlobalHeap());
[[nodiscard]] bool IsInHeapUnlocked(const void* address, const Heap& heap = GlobalHeap());

// Whether `address` is exactly the payload of a block, free or in use.
[[nodiscard]] bool IsBlock(const void* address, const Heap& heap = GlobalHeap());
[[nodiscard]] bool IsBlockUnlocked(const void* address, const Heap& heap = GlobalHeap());

// Whether every free list has as many blocks as its bucket counts, forwards and backwards, and all
// of its sizes.
[[nodiscard]] bool CheckBuckets(const Heap& heap = GlobalHeap());
[[nodiscard]] bool CheckBucketsUnlocked(const Heap& heap = GlobalHeap());

// Whether the blocks of every segment follow each other without a gap up to its sentinel, each
// names the block before it, no two free ones are neighbours, and all of them add up to the
// counters and the lists. Requires: ResetStats was not called while there were blocks.
[[nodiscard]] bool CheckBlocks(const Heap& heap = GlobalHeap());
