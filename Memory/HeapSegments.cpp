#include "Memory/HeapSegments.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "Memory/HeapPoison.h"

namespace {

constexpr uint64_t kMinGranule = 0x10000;
constexpr uint64_t kLargePage = 0x200000;  // on x86-64, and on other systems with pages of 4 KiB

uint64_t RoundUpToGranule(uint64_t length) {
  const uint64_t granule = std::max(static_cast<uint64_t>(sysconf(_SC_PAGESIZE)), kMinGranule);
  return (length + granule - 1) / granule * granule;
}

}  // namespace

// Deliberate: heap memory is executable as well as writable. The tool runs no code from it, but
// callers of a general-purpose heap may.
void* MapPages(std::size_t length) {
  void* base =
      mmap(nullptr, length, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return base == MAP_FAILED ? nullptr : base;
}

void UnmapPages(void* base, std::size_t length) { munmap(base, length); }

void PreferLargePages(void* base, uint64_t length) {
#ifdef MADV_HUGEPAGE
  // Only the large pages that the block fills, so that no more memory is touched than before.
  const uintptr_t address = reinterpret_cast<uintptr_t>(base);
  const uintptr_t start = (address + kLargePage - 1) / kLargePage * kLargePage;
  const uintptr_t end = (address + length) / kLargePage * kLargePage;
  if (start < end) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
#endif
}

HeapSegments::~HeapSegments() {
  for (const Segment& segment : *this) {
    void* base = reinterpret_cast<void*>(segment.base);
    UnpoisonBytes(base, segment.length);  // other mappings may get the addresses
    mapper_.unmap(base, RoundUpToGranule(segment.length));
  }
}

const Segment* HeapSegments::Map(uint64_t length) {
  if (count_ == kMaxSegments) return nullptr;
  const uint64_t rounded = RoundUpToGranule(length);
  if (rounded < length) return nullptr;  // the sum wrapped
  length = rounded;
  void* base = mapper_.map(length);
  if (base == nullptr) return nullptr;
  PoisonBytes(base, length);
  Segment& segment = table_[count_++];
  segment = {reinterpret_cast<uintptr_t>(base), length};
  return &segment;
}

const Segment* HeapSegments::Find(const void* address) const {
  const uintptr_t wanted = reinterpret_cast<uintptr_t>(address);
  for (const Segment& segment : *this) {
    if (wanted - segment.base < segment.length) return &segment;
  }
  return nullptr;
}

bool HeapSegments::JoinNeighbours(Seam& seam) {
  for (int index = 1; index < count_; ++index) {
    const Segment segment = table_[index];
    for (Segment* earlier = table_.data(); earlier != &table_[index]; ++earlier) {
      if (earlier->End() != segment.base && earlier->base != segment.End()) continue;
      seam = {std::min(earlier->base, segment.base), std::max(earlier->base, segment.base)};
      *earlier = {seam.lower, earlier->length + segment.length};
      Remove(index);
      return true;
    }
  }
  return false;
}

void HeapSegments::Remove(int index) {
  std::copy(table_.begin() + index + 1, table_.begin() + count_, table_.begin() + index);
  --count_;
}
