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

  // Copies. Without memory for the copy this bitmap is 0 x 0.
  Bitmap(const Bitmap& other);
  Bitmap& operator=(const Bitmap& other);

  // Keeps the top-left content that still fits and pads with opaque black. False for a negative
  // size: nothing has changed. False also when width x height is above 2^31 - 1 or there is no
  // memory: the bitmap is 0 x 0.
  [[nodiscard]] bool Resize(int32_t width, int32_t height);

  // Like Resize of a 0 x 0 bitmap, but leaves the pixels undefined and makes their block at least
  // `room` bytes long. Requires: the bitmap is 0 x 0, and room < 2^32.
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

  // Builds the row table for the pixels and sizes as they are. False: no memory.
  [[nodiscard]] bool RebuildRows();
  void Clear();

  int32_t width_ = 0;
  int32_t height_ = 0;
  Core::Array<RowEntry> rows_;  // one entry a row, top row first
  Core::Array<Pixel> pixels_;   // rows_[y].pixels == pixels_.Data() + y * width_
};
