#include "Tool/AlphaRepair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Tests/Support/SlowRepair.h"
#include "Tool/Surroundings.h"

namespace {

TEST(AlphaRepair, SmallPictures) {
  const struct {
    const char* name;
    int width;
    std::vector<Pixel> before, after;  // empty after: nothing to fix
  } rows[] = {
      {"no pixels", 0, {}, {}},
      {"one pixel", 1, {0x00123456}, {}},
      {"all visible", 2, {0xFF000001, 0x01000002}, {}},
      {"all transparent", 2, {0x00000001, 0x00000002}, {}},
      {"sums are truncated", 3, {0xFF010000, 0, 0xFF020000}, {0xFF010000, 0x010000, 0xFF020000}},
      {"the same colour is a change too", 2, {0xFF000001, 1}, {0xFF000001, 1}},
      {"faint pixels count in full", 3, {0x01000010, 0, 0xFF000030}, {0x01000010, 32, 0xFF000030}},
      {"three waves", 4, {0xFFC86432, 7, 8, 9}, {0xFFC86432, 0xC86432, 0xC86432, 0xC86432}},
      {"done earlier in a wave is a source",
       4,
       {0xFF000008, 0, 0, 0xFF000000},
       {0xFF000008, 8, 4, 0xFF000000}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Bitmap bitmap(row.width, 1);
    std::copy(row.before.begin(), row.before.end(), bitmap.Row(0));
    EXPECT_EQ(RepairTransparentPixels(bitmap, 0), !row.after.empty());
    const std::vector<Pixel>& expected = row.after.empty() ? row.before : row.after;
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bitmap.Row(0)));
  }
}

// Every mixture of hidden, faint and visible pixels, in widths around the mask's words.
TEST(AlphaRepair, GivesWhatTheSlowRepairGives) {
  std::mt19937 random(1);
  for (const int width : {1, 2, 3, 5, 16, 63, 64, 65, 127, 130, 300}) {
    for (const int threshold : {0, 0, 0, 1, 100, 254, 255, 256, -1}) {
      const int height = 1 + static_cast<int>(random() % 70);
      const uint32_t hidden = random() % 101, step = 1 + random() % 40;  // percent, pixels alike
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

TEST(AlphaRepair, LooksAroundAsPlainly) {
  std::mt19937 random(1);
  const Pixel unknown[] = {kFreshCell, kQueuedBit, kBorderBit, kQueuedBit | kBorderBit};
  for (int round = 0; round < 20000; ++round) {
    Pixel cells[12];
    for (Pixel& cell : cells) cell = random() % 2 ? random() | 0x01000000 : unknown[random() % 4];
    cells[round % 3] = random() | 0xFF000000;  // one is known
    const int width = 3 + static_cast<int>(random() % 2);
    const Surroundings plain = LookAroundPlainly(cells + width + 1, width);
    const Surroundings found = LookAround(cells + width + 1, width);
    ASSERT_TRUE(found.average == plain.average && found.fresh == plain.fresh) << round;
  }
}

}  // namespace
