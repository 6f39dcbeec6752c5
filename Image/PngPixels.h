// Turns the samples of PNG rows into pixels.
#pragma once

#include <array>
#include <cstdint>

#include "Image/Color.h"
#include "Image/PngHeader.h"

// The contents of PLTE and tRNS.
struct PngColors {
  static constexpr int32_t kPaletteSize = 256;

  // Deliberate: entries that the file does not give are transparent black, so an index past its
  // palette is a pixel to repair and not an error.
  std::array<Pixel, kPaletteSize> palette = {};

  // The number of entries in the file. It may exceed kPaletteSize; the surplus is not kept.
  int32_t paletteCount = 0;

  // The colour whose pixels are transparent, with samples of the file's depth: red, green and blue,
  // or grey in the first place.
  bool hasKey = false;
  std::array<uint16_t, 3> key = {};
};

class PngPixels {
 public:
  // `colors` is borrowed.
  PngPixels(const PngHeader& header, const PngColors& colors);

  // Converts the restored row `samples` to `count` pixels: at pixels[0], pixels[step], and so on.
  // 16-bit samples keep their upper byte; a key is compared with all 16 bits.
  // Requires: `samples` has header.RowSize(count) bytes, and count is not 0. If samples and pixels
  // share memory, step is 1 and no pixel ends after the start of the next pixel's samples.
  void ConvertRow(const uint8_t* samples, int32_t count, Pixel* pixels, int32_t step) const;

 private:
  bool IsIndexed() const { return header_.colorType == kPngIndexed; }

  PngHeader header_;
  const PngColors& colors_;
  std::array<Pixel, 256> greys_;  // by sample of up to 8 bits, with the key applied
};
