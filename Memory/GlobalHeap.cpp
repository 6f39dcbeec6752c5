#include "Memory/GlobalHeap.h"

#include <cstdlib>

// Stands in until the heap itself is here.
void* HeapAllocate(std::size_t size, std::size_t) { return std::malloc(size); }
void* ResizeOrAllocate(void*, std::size_t newSize, std::size_t) { return std::malloc(newSize); }
void HeapFree(void* block) { std::free(block); }
