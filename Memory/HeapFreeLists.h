// The free blocks by size: one doubly linked list per bucket, and a bitmap of the buckets that hold
// any, so that a fitting bucket is found by a bit scan.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Memory/HeapBlock.h"
#include "Memory/HeapBuckets.h"
#include "Memory/HeapStats.h"

class HeapFreeLists {
 public:
  // Its list's ends are kept like a block's links, so that an end and a neighbour's link are fixed
  // by the same store.
  struct Bucket {
    // ends.to[kTowardsTail] is the head, where that way through the list begins; null while empty.
    FreeLinks ends{{nullptr, nullptr}};
    uint64_t count = 0;

    BlockHeader* Head() const { return ends.to[kTowardsTail]; }
    BlockHeader* Tail() const { return ends.to[kTowardsHead]; }

    // The lower of the two ends. The lists are only loosely in order of address, so this favours
    // low addresses without a search. Requires: not empty.
    BlockHeader* LowEnd() const { return std::min(Head(), Tail()); }
  };

  // Keeps `freeBlocks` and `freeSize` of `stats`, which outlives this object.
  explicit constexpr HeapFreeLists(HeapStats& stats) : stats_(stats) {}

  // Adds a free block to the bucket of its size: in front if it lies below the head, else at the
  // end. A block without room for links is passed over, by Unlink as well.
  void Link(BlockHeader* block);

  // Requires: linked, and its size as it was then.
  void Unlink(BlockHeader* block);

  // The first bucket from `first` on that holds a block, or -1.
  [[nodiscard]] int FindBucket(int first) const;

  const Bucket& At(int bucket) const { return buckets_[bucket]; }
  bool IsMarked(int bucket) const;  // the bitmap's bit

 private:
  static constexpr int kBitsPerWord = 64;
  static constexpr int kBitmapWords = (kBucketCount + kBitsPerWord - 1) / kBitsPerWord;
  static_assert(kBitmapWords == 24);

  static uint64_t Bit(int bucket) { return uint64_t{1} << bucket % kBitsPerWord; }

  HeapStats& stats_;
  std::array<uint64_t, kBitmapWords> bitmap_{};
  std::array<Bucket, kBucketCount> buckets_;
};
