#include "Image/PngEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Core/MemoryStream.h"
#include "Tests/Support/FaultyStream.h"

namespace {

std::vector<uint8_t> Saved(const Bitmap& bitmap) {
  Core::MemoryStream out;
  EXPECT_TRUE(SavePng(out, bitmap));
  return std::vector<uint8_t>(out.GetData(), out.GetData() + out.GetSize());
}

Bitmap RandomBitmap(int width, int height, uint32_t mask) {
  std::mt19937 random(static_cast<uint32_t>(width * 1000 + height));
  Bitmap bitmap(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) bitmap.Row(y)[x] = random() & mask;
  }
  return bitmap;
}

// A pixel's bytes and a picture without rows, written out in full.
TEST(PngEncoder, WritesTheseBytes) {
  const std::vector<uint8_t> end = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};
  Bitmap bitmap(1, 1);
  bitmap.Row(0)[0] = 0x80FF0000;
  const std::vector<uint8_t> pixel = Saved(bitmap);
  const std::vector<uint8_t> start = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0,
                                      0,    13,  'I', 'H', 'D',  'R',  0,    0,    0, 1,
                                      0,    0,   0,   1,   8,    6,    0,    0,    0};
  EXPECT_TRUE(std::equal(start.begin(), start.end(), pixel.begin()));
  EXPECT_TRUE(std::equal(end.begin(), end.end(), pixel.end() - 12));
  // 00 FF 00 00 80 in a fixed block: 3 bits, four times 8, once 9, and 7 to end it.
  EXPECT_EQ(pixel.size(), 8u + 25 + 12 + 2 + 7 + 4 + 12);

  const std::vector<uint8_t> empty = Saved(Bitmap(5, 0));
  const std::vector<uint8_t> zlib = {0, 0, 0, 8, 'I', 'D', 'A', 'T', 0x78, 0xDA, 3, 0, 0, 0, 0, 1};
  EXPECT_TRUE(std::equal(zlib.begin(), zlib.end(), empty.begin() + 33));
  EXPECT_TRUE(std::equal(end.begin(), end.end(), empty.end() - 12));
}

TEST(PngEncoder, ReportsARefusalAtEveryByte) {
  const Bitmap bitmap = RandomBitmap(9, 7, 0xFF0F0000);
  const std::vector<uint8_t> whole = Saved(bitmap);
  for (Fault fault : {Fault::kRefuse, Fault::kCut}) {
    for (std::size_t limit = 0; limit < whole.size(); ++limit) {
      Core::MemoryStream out;
      FaultyStream faulty(out, static_cast<int64_t>(limit), fault);
      ASSERT_FALSE(SavePng(faulty, bitmap)) << limit;
      ASSERT_LE(out.GetSize(), static_cast<int64_t>(limit));
      ASSERT_TRUE(std::equal(out.GetData(), out.GetData() + out.GetSize(), whole.begin()));
    }
  }
}

}  // namespace
