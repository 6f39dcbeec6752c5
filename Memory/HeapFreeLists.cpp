#include "Memory/HeapFreeLists.h"

#include <bit>

namespace {

using Bucket = HeapFreeLists::Bucket;

// The word that leads to a block from its neighbour on one side, or where there is none, from the
// bucket. It is chosen, not branched to: which blocks are at an end cannot be foretold.
HeapWord<BlockHeader*>& WayFrom(BlockHeader* neighbour, Bucket& bucket, int direction) {
  FreeLinks* links = &bucket.ends;
  if (neighbour != nullptr) links = Links(neighbour);
  return links->to[direction];
}

}  // namespace

void HeapFreeLists::Link(BlockHeader* block) {
  if (!HasRoomForLinks(block)) return;
  const uint64_t size = PayloadSize(block);
  stats_.freeSize += size;
  ++stats_.freeBlocks;

  const int index = FloorBucket(size);
  Bucket& bucket = buckets_[index];
  ++bucket.count;
  bitmap_[index / kBitsPerWord] |= Bit(index);
  // Seen from the end where it goes, both cases are one. An empty list has a null head.
  const int inwards = block < bucket.Head() ? kTowardsTail : kTowardsHead;
  const int outwards = 1 - inwards;
  BlockHeader* const neighbour = bucket.ends.to[inwards];
  Links(block)->to[inwards] = neighbour;
  Links(block)->to[outwards] = nullptr;
  WayFrom(neighbour, bucket, outwards) = block;
  bucket.ends.to[inwards] = block;
}

void HeapFreeLists::Unlink(BlockHeader* block) {
  if (!HasRoomForLinks(block)) return;
  const uint64_t size = PayloadSize(block);
  stats_.freeSize -= size;
  --stats_.freeBlocks;

  const int index = FloorBucket(size);
  Bucket& bucket = buckets_[index];
  --bucket.count;
  bitmap_[index / kBitsPerWord] &= ~(uint64_t{bucket.count == 0} << index % kBitsPerWord);
  BlockHeader* const next = Links(block)->to[kTowardsTail];
  BlockHeader* const previous = Links(block)->to[kTowardsHead];
  WayFrom(previous, bucket, kTowardsTail) = next;
  WayFrom(next, bucket, kTowardsHead) = previous;
}

int HeapFreeLists::FindBucket(int first) const {
  int word = first / kBitsPerWord;
  uint64_t bits = bitmap_[word] & -Bit(first);  // the bits from it on
  while (bits == 0) {
    if (++word == kBitmapWords) return -1;
    bits = bitmap_[word];
  }
  return word * kBitsPerWord + std::countr_zero(bits);
}

bool HeapFreeLists::IsMarked(int bucket) const {
  return (bitmap_[bucket / kBitsPerWord] & Bit(bucket)) != 0;
}
