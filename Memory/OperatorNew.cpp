// The global allocation operators. They use the process-wide heap while it is active, and malloc
// and free before and after. HeapFree hands a block that no segment holds to free(), so nobody has
// to know which of them allocated a block.
//
// Deliberate: operator new returns null when there is no memory, also in the forms for which the
// standard demands an exception. The program is built without exceptions, and its only protection
// is that callers test for null.

#include <cstdlib>
#include <new>

#include "Memory/GlobalHeap.h"

namespace {

void* Allocate(std::size_t size) { return IsHeapActive() ? HeapMalloc(size) : std::malloc(size); }

void Deallocate(void* block) {
  if (IsHeapActive()) {
    HeapFree(block);
  } else {
    std::free(block);
  }
}

}  // namespace

// All forms do the same, but none calls another: the compiler may assume that the first two never
// return null, and would assume it of their callers. The attribute is for clang's sanitizers, which
// check that assumption.
__attribute__((no_sanitize("returns-nonnull-attribute"))) void* operator new(std::size_t size) {
  return Allocate(size);
}
__attribute__((no_sanitize("returns-nonnull-attribute"))) void* operator new[](std::size_t size) {
  return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }

void operator delete(void* block) noexcept { Deallocate(block); }
void operator delete[](void* block) noexcept { Deallocate(block); }
void operator delete(void* block, std::size_t) noexcept { Deallocate(block); }
void operator delete[](void* block, std::size_t) noexcept { Deallocate(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Deallocate(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Deallocate(block); }
