#include "Memory/Heap.h"

#include <algorithm>

#include "Memory/HeapBlock.h"
#include "Memory/HeapBuckets.h"

namespace {

constexpr uint64_t kMinSegment = 0x1100000;  // 17 MiB, so that mapping is rare
constexpr uint64_t kLargeBlock = 0x200000;   // may hold a large page
// A segment needs this besides the request and its alignment: its first header and its sentinel,
// and the header of the rest that the request leaves.
constexpr uint64_t kSegmentSlack = kSegmentOverhead + kHeaderSize;

uint64_t RoundUpToWord(uint64_t size) {
  return (std::max(size, kWordSize) + kWordSize - 1) / kWordSize * kWordSize;
}

bool IsServable(uint64_t size, uint64_t alignment) {
  return size <= Heap::kMaxSize && alignment <= Heap::kMaxAlignment;
}

}  // namespace

void* Heap::AllocBlock(uint64_t size, uint64_t alignment) {
  const MutexLock lock(mutex_);
  return AllocBlockUnlocked(size, alignment);
}

bool Heap::FreeBlock(void* payload) {
  const MutexLock lock(mutex_);
  return FreeBlockUnlocked(payload);
}

bool Heap::ResizeInPlace(void* payload, uint64_t size) {
  const MutexLock lock(mutex_);
  return ResizeInPlaceUnlocked(payload, size);
}

uint64_t Heap::UsableSize(const void* payload) const {
  const MutexLock lock(mutex_);
  return UsableSizeUnlocked(payload);
}

bool Heap::AddSegment(uint64_t size, uint64_t alignment) {
  const MutexLock lock(mutex_);
  return IsServable(size, alignment) &&
         MapSegment(RoundUpToWord(size), std::max(alignment, kWordSize));
}

void* Heap::AllocBlockUnlocked(uint64_t size, uint64_t alignment) {
  if (!IsServable(size, alignment)) return nullptr;
  ++stats_.allocCalls;
  const uint64_t asked = size;
  size = RoundUpToWord(size);
  alignment = std::max(alignment, kWordSize);
  const uint64_t needed = alignment == kWordSize ? size : size + alignment - 1;
  for (;;) {
    BlockHeader* block = FindFreeBlock(needed);
    if (block != nullptr) {
      freeLists_.Unlink(block);
      stats_.peakBlockSize = std::max(stats_.peakBlockSize, size);
      void* payload = Carve(block, size, alignment);
      OpenBlock(payload, asked, size);
      if (size >= kLargeBlock) PreferLargePages(payload, size);
      return payload;
    }
    // The search takes only buckets in which every block fits. The block of a new segment that was
    // mapped for a large request may be one bucket too small for that. Then a second segment
    // follows; the system usually maps it next to the first, and the two join.
    if (!MapSegment(size, alignment)) return nullptr;
  }
}

bool Heap::FreeBlockUnlocked(void* payload) {
  if (payload == nullptr) return true;
  if (segments_.Find(payload) == nullptr) return false;
  ExpectOpen(payload);
  BlockHeader* block = BlockOf(payload);
  ++stats_.freeCalls;
  --stats_.allocBlocks;
  MarkFree(block);
  stats_.allocSize -= PayloadSize(block);
  PoisonBytes(payload, PayloadSize(block));

  if (block->previous != nullptr && !IsInUse(block->previous)) {
    block = block->previous;
    freeLists_.Unlink(block);
    Coalesce(block);
  }
  if (!IsInUse(NextBlock(block))) {
    freeLists_.Unlink(NextBlock(block));
    Coalesce(block);
  }
  freeLists_.Link(block);
  return true;
}

bool Heap::ResizeInPlaceUnlocked(void* payload, uint64_t size) {
  if (payload == nullptr || size > kMaxSize || segments_.Find(payload) == nullptr) return false;
  ExpectOpen(payload);
  ++stats_.reallocCalls;
  const uint64_t asked = size;
  size = RoundUpToWord(size);
  BlockHeader* block = BlockOf(payload);
  if (size > PayloadSize(block)) {
    BlockHeader* next = NextBlock(block);
    if (IsInUse(next)) return false;
    const uint64_t gain = kHeaderSize + PayloadSize(next);
    if (PayloadSize(block) + gain < size) return false;
    freeLists_.Unlink(next);
    Coalesce(block);
    CountInUse(gain);
  }
  const uint64_t before = PayloadSize(block);
  OpenBlock(payload, asked, before);
  Trim(block, size);
  if (size >= kLargeBlock) PreferLargePages(payload, size);
  stats_.allocSize -= before - PayloadSize(block);
  stats_.peakBlockSize = std::max(stats_.peakBlockSize, size);
  ++stats_.reallocSucc;
  return true;
}

uint64_t Heap::UsableSizeUnlocked(const void* payload) const {
  if (payload == nullptr || segments_.Find(payload) == nullptr) return 0;
  ExpectOpen(payload);
  const uint64_t size = PayloadSize(BlockOf(payload));
  OpenBlock(payload, size, size);  // who asks may use them all
  return size;
}

bool Heap::MapSegment(uint64_t size, uint64_t alignment) {
  const uint64_t length = size + alignment + kSegmentSlack;
  if (length < size) return false;  // the sum wrapped
  const Segment* segment = segments_.Map(std::max(length, kMinSegment));
  if (segment == nullptr) return false;
  stats_.totalSize += segment->length;
  freeLists_.Link(LayOutSegment(segment->base, segment->length));
  JoinSegments();
  return true;
}

void Heap::JoinSegments() {
  HeapSegments::Seam seam;
  while (segments_.JoinNeighbours(seam)) JoinBlocks(seam);
}

// Links up the blocks of two joined segments. The lower one's sentinel becomes payload of the block
// before it.
void Heap::JoinBlocks(const HeapSegments::Seam& seam) {
  BlockHeader* last = LastBlock(seam.lower);
  BlockHeader* first = HeaderAt(seam.upper);
  if (IsInUse(last)) {
    GrowPayload(last, kWordSize);
    PointNextBack(last);
    CountInUse(kWordSize);
    return;
  }
  freeLists_.Unlink(last);
  GrowPayload(last, kWordSize);
  PointNextBack(last);
  if (!IsInUse(first)) {
    freeLists_.Unlink(first);
    Coalesce(last);
  }
  freeLists_.Link(last);
}

BlockHeader* Heap::FindFreeBlock(uint64_t needed) {
  const int index = freeLists_.FindBucket(CeilingBucket(needed));
  if (index < 0) return nullptr;
  const HeapFreeLists::Bucket& bucket = freeLists_.At(index);
  if (needed <= kLastBound) return bucket.LowerEnd();
  return WalkForBlock(bucket.Head(), needed);
}

// Finds a block for a request above 1 GiB, which not every block of the last bucket can serve:
// takes the one with the lowest address that can. Null: there is none.
BlockHeader* Heap::WalkForBlock(BlockHeader* head, uint64_t needed) {
  ++stats_.slowBucket;
  BlockHeader* lowest = nullptr;
  for (BlockHeader* block = head; block != nullptr; block = Links(block)->next) {
    if (PayloadSize(block) < needed) continue;
    if (lowest == nullptr || block < lowest) lowest = block;
  }
  return lowest;
}

// Makes an unlinked free block a block in use, aligned, of `size` bytes or 8 more; returns its
// payload.
void* Heap::Carve(BlockHeader* block, uint64_t size, uint64_t alignment) {
  ++stats_.allocBlocks;
  block = Align(block, alignment);
  Trim(block, size);
  CountInUse(PayloadSize(block));
  MarkInUse(block);
  return Payload(block);
}

// Moves the header so that the payload is aligned, and returns it. The bytes before it become a
// free block; if they are only 8, too few for a header, the previous block gets them. In that case
// there is a previous block, since segments begin at multiples of 16; and it is in use, since a
// free one would have merged with this one.
BlockHeader* Heap::Align(BlockHeader* block, uint64_t alignment) {
  const uint64_t pad = PadBeforePayload(block, alignment);
  if (pad == 0) return block;
  BlockHeader* const previous = block->previous;
  BlockHeader* moved = MoveHeaderUp(block, pad);
  if (pad >= kHeaderSize) {
    MakeLeadingBlock(block, pad, previous);
    freeLists_.Link(block);
  } else {
    GrowPayload(previous, pad);
    CountInUse(pad);
  }
  return moved;
}

// Makes the end of the payload beyond `size` bytes a free block; 8 bytes, too few for a header,
// stay.
void Heap::Trim(BlockHeader* block, uint64_t size) {
  if (PayloadSize(block) - size < kHeaderSize) return;
  BlockHeader* tail = Split(block, size);
  if (!IsInUse(NextBlock(tail))) {
    freeLists_.Unlink(NextBlock(tail));
    Coalesce(tail);
  }
  freeLists_.Link(tail);
}

void Heap::CountInUse(uint64_t bytes) {
  stats_.allocSize += bytes;
  stats_.peakAllocSize =
      std::max(stats_.peakAllocSize, stats_.allocSize + kHeaderSize * stats_.allocBlocks);
}
