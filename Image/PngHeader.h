// The IHDR chunk, and the sizes that follow from it, in bytes and computed in 64 bits.
#pragma once

#include <cstdint>
#include <span>

#include "Image/PngFormat.h"

struct PngHeader {
  int32_t width;  // 0 to kPngMaxDimension, like the height; a file with a side of 0 has no pixels
  int32_t height;
  uint8_t bitDepth;
  uint8_t colorType;  // a PngColorType
  uint8_t interlace;  // a PngInterlace

  // The samples of one pixel; a palette index counts as one.
  int32_t Channels() const;

  // The unit of filters: the bytes of a pixel, or 1 where several pixels share a byte.
  int32_t UnitSize() const { return bitDepth < 8 ? 1 : bitDepth / 8 * Channels(); }

  // The passes of the image data, in their order. A pass without pixels has no data at all.
  std::span<const PngPass> Passes() const;
  int32_t PassWidth(const PngPass& pass) const;
  int32_t PassHeight(const PngPass& pass) const;

  // The data of a row of `pixels` pixels, without its filter byte.
  int64_t RowSize(int32_t pixels) const;

  // The data of all passes, filter bytes included.
  int64_t ImageDataSize() const;
};

// Reads `length` bytes of IHDR data; those after the thirteenth are ignored. False: there are too
// few, the standard forbids a value, or the image is too large to be written (RgbaLimit.h).
[[nodiscard]] bool ParsePngHeader(const uint8_t* data, int32_t length, PngHeader& header);
