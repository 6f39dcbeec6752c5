#include "Memory/GlobalHeap.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "Memory/Heap.h"

namespace {

constexpr std::size_t kDefaultAlignment = 16;

// Ready before any static initialiser runs: operator new may be called from the first of them.
constinit std::atomic<int32_t> activations = 0;

struct ProcessHeap {
  // Runs before the destructor of `heap`: operator delete goes to free() again before the heap
  // unmaps its segments and, last, destroys its mutex.
  ~ProcessHeap() { activations.fetch_sub(1); }

  Heap heap;
};

// constinit, because a constructor that ran at the start would touch every page of the tables.
//
// Deliberate: the order of this object among the program's static objects is left to the linker,
// and none of them initialises standard streams, since all output goes through stdio. The order
// decides nothing at the start, since the compiler lays out all of them. It decides nothing at exit
// either: the only others with a destructor are the two file names. An exit handler of main, which
// runs before all these destructors, has released them.
constinit ProcessHeap process;

// 16, or for smaller sizes the largest power of two that is not larger: the alignment of an object
// divides its size.
std::size_t DefaultAlignment(std::size_t size) {
  return size >= kDefaultAlignment ? kDefaultAlignment : std::bit_floor(size);
}

void FreeUnlocked(void* block) {
  if (!process.heap.FreeBlockUnlocked(block)) std::free(block);
}

}  // namespace

Heap& GlobalHeap() { return process.heap; }

void ActivateHeap() { activations.fetch_add(1); }

bool IsHeapActive() { return activations.load() > 0; }

void* HeapAllocate(std::size_t size, std::size_t alignment) {
  return process.heap.AllocBlock(size, alignment);
}

void* ResizeOrAllocate(void* block, std::size_t newSize, std::size_t alignment) {
  const MutexLock lock(process.heap.GetMutex());
  if (process.heap.ResizeInPlaceUnlocked(block, newSize)) return block;
  return process.heap.AllocBlockUnlocked(newSize, alignment);
}

void HeapFree(void* block) {
  const MutexLock lock(process.heap.GetMutex());
  FreeUnlocked(block);
}

void* HeapMalloc(std::size_t size) { return HeapAllocate(size, DefaultAlignment(size)); }

void* HeapMallocAligned(std::size_t size, std::size_t alignment) {
  return HeapAllocate(size, alignment);
}

void* HeapCalloc(std::size_t count, std::size_t size) {
  const std::size_t total = count * size;
  if (count != 0 && total / count != size) return nullptr;
  void* block = HeapMalloc(total);
  if (block != nullptr) std::memset(block, 0, total);
  return block;
}

void* HeapRealloc(void* block, std::size_t size) {
  Heap& heap = process.heap;
  const MutexLock lock(heap.GetMutex());
  // Deliberate: size 0 is outside the contract. It frees the block, as realloc often does, by the
  // unlocked form, since the lock is held and not recursive.
  if (size == 0) {
    FreeUnlocked(block);
    return nullptr;
  }
  if (heap.ResizeInPlaceUnlocked(block, size)) return block;
  void* moved = heap.AllocBlockUnlocked(size, DefaultAlignment(size));
  if (moved == nullptr) return nullptr;
  const std::size_t kept = std::min<std::size_t>(size, heap.UsableSizeUnlocked(block));
  if (kept > 0) std::memcpy(moved, block, kept);
  FreeUnlocked(block);
  return moved;
}

std::size_t HeapUsableSize(const void* block) { return process.heap.UsableSize(block); }

void* HeapResize(void* block, std::size_t size) {
  return process.heap.ResizeInPlace(block, size) ? block : nullptr;
}
