// The program's general-purpose allocator.
//
// Blocks, each with a header before it (Memory/HeapBlock.h), fill the segments that the system
// maps. Free blocks are kept in buckets by size. Neighbours merge as soon as both are free, so no
// two free blocks are ever neighbours. Segments that are neighbours become one; all of them are
// kept until the heap is destroyed.
//
// Every operation holds the heap's one lock from start to end. The forms named Unlocked are for a
// caller that holds GetMutex() already; such a caller may call no other form.
#pragma once

#include <cstdint>

#include "Memory/HeapFreeLists.h"
#include "Memory/HeapSegments.h"
#include "Memory/HeapStats.h"
#include "Memory/Mutex.h"

class Heap {
 public:
  static constexpr uint64_t kMaxSize = 0xFFFFFFFFFFF00000;
  static constexpr uint64_t kMaxAlignment = 0x100000;

  explicit constexpr Heap(const SegmentMapper& mapper = kSystemMapper)
      : freeLists_(stats_), segments_(mapper) {}

  // A block of at least `size` bytes (0 counts as 8), aligned to `alignment` and at least to 8.
  // Null: above kMaxSize or kMaxAlignment, no memory, or 256 segments and no fit.
  // Requires: alignment is 0 or a power of two.
  [[nodiscard]] void* AllocBlock(uint64_t size, uint64_t alignment);
  [[nodiscard]] void* AllocBlockUnlocked(uint64_t size, uint64_t alignment);

  // Frees a block; null is ignored. False: no segment of this heap holds `payload`, and nothing is
  // done. Requires: a payload in a segment is that of a block in use, which is not checked.
  [[nodiscard]] bool FreeBlock(void* payload);
  [[nodiscard]] bool FreeBlockUnlocked(void* payload);

  // Gives the block room for `size` bytes in place: makes its end a free block, or merges it with
  // the next block if that is free. False, with the block unchanged: the next block is in use or
  // too small, `size` is above kMaxSize, or `payload` is null or in no segment.
  [[nodiscard]] bool ResizeInPlace(void* payload, uint64_t size);
  [[nodiscard]] bool ResizeInPlaceUnlocked(void* payload, uint64_t size);

  // The bytes that the block has room for, perhaps more than were asked for; 0 for null or a
  // pointer in no segment.
  [[nodiscard]] uint64_t UsableSize(const void* payload) const;
  [[nodiscard]] uint64_t UsableSizeUnlocked(const void* payload) const;

  // Maps a segment in which such a request fits. False: as for AllocBlock. The heap maps segments
  // on demand; this is for a caller who wants one beforehand, and the tool has none.
  [[nodiscard]] bool AddSegment(uint64_t size, uint64_t alignment);

  Mutex& GetMutex() const { return mutex_; }

  // For checks and dumps, which hold the lock.
  HeapStats& Counters() { return stats_; }
  const HeapStats& Counters() const { return stats_; }
  const HeapFreeLists& FreeLists() const { return freeLists_; }
  const HeapSegments& Segments() const { return segments_; }

 private:
  [[nodiscard]] bool MapSegment(uint64_t size, uint64_t alignment);
  void JoinSegments();
  void JoinBlocks(const HeapSegments::Seam& seam);
  BlockHeader* FindFreeBlock(uint64_t needed);
  BlockHeader* WalkForBlock(BlockHeader* head, uint64_t needed);
  void* Carve(BlockHeader* block, uint64_t size, uint64_t alignment);
  BlockHeader* Align(BlockHeader* block, uint64_t alignment);
  void Trim(BlockHeader* block, uint64_t size);
  void CountInUse(uint64_t bytes);

  mutable Mutex mutex_;  // first, so that it outlives the rest
  HeapStats stats_;
  HeapFreeLists freeLists_;
  HeapSegments segments_;
};
