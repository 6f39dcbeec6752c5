#include "Tool/AlphaRepair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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

}  // namespace
