// The heap's blocks as they lie in memory. All arithmetic on header addresses is in this file.
//
//   segment   | header | payload | header | payload | ... | sentinel |
//   header    | size word | previous block's header |                       16 bytes
//   payload   | next free block | previous free block | ... |   while in a free list
//
// The size word counts the payload in words of 8 bytes; bit 63 is set while the block is in use.
// The sentinel is one word of ones in the segment's last 8 bytes. It reads as a block in use, so no
// free block ever merges with it, and it has no previous-block word.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Memory/HeapPoison.h"

struct BlockHeader {
  HeapWord<uint64_t> sizeWord;
  HeapWord<BlockHeader*> previous;  // the physically preceding block; null for a segment's first
};

// A free block's neighbours in its free list, null at the ends.
struct FreeLinks {
  HeapWord<BlockHeader*> next;
  HeapWord<BlockHeader*> previous;
};

inline constexpr uint64_t kWordSize = 8;
inline constexpr uint64_t kHeaderSize = 16;
inline constexpr uint64_t kInUseBit = uint64_t{1} << 63;
inline constexpr uint64_t kSentinel = ~uint64_t{0};
inline constexpr uint64_t kSegmentOverhead = kHeaderSize + kWordSize;  // first header, sentinel

static_assert(sizeof(BlockHeader) == kHeaderSize && sizeof(FreeLinks) == kHeaderSize);
static_assert(offsetof(BlockHeader, sizeWord) == 0 && offsetof(BlockHeader, previous) == 8);

inline bool IsSentinel(const BlockHeader* block) { return block->sizeWord == kSentinel; }
inline bool IsInUse(const BlockHeader* block) { return (block->sizeWord & kInUseBit) != 0; }
inline void MarkInUse(BlockHeader* block) { block->sizeWord = block->sizeWord | kInUseBit; }
inline void MarkFree(BlockHeader* block) { block->sizeWord = block->sizeWord & ~kInUseBit; }

// In bytes.
inline uint64_t PayloadSize(const BlockHeader* block) {
  return kWordSize * (block->sizeWord & ~kInUseBit);
}

// A free block with a smaller payload is in no list until it merges with a neighbour.
inline bool HasRoomForLinks(const BlockHeader* block) {
  return PayloadSize(block) >= sizeof(FreeLinks);
}

inline BlockHeader* HeaderAt(uintptr_t address) { return reinterpret_cast<BlockHeader*>(address); }
inline void* Payload(BlockHeader* block) { return block + 1; }
inline const void* Payload(const BlockHeader* block) { return block + 1; }
inline FreeLinks* Links(BlockHeader* block) { return reinterpret_cast<FreeLinks*>(block + 1); }
inline BlockHeader* BlockOf(void* payload) { return static_cast<BlockHeader*>(payload) - 1; }
inline const BlockHeader* BlockOf(const void* payload) {
  return static_cast<const BlockHeader*>(payload) - 1;
}

// The physically following block, or the sentinel.
inline BlockHeader* NextBlock(const BlockHeader* block) {
  return HeaderAt(reinterpret_cast<uintptr_t>(block) + kHeaderSize + PayloadSize(block));
}

inline void PointNextBack(BlockHeader* block) {
  BlockHeader* next = NextBlock(block);
  if (!IsSentinel(next)) next->previous = block;
}

// The sentinel of the segment of `length` bytes at `base`.
inline BlockHeader* SentinelOf(uintptr_t base, uint64_t length) {
  return HeaderAt(base + length - kWordSize);
}

// Makes the segment of `length` bytes at `base` one free block and the sentinel; returns the block.
inline BlockHeader* LayOutSegment(uintptr_t base, uint64_t length) {
  BlockHeader* block = HeaderAt(base);
  block->sizeWord = (length - kSegmentOverhead) / kWordSize;
  block->previous = nullptr;
  SentinelOf(base, length)->sizeWord = kSentinel;
  return block;
}

// The last block of the segment at `base`, before the sentinel.
inline BlockHeader* LastBlock(uintptr_t base) {
  BlockHeader* block = HeaderAt(base);
  for (BlockHeader* next = NextBlock(block); !IsSentinel(next); next = NextBlock(next)) {
    block = next;
  }
  return block;
}

// Adds the `bytes` after the payload, a multiple of 8, which belong to no other block.
inline void GrowPayload(BlockHeader* block, uint64_t bytes) {
  block->sizeWord = block->sizeWord + bytes / kWordSize;
}

// Makes the next block part of the payload, its header included. Requires: it is no sentinel.
//
//   | header | payload | header | payload |   ->   | header |          payload           |
inline void Coalesce(BlockHeader* block) {
  GrowPayload(block, kHeaderSize + PayloadSize(NextBlock(block)));
  PointNextBack(block);
}

// Leaves `block` the first `bytes` of its payload; returns the rest, a free block.
// Requires: `bytes` is a multiple of 8, and the payload has at least kHeaderSize more.
//
//   | header |          payload           |   ->   | header | `bytes` | header | payload |
inline BlockHeader* Split(BlockHeader* block, uint64_t bytes) {
  const uint64_t excess = PayloadSize(block) - bytes;
  block->sizeWord = block->sizeWord - excess / kWordSize;
  BlockHeader* tail = NextBlock(block);
  tail->sizeWord = (excess - kHeaderSize) / kWordSize;
  tail->previous = block;
  PointNextBack(tail);
  return tail;
}

// The bytes from the payload to the next multiple of `alignment`, a power of two.
inline uint64_t PadBeforePayload(const BlockHeader* block, uint64_t alignment) {
  return -(reinterpret_cast<uintptr_t>(block) + kHeaderSize) & (alignment - 1);
}

// Moves the header of a free block up by `pad` bytes, a multiple of 8, and makes the payload
// smaller by as many; returns the moved header. The `pad` bytes at `block` then belong to no block.
inline BlockHeader* MoveHeaderUp(BlockHeader* block, uint64_t pad) {
  const BlockHeader header = *block;  // the moved header may overlap it
  BlockHeader* moved = HeaderAt(reinterpret_cast<uintptr_t>(block) + pad);
  moved->sizeWord = header.sizeWord - pad / kWordSize;
  moved->previous = header.previous;
  PointNextBack(moved);
  return moved;
}

// Makes the `bytes` at `block`, which MoveHeaderUp took from the next block, a free block.
inline void MakeLeadingBlock(BlockHeader* block, uint64_t bytes, BlockHeader* previous) {
  block->sizeWord = (bytes - kHeaderSize) / kWordSize;
  block->previous = previous;
  PointNextBack(block);
}
