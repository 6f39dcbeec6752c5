// The process-wide heap: the allocation calls that every container uses.
#pragma once

#include <cstddef>

// A block of at least `size` bytes, aligned to at least 8, or null when there is no memory. The
// caller frees it with HeapFree. Requires: alignment is 0 or a power of two.
[[nodiscard]] void* HeapAllocate(std::size_t size, std::size_t alignment);

// Resizes `block` in place and returns it; where that cannot be done, returns a new block of
// `newSize` bytes and leaves `block` as it was: the caller moves the content and frees the old
// block. Null: no memory, `block` untouched.
[[nodiscard]] void* ResizeOrAllocate(void* block, std::size_t newSize, std::size_t alignment);

// Frees a block of this heap; null is ignored, memory that no segment holds goes to free().
void HeapFree(void* block);
