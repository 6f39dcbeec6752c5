// The heap's counters. GetStats (Memory/HeapChecks.h) takes a snapshot of them.
#pragma once

#include <cstdint>

// Sizes are in bytes of payload unless said otherwise.
struct HeapStats {
  uint64_t allocBlocks = 0;    // blocks in use
  uint64_t allocSize = 0;      // in use
  uint64_t peakAllocSize = 0;  // the most that was ever in use, headers included
  uint64_t peakBlockSize = 0;  // largest request ever served, rounded up
  uint64_t freeBlocks = 0;     // blocks in the free lists
  uint64_t freeSize = 0;       // in the free lists
  uint64_t totalSize = 0;      // of all segments ever mapped, headers included

  // Filled in a snapshot only, 0 in the heap itself.
  uint64_t maxAllocSize = 0;      // largest block in use
  uint64_t maxFreeSize = 0;       // largest free block
  uint64_t numSegments = 0;       // segments now
  uint64_t largestFreeChain = 0;  // blocks in the longest free list

  uint64_t allocCalls = 0;
  uint64_t reallocCalls = 0;  // resizes in place of a block of this heap
  uint64_t freeCalls = 0;     // frees of a block of this heap
  uint64_t reallocSucc = 0;   // resizes in place that succeeded
  uint64_t slowBucket = 0;    // searches that had to walk a list
};
static_assert(sizeof(HeapStats) == 16 * sizeof(uint64_t), "sixteen counters in fixed order");
