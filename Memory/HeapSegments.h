// The heap's segments: the large pieces of memory that it takes from the system and cuts up.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Where segments come from. Lengths are multiples of the granule, the larger of the system's page
// and 64 KiB.
struct SegmentMapper {
  // Memory at a multiple of 16, or null.
  void* (*map)(std::size_t length);
  // Gives back what map returned; two neighbours that were joined come back as one.
  void (*unmap)(void* base, std::size_t length);
};

// Private anonymous mappings.
void* MapPages(std::size_t length);
void UnmapPages(void* base, std::size_t length);
inline constexpr SegmentMapper kSystemMapper = {MapPages, UnmapPages};

// Tells the system that `length` bytes at `base`, part of a segment, will be used as a whole, so
// that it may take its large pages for them: one fault instead of 512. No more than a hint.
void PreferLargePages(void* base, uint64_t length);

struct Segment {
  uintptr_t base = 0;
  uint64_t length = 0;

  uintptr_t End() const { return base + length; }
};

class HeapSegments {
 public:
  static constexpr int kMaxSegments = 256;

  // Where two joined segments met: the base of each.
  struct Seam {
    uintptr_t lower;
    uintptr_t upper;
  };

  explicit constexpr HeapSegments(const SegmentMapper& mapper) : mapper_(mapper) {}
  ~HeapSegments();
  HeapSegments(const HeapSegments&) = delete;
  HeapSegments& operator=(const HeapSegments&) = delete;

  // Maps `length` bytes, rounded up to the granule. Null: the table is full, or no memory. The
  // record stays where it is until the next JoinNeighbours.
  [[nodiscard]] const Segment* Map(uint64_t length);

  // The segment that holds `address`, or null.
  [[nodiscard]] const Segment* Find(const void* address) const;

  // Makes the first two records that lie back to back one, and says where they met; the blocks are
  // left to the caller. False: no two do.
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
