// Which pixels of an image are visible: one bit for each, by its number in the order of the rows.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Image/Bitmap.h"

class VisibleMask {
 public:
  // Looks at every pixel of `bitmap`; those with an alpha above `threshold` are visible. False: no
  // memory. Requires: the bitmap has pixels, 0 <= threshold <= 255.
  [[nodiscard]] bool Create(const Bitmap& bitmap, int32_t threshold);

  bool HasVisible() const { return hasVisible_; }
  bool HasHidden() const { return hasHidden_; }

  // Calls visit(first, bits) for every 64 pixels, from number `first` on, of which some are hidden:
  // bit k is set if pixel first + k is. Stops, with false, when a call returns false.
  template <typename Visit>
  bool VisitHidden(Visit visit) const;

  // Which of the pixels `first` to first + 63 have a visible one among the eight around them.
  // Deliberate: a row counts as going on in the next one, so at the two ends of a row bits may be
  // set that should not be. Requires: `first` is the number of a pixel.
  uint64_t NearVisible(int64_t first) const {
    return AnyOfThree(first - width_) | AnyOfThree(first) | AnyOfThree(first + width_);
  }

 private:
  static constexpr int64_t kBitsPerWord = 64;

  // The bits of the 64 places from `first` on, which may lie a row and a pixel outside the image.
  uint64_t Bits(int64_t first) const {
    const int64_t place = first + padding_ * kBitsPerWord;
    const uint64_t* word = words_.Data() + place / kBitsPerWord;
    const int64_t shift = place % kBitsPerWord;
    return word[0] >> shift | word[1] << 1 << (kBitsPerWord - 1 - shift);
  }
  uint64_t AnyOfThree(int64_t first) const {
    return Bits(first - 1) | Bits(first) | Bits(first + 1);
  }

  Core::Array<uint64_t> words_;
  int64_t width_ = 0;
  int64_t count_ = 0;    // of the pixels
  int64_t padding_ = 0;  // words of zeros before the first pixel's, and as many after the last
  bool hasVisible_ = false;
  bool hasHidden_ = false;
};

template <typename Visit>
bool VisibleMask::VisitHidden(Visit visit) const {
  const uint64_t* word = words_.Data() + padding_;
  for (int64_t first = 0; first < count_; first += kBitsPerWord) {
    const int64_t left = count_ - first;
    const uint64_t inside = left < kBitsPerWord ? (uint64_t{1} << left) - 1 : ~uint64_t{0};
    const uint64_t hidden = ~*word++ & inside;
    if (hidden != 0 && !visit(first, hidden)) return false;
  }
  return true;
}
