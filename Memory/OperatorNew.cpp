// The global allocation operators: the process-wide heap while it is active, malloc and free before
// and after. Deletion needs no record of the origin: what no segment holds goes to free().
//
// Deliberate: operator new never throws; without memory it returns null, and so does the form that
// the standard lets throw. The program is built without exceptions, and callers that test for null
// are its only protection.

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

// All forms mean the same, but none is written by another: of the first two a compiler may believe
// that they never return null, and would pass that belief on. Sanitizers of clang check it.
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
