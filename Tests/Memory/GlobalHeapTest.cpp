#include "Memory/GlobalHeap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "Memory/HeapChecks.h"

namespace {

constexpr std::size_t kImpossible = SIZE_MAX / 2;

uint64_t InUse() { return GetStats(StatsDetail::kCounters).allocBlocks; }

TEST(GlobalHeap, ResizeOrAllocateLeavesTheOldBlockToTheCaller) {
  char* block = static_cast<char*>(ResizeOrAllocate(nullptr, 100, 2));
  void* fence = HeapAllocate(8, 2);
  EXPECT_EQ(ResizeOrAllocate(block, 50, 2), block);
  block[49] = 7;
  void* moved = ResizeOrAllocate(block, 1000, 2);
  EXPECT_NE(moved, block);
  EXPECT_EQ(ResizeOrAllocate(block, kImpossible, 2), nullptr);
  EXPECT_TRUE(InUse() == 3 && block[49] == 7);
  for (void* each : {moved, fence, static_cast<void*>(block), std::malloc(1)}) HeapFree(each);
}

TEST(GlobalHeap, MallocAlignsAndCallocZeroes) {
  for (std::size_t size = 0; size < 200; ++size) {
    void* blocks[] = {HeapMalloc(size), HeapMallocAligned(size, 4096)};
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[0]) % (size >= 16 ? 16 : 8), 0u) << size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[1]) % 4096, 0u) << size;
    for (void* block : blocks) HeapFree(block);
  }
  void* block = HeapMalloc(4000);
  HeapFree(std::memset(block, 0xFF, 4000));
  ASSERT_EQ(HeapCalloc(40, 100), block);
  EXPECT_EQ(std::string(static_cast<char*>(block), 4000), std::string(4000, '\0'));
  HeapFree(block);
  EXPECT_EQ(HeapCalloc(SIZE_MAX / 2 + 2, 2), nullptr);
  HeapFree(HeapCalloc(0, 100));
  EXPECT_EQ(InUse(), 0u);
}

TEST(GlobalHeap, ReallocKeepsTheContentOrTheBlock) {
  char* block = static_cast<char*>(HeapRealloc(nullptr, 32));
  void* fence = HeapMalloc(8);
  std::strcpy(block, "kept");
  EXPECT_EQ(HeapRealloc(block, kImpossible), nullptr);
  char* moved = static_cast<char*>(HeapRealloc(block, 5000));
  EXPECT_NE(moved, block);
  EXPECT_STREQ(moved, "kept");
  EXPECT_EQ(HeapRealloc(moved, 8), moved);
  EXPECT_TRUE(HeapResize(moved, kImpossible) == nullptr && HeapRealloc(moved, 0) == nullptr);
  HeapFree(fence);
  HeapFree(HeapRealloc(std::malloc(10), 20));  // a block of malloc: freed, not copied
  EXPECT_EQ(InUse(), 0u);
}

}  // namespace
