// The IHDR chunk, and the sizes that follow from it. All sizes are in bytes and formed in 64 bits.
#pragma once

#include <cstdint>
#include <span>

#include "Image/PngFormat.h"

struct PngHeader {
  int32_t width;   // 0 to kPngMaxDimension, as the height
  int32_t height;  // may be 0 too: such a file has no pixels
  uint8_t bitDepth;
  uint8_t colorType;  // a PngColorType
  uint8_t interlace;  // a PngInterlace

  // The samples of one pixel; a palette index counts as one.
  int32_t Channels() const;

  // The distance between a byte and the one it is filtered against: a whole pixel, at least 1.
  int32_t UnitSize() const { return bitDepth < 8 ? 1 : bitDepth / 8 * Channels(); }

  // The passes that the image data comes in. One without pixels has no data at all.
  std::span<const PngPass> Passes() const;
  int32_t PassWidth(const PngPass& pass) const;
  int32_t PassHeight(const PngPass& pass) const;

  // The data of a row of `pixels` pixels, without its filter byte.
  int64_t RowSize(int32_t pixels) const;

  // The data of all passes, filter bytes included.
  int64_t ImageDataSize() const;
};

// Reads `length` bytes of IHDR data; those past the thirteenth are ignored. False: too few, values
// that the standard does not allow, or an image too large to be written again as 8-bit RGBA.
[[nodiscard]] bool ParsePngHeader(const uint8_t* data, int32_t length, PngHeader& header);
