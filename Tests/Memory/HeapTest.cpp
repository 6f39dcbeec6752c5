#include "Memory/Heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <deque>
#include <vector>

#include "Memory/HeapBuckets.h"
#include "Memory/HeapChecks.h"
#include "Memory/HeapDump.h"
#include "Tests/Support/SegmentArena.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace {

// A heap that may have one segment.
class HeapTest : public testing::Test {
 protected:
  ~HeapTest() override { EXPECT_TRUE(IsWhole()); }

  char* Alloc(uint64_t size, uint64_t alignment = 8) {
    return static_cast<char*>(heap_.AllocBlock(size, alignment));
  }
  bool IsWhole() const { return CheckBlocks(heap_) && CheckBuckets(heap_); }
  HeapStats Stats() const { return GetStats(StatsDetail::kWalked, heap_); }

  const SegmentArena arena_{{0}};
  Heap heap_{SegmentArena::Mapper()};
};

// The last bucket has all sizes from 1 GiB on, here in the order of release: a block that is too
// small, the highest, the lowest that fits. Only headers are touched, not payloads.
TEST_F(HeapTest, ServesRequestsAboveAGibibyteFromTheLowestBlockThatFits) {
  constexpr uint64_t kGiB = 0x40000000;
  ASSERT_TRUE(heap_.FreeBlock(Alloc(3 * kGiB + 1024)));
  char* blocks[6];
  for (int i = 0; i < 6; ++i) blocks[i] = Alloc(i % 2 == 1 ? 8 : kGiB + (i == 0 ? 0 : 64));
  for (const int i : {0, 4, 2}) ASSERT_TRUE(heap_.FreeBlock(blocks[i]));
  EXPECT_EQ(Alloc(kGiB + 8), blocks[2]);
}

TEST_F(HeapTest, RefusesWhatItCannotServe) {
  EXPECT_FALSE(Alloc(~uint64_t{0}) != nullptr || heap_.AddSegment(Heap::kMaxSize + 1, 8));
  EXPECT_EQ(Alloc(Heap::kMaxSize, Heap::kMaxAlignment), nullptr);  // the segment's length wraps
  EXPECT_EQ(Alloc(Heap::kMaxSize - 100, Heap::kMaxAlignment), nullptr);  // and here by rounding up
  EXPECT_EQ(Stats().numSegments, 0u);
  EXPECT_TRUE(heap_.AddSegment(0x2010000 - 40, 1));
  EXPECT_EQ(SegmentArena::Mapped(), 0x2020000u);
  EXPECT_EQ(Alloc(0x2020000), nullptr);  // no second segment
  EXPECT_FALSE(heap_.ResizeInPlace(nullptr, 8) || heap_.ResizeInPlace(this, 8));
}

// What becomes of the rest of 64 bytes: 8 bytes stay in the block; 16 become a block without
// payload, which is in no list; 32 become the smallest block that is in a list.
TEST_F(HeapTest, KeepsSliversOutsideTheLists) {
  void* block = Alloc(64);
  void* fence = Alloc(8);
  const uint64_t rows[][3] = {{56, 64, 1}, {48, 48, 1}, {40, 48, 1}, {24, 24, 2},
                              {32, 32, 2}, {64, 64, 1}, {48, 48, 1}};
  for (const auto& [size, usable, listed] : rows) {
    ASSERT_TRUE(heap_.ResizeInPlace(block, size));
    EXPECT_EQ(heap_.UsableSize(block), usable) << size;
    EXPECT_EQ(Stats().freeBlocks, listed) << size;
  }
  EXPECT_TRUE(heap_.FreeBlock(fence) && heap_.FreeBlock(block));
  EXPECT_EQ(Stats().freeSize, SegmentArena::kSlot - kSegmentOverhead);
}

TEST_F(HeapTest, PrefersTheLowerEndOfABucket) {
  std::vector<void*> blocks;
  for (int i = 0; i < 8; ++i) blocks.push_back(Alloc(100));
  for (const size_t index : {2, 6, 4, 0}) EXPECT_TRUE(heap_.FreeBlock(blocks[index]));
  for (const size_t index : {0, 2, 4, 6}) EXPECT_EQ(Alloc(100), blocks[index]);
}

// Damages one header word or link after another. Blocks begin at words 0, 10 (free) and 20.
TEST_F(HeapTest, ChecksFindDamage) {
  auto* words = reinterpret_cast<HeapWord<uint64_t>*>(Alloc(64)) - 2;
  char* freed = Alloc(64);
  ASSERT_TRUE(Alloc(64) != nullptr && heap_.FreeBlock(freed));
  const uint64_t damage = reinterpret_cast<uint64_t>(words + 10);
  for (const int index : {0, 1, 10, 11, 12, 13, 20, 21}) {
    words[index] = words[index] ^ damage;
    EXPECT_FALSE(IsWhole()) << index;
    words[index] = words[index] ^ damage;
  }
  for (const uint64_t change : {uint64_t{8}, kInUseBit}) {  // the free block's size, its state
    words[10] = words[10] ^ change;
    EXPECT_FALSE(CheckBuckets(heap_));
    words[10] = words[10] ^ change;
  }
  EXPECT_TRUE(IsBlock(words + 2, heap_) && IsBlock(freed, heap_));
  EXPECT_FALSE(IsBlock(words, heap_) || IsBlock(&words, heap_) || IsBlock(nullptr, heap_));
  const char* base = SegmentArena::Slot(0);
  EXPECT_TRUE(IsInHeap(base, heap_) && IsInHeap(base + SegmentArena::kSlot - 1, heap_));
  EXPECT_FALSE(IsInHeap(base - 1, heap_) || IsInHeap(base + SegmentArena::kSlot, heap_));
}

TEST_F(HeapTest, HasAtMost256Segments) {
  std::deque<int> apart;
  for (int i = 0; i < 260; ++i) apart.push_back(2 * i);
  SegmentArena::Offer(apart);
  constexpr uint64_t kMoreThanHalf = 10 << 20;
  for (int i = 0; i < 256; ++i) ASSERT_NE(Alloc(kMoreThanHalf), nullptr) << i;
  EXPECT_EQ(Alloc(kMoreThanHalf), nullptr);
  EXPECT_EQ(SegmentArena::Mapped(), 256 * SegmentArena::kSlot);
  EXPECT_NE(Alloc(kMoreThanHalf / 2), nullptr);
}

// A free block of 64 bytes, one of 16 in use and a free one of the rest; and a free second segment.
TEST(HeapDump, ShowsCountersSegmentsAndBlocks) {
  const SegmentArena arena({0, 2});
  Heap heap(SegmentArena::Mapper());
  void* block = heap.AllocBlock(100, 8);
  ASSERT_TRUE(heap.ResizeInPlace(block, 64) && heap.AddSegment(8, 8));
  ASSERT_NE(heap.AllocBlock(16, 8), nullptr);
  ASSERT_TRUE(heap.FreeBlock(block) && heap.FreeBlock(nullptr) && !heap.FreeBlock(&block));
  testing::internal::CaptureStdout();
  DumpStats(heap);
  DumpBlocks(heap);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), ReadFile(HALOMEND_TEST_DATA "Memory/Dump.txt"));
  ResetStats(heap);
  const HeapStats stats = heap.Counters();
  EXPECT_EQ(stats.totalSize + stats.freeBlocks + stats.allocCalls, 0u);
  EXPECT_EQ(GetStats(StatsDetail::kWalked, heap).maxFreeSize, SegmentArena::kSlot - 24);
}

// Against searches in a list of all bounds, around each of them.
TEST(HeapBuckets, BothIndexesAgreeWithTheBounds) {
  std::vector<uint64_t> bounds;
  const auto step = [](uint64_t bound) { return bound < 512 ? 4 : std::bit_floor(bound) / 64; };
  for (uint64_t bound = 0; bound <= 1 << 30; bound += step(bound)) bounds.push_back(bound);
  ASSERT_EQ(bounds.size(), size_t{kBucketCount});
  for (const uint64_t bound : bounds) {
    for (uint64_t size = bound < 2 ? 1 : bound - 1; size <= bound + 1; ++size) {
      ASSERT_EQ(FloorBucket(size), std::ranges::upper_bound(bounds, size) - bounds.begin() - 1);
      ASSERT_EQ(CeilingBucket(size),
                std::min<std::ptrdiff_t>(std::ranges::lower_bound(bounds, size) - bounds.begin(),
                                         kLastBucket));
    }
  }
  EXPECT_EQ(FloorBucket(~uint64_t{0}), kLastBucket);
  EXPECT_EQ(CeilingBucket(~uint64_t{0}), kLastBucket);
}

}  // namespace
