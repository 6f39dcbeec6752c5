#include "Memory/HeapDump.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Memory/Heap.h"
#include "Memory/HeapChecks.h"
#include "Tests/Support/SegmentArena.h"

namespace {

std::string Dumped(void (*dump)(const Heap&), const Heap& heap) {
  testing::internal::CaptureStdout();
  dump(heap);
  return testing::internal::GetCapturedStdout();
}

std::string StatsText(const std::array<uint64_t, 17>& values) {
  const std::string labels =  // of 17 characters each
      "allocBlocks .... allocSize ...... peakAllocSize .. peakBlockSize .. freeBlocks ..... "
      "freeSize ....... totalSize ...... bookKeeping .... maxAllocSize ... maxFreeSize .... "
      "numSegments .... largestFreeChain allocCalls ..... reallocCalls ... freeCalls ...... "
      "reallocSucc .... slowBucket ..... ";
  std::string text;
  for (size_t i = 0; i < values.size(); ++i) {
    text += labels.substr(17 * i, 17) + std::to_string(values[i]) + '\n';
  }
  return text;
}

TEST(HeapDump, ShowsCountersSegmentsAndBlocks) {
  const SegmentArena arena({0, 2});
  Heap heap(SegmentArena::Mapper());
  EXPECT_EQ(Dumped(DumpStats, heap), StatsText({}));
  void* block = heap.AllocBlock(100, 8);
  ASSERT_TRUE(heap.ResizeInPlace(block, 64) && heap.AddSegment(8, 8));
  char* second = static_cast<char*>(heap.AllocBlock(16, 8));
  ASSERT_TRUE(heap.FreeBlock(block) && heap.FreeBlock(nullptr) && !heap.FreeBlock(&block));

  const uint64_t whole = SegmentArena::kSlot - 24;
  const uint64_t rest = whole - (64 + 16) - (16 + 16);
  const uintptr_t base = reinterpret_cast<uintptr_t>(arena.Slot(0));
  std::ostringstream segments, blocks;
  segments << std::hex << "seg 0 " << base << " ... " << base + arena.kSlot << "\nseg 1 "
           << base + 2 * arena.kSlot << " ... " << base + 3 * arena.kSlot << "\n";
  EXPECT_EQ(Dumped(DumpStats, heap),
            StatsText({1, 16, 104 + 16, 104, 3, 64 + rest + whole, 2 * SegmentArena::kSlot,
                       3 * 16 + 24 + 8, 16, whole, 2, 2, 2, 1, 1, 1, 0}) +
                segments.str());
  blocks << "heap segment 1/2\nblock used:no  ptr:" << static_cast<void*>(arena.Slot(0))
         << " size:64\nblock used:yes ptr:" << static_cast<void*>(second - 16)
         << " size:16\nblock used:no  ptr:" << static_cast<void*>(second + 16) << " size:" << rest
         << "\nheap segment 2/2\nblock used:no  ptr:" << static_cast<void*>(arena.Slot(2))
         << " size:" << whole << "\n";
  EXPECT_EQ(Dumped(DumpBlocks, heap), blocks.str());
  ResetStats(heap);
  EXPECT_EQ(heap.Counters().totalSize + heap.Counters().freeBlocks + heap.Counters().allocCalls,
            0u);
  EXPECT_EQ(GetStats(StatsDetail::kWalked, heap).maxFreeSize, whole);
}

}  // namespace
