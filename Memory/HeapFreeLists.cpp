#include "Memory/HeapFreeLists.h"

#include <bit>

namespace {

// The links of a neighbour in the list; beyond its ends, where the neighbour is null, the bucket's.
FreeLinks& LinksOf(BlockHeader* neighbour, HeapFreeLists::Bucket& bucket) {
  FreeLinks* links = &bucket.ends;
  if (neighbour != nullptr) links = Links(neighbour);
  return *links;
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
  const bool isNewHead = block < bucket.Head();  // false in an empty list, whose head is null
  BlockHeader* const next = isNewHead ? bucket.Head() : nullptr;
  BlockHeader* const previous = isNewHead ? nullptr : bucket.Tail();
  *Links(block) = {next, previous};
  LinksOf(next, bucket).previous = block;
  LinksOf(previous, bucket).next = block;
}

void HeapFreeLists::Unlink(BlockHeader* block) {
  if (!HasRoomForLinks(block)) return;
  const uint64_t size = PayloadSize(block);
  stats_.freeSize -= size;
  --stats_.freeBlocks;

  const int index = FloorBucket(size);
  Bucket& bucket = buckets_[index];
  --bucket.count;
  // Without a branch, since it is hard to predict whether a list becomes empty.
  bitmap_[index / kBitsPerWord] &= ~(uint64_t{bucket.count == 0} << index % kBitsPerWord);
  const FreeLinks links = *Links(block);
  LinksOf(links.next, bucket).previous = links.previous;
  LinksOf(links.previous, bucket).next = links.next;
}

int HeapFreeLists::FindBucket(int first) const {
  int word = first / kBitsPerWord;
  uint64_t bits = bitmap_[word] & -Bit(first);  // without the buckets before `first`
  while (bits == 0) {
    if (++word == kBitmapWords) return -1;
    bits = bitmap_[word];
  }
  return word * kBitsPerWord + std::countr_zero(bits);
}

bool HeapFreeLists::IsMarked(int bucket) const {
  return (bitmap_[bucket / kBitsPerWord] & Bit(bucket)) != 0;
}
