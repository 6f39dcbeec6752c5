// The size classes of free blocks: bucket b holds blocks from its bound up to the next one's.
//
// Below 512 bytes a bucket spans 4 bytes; from there on every power of two is cut into 64 equal
// buckets, so that a bucket's sizes differ by less than 2 %. The last bucket takes all from 1 GiB.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

inline constexpr int kBucketCount = 1473;
inline constexpr int kLastBucket = kBucketCount - 1;
inline constexpr int kSmallBuckets = 128;
// Deliberate: block sizes are multiples of 8, so every other small bucket stays empty. The numbers
// of all buckets above rest on these steps.
inline constexpr int kSmallStep = 4;
inline constexpr int kSmallLimitLog2 = 9;       // 512 bytes
inline constexpr int kBucketsPerPowerLog2 = 6;  // 64

constexpr uint64_t BucketBound(int bucket) {
  if (bucket < kSmallBuckets) return uint64_t{kSmallStep} * static_cast<uint64_t>(bucket);
  const int large = bucket - kSmallBuckets;
  const int log2 = kSmallLimitLog2 + (large >> kBucketsPerPowerLog2);
  const uint64_t step = uint64_t{1} << (log2 - kBucketsPerPowerLog2);
  const uint64_t steps = static_cast<uint64_t>(large & ((1 << kBucketsPerPowerLog2) - 1));
  return (uint64_t{1} << log2) + steps * step;
}

constexpr std::array<uint64_t, kBucketCount> MakeBucketBounds() {
  std::array<uint64_t, kBucketCount> bounds{};
  for (int bucket = 0; bucket < kBucketCount; ++bucket) {
    bounds[bucket] = BucketBound(bucket);
  }
  return bounds;
}

// The smallest size in bytes of each bucket.
inline constexpr std::array<uint64_t, kBucketCount> kBucketBounds = MakeBucketBounds();
inline constexpr uint64_t kBucketLimit = kBucketBounds[kLastBucket];
static_assert(kBucketBounds[127] == 508 && kBucketBounds[128] == 512 && kBucketBounds[129] == 520);
static_assert(kBucketBounds[192] == 1024 && kBucketBounds[193] == 1040);
static_assert(kBucketLimit == 0x40000000);

// How both indexes are counted, without a case for small sizes: from 2^log2 on, bucket follows
// bucket in steps of 2^(log2 - 6) bytes, and 64 such steps lie below. So size / step is 64 more
// than the number within its power of two, and the powers before it, counted from 256 on, have 64
// buckets each. Below 256 the steps are those of 256 to 511, and size / step is all there is.
struct BucketSteps {
  constexpr explicit BucketSteps(uint64_t size)
      : stepLog2(std::max(static_cast<int>(std::bit_width(size)) - 1, kSmallLimitLog2 - 1) -
                 kBucketsPerPowerLog2) {}

  // The bucket of a size of these steps, or of the next power's first.
  constexpr int Bucket(uint64_t size) const {
    constexpr int kFirstStepLog2 = kSmallLimitLog2 - 1 - kBucketsPerPowerLog2;
    const uint64_t earlier = static_cast<uint64_t>(stepLog2 - kFirstStepLog2)
                             << kBucketsPerPowerLog2;
    return static_cast<int>(std::min<uint64_t>(earlier + (size >> stepLog2), kLastBucket));
  }

  int stepLog2;
};

// The bucket that a free block of `size` bytes belongs to.
constexpr int FloorBucket(uint64_t size) { return BucketSteps(size).Bucket(size); }

// The first bucket whose every block has at least `size` bytes; above 1 GiB, where there is none,
// the last one.
constexpr int CeilingBucket(uint64_t size) {
  const BucketSteps steps(size);
  return steps.Bucket(size + (uint64_t{1} << steps.stepLog2) - 1);
}
