// The size classes of free blocks. A bucket's bound is the smallest size in bytes that it holds:
//
//   bucket    0 to 127        bounds 0, 4, 8, ... 508
//   bucket  128 to 1471       from 512 bytes on, 64 equal steps in each power of two
//   bucket 1472               1 GiB and all above
//
// So the sizes of one large bucket differ by less than 2 %.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

inline constexpr int kBucketCount = 1473;
inline constexpr int kLastBucket = kBucketCount - 1;
inline constexpr uint64_t kLastBound = 0x40000000;
// Deliberate: block sizes are multiples of 8, so every other small bucket stays empty. The numbers
// of all larger buckets depend on these steps.
inline constexpr int kSmallStep = 4;
inline constexpr int kSmallBuckets = 128;
inline constexpr int kSmallLimitLog2 = 9;       // 512 bytes
inline constexpr int kBucketsPerPowerLog2 = 6;  // 64

// The bucket that a free block of `size` bytes belongs to.
constexpr int FloorBucket(uint64_t size) {
  if (size >= kLastBound) return kLastBucket;
  const int bytes = static_cast<int>(size);
  if (bytes < kSmallBuckets * kSmallStep) return bytes / kSmallStep;
  const int log2 = static_cast<int>(std::bit_width(size)) - 1;
  const int power = kSmallBuckets + ((log2 - kSmallLimitLog2) << kBucketsPerPowerLog2);
  return power + ((bytes - (1 << log2)) >> (log2 - kBucketsPerPowerLog2));
}

// The first bucket in which every block has at least `size` bytes. There is none for more than
// 1 GiB: then the last one, whose blocks the caller has to measure. Requires: size > 0.
constexpr int CeilingBucket(uint64_t size) {
  return std::min(FloorBucket(size - 1) + 1, kLastBucket);
}

static_assert(FloorBucket(511) == 127 && FloorBucket(512) == 128 && FloorBucket(520) == 129);
static_assert(FloorBucket(1039) == 192 && FloorBucket(kLastBound - 1) == kLastBucket - 1);
