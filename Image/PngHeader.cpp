#include "Image/PngHeader.h"

#include <array>
#include <bit>

#include "Core/Endian.h"
#include "Image/RgbaLimit.h"

namespace {

constexpr uint8_t kDeflateCompression = 0;
constexpr uint8_t kAdaptiveFilters = 0;

// One colour type: the samples of a pixel, and the sum of the bit depths that are allowed. Each
// depth is a power of two, so it is a bit of the sum.
struct ColorTypeRules {
  uint8_t channels;
  uint8_t bitDepths;
};
constexpr std::array<ColorTypeRules, 7> kColorTypeRules = {
    {{1, 1 + 2 + 4 + 8 + 16}, {}, {3, 8 + 16}, {1, 1 + 2 + 4 + 8}, {2, 8 + 16}, {}, {4, 8 + 16}}};

bool IsAllowedFormat(uint8_t colorType, uint8_t bitDepth) {
  return colorType < kColorTypeRules.size() && std::has_single_bit(bitDepth) &&
         (kColorTypeRules[colorType].bitDepths & bitDepth) != 0;
}

// The number of pixels that a pass has in a row or column of `size` pixels: it takes every
// `step`-th from `start` on.
int32_t PassSize(int32_t size, int32_t start, int32_t step) {
  return size > start ? (size - start - 1) / step + 1 : 0;
}

}  // namespace

bool ParsePngHeader(const uint8_t* data, int32_t length, PngHeader& header) {
  if (length < kPngHeaderSize) return false;
  const uint32_t width = Core::LoadBig32(data);
  const uint32_t height = Core::LoadBig32(data + 4);
  const uint8_t compression = data[10];
  const uint8_t filterMethod = data[11];
  header = {static_cast<int32_t>(width), static_cast<int32_t>(height), data[8], data[9], data[12]};
  return width <= kPngMaxDimension && height <= kPngMaxDimension &&
         IsAllowedFormat(header.colorType, header.bitDepth) && compression == kDeflateCompression &&
         filterMethod == kAdaptiveFilters && header.interlace <= kPngAdam7 &&
         FitsRgbaLimit(width, height);
}

int32_t PngHeader::Channels() const { return kColorTypeRules[colorType].channels; }

std::span<const PngPass> PngHeader::Passes() const {
  if (interlace == kPngAdam7) return kAdam7Passes;
  return kWholeImagePass;
}

int32_t PngHeader::PassWidth(const PngPass& pass) const {
  return PassSize(width, pass.xStart, pass.xStep);
}

int32_t PngHeader::PassHeight(const PngPass& pass) const {
  return PassSize(height, pass.yStart, pass.yStep);
}

int64_t PngHeader::RowSize(int32_t pixels) const {
  return (int64_t{pixels} * bitDepth * Channels() + 7) / 8;
}

int64_t PngHeader::ImageDataSize() const {
  int64_t size = 0;
  for (const PngPass& pass : Passes()) {
    const int32_t passWidth = PassWidth(pass);
    if (passWidth > 0) size += PassHeight(pass) * (1 + RowSize(passWidth));
  }
  return size;
}
