// Turns the samples of PNG rows into pixels.
#pragma once

#include <array>
#include <cstdint>

#include "Image/Color.h"
#include "Image/PngHeader.h"

// What PLTE and tRNS say about the colours of an image.
struct PngColors {
  static constexpr int32_t kPaletteSize = 256;

  // Deliberate: transparent black wherever the file gives no entry, so that an index past its
  // palette is a pixel to repair and no fault.
  std::array<Pixel, kPaletteSize> palette = {};

  // The entries that the file gave. May exceed kPaletteSize: the surplus is not kept.
  int32_t paletteCount = 0;

  // The colour, in full samples, whose pixels are transparent: red, green and blue, or grey first.
  bool hasKey = false;
  std::array<uint16_t, 3> key = {};
};

class PngPixels {
 public:
  // `colors` is borrowed.
  PngPixels(const PngHeader& header, const PngColors& colors);

  // Writes the `count` pixels that the restored row data `samples` holds to `pixels`, `step` places
  // apart. 16-bit samples keep their upper byte; a key is compared with all 16 bits.
  // Requires: header.RowSize(count) bytes at `samples`, and count is not 0. Where the samples stand
  // in the memory of the pixels, step is 1 and no pixel ends behind the samples of the next one.
  void ConvertRow(const uint8_t* samples, int32_t count, Pixel* pixels, int32_t step) const;

 private:
  bool IsIndexed() const { return header_.colorType == kPngIndexed; }

  PngHeader header_;
  const PngColors& colors_;
  std::array<Pixel, 256> greys_;  // by sample, where samples have up to 8 bits; the key applied
};
