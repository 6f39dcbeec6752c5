#include "Memory/HeapChecks.h"

#include <algorithm>

#include "Memory/Heap.h"
#include "Memory/HeapBlock.h"
#include "Memory/HeapBuckets.h"

namespace {

// What a walk over blocks adds up.
struct BlockTotals {
  uint64_t allocBlocks = 0;
  uint64_t allocSize = 0;
  uint64_t freeBlocks = 0;
  uint64_t freeSize = 0;

  void Add(const BlockHeader* block) {
    if (IsInUse(block)) {
      ++allocBlocks;
      allocSize += PayloadSize(block);
    } else if (HasRoomForLinks(block)) {
      ++freeBlocks;
      freeSize += PayloadSize(block);
    }
  }

  bool Match(const HeapStats& stats) const {
    return allocBlocks == stats.allocBlocks && allocSize == stats.allocSize &&
           freeBlocks == stats.freeBlocks && freeSize == stats.freeSize;
  }
};

bool CheckSegment(const Segment& segment, BlockTotals& totals) {
  const uintptr_t end = segment.End() - kWordSize;
  const BlockHeader* previous = nullptr;
  const BlockHeader* block = HeaderAt(segment.base);
  while (!IsSentinel(block)) {
    if (block->previous != previous) return false;
    if (previous != nullptr && !IsInUse(previous) && !IsInUse(block)) return false;
    if (PayloadSize(block) > end - reinterpret_cast<uintptr_t>(block)) return false;
    totals.Add(block);
    previous = block;
    block = NextBlock(block);
  }
  return reinterpret_cast<uintptr_t>(block) == end;
}

// Follows a list in one of the two directions; stops soon in a list that is a ring.
bool CheckList(BlockHeader* block, BlockHeader* last, ListSide direction, int bucket,
               uint64_t count) {
  BlockHeader* reached = nullptr;
  for (; block != nullptr && count > 0; --count) {
    if (IsInUse(block) || FloorBucket(PayloadSize(block)) != bucket) return false;
    reached = block;
    block = Links(block)->to[direction];
  }
  return block == nullptr && count == 0 && reached == last;
}

bool CheckBucket(const HeapFreeLists& lists, int index) {
  const HeapFreeLists::Bucket& bucket = lists.At(index);
  if (lists.IsMarked(index) != (bucket.count != 0)) return false;
  return CheckList(bucket.Head(), bucket.Tail(), kTowardsTail, index, bucket.count) &&
         CheckList(bucket.Tail(), bucket.Head(), kTowardsHead, index, bucket.count);
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

bool CheckBlocksUnlocked(const Heap& heap) {
  BlockTotals totals;
  for (const Segment& segment : heap.Segments()) {
    if (!CheckSegment(segment, totals)) return false;
  }
  uint64_t listed = 0;
  for (int bucket = 0; bucket < kBucketCount; ++bucket) listed += heap.FreeLists().At(bucket).count;
  return totals.Match(heap.Counters()) && listed == totals.freeBlocks;
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
  return CheckBlocksUnlocked(heap);
}
