#include "Memory/HeapDump.h"

#include <cinttypes>
#include <cstdio>

#include "Memory/Heap.h"
#include "Memory/HeapBlock.h"
#include "Memory/HeapChecks.h"

namespace {

void DumpValue(const char* label, uint64_t value) {
  std::printf("%s%" PRIu64 "\n", label, value);
  std::fflush(stdout);
}

}  // namespace

void DumpStats(const Heap& heap) {
  const HeapStats stats = GetStats(StatsDetail::kWalked, heap);
  DumpValue("allocBlocks .... ", stats.allocBlocks);
  DumpValue("allocSize ...... ", stats.allocSize);
  DumpValue("peakAllocSize .. ", stats.peakAllocSize);
  DumpValue("peakBlockSize .. ", stats.peakBlockSize);
  DumpValue("freeBlocks ..... ", stats.freeBlocks);
  DumpValue("freeSize ....... ", stats.freeSize);
  DumpValue("totalSize ...... ", stats.totalSize);
  // Headers, sentinels and blocks that are too small for a list.
  DumpValue("bookKeeping .... ", stats.totalSize - stats.allocSize - stats.freeSize);
  DumpValue("maxAllocSize ... ", stats.maxAllocSize);
  DumpValue("maxFreeSize .... ", stats.maxFreeSize);
  DumpValue("numSegments .... ", stats.numSegments);
  DumpValue("largestFreeChain ", stats.largestFreeChain);
  DumpValue("allocCalls ..... ", stats.allocCalls);
  DumpValue("reallocCalls ... ", stats.reallocCalls);
  DumpValue("freeCalls ...... ", stats.freeCalls);
  DumpValue("reallocSucc .... ", stats.reallocSucc);
  DumpValue("slowBucket ..... ", stats.slowBucket);

  const MutexLock lock(heap.GetMutex());
  unsigned index = 0;
  for (const Segment& segment : heap.Segments()) {
    std::printf("seg %x %" PRIxPTR " ... %" PRIxPTR "\n", index++, segment.base, segment.End());
    std::fflush(stdout);
  }
}

void DumpBlocks(const Heap& heap) {
  const MutexLock lock(heap.GetMutex());
  int number = 0;
  for (const Segment& segment : heap.Segments()) {
    std::printf("heap segment %d/%d\n", ++number, heap.Segments().Count());
    for (const BlockHeader* block = HeaderAt(segment.base); !IsSentinel(block);
         block = NextBlock(block)) {
      std::printf("block used:%s ptr:%p size:%" PRIu64 "\n", IsInUse(block) ? "yes" : "no ",
                  static_cast<const void*>(block), PayloadSize(block));
    }
  }
}
