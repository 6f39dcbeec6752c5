// The process-wide heap and the allocation calls that every container uses.
//
// The heap lives from static initialisation to the exit handlers and serves these calls all that
// time. Its activation concerns the global operators new and delete alone (Memory/OperatorNew.cpp):
// before it, and after the heap is gone, they go to malloc and free. Memory from then stays with
// the system: whatever no segment holds is handed to free().
#pragma once

#include <cstddef>

class Heap;

// The instance, for its checks and dumps.
Heap& GlobalHeap();

// Switches operator new and operator delete to the heap, for good. Called once, by main.
void ActivateHeap();
[[nodiscard]] bool IsHeapActive();

// A block of at least `size` bytes, aligned to at least 8, or null when there is no memory. The
// caller frees it with HeapFree. Requires: alignment is 0 or a power of two.
[[nodiscard]] void* HeapAllocate(std::size_t size, std::size_t alignment);

// Resizes `block` in place and returns it; where that cannot be done, returns a new block of
// `newSize` bytes and leaves `block` as it was: the caller moves the content and frees the old
// block. Null: no memory, `block` untouched.
[[nodiscard]] void* ResizeOrAllocate(void* block, std::size_t newSize, std::size_t alignment);

// Frees a block of this heap; null is ignored, memory that no segment holds goes to free().
void HeapFree(void* block);

// The malloc family on the heap; HeapFree is its free. Blocks are aligned by their size: to 16 from
// 16 bytes on, to 8 below.
[[nodiscard]] void* HeapMalloc(std::size_t size);
[[nodiscard]] void* HeapMallocAligned(std::size_t size, std::size_t alignment);

// Zero-filled; null also when count * size overflows. A count of 0 gives a block like size 0.
[[nodiscard]] void* HeapCalloc(std::size_t count, std::size_t size);

// The block, or a new one with its content, with room for `size` bytes. Null: no memory, the old
// block kept. Memory that no segment holds is freed without its content being copied: its size is
// not known. Requires: size is not 0.
[[nodiscard]] void* HeapRealloc(void* block, std::size_t size);

// The bytes that the block holds; 0 for null or memory that no segment holds.
[[nodiscard]] std::size_t HeapUsableSize(const void* block);

// `block`, resized where it stands, or null and the block unchanged.
[[nodiscard]] void* HeapResize(void* block, std::size_t size);
