#include "Image/Bitmap.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(Bitmap, ResizeKeepsTheTopLeftAndPadsWithOpaqueBlack) {
  constexpr int kSides = 5;  // 0 to 4
  for (int sizes = 0; sizes < kSides * kSides * kSides * kSides; ++sizes) {
    const int oldWidth = sizes % kSides, oldHeight = sizes / kSides % kSides;
    const int width = sizes / 25 % kSides, height = sizes / 125;
    SCOPED_TRACE(testing::Message() << oldWidth << oldHeight << width << height);
    Bitmap bitmap(oldWidth, oldHeight);
    for (int i = 0; i < oldWidth * oldHeight; ++i) bitmap.Row(0)[i] = 100 + i;
    ASSERT_TRUE(bitmap.Resize(width, height));
    ASSERT_TRUE(bitmap.Width() == width && bitmap.Height() == height);
    for (int i = 0; i < width * height; ++i) {
      const int x = i % width, y = i / width;
      const bool isOld = x < oldWidth && y < oldHeight;
      ASSERT_EQ(bitmap.Row(y)[x], isOld ? 100u + y * oldWidth + x : 0xFF000000);
      ASSERT_EQ(&bitmap.Row(y)[x], bitmap.Row(0) + i) << "rows follow without gaps";
    }
  }
  Bitmap bitmap(4, 4);
  EXPECT_FALSE(bitmap.Resize(-1, 5) || bitmap.Resize(5, -1) || bitmap.Width() != 4);
  EXPECT_FALSE(bitmap.Resize(65536, 65536) || bitmap.Width() != 0);
  EXPECT_FALSE(bitmap.ResizeForOverwrite(-3, -2) || bitmap.ResizeForOverwrite(65536, 65536));
  EXPECT_EXIT(Bitmap(-1, 5), testing::ExitedWithCode(1), "^$");
}

TEST(Bitmap, CopiesAreTheirOwn) {
  Bitmap first(3, 2), assigned(50, 50);
  first.Fill(Color(256, -1, 128, 255));
  const Bitmap copy(first);
  assigned = first;
  first.Fill(Color(1, 2, 3, 4));
  for (Bitmap other : {copy, assigned}) {
    EXPECT_TRUE(other.Width() == 3 && other.Height() == 2 && other.Row(1)[2] == 0xFFFF0080);
  }
}

TEST(Bitmap, AlphaIsClampedAndFound) {
  Bitmap bitmap(3, 2);
  EXPECT_FALSE(bitmap.HasTransparency() || Bitmap().HasTransparency());
  bitmap.Row(1)[2] = 0xFE123456;
  EXPECT_TRUE(bitmap.HasTransparency());
  for (auto [alpha, stored] : {std::pair(300, 255u), std::pair(-5, 0u), std::pair(7, 7u)}) {
    bitmap.SetAlpha(alpha);
    EXPECT_TRUE(bitmap.Row(1)[2] == (stored << 24 | 0x123456) && bitmap.Row(0)[0] == stored << 24);
    EXPECT_EQ(bitmap.HasTransparency(), stored != 255);
  }
}

}  // namespace
