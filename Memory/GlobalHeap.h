// The process-wide heap and the allocation calls that every container uses.
//
// The heap serves these calls from the start of the program until its destructor runs at exit. Its
// activation concerns only the global operators new and delete (Memory/OperatorNew.cpp): before it,
// and after the heap's destruction, they use malloc and free. Memory that malloc served is freed by
// free() at any time, since every release checks whether a segment holds the block.
#pragma once

#include <cstddef>

class Heap;

// The instance, for its checks and dumps.
Heap& GlobalHeap();

// Switches operator new and operator delete to the heap until exit. Called once, by main.
void ActivateHeap();
[[nodiscard]] bool IsHeapActive();

// A block of at least `size` bytes (0 counts as 8), aligned to `alignment` and at least to 8. Null:
// no memory. The caller frees it with HeapFree. The tool itself uses ResizeOrAllocate and operator
// new. Requires: alignment is 0 or a power of two.
[[nodiscard]] void* HeapAllocate(std::size_t size, std::size_t alignment);

// Resizes `block` in place and returns it. Where that cannot be done, and when `block` is null, it
// returns a new block of `newSize` bytes and leaves `block` as it was: the caller moves the content
// and frees the old block. Null: no memory, `block` untouched. Requires: as for HeapAllocate.
[[nodiscard]] void* ResizeOrAllocate(void* block, std::size_t newSize, std::size_t alignment);

// Frees a block of this heap. Null is ignored; a block that no segment holds goes to free().
void HeapFree(void* block);

// The rest is the malloc family on the heap; HeapFree is its free. Only HeapMalloc is used, by
// operator new. The others complete the interface of a general-purpose heap.

// Aligned to 16 for 16 bytes and more, to 8 below. Null: no memory.
[[nodiscard]] void* HeapMalloc(std::size_t size);

// The same as HeapAllocate. Requires: alignment is 0 or a power of two.
[[nodiscard]] void* HeapMallocAligned(std::size_t size, std::size_t alignment);

// `count * size` bytes of zeros; a product of 0 counts as 8. Null: no memory, or it overflows.
[[nodiscard]] void* HeapCalloc(std::size_t count, std::size_t size);

// Gives the block room for `size` bytes, in place or by moving its content to a new one; returns
// the block that has the content. Null: no memory, and the old block is kept. The content of a
// block that no segment holds is lost, since its size is not known. Requires: size is not 0.
[[nodiscard]] void* HeapRealloc(void* block, std::size_t size);

// The bytes that the block has room for; 0 for null or a block that no segment holds.
[[nodiscard]] std::size_t HeapUsableSize(const void* block);

// Resizes `block` in place and returns it. Null: that cannot be done, and the block is unchanged.
[[nodiscard]] void* HeapResize(void* block, std::size_t size);
