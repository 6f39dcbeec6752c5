#include "Image/PngPixels.h"

#include "Core/Endian.h"

namespace {

// Where the pixels of a row go.
struct PixelRow {
  Pixel* pixels;
  int32_t count;
  int32_t step;
};

template <typename PixelAt>
void FillRow(const PixelRow& row, PixelAt pixelAt) {
  for (int32_t i = 0; i < row.count; ++i) row.pixels[int64_t{i} * row.step] = pixelAt(i);
}

// Reads samples of a whole number of bytes, each kSize.
template <int32_t kSize>
struct Samples {
  static uint16_t Whole(const uint8_t* unit, int32_t index) {
    return kSize == 1 ? unit[index] : LoadBig16(unit + int64_t{index} * kSize);
  }

  static uint8_t UpperByte(const uint8_t* unit, int32_t index) {
    return unit[int64_t{index} * kSize];
  }
};

uint8_t AlphaUnlessKey(bool isKey) { return isKey ? 0 : 255; }

template <int32_t kSize>
void ConvertGrey(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  using S = Samples<kSize>;
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * kSize;
    const uint8_t grey = S::UpperByte(unit, 0);
    const bool isKey = colors.hasKey && S::Whole(unit, 0) == colors.key[0];
    return PackPixel(grey, grey, grey, AlphaUnlessKey(isKey));
  });
}

template <int32_t kSize>
void ConvertTruecolor(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  using S = Samples<kSize>;
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 3 * kSize;
    const bool isKey = colors.hasKey && S::Whole(unit, 0) == colors.key[0] &&
                       S::Whole(unit, 1) == colors.key[1] && S::Whole(unit, 2) == colors.key[2];
    return PackPixel(S::UpperByte(unit, 0), S::UpperByte(unit, 1), S::UpperByte(unit, 2),
                     AlphaUnlessKey(isKey));
  });
}

template <int32_t kSize>
void ConvertGreyAlpha(const uint8_t* samples, const PixelRow& row) {
  using S = Samples<kSize>;
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 2 * kSize;
    const uint8_t grey = S::UpperByte(unit, 0);
    return PackPixel(grey, grey, grey, S::UpperByte(unit, 1));
  });
}

template <int32_t kSize>
void ConvertTruecolorAlpha(const uint8_t* samples, const PixelRow& row) {
  using S = Samples<kSize>;
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 4 * kSize;
    return PackPixel(S::UpperByte(unit, 0), S::UpperByte(unit, 1), S::UpperByte(unit, 2),
                     S::UpperByte(unit, 3));
  });
}

// Samples of up to 8 bits, several to a byte with the first one highest.
template <int32_t kBits>
uint8_t PackedSample(const uint8_t* samples, int32_t index) {
  constexpr int32_t kPerByte = 8 / kBits;
  const int32_t shift = 8 - kBits * (index % kPerByte + 1);
  return static_cast<uint8_t>(samples[index / kPerByte] >> shift & ((1 << kBits) - 1));
}

template <int32_t kBits>
void ConvertPacked(const PngHeader& header, const PngColors& colors, const uint8_t* samples,
                   const PixelRow& row) {
  if (header.colorType == kPngIndexed) {
    FillRow(row, [&](int32_t i) { return colors.palette[PackedSample<kBits>(samples, i)]; });
    return;
  }
  constexpr int32_t kScale = 255 / ((1 << kBits) - 1);  // repeats the sample's bits to fill a byte
  FillRow(row, [&](int32_t i) {
    const uint8_t sample = PackedSample<kBits>(samples, i);
    const uint8_t grey = static_cast<uint8_t>(sample * kScale);
    const bool isKey = colors.hasKey && sample == colors.key[0];
    return PackPixel(grey, grey, grey, AlphaUnlessKey(isKey));
  });
}

template <int32_t kSize>
void ConvertWhole(const PngHeader& header, const PngColors& colors, const uint8_t* samples,
                  const PixelRow& row) {
  switch (header.colorType) {
    case kPngGrey:
      return ConvertGrey<kSize>(colors, samples, row);
    case kPngTruecolor:
      return ConvertTruecolor<kSize>(colors, samples, row);
    case kPngGreyAlpha:
      return ConvertGreyAlpha<kSize>(samples, row);
    case kPngTruecolorAlpha:
      return ConvertTruecolorAlpha<kSize>(samples, row);
    default:  // indices are never 16 bits wide
      return ConvertPacked<8>(header, colors, samples, row);
  }
}

}  // namespace

void ConvertPngRow(const PngHeader& header, const PngColors& colors, const uint8_t* samples,
                   int32_t count, Pixel* pixels, int32_t step) {
  const PixelRow row{pixels, count, step};
  switch (header.bitDepth) {
    case 1:
      return ConvertPacked<1>(header, colors, samples, row);
    case 2:
      return ConvertPacked<2>(header, colors, samples, row);
    case 4:
      return ConvertPacked<4>(header, colors, samples, row);
    case 8:
      return ConvertWhole<1>(header, colors, samples, row);
    default:
      return ConvertWhole<2>(header, colors, samples, row);
  }
}
