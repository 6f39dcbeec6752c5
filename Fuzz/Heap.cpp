// Compares a heap, in every kind of use, with a model of its blocks in use.
//
//   input: order of the segments, their number, operations with their arguments
#include "Memory/Heap.h"

#include <algorithm>
#include <span>

#include "Fuzz/Check.h"
#include "Memory/HeapBlock.h"
#include "Memory/HeapChecks.h"
#include "Tests/Support/SegmentArena.h"

namespace {

constexpr int kSlots = 7;                   // prime, so that any step visits all of them
constexpr uint64_t kMaxServed = 0x1000000;  // fits the smallest segment at any alignment

// A block in use. It begins with marks of its own, so that an overlap is noticed.
struct Block {
  char* bytes;
  uint64_t size;
  char mark;

  std::span<char> Marks(uint64_t kept) const {
    return {bytes, std::min({size, kept, uint64_t{64}})};
  }
  void Mark() const { std::ranges::fill(Marks(size), mark); }
  void CheckMarks(uint64_t kept) const {
    for (const char byte : Marks(kept)) Check(byte == mark);
  }
};

// Up to kMaxServed, or close to the largest size.
uint64_t TakeSize(FuzzInput& input) {
  const uint8_t form = input.Byte();
  if (form == 0xFF) return Heap::kMaxSize + 64 - input.Byte();
  return (uint64_t{input.Byte()} << form % 17) + form / 17;
}

void Allocate(Heap& heap, FuzzInput& input, std::vector<Block>& blocks) {
  const uint64_t size = TakeSize(input), alignment = uint64_t{1} << input.Byte() % 22;
  const auto bytes = static_cast<char*>(heap.AllocBlock(size, alignment));
  const bool isServable = size <= kMaxServed && alignment <= Heap::kMaxAlignment;
  if (bytes == nullptr) return Check(!isServable || SegmentArena::IsUsedUp());
  Check(isServable && reinterpret_cast<uintptr_t>(bytes) % std::max<uint64_t>(alignment, 8) == 0);
  blocks.push_back({bytes, size, static_cast<char>(heap.Counters().allocCalls)});
  blocks.back().Mark();
}

// Resizing succeeds exactly if there is room; sometimes the input asks for all of it.
void Resize(Heap& heap, FuzzInput& input, Block& block) {
  const BlockHeader* const next = NextBlock(BlockOf(block.bytes));
  const uint64_t room =
      heap.UsableSize(block.bytes) + (IsInUse(next) ? 0 : kHeaderSize + PayloadSize(next));
  const uint64_t size = input.Byte() % 4 == 0 ? room : TakeSize(input);
  Check(heap.ResizeInPlace(block.bytes, size) == (size <= room));
  if (size > room) return;
  block.CheckMarks(size);
  block.size = size;
  block.Mark();
}

void Test(const Heap& heap, const std::vector<Block>& blocks) {
  uint64_t bytesInUse = 0;
  for (const Block& block : blocks) {
    const uint64_t usable = heap.UsableSize(block.bytes);
    Check(usable >= std::max<uint64_t>(block.size, 8));
    bytesInUse += usable;
  }
  Check(heap.Counters().allocBlocks == blocks.size() && heap.Counters().allocSize == bytesInUse);
  Check(CheckBlocks(heap) && CheckBuckets(heap));
}

void Use(Heap& heap, FuzzInput& input) {
  std::vector<Block> blocks;
  const auto free = [&heap](const Block& block) {
    block.CheckMarks(block.size);
    Check(heap.FreeBlock(block.bytes));
  };
  while (input.Left() > 0) {
    const int operation = input.Byte() % 16;
    if (operation < 8) {
      Allocate(heap, input, blocks);
    } else if (operation == 15) {
      Check(heap.AddSegment(8, 8) || SegmentArena::IsUsedUp());
    } else if (!blocks.empty()) {
      Block& block = blocks[input.Byte() % blocks.size()];
      if (operation >= 13) {
        Resize(heap, input, block);
      } else {
        free(block);
        block = blocks.back();
        blocks.pop_back();
      }
    }
    if (input.Left() % 4 == 0) Test(heap, blocks);
  }
  Test(heap, blocks);
  std::for_each(blocks.begin(), blocks.end(), free);
  Test(heap, {});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const SegmentArena arena({});  // one for all runs: a heap must not expect zeroed memory
  FuzzInput input = {data, data + size};
  const int step = 1 + input.Byte() % (kSlots - 1);
  std::deque<int> slots;
  for (int i = input.Byte() % (kSlots + 1); i > 0; --i) slots.push_back(i * step % kSlots);
  SegmentArena::Offer(slots);
  {
    Heap heap(SegmentArena::Mapper());
    Use(heap, input);
    // With nothing in use, each segment is one free block, and neighbours are one segment.
    const HeapStats stats = GetStats(StatsDetail::kWalked, heap);
    Check(stats.freeBlocks == stats.numSegments);
    Check(stats.freeSize == stats.totalSize - kSegmentOverhead * stats.numSegments);
    for (const Segment& one : heap.Segments()) {
      for (const Segment& other : heap.Segments()) Check(one.End() != other.base);
    }
  }
  Check(SegmentArena::Mapped() == 0);
  return 0;
}
