#include "Image/Bitmap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>

namespace {

constexpr Pixel kOpaqueBlack = 0xFF000000;

using Model = std::map<std::pair<int, int>, Pixel>;  // (x, y) to pixel

void ExpectHolds(const Bitmap& bitmap, int width, int height, const Model& model) {
  ASSERT_EQ(bitmap.Width(), width);
  ASSERT_EQ(bitmap.Height(), height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto known = model.find({x, y});
      ASSERT_EQ(bitmap.Row(y)[x], known == model.end() ? kOpaqueBlack : known->second);
    }
    if (y > 0) {
      ASSERT_EQ(bitmap.Row(y), bitmap.Row(y - 1) + width) << "rows follow without gaps";
    }
  }
}

TEST(Bitmap, ResizeKeepsTheTopLeftAndPadsWithOpaqueBlack) {
  std::mt19937 random(1);
  Bitmap bitmap;
  Model model;
  for (int round = 0; round < 200; ++round) {
    const int width = static_cast<int>(random() % 9);
    const int height = static_cast<int>(random() % 9);
    ASSERT_TRUE(bitmap.Resize(width, height));
    std::erase_if(model, [=](const auto& entry) {
      return entry.first.first >= width || entry.first.second >= height || width * height == 0;
    });
    ASSERT_NO_FATAL_FAILURE(ExpectHolds(bitmap, width, height, model));
    for (int i = 0; i < 6 && width * height > 0; ++i) {
      const int x = static_cast<int>(random() % 99) % width;
      const int y = static_cast<int>(random() % 99) % height;
      model[{x, y}] = bitmap.Row(y)[x] = random();
    }
  }
  ASSERT_TRUE(bitmap.Resize(4, 4));
  for (auto [width, height] : {std::pair(-1, 5), std::pair(5, -1)}) {
    EXPECT_FALSE(bitmap.Resize(width, height));
    EXPECT_EQ(bitmap.Width(), 4);
  }
  EXPECT_FALSE(bitmap.Resize(65536, 65536));
  EXPECT_EQ(bitmap.Width(), 0);
}

TEST(Bitmap, CopiesAreTheirOwn) {
  Bitmap first(3, 2);
  first.Fill(Color(256, -1, 128, 255));
  EXPECT_EQ(first.Row(1)[2], 0xFFFF0080);
  Bitmap copy(first);
  Bitmap assigned(50, 50);
  assigned = first;
  first.Fill(Color(1, 2, 3, 4));
  for (const Bitmap* other : {&copy, &assigned}) {
    EXPECT_EQ(other->Width(), 3);
    EXPECT_EQ(other->Height(), 2);
    EXPECT_EQ(other->Row(1)[2], 0xFFFF0080);
  }
}

TEST(Bitmap, AlphaIsClampedAndFound) {
  Bitmap bitmap;
  EXPECT_FALSE(bitmap.HasTransparency());
  ASSERT_TRUE(bitmap.Resize(3, 2));
  EXPECT_FALSE(bitmap.HasTransparency());
  bitmap.Row(1)[2] = 0xFE123456;
  EXPECT_TRUE(bitmap.HasTransparency());
  for (auto [alpha, stored] : {std::pair(300, 255u), std::pair(-5, 0u), std::pair(7, 7u)}) {
    bitmap.SetAlpha(alpha);
    EXPECT_EQ(bitmap.Row(1)[2], stored << 24 | 0x123456);
    EXPECT_EQ(bitmap.Row(0)[0], stored << 24);
    EXPECT_EQ(bitmap.HasTransparency(), stored != 255);
  }
}

TEST(Bitmap, ConstructionWithANegativeSizeEndsTheProcess) {
  EXPECT_EXIT(Bitmap(-1, 5), testing::ExitedWithCode(1), "^$");
}

}  // namespace
