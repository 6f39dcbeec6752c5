#include "Memory/HeapDump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Memory/Heap.h"
#include "Memory/HeapChecks.h"
#include "Tests/Support/SegmentArena.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

// What a dump prints, with addresses replaced by offsets in the arena.
std::string Dumped(void (*dump)(const Heap&), const Heap& heap) {
  testing::internal::CaptureStdout();
  dump(heap);
  std::string text = testing::internal::GetCapturedStdout();
  const char* const digits = "0123456789abcdefx";
  for (std::size_t at = 0; (at = text.find_first_of(digits, at)) != text.npos;) {
    const std::size_t length = std::min(text.find_first_not_of(digits, at), text.size()) - at;
    if (length > 8) {  // an address; sizes are shorter
      const uint64_t place = std::stoull(text.substr(at, length), nullptr, 16);
      const uint64_t start = reinterpret_cast<uintptr_t>(SegmentArena::Slot(0));
      text.replace(at, length, "+" + std::to_string(place - start));
    }
    at = text.find_first_not_of(digits, at + 1);
  }
  return text;
}

// A free block of 64 bytes, one of 16 in use and a free one of the rest; and a free second segment.
TEST(HeapDump, ShowsCountersSegmentsAndBlocks) {
  const SegmentArena arena({0, 2});
  Heap heap(SegmentArena::Mapper());
  std::string dumps = Dumped(DumpStats, heap);
  void* block = heap.AllocBlock(100, 8);
  ASSERT_TRUE(heap.ResizeInPlace(block, 64) && heap.AddSegment(8, 8));
  ASSERT_NE(heap.AllocBlock(16, 8), nullptr);
  ASSERT_TRUE(heap.FreeBlock(block) && heap.FreeBlock(nullptr) && !heap.FreeBlock(&block));
  dumps += "\n" + Dumped(DumpStats, heap) + "\n" + Dumped(DumpBlocks, heap);
  EXPECT_EQ(dumps, ReadFile(HALOMEND_TEST_DATA "Memory/Dumps.txt"));
  ResetStats(heap);
  const HeapStats stats = heap.Counters();
  EXPECT_EQ(stats.totalSize + stats.freeBlocks + stats.allocCalls, 0u);
  EXPECT_EQ(GetStats(StatsDetail::kWalked, heap).maxFreeSize, SegmentArena::kSlot - 24);
}

}  // namespace
