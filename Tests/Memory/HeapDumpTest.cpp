#include "Memory/HeapDump.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Memory/Heap.h"
#include "Memory/HeapChecks.h"
#include "Tests/Support/SegmentArena.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

// What is printed, with addresses from the start of the arena on.
std::string Dumped(void (*dump)(const Heap&), const Heap& heap) {
  testing::internal::CaptureStdout();
  dump(heap);
  std::string text = testing::internal::GetCapturedStdout();
  const std::regex address("(0x)?[0-9a-f]{9,}");  // sizes have fewer digits
  for (std::smatch found; std::regex_search(text, found, address);) {
    const uint64_t place =
        std::stoull(found.str(), nullptr, 16) - reinterpret_cast<uintptr_t>(SegmentArena::Slot(0));
    text.replace(found.position(), found.length(), "+" + std::to_string(place));
  }
  return text;
}

// A freed block of 64 bytes, one of 16 in use and a free rest; and a second segment, all free.
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
