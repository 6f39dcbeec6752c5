#include "Memory/HeapSegments.h"

#include <gtest/gtest.h>

#include "Memory/Heap.h"
#include "Tests/Support/SegmentArena.h"

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
