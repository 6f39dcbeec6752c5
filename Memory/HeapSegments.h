// The heap's segments: the large pieces of memory that it maps and divides into blocks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Where segments come from. Lengths are multiples of the granule, which is the larger of the
// system's page size and 64 KiB.
struct SegmentMapper {
  // Memory at a multiple of 16, or null.
  void* (*map)(std::size_t length);
  // Gives back what `map` returned. Neighbours that were joined are given back in one call.
  void (*unmap)(void* base, std::size_t length);
};

// Private anonymous mappings.
void* MapPages(std::size_t length);
void UnmapPages(void* base, std::size_t length);
inline constexpr SegmentMapper kSystemMapper = {MapPages, UnmapPages};

// A hint to the system that all of the `length` bytes at `base`, part of a segment, will be used.
// It may then back them with large pages: one page fault instead of 512.
void PreferLargePages(void* base, uint64_t length);

struct Segment {
  uintptr_t base = 0;
  uint64_t length = 0;

  uintptr_t End() const { return base + length; }
};

class HeapSegments {
 public:
  static constexpr int kMaxSegments = 256;

  // The bases of two segments that were joined.
  struct Seam {
    uintptr_t lower;
    uintptr_t upper;
  };

  explicit constexpr HeapSegments(const SegmentMapper& mapper) : mapper_(mapper) {}
  ~HeapSegments();
  HeapSegments(const HeapSegments&) = delete;
  HeapSegments& operator=(const HeapSegments&) = delete;

  // Maps `length` bytes, rounded up to the granule. Null: the table is full, or there is no memory.
  // The pointer is valid until the next JoinNeighbours.
  [[nodiscard]] const Segment* Map(uint64_t length);

  // The segment that holds `address`, or null.
  [[nodiscard]] const Segment* Find(const void* address) const;

  // Makes the first two segments that are neighbours one, and reports where they met. The caller
  // joins their blocks. False: no two are neighbours.
  [[nodiscard]] bool JoinNeighbours(Seam& seam);

  int Count() const { return count_; }
  const Segment* begin() const { return table_.data(); }
  const Segment* end() const { return table_.data() + count_; }

 private:
  void Remove(int index);

  SegmentMapper mapper_;
  int32_t count_ = 0;
  std::array<Segment, kMaxSegments> table_;
};
