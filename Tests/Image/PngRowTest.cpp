// Rows of samples, compared with plain loops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "Image/PngPixels.h"
#include "Image/PngUnfilter.h"
#include "Tests/Support/PngBuilder.h"

namespace {

// The predictors as in the standard.
uint8_t Predicted(int filter, int left, int above, int upperLeft) {
  const int sum = left + above - upperLeft;
  const int fromLeft = std::abs(sum - left), fromAbove = std::abs(sum - above);
  const int fromUpperLeft = std::abs(sum - upperLeft);
  const int paeth = fromLeft <= fromAbove && fromLeft <= fromUpperLeft ? left
                    : fromAbove <= fromUpperLeft                       ? above
                                                                       : upperLeft;
  const int predicted[] = {0, left, above, (left + above) / 2, paeth};
  return static_cast<uint8_t>(predicted[filter]);
}

TEST(PngUnfilter, RestoresRowsAsThePlainLoopDoes) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    const int unit = std::vector{1, 2, 3, 4, 6, 8}[round % 6], filter = round / 6 % 5;
    const int length = unit * static_cast<int>(1 + random() % 40);
    const bool hasPrevious = round % 7 > 0, isNarrow = random() % 2 == 0;  // many ties
    Bytes row(length), previous(length);
    for (Bytes* bytes : {&row, &previous}) {
      for (uint8_t& byte : *bytes) byte = static_cast<uint8_t>(isNarrow ? random() % 5 : random());
    }
    if (!hasPrevious) std::fill(previous.begin(), previous.end(), uint8_t{0});
    Bytes expected = row;
    for (int i = 0; i < length; ++i) {
      const bool isFirst = i < unit;
      expected[i] += Predicted(filter, isFirst ? 0 : expected[i - unit], previous[i],
                               isFirst ? 0 : previous[i - unit]);
    }
    const uint8_t* above = hasPrevious ? previous.data() : nullptr;
    ASSERT_TRUE(UnfilterPngRow(static_cast<uint8_t>(filter), row.data(), above, length, unit));
    ASSERT_EQ(row, expected) << "filter " << filter << ", unit " << unit << ", " << length;
  }
  EXPECT_FALSE(UnfilterPngRow(5, nullptr, nullptr, 0, 1));
}

// The sample of any depth, read bit by bit.
int Sample(const Bytes& row, int bits, int index) {
  int sample = 0;
  for (int bit = index * bits; bit < (index + 1) * bits; ++bit) {
    sample = sample << 1 | (row[bit / 8] >> (7 - bit % 8) & 1);
  }
  return sample;
}

Pixel PlainPixel(const PngHeader& header, const PngColors& colors, const Bytes& row, int index) {
  const int channels = header.Channels(), bits = header.bitDepth;
  int whole[4], bytes[4];
  bool isKey = colors.hasKey && channels % 2 == 1;
  for (int i = 0; i < channels; ++i) {
    whole[i] = Sample(row, bits, index * channels + i);
    bytes[i] = bits == 16 ? whole[i] >> 8 : whole[i] * 255 / ((1 << bits) - 1);
    isKey = isKey && (i == 3 || whole[i] == colors.key[i]);
  }
  if (header.colorType == kPngIndexed) return colors.palette[whole[0]];
  const bool isGrey = channels < 3;
  const int alpha = channels % 2 == 0 ? bytes[channels - 1] : isKey ? 0 : 255;
  return PackPixel(bytes[0], bytes[isGrey ? 0 : 1], bytes[isGrey ? 0 : 2], alpha);
}

TEST(PngPixels, ConvertsRowsAsThePlainLoopDoes) {
  std::mt19937 random(2);
  for (int round = 0; round < 3000; ++round) {
    const auto [colorType, bitDepth] = kAllPngFormats[round % 15];
    const PngHeader header = {0, 0, bitDepth, colorType, 0};
    const int count = static_cast<int>(1 + random() % 40), step = 1 << random() % 4;
    Bytes row(static_cast<std::size_t>(header.RowSize(count)));
    for (uint8_t& byte : row) byte = round % 2 == 0 ? random() % 2 : random();
    PngColors colors;
    std::generate(colors.palette.begin(), colors.palette.end(), std::ref(random));
    colors.hasKey = random() % 3 > 0;
    for (uint16_t& key : colors.key) key = random() % 4 > 0 ? random() % 2 : random();
    std::vector<Pixel> pixels(count * step, 7), expected = pixels;
    for (int i = 0; i < count; ++i) expected[i * step] = PlainPixel(header, colors, row, i);
    PngPixels(header, colors).ConvertRow(row.data(), count, pixels.data(), step);
    ASSERT_EQ(pixels, expected) << int(colorType) << ", " << int(bitDepth) << ", " << count;
  }
}

}  // namespace
