// Which pixels of an image are visible: one bit a pixel, in scan order.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Image/Bitmap.h"

class VisibleMask {
 public:
  // Tests every pixel of `bitmap`: it is visible if its alpha is above `threshold`. False: no
  // memory. Requires: the bitmap has pixels, 0 <= threshold <= 255.
  [[nodiscard]] bool Create(const Bitmap& bitmap, int32_t threshold);

  bool HasVisible() const { return hasVisible_; }
  bool HasHidden() const { return hasHidden_; }

  // Calls visit(first, bits) for each group of 64 pixels, from index `first` on, with hidden
  // pixels: bit k is set if pixel first + k is hidden.
  template <typename Visit>
  void VisitHidden(Visit visit) const;

  // Which of the pixels first to first + 63 have a visible pixel among their eight neighbours.
  // Deliberate: rows count as one long row, and all pixels after its end count as visible. So bits
  // of pixels on the border of the image may be set wrongly.
  // Requires: `first` is the index of a pixel.
  uint64_t NearVisible(int64_t first) const {
    return AnyOfThree(first - width_) | AnyOfThree(first) | AnyOfThree(first + width_);
  }

 private:
  static constexpr int64_t kBitsPerWord = 64;

  // The bits of 64 pixels from index `first` on. It may be a row and a pixel outside the image.
  uint64_t Bits(int64_t first) const {
    const int64_t bit = first + padding_ * kBitsPerWord;
    const uint64_t* word = words_.Data() + bit / kBitsPerWord;
    const int64_t shift = bit % kBitsPerWord;
    return word[0] >> shift | word[1] << 1 << (kBitsPerWord - 1 - shift);
  }
  uint64_t AnyOfThree(int64_t first) const {
    return Bits(first - 1) | Bits(first) | Bits(first + 1);
  }

  Core::Array<uint64_t> words_;
  int64_t width_ = 0;
  int64_t count_ = 0;    // of pixels
  int64_t padding_ = 0;  // the words of zeros before the pixels' words, and again after them
  bool hasVisible_ = false;
  bool hasHidden_ = false;
};

template <typename Visit>
void VisibleMask::VisitHidden(Visit visit) const {
  const uint64_t* word = words_.Data() + padding_;
  for (int64_t first = 0; first < count_; first += kBitsPerWord) {
    const uint64_t hidden = ~*word++;
    if (hidden != 0) visit(first, hidden);
  }
}
