// The image in memory: width x height pixels, row by row without gaps, and a table of row starts
// through which pixels are read and written.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Image/Color.h"

class Bitmap {
 public:
  // 0 x 0; no storage.
  Bitmap() = default;

  // Opaque black. A size that Resize refuses ends the process through a failed assertion.
  Bitmap(int32_t width, int32_t height);

  // Copies. Without memory for the copy the new bitmap is 0 x 0, and so is a bitmap assigned to.
  Bitmap(const Bitmap& other);
  Bitmap& operator=(const Bitmap& other);

  // Keeps the top-left content that still fits and pads with opaque black. False, and nothing
  // changed: a negative size. False, and the bitmap is 0 x 0: width x height is above 2^31 - 1, or
  // there is no memory.
  [[nodiscard]] bool Resize(int32_t width, int32_t height);

  // As Resize of a 0 x 0 bitmap, with undefined pixels, in memory of at least `room` bytes from the
  // first pixel on. Requires: the bitmap is 0 x 0, and room < 2^32.
  [[nodiscard]] bool ResizeForOverwrite(int32_t width, int32_t height, int64_t room = 0);

  void Fill(Color color);

  // Gives every pixel the alpha `alpha`, clamped to 0..255; the colours stay.
  void SetAlpha(int32_t alpha);

  // True when a pixel has an alpha other than 255.
  bool HasTransparency() const;

  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }

  // The first of the Width() pixels of row `y`. Requires: 0 <= y < Height().
  Pixel* Row(int32_t y) { return rows_[y].pixels; }
  const Pixel* Row(int32_t y) const { return rows_[y].pixels; }

 private:
  struct RowEntry {
    Pixel* pixels;
    int32_t count;  // always the width
  };

  [[nodiscard]] bool CountPixels(int32_t width, int32_t height, int32_t& count);
  [[nodiscard]] bool RebuildRows();
  [[nodiscard]] bool CopyFrom(const Bitmap& other);
  void Clear();

  int32_t width_ = 0;
  int32_t height_ = 0;
  Core::Array<RowEntry> rows_;  // one entry a row, top row first
  Core::Array<Pixel> pixels_;   // rows_[y].pixels == pixels_.Data() + y * width_
};
