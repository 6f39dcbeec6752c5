#include "Image/PngPixels.h"

#include <algorithm>

#include "Core/Endian.h"

namespace {

// Where the pixels of a row go.
struct PixelRow {
  Pixel* pixels;
  int32_t count;
  int32_t step;
};

// Where the samples may stand in the same memory, a pixel is written when its own and all before it
// are read. Blocks are made beside it, as the compiler can then make many pixels at a time.
template <typename PixelAt>
void FillRow(const PixelRow& row, PixelAt pixelAt) {
  constexpr int32_t kBlock = 32;
  if (row.step == 1) {
    int32_t i = 0;
    for (; i + kBlock <= row.count; i += kBlock) {
      Pixel block[kBlock];
      for (int32_t k = 0; k < kBlock; ++k) block[k] = pixelAt(i + k);
      std::copy_n(block, kBlock, row.pixels + i);
    }
    for (; i < row.count; ++i) row.pixels[i] = pixelAt(i);
  } else {
    for (int32_t i = 0; i < row.count; ++i) row.pixels[int64_t{i} * row.step] = pixelAt(i);
  }
}

Pixel Opaque(Pixel color) { return color | ~kColorMask; }

Pixel WithAlphaUnlessKey(Pixel color, bool isKey) { return isKey ? color : Opaque(color); }

// The colour, without alpha, of bytes red, green, blue, anything, loaded as a little-endian number.
Pixel ColorOf(uint32_t bytes) { return Core::SwapBytes32(bytes) >> 8; }

void ConvertRgba8(const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [=](int32_t i) {
    const uint32_t unit = Core::LoadLittle32(samples + int64_t{i} * 4);
    return (unit & 0xFF00FF00) | (unit & 0xFF) << 16 | (unit >> 16 & 0xFF);
  });
}

// Each pixel is loaded with the byte behind it, so the last one is made by itself.
void ConvertRgb8(const PngColors& colors, const uint8_t* samples, PixelRow row) {
  constexpr int32_t kUnit = 3;
  const int64_t last = row.count - 1;
  --row.count;
  const auto& [red, green, blue] = colors.key;
  const uint8_t* const lastUnit = samples + last * kUnit;
  const Pixel lastColor = PackPixel(lastUnit[0], lastUnit[1], lastUnit[2], 0);
  Pixel& lastPixel = row.pixels[last * row.step];
  if (!colors.hasKey || (red | green | blue) > 0xFF) {  // no sample of 8 bits equals a larger key
    FillRow(row, [=](int32_t i) {
      return Opaque(ColorOf(Core::LoadLittle32(samples + int64_t{i} * kUnit)));
    });
    lastPixel = Opaque(lastColor);
    return;
  }
  const Pixel key = PackPixel(static_cast<uint8_t>(red), static_cast<uint8_t>(green),
                              static_cast<uint8_t>(blue), 0);
  FillRow(row, [=](int32_t i) {
    const Pixel color = ColorOf(Core::LoadLittle32(samples + int64_t{i} * kUnit));
    return WithAlphaUnlessKey(color, color == key);
  });
  lastPixel = WithAlphaUnlessKey(lastColor, lastColor == key);
}

void ConvertGreyAlpha8(const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [=](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 2;
    return PackPixel(unit[0], unit[0], unit[0], unit[1]);
  });
}

void ConvertGrey16(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 2;
    const bool isKey = colors.hasKey && Core::LoadBig16(unit) == colors.key[0];
    return WithAlphaUnlessKey(PackPixel(unit[0], unit[0], unit[0], 0), isKey);
  });
}

void ConvertRgb16(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 6;
    const bool isKey = colors.hasKey && Core::LoadBig16(unit) == colors.key[0] &&
                       Core::LoadBig16(unit + 2) == colors.key[1] &&
                       Core::LoadBig16(unit + 4) == colors.key[2];
    return WithAlphaUnlessKey(PackPixel(unit[0], unit[2], unit[4], 0), isKey);
  });
}

void ConvertGreyAlpha16(const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [=](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 4;
    return PackPixel(unit[0], unit[0], unit[0], unit[2]);
  });
}

void ConvertRgba16(const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [=](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 8;
    return PackPixel(unit[0], unit[2], unit[4], unit[6]);
  });
}

// Samples of up to 8 bits, several to a byte with the first one highest, as indices into `colors`.
template <int32_t kBits>
void ConvertPacked(const Pixel* colors, const uint8_t* samples, const PixelRow& row) {
  constexpr int32_t kPerByte = 8 / kBits;
  FillRow(row, [=](int32_t i) {
    const int32_t shift = 8 - kBits * (i % kPerByte + 1);
    return colors[samples[i / kPerByte] >> shift & ((1 << kBits) - 1)];
  });
}

}  // namespace

PngPixels::PngPixels(const PngHeader& header, const PngColors& colors)
    : header_(header), colors_(colors) {
  if (header.colorType != kPngGrey || header.bitDepth > 8) return;
  const int32_t last = (1 << header.bitDepth) - 1;
  for (int32_t sample = 0; sample <= last; ++sample) {
    const auto grey = static_cast<uint8_t>(255 / last * sample);  // repeats the bits to fill a byte
    greys_[sample] = PackPixel(grey, grey, grey, 255);
  }
  if (colors.hasKey && colors.key[0] <= last) greys_[colors.key[0]] &= kColorMask;
}

void PngPixels::ConvertRow(const uint8_t* samples, int32_t count, Pixel* pixels,
                           int32_t step) const {
  const PixelRow row = {pixels, count, step};
  const bool isWide = header_.bitDepth == 16;
  switch (header_.colorType) {
    case kPngTruecolor:
      return isWide ? ConvertRgb16(colors_, samples, row) : ConvertRgb8(colors_, samples, row);
    case kPngGreyAlpha:
      return isWide ? ConvertGreyAlpha16(samples, row) : ConvertGreyAlpha8(samples, row);
    case kPngTruecolorAlpha:
      return isWide ? ConvertRgba16(samples, row) : ConvertRgba8(samples, row);
    default:
      break;
  }
  const Pixel* table = IsIndexed() ? colors_.palette.data() : greys_.data();
  switch (header_.bitDepth) {
    case 1:
      return ConvertPacked<1>(table, samples, row);
    case 2:
      return ConvertPacked<2>(table, samples, row);
    case 4:
      return ConvertPacked<4>(table, samples, row);
    case 8:
      return ConvertPacked<8>(table, samples, row);
    default:  // indices are never 16 bits wide
      return ConvertGrey16(colors_, samples, row);
  }
}
