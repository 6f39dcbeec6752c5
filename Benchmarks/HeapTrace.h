// A trace of allocations for any allocator that has Allocate(size) and Free(block).
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "Memory/GlobalHeap.h"

struct ProductHeap {
  void* Allocate(std::size_t size) { return HeapAllocate(size, 0); }
  void Free(void* block) { HeapFree(block); }
};

// A million times, frees a block and allocates another, with ten thousand blocks of 16 to 4096
// bytes in use. Fill is called first; Run frees everything at its end.
class HeapTrace {
 public:
  static constexpr uint32_t kPairs = 1000000;
  static constexpr uint32_t kLive = 10000;

  HeapTrace() : steps_(kPairs) {
    for (Step& step : steps_) step = {RandomSize(), static_cast<uint32_t>(random_()) % kLive};
  }

  template <typename Allocator>
  void Fill(Allocator& allocator) {
    for (void*& block : live_) block = Allocate(allocator, RandomSize());
  }

  template <typename Allocator>
  void Run(Allocator& allocator) {
    for (const Step& step : steps_) {
      allocator.Free(live_[step.index]);
      live_[step.index] = Allocate(allocator, step.size);
    }
    for (void*& block : live_) allocator.Free(block);
  }

 private:
  struct Step {
    uint32_t size;
    uint32_t index;
  };

  uint32_t RandomSize() { return 16 + static_cast<uint32_t>(random_()) % (4096 - 16 + 1); }

  // Writes to the block, as any user of it does.
  template <typename Allocator>
  static void* Allocate(Allocator& allocator, uint32_t size) {
    void* block = allocator.Allocate(size);
    *static_cast<uint64_t*>(block) = size;
    return block;
  }

  std::mt19937 random_{4};
  std::vector<Step> steps_;
  std::array<void*, kLive> live_;
};
