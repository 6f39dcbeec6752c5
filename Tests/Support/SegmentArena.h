// Segments for a heap under test, from one reserved range at a fixed address. The test names the
// slots that the heap gets one after another, and so decides which segments lie back to back. After
// the last slot the heap is refused memory.
#pragma once

#include <sys/mman.h>

#include <deque>

#include "Memory/HeapSegments.h"

class SegmentArena {
 public:
  static constexpr std::size_t kSlot = 0x1100000;  // the smallest segment

  explicit SegmentArena(const std::deque<int>& slots) {
    mmap(Slot(0), kRange, PROT_READ | PROT_WRITE,
         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED_NOREPLACE, -1, 0);
    Offer(slots);
  }
  ~SegmentArena() { munmap(Slot(0), kRange); }

  // For the next heap.
  static void Offer(const std::deque<int>& slots) {
    slots_ = slots;
    mapped_ = 0;
  }

  static char* Slot(int index) { return reinterpret_cast<char*>(0x200000000000 + index * kSlot); }
  static std::size_t Mapped() { return mapped_; }  // bytes taken and not given back
  static bool IsUsedUp() { return slots_.empty(); }
  static constexpr SegmentMapper Mapper() { return {Map, Unmap}; }

 private:
  static constexpr std::size_t kRange = 520 * kSlot;  // only the touched pages cost memory

  static void* Map(std::size_t length) {
    if (slots_.empty() || length > kRange) return nullptr;
    char* segment = Slot(slots_.front());
    slots_.pop_front();
    mapped_ += length;
    return segment;
  }
  static void Unmap(void*, std::size_t length) { mapped_ -= length; }

  static inline std::deque<int> slots_;
  static inline std::size_t mapped_;
};
