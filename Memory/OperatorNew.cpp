// The global allocation operators: the process-wide heap while it is active, malloc and free before
// and after. Deletion needs no record of the origin: what no segment holds goes to free().
//
// Deliberate: operator new never throws; without memory it returns null, and so does the form that
// the standard lets throw. The program is built without exceptions, and callers that test for null
// are its only protection.

#include <cstdlib>
#include <new>

#include "Memory/GlobalHeap.h"

void* operator new(std::size_t size) {
  return IsHeapActive() ? HeapMalloc(size) : std::malloc(size);
}

void operator delete(void* block) noexcept {
  if (IsHeapActive()) {
    HeapFree(block);
  } else {
    std::free(block);
  }
}

// All other forms mean the same.
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size);
}

void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { operator delete(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { operator delete(block); }
