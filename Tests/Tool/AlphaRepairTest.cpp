#include "Tool/AlphaRepair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Tests/Support/SlowRepair.h"

namespace {

// Mixtures of hidden, faint and visible pixels, in widths near multiples of the mask's word.
TEST(AlphaRepair, GivesWhatTheSlowRepairGives) {
  std::mt19937 random(1);
  for (const int width : {0, 1, 2, 3, 5, 16, 63, 64, 65, 127, 130, 300}) {
    for (const int threshold : {0, 0, 0, 1, 100, 254, 255, 256, -1}) {
      const int height = 1 + static_cast<int>(random() % 70);
      const uint32_t hidden = random() % 101, step = 1 + random() % 40;  // percent; run length
      Bitmap bitmap(width, height);
      Pixel alpha = 0;
      for (int i = 0; i < width * height; ++i) {
        if (random() % step == 0) alpha = random() % 100 < hidden ? 0 : random() % 256;
        bitmap.Row(0)[i] = alpha << 24 | (random() & kColorMask);
      }
      Bitmap slow(bitmap);
      ASSERT_EQ(RepairTransparentPixels(bitmap, threshold), RepairSlowly(slow, threshold));
      ASSERT_TRUE(std::equal(slow.Row(0), slow.Row(0) + width * height, bitmap.Row(0)))
          << width << " x " << height << ", threshold " << threshold;
    }
  }
}

}  // namespace
