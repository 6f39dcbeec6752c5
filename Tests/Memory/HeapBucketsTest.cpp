#include "Memory/HeapBuckets.h"

#include <gtest/gtest.h>

#include <algorithm>

// Against searches that know nothing but the bounds, around each of them.
TEST(HeapBuckets, BothIndexesAgreeWithTheBounds) {
  const auto first = kBucketBounds.begin();
  for (const uint64_t bound : kBucketBounds) {
    for (uint64_t size = bound < 2 ? 0 : bound - 2; size <= bound + 2; ++size) {
      ASSERT_EQ(FloorBucket(size), std::ranges::upper_bound(kBucketBounds, size) - first - 1);
      ASSERT_EQ(CeilingBucket(size),
                std::min<std::ptrdiff_t>(std::ranges::lower_bound(kBucketBounds, size) - first,
                                         kLastBucket));
    }
  }
  EXPECT_EQ(FloorBucket(~uint64_t{0}), kLastBucket);
  EXPECT_EQ(CeilingBucket(~uint64_t{0}), kLastBucket);
}
