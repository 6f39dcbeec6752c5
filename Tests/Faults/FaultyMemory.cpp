// Replaces Memory/GlobalHeap.cpp in a program of its own. Every block comes from malloc, where
// sanitizers see it; none is ever resized in place; and any request can be made to fail.

#include "Memory/GlobalHeap.h"
#include "Tests/Faults/FaultPlan.h"

namespace {

bool isActive = false;

void* Serve(std::size_t size) {
  return NextFault("memory") == Fault::kNone ? std::malloc(size) : nullptr;
}

}  // namespace

void ActivateHeap() { isActive = true; }

bool IsHeapActive() { return isActive; }

void* HeapMalloc(std::size_t size) { return Serve(size); }

void* ResizeOrAllocate(void*, std::size_t newSize, std::size_t) { return Serve(newSize); }

void HeapFree(void* block) { std::free(block); }
