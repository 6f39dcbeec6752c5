#include "Image/PngHeader.h"

#include <bit>

#include "Core/Endian.h"

namespace {

constexpr uint8_t kDeflateCompression = 0;
constexpr uint8_t kAdaptiveFilters = 0;

bool IsAllowedFormat(uint8_t colorType, uint8_t bitDepth) {
  if (!std::has_single_bit(bitDepth) || bitDepth > 16) return false;
  switch (colorType) {
    case kPngGrey:
      return true;
    case kPngIndexed:
      return bitDepth <= 8;
    case kPngTruecolor:
    case kPngGreyAlpha:
    case kPngTruecolorAlpha:
      return bitDepth >= 8;
    default:
      return false;
  }
}

// How many of `size` pixels a pass takes that begins at `start` and takes every `step`-th.
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
         FitsRgbaBuffer(width, height);
}

int32_t PngHeader::Channels() const {
  switch (colorType) {
    case kPngGreyAlpha:
      return 2;
    case kPngTruecolor:
      return 3;
    case kPngTruecolorAlpha:
      return 4;
    default:
      return 1;
  }
}

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
