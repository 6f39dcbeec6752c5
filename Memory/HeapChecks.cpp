#include "Memory/HeapChecks.h"

#include <algorithm>

#include "Memory/Heap.h"
#include "Memory/HeapBlock.h"
#include "Memory/HeapBuckets.h"

namespace {

// Whether the blocks of a segment join up, and no two free ones are neighbours. Adds the blocks to
// the four counters that a walk can verify.
bool CheckSegment(const Segment& segment, HeapStats& totals) {
  const BlockHeader* const sentinel = SentinelOf(segment.base, segment.length);
  const BlockHeader* previous = nullptr;
  const BlockHeader* block = HeaderAt(segment.base);
  while (!IsSentinel(block)) {
    const BlockHeader* const next = NextBlock(block);
    if (next <= block || next > sentinel || block->previous != previous) return false;
    if (IsInUse(block)) {
      ++totals.allocBlocks;
      totals.allocSize += PayloadSize(block);
    } else {
      if (previous != nullptr && !IsInUse(previous)) return false;
      if (HasRoomForLinks(block)) {
        ++totals.freeBlocks;
        totals.freeSize += PayloadSize(block);
      }
    }
    previous = block;
    block = next;
  }
  return block == sentinel;
}

// Follows a list in one direction, over `count` blocks at most, since a damaged list may be
// endless.
bool CheckList(BlockHeader* block, BlockHeader* last, HeapWord<BlockHeader*> FreeLinks::*direction,
               int bucket, uint64_t count) {
  BlockHeader* reached = nullptr;
  for (; block != nullptr && count > 0; --count) {
    if (IsInUse(block) || FloorBucket(PayloadSize(block)) != bucket) return false;
    reached = block;
    block = Links(block)->*direction;
  }
  return block == nullptr && count == 0 && reached == last;
}

bool CheckBucket(const HeapFreeLists& lists, int index) {
  const HeapFreeLists::Bucket& bucket = lists.At(index);
  return lists.IsMarked(index) == (bucket.count != 0) &&
         CheckList(bucket.Head(), bucket.Tail(), &FreeLinks::next, index, bucket.count) &&
         CheckList(bucket.Tail(), bucket.Head(), &FreeLinks::previous, index, bucket.count);
}

void AddWalkedStats(const Heap& heap, HeapStats& stats) {
  for (int bucket = 0; bucket < kBucketCount; ++bucket) {
    stats.largestFreeChain = std::max(stats.largestFreeChain, heap.FreeLists().At(bucket).count);
  }
  for (const Segment& segment : heap.Segments()) {
    for (const BlockHeader* block = HeaderAt(segment.base); !IsSentinel(block);
         block = NextBlock(block)) {
      uint64_t& largest = IsInUse(block) ? stats.maxAllocSize : stats.maxFreeSize;
      largest = std::max(largest, PayloadSize(block));
    }
  }
}

}  // namespace

HeapStats GetStats(StatsDetail detail, const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  HeapStats stats = heap.Counters();
  stats.numSegments = static_cast<uint64_t>(heap.Segments().Count());
  if (detail == StatsDetail::kWalked) AddWalkedStats(heap, stats);
  return stats;
}

void ResetStats(Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  heap.Counters() = HeapStats();
}

bool IsInHeapUnlocked(const void* address, const Heap& heap) {
  return heap.Segments().Find(address) != nullptr;
}

bool IsBlockUnlocked(const void* address, const Heap& heap) {
  const Segment* segment = heap.Segments().Find(address);
  if (segment == nullptr) return false;
  const BlockHeader* block = HeaderAt(segment->base);
  while (!IsSentinel(block) && Payload(block) != address) block = NextBlock(block);
  return !IsSentinel(block);
}

bool CheckBucketsUnlocked(const Heap& heap) {
  for (int bucket = 0; bucket < kBucketCount; ++bucket) {
    if (!CheckBucket(heap.FreeLists(), bucket)) return false;
  }
  return true;
}

bool IsInHeap(const void* address, const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  return IsInHeapUnlocked(address, heap);
}

bool IsBlock(const void* address, const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  return IsBlockUnlocked(address, heap);
}

bool CheckBuckets(const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  return CheckBucketsUnlocked(heap);
}

bool CheckBlocks(const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  HeapStats totals;
  for (const Segment& segment : heap.Segments()) {
    if (!CheckSegment(segment, totals)) return false;
  }
  uint64_t listed = 0;
  for (int bucket = 0; bucket < kBucketCount; ++bucket) listed += heap.FreeLists().At(bucket).count;
  const HeapStats& stats = heap.Counters();
  return totals.allocBlocks == stats.allocBlocks && totals.allocSize == stats.allocSize &&
         totals.freeBlocks == stats.freeBlocks && totals.freeSize == stats.freeSize &&
         totals.freeBlocks == listed;
}
