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

// Samples and pixels may share memory (PngDecoder.cpp), so a pixel is written only after its own
// and all earlier samples are read. The blocks are separate memory: the compiler can then make
// several pixels at once.
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

Pixel OpaqueUnlessKey(Pixel color, bool isKey) { return isKey ? color : Opaque(color); }

void ConvertRgba8(const uint8_t* samples, const PixelRow& row) {
  FillRow(row,
          [=](int32_t i) { return SwapRedAndBlue(Core::LoadLittle32(samples + int64_t{i} * 4)); });
}

// Each unit is loaded together with the byte after it, so the last one is converted separately.
template <typename WithAlpha>
void FillFromRgb8(const uint8_t* samples, const PixelRow& row, WithAlpha withAlpha) {
  constexpr int32_t kUnit = 3;
  const int32_t last = row.count - 1;
  FillRow({row.pixels, last, row.step}, [=](int32_t i) {
    return withAlpha(Core::SwapBytes32(Core::LoadLittle32(samples + int64_t{i} * kUnit)) >> 8);
  });
  const uint8_t* const unit = samples + int64_t{last} * kUnit;
  row.pixels[int64_t{last} * row.step] = withAlpha(PackPixel(unit[0], unit[1], unit[2], 0));
}

void ConvertRgb8(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  const auto& [red, green, blue] = colors.key;
  if (!colors.hasKey || (red | green | blue) > 0xFF) {  // no sample of 8 bits equals a larger key
    return FillFromRgb8(samples, row, [](Pixel color) { return Opaque(color); });
  }
  const Pixel key = Pixel{red} << 16 | Pixel{green} << 8 | blue;
  FillFromRgb8(samples, row, [=](Pixel color) { return OpaqueUnlessKey(color, color == key); });
}

void ConvertGreyAlpha8(const uint8_t* samples, const PixelRow& row) {
  FillRow(row, [=](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 2;
    return PackPixel(unit[0], unit[0], unit[0], unit[1]);
  });
}

template <int32_t kChannels>
void Convert16(const PngColors& colors, const uint8_t* samples, const PixelRow& row) {
  constexpr int64_t kGreen = kChannels < 3 ? 0 : 2;  // its place in a unit; grey is all colours
  FillRow(row, [&](int32_t i) {
    const uint8_t* unit = samples + int64_t{i} * 2 * kChannels;
    const Pixel color = PackPixel(unit[0], unit[kGreen], unit[2 * kGreen], 0);
    if constexpr (kChannels % 2 == 0) return color | Pixel{unit[2 * kChannels - 2]} << 24;
    bool isKey = colors.hasKey;
    for (int64_t c = 0; c < kChannels; ++c) {
      isKey = isKey && Core::LoadBig16(unit + 2 * c) == colors.key[c];
    }
    return OpaqueUnlessKey(color, isKey);
  });
}

// Samples of up to 8 bits are indices into `colors`. The first one of a byte has its highest bits.
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
      return isWide ? Convert16<3>(colors_, samples, row) : ConvertRgb8(colors_, samples, row);
    case kPngGreyAlpha:
      return isWide ? Convert16<2>(colors_, samples, row) : ConvertGreyAlpha8(samples, row);
    case kPngTruecolorAlpha:
      return isWide ? Convert16<4>(colors_, samples, row) : ConvertRgba8(samples, row);
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
    default:  // 16 bits, so grey
      return Convert16<1>(colors_, samples, row);
  }
}
