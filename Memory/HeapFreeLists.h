// The free blocks by size: one doubly linked list per bucket, and a bitmap of the buckets that hold
// a block, so that a fitting bucket is found by a bit scan.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Memory/HeapBlock.h"
#include "Memory/HeapBuckets.h"
#include "Memory/HeapStats.h"

class HeapFreeLists {
 public:
  // The list is linked as a ring through the bucket: `ends.next` is the head, `ends.previous` the
  // tail. So a block at an end is linked and unlinked like any other.
  struct Bucket {
    FreeLinks ends{nullptr, nullptr};
    uint64_t count = 0;

    BlockHeader* Head() const { return ends.next; }
    BlockHeader* Tail() const { return ends.previous; }

    // The head or the tail, whichever has the lower address. The lists are only loosely in order of
    // address, so this favours low addresses without a search. Requires: not empty.
    BlockHeader* LowerEnd() const { return std::min(Head(), Tail()); }
  };

  // Keeps `freeBlocks` and `freeSize` of `stats`, which outlives this object.
  explicit constexpr HeapFreeLists(HeapStats& stats) : stats_(stats) {}

  // Adds a free block to the bucket of its size: at the head if its address is lower than the
  // head's, else at the tail. Link and Unlink ignore a block without room for links.
  void Link(BlockHeader* block);

  // Requires: the block is linked and has kept its size since.
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
