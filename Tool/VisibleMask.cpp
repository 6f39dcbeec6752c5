#include "Tool/VisibleMask.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Bit k is set if pixel k is visible. Requires: count <= 64.
uint64_t VisibleOf(const Pixel* pixels, int64_t count, int32_t threshold) {
  uint64_t bits = 0;
  for (int64_t k = 0; k < count; ++k) bits |= uint64_t{AlphaOf(pixels[k]) > threshold} << k;
  return bits;
}

#if defined(__SSE2__)

// The same for 16 pixels. Their alphas become 16 bytes. A byte minus the threshold, with
// saturation, is 0 exactly if the pixel is hidden.
uint64_t VisibleOf16(const Pixel* pixels, __m128i threshold) {
  const auto fourAlphas = [pixels](int index) {
    return _mm_srli_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels) + index), 24);
  };
  const __m128i alphas = _mm_packus_epi16(_mm_packs_epi32(fourAlphas(0), fourAlphas(1)),
                                          _mm_packs_epi32(fourAlphas(2), fourAlphas(3)));
  const __m128i hidden = _mm_cmpeq_epi8(_mm_subs_epu8(alphas, threshold), _mm_setzero_si128());
  return static_cast<uint64_t>(_mm_movemask_epi8(hidden) ^ 0xFFFF);
}

uint64_t VisibleOf64(const Pixel* pixels, int32_t threshold) {
  const __m128i bytes = _mm_set1_epi8(static_cast<char>(threshold));
  return VisibleOf16(pixels, bytes) | VisibleOf16(pixels + 16, bytes) << 16 |
         VisibleOf16(pixels + 32, bytes) << 32 | VisibleOf16(pixels + 48, bytes) << 48;
}

#else

uint64_t VisibleOf64(const Pixel* pixels, int32_t threshold) {
  return VisibleOf(pixels, 64, threshold);
}

#endif

}  // namespace

bool VisibleMask::Create(const Bitmap& bitmap, int32_t threshold) {
  width_ = bitmap.Width();
  count_ = width_ * bitmap.Height();
  padding_ = width_ / kBitsPerWord + 2;  // NearVisible reaches a row, a pixel and a word outside
  const int64_t wordCount = (count_ + kBitsPerWord - 1) / kBitsPerWord;
  if (!words_.SetSize(static_cast<int32_t>(wordCount + 2 * padding_))) return false;
  std::fill_n(words_.begin(), padding_, 0);
  std::fill_n(words_.end() - padding_, padding_, 0);

  const Pixel* pixels = bitmap.Row(0);
  uint64_t* word = words_.Data() + padding_;
  uint64_t visible = 0;
  uint64_t hidden = 0;
  int64_t left = count_;
  for (; left >= kBitsPerWord; left -= kBitsPerWord, pixels += kBitsPerWord) {
    *word = VisibleOf64(pixels, threshold);
    visible |= *word;
    hidden |= ~*word++;
  }
  if (left > 0) {
    const uint64_t bits = VisibleOf(pixels, left, threshold);
    *word = bits | ~uint64_t{0} << left;  // no pixel is hidden after the last one
    visible |= bits;
    hidden |= ~*word;
  }
  hasVisible_ = visible != 0;
  hasHidden_ = hidden != 0;
  return true;
}
