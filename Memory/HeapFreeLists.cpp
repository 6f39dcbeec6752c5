#include "Memory/HeapFreeLists.h"

#include <bit>

void HeapFreeLists::Link(BlockHeader* block) {
  if (!HasRoomForLinks(block)) return;
  const uint64_t size = PayloadSize(block);
  stats_.freeSize += size;
  ++stats_.freeBlocks;

  const int index = FloorBucket(size);
  Bucket& bucket = buckets_[index];
  *Links(block) = {nullptr, nullptr};
  if (bucket.count++ == 0) {
    bitmap_[index / kBitsPerWord] |= Bit(index);
    bucket.head = bucket.tail = block;
  } else if (block < bucket.head) {
    Links(block)->next = bucket.head;
    Links(bucket.head)->previous = block;
    bucket.head = block;
  } else {
    Links(block)->previous = bucket.tail;
    Links(bucket.tail)->next = block;
    bucket.tail = block;
  }
}

void HeapFreeLists::Unlink(BlockHeader* block) {
  if (!HasRoomForLinks(block)) return;
  const uint64_t size = PayloadSize(block);
  stats_.freeSize -= size;
  --stats_.freeBlocks;

  const int index = FloorBucket(size);
  Bucket& bucket = buckets_[index];
  if (--bucket.count == 0) bitmap_[index / kBitsPerWord] &= ~Bit(index);
  const FreeLinks links = *Links(block);
  if (links.previous == nullptr) {
    bucket.head = links.next;
  } else {
    Links(links.previous)->next = links.next;
  }
  if (links.next == nullptr) {
    bucket.tail = links.previous;
  } else {
    Links(links.next)->previous = links.previous;
  }
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
