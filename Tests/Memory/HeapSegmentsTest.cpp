#include "Memory/HeapSegments.h"

#include <gtest/gtest.h>

#include "Memory/Heap.h"
#include "Memory/HeapChecks.h"
#include "Tests/Support/SegmentArena.h"

// A first segment, one block that is free or in use, meets further ones, which are free.
TEST(HeapSegments, JoinBackToBack) {
  constexpr uint64_t kPayload = SegmentArena::kSlot - kSegmentOverhead;
  struct Row {
    std::deque<int> slots;
    uint64_t allocSize, freeSize;  // after the join
  };
  for (const auto& [slots, allocSize, freeSize] :
       {Row{{0, 1}, 0, 2 * kPayload + 24}, Row{{1, 0}, 0, 2 * kPayload + 24},
        Row{{0, 1}, kPayload + 8, kPayload}, Row{{1, 0}, kPayload, kPayload + 8},
        Row{{0, 2, 1}, 0, 3 * kPayload + 48}, Row{{2, 0, 1}, kPayload, 2 * kPayload + 32}}) {
    SCOPED_TRACE(testing::PrintToString(slots) + (allocSize > 0 ? " in use" : " free"));
    const SegmentArena arena(slots);
    {
      Heap heap(SegmentArena::Mapper());
      void* block = heap.AllocBlock(8, 8);
      ASSERT_TRUE(allocSize > 0 ? heap.ResizeInPlace(block, kPayload) : heap.FreeBlock(block));
      for (size_t i = 1; i < slots.size(); ++i) ASSERT_TRUE(heap.AddSegment(8, 8));
      const HeapStats stats = GetStats(StatsDetail::kWalked, heap);
      EXPECT_EQ(stats.numSegments, 1u);
      EXPECT_EQ(stats.maxAllocSize, allocSize);
      EXPECT_EQ(stats.maxFreeSize, freeSize);
      EXPECT_TRUE(CheckBlocks(heap) && CheckBuckets(heap));
      EXPECT_EQ(SegmentArena::Mapped(), stats.totalSize);
    }
    EXPECT_EQ(SegmentArena::Mapped(), 0u);
  }
}

TEST(HeapSegments, AreAtMost256) {
  std::deque<int> apart;
  for (int i = 0; i < 260; ++i) apart.push_back(2 * i);
  const SegmentArena arena(apart);
  Heap heap(SegmentArena::Mapper());
  constexpr uint64_t kMoreThanHalf = 10 << 20;
  for (int i = 0; i < 256; ++i) ASSERT_NE(heap.AllocBlock(kMoreThanHalf, 8), nullptr) << i;
  EXPECT_EQ(heap.AllocBlock(kMoreThanHalf, 8), nullptr);
  EXPECT_EQ(SegmentArena::Mapped(), 256 * SegmentArena::kSlot);
  EXPECT_NE(heap.AllocBlock(kMoreThanHalf / 2, 8), nullptr);
}
