// The largest picture that the encoder writes, and so the largest that the decoder reads: an
// in-place run must not meet this limit when the file is already open for writing.
#pragma once

#include <cstdint>
#include <limits>

// The bytes of a row of `width` pixels as it is written: a filter byte, then 8-bit RGBA.
constexpr int64_t RgbaRowSize(int64_t width) { return width * 4 + 1; }

// True when all rows of a picture together have at most 2^31 - 1 bytes.
// Requires: both sides are at least 0 and below 2^32.
constexpr bool FitsRgbaLimit(int64_t width, int64_t height) {
  return height == 0 || RgbaRowSize(width) <= std::numeric_limits<int32_t>::max() / height;
}
