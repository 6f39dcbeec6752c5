#include "Image/PngUnfilter.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "Image/PngFormat.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// The bytes to the left of a row count as 0. So the vector loops start with zeros and need no test
// for the first unit. All arithmetic on bytes is modulo 256.

#if defined(__SSE2__)

// Copies a unit into the lowest bytes of a register.
template <int32_t kBytes>
__m128i LoadUnit(const uint8_t* bytes) {
  uint64_t unit = 0;
  std::memcpy(&unit, bytes, kBytes);
  return _mm_cvtsi64_si128(static_cast<int64_t>(unit));
}

// Units of 3 and 6 bytes are stored in two parts: one copy of such a size goes through the stack.
template <int32_t kUnit>
void StoreUnit(uint8_t* bytes, __m128i unit) {
  constexpr int32_t kFirstPart = std::bit_floor(uint32_t{kUnit});
  const auto word = static_cast<uint64_t>(_mm_cvtsi128_si64(unit));
  const uint64_t rest = word >> 8 * (kFirstPart & 7);  // 8 bytes have no second part
  std::memcpy(bytes, &word, kFirstPart);
  std::memcpy(bytes + kFirstPart, &rest, kUnit - kFirstPart);
}

// Replaces each unit by restore(unit, the unit above). Units of 3 and 6 bytes are loaded as 4 and 8
// bytes, in one load; the last unit, with nothing after it, is loaded as it is.
template <int32_t kUnit, typename Restore>
void RestoreUnits(uint8_t* row, const uint8_t* previous, int32_t length, Restore restore) {
  constexpr int32_t kLoaded = std::bit_ceil(uint32_t{kUnit});
  const int32_t last = length - kUnit;
  for (int32_t i = 0; i < last; i += kUnit) {
    StoreUnit<kUnit>(row + i, restore(LoadUnit<kLoaded>(row + i), LoadUnit<kLoaded>(previous + i)));
  }
  StoreUnit<kUnit>(row + last,
                   restore(LoadUnit<kUnit>(row + last), LoadUnit<kUnit>(previous + last)));
}

template <int32_t kUnit>
void UnfilterSub(uint8_t* row, int32_t length) {
  __m128i left = _mm_setzero_si128();
  RestoreUnits<kUnit>(row, row, length, [&](__m128i filtered, __m128i) {
    return left = _mm_add_epi8(left, filtered);
  });
}

// The instruction rounds an average up; 1 is subtracted again where the sum is odd.
template <int32_t kUnit>
void UnfilterAverage(uint8_t* row, const uint8_t* previous, int32_t length) {
  const __m128i mask = previous == nullptr ? _mm_setzero_si128() : _mm_set1_epi8(-1);
  __m128i left = _mm_setzero_si128();
  RestoreUnits<kUnit>(
      row, previous == nullptr ? row : previous, length, [&](__m128i filtered, __m128i above) {
        above = _mm_and_si128(above, mask);
        const __m128i odd = _mm_and_si128(_mm_xor_si128(left, above), _mm_set1_epi8(1));
        return left = _mm_add_epi8(filtered, _mm_sub_epi8(_mm_avg_epu8(left, above), odd));
      });
}

// In lanes of 16 bits. The predictor is the one of left, above and c = upper left that is nearest
// to p = left + above - c; on a tie left wins, then above. Let low and high be the smaller and the
// larger of left and above, and t = 3 c - left - above:
//
//   c <= low         p >= high, so high is nearest; and t <= c <= low
//   c >= high        p <= low, so low is nearest; and t >= c >= high
//   low < c < high   the distances from p are c - low to high, high - c to low, and
//                    |low + high - 2 c| to c. If c - low <= low + high - 2 c, which is t <= low,
//                    high is nearest. In the same way low is nearest if t >= high. Otherwise c is.
//
// So the predictor is high if t <= low, low if t >= high, and c if neither holds; if both hold,
// high equals low. Comparing the distances would take twice as many steps from unit to unit.
template <int32_t kUnit>
void UnfilterPaeth(uint8_t* row, const uint8_t* previous, int32_t length) {
  const __m128i zero = _mm_setzero_si128();
  __m128i left = zero;
  __m128i upperLeft = zero;
  RestoreUnits<kUnit>(row, previous, length, [&](__m128i filtered, __m128i above) {
    above = _mm_unpacklo_epi8(above, zero);
    const __m128i twice = _mm_add_epi16(upperLeft, upperLeft);
    const __m128i t = _mm_sub_epi16(_mm_add_epi16(twice, _mm_sub_epi16(upperLeft, above)), left);
    const __m128i low = _mm_min_epi16(left, above);
    const __m128i high = _mm_max_epi16(left, above);
    const __m128i notHigh = _mm_cmpgt_epi16(t, low);
    const __m128i notLow = _mm_cmpgt_epi16(high, t);
    const __m128i highOrLow =
        _mm_or_si128(_mm_andnot_si128(notHigh, high), _mm_andnot_si128(notLow, low));
    const __m128i neither = _mm_and_si128(notHigh, _mm_and_si128(notLow, upperLeft));
    const __m128i nearest = _mm_or_si128(highOrLow, neither);
    left = _mm_add_epi8(_mm_unpacklo_epi8(filtered, zero), nearest);  // the upper bytes stay 0
    upperLeft = above;
    return _mm_packus_epi16(left, left);
  });
}

#else

template <int32_t kUnit>
void UnfilterSub(uint8_t* row, int32_t length) {
  for (int32_t i = kUnit; i < length; ++i) row[i] = static_cast<uint8_t>(row[i] + row[i - kUnit]);
}

template <int32_t kUnit>
void UnfilterAverage(uint8_t* row, const uint8_t* previous, int32_t length) {
  for (int32_t i = 0; i < length; ++i) {
    const int32_t left = i < kUnit ? 0 : row[i - kUnit];
    const int32_t above = previous == nullptr ? 0 : previous[i];
    row[i] = static_cast<uint8_t>(row[i] + (left + above) / 2);
  }
}

// The one of left, above and upper left that is nearest to left + above - upper left. On a tie left
// wins, then above.
uint8_t PaethPredictor(int32_t left, int32_t above, int32_t upperLeft) {
  const int32_t fromLeft = std::abs(above - upperLeft);
  const int32_t fromAbove = std::abs(left - upperLeft);
  const int32_t fromUpperLeft = std::abs(left + above - 2 * upperLeft);
  if (fromLeft <= fromAbove && fromLeft <= fromUpperLeft) return static_cast<uint8_t>(left);
  return static_cast<uint8_t>(fromAbove <= fromUpperLeft ? above : upperLeft);
}

template <int32_t kUnit>
void UnfilterPaeth(uint8_t* row, const uint8_t* previous, int32_t length) {
  for (int32_t i = 0; i < length; ++i) {
    const int32_t left = i < kUnit ? 0 : row[i - kUnit];
    const int32_t upperLeft = i < kUnit ? 0 : previous[i - kUnit];
    row[i] = static_cast<uint8_t>(row[i] + PaethPredictor(left, previous[i], upperLeft));
  }
}

#endif

void UnfilterUp(uint8_t* __restrict row, const uint8_t* __restrict previous, int32_t length) {
  for (int32_t i = 0; i < length; ++i) row[i] = static_cast<uint8_t>(row[i] + previous[i]);
}

template <int32_t kUnit>
bool Unfilter(uint8_t filter, uint8_t* row, const uint8_t* previous, int32_t length) {
  switch (filter) {
    case kPngFilterNone:
      return true;
    case kPngFilterSub:
      UnfilterSub<kUnit>(row, length);
      return true;
    case kPngFilterUp:
      if (previous != nullptr) UnfilterUp(row, previous, length);
      return true;
    case kPngFilterAverage:
      UnfilterAverage<kUnit>(row, previous, length);
      return true;
    case kPngFilterPaeth:
      // With zeros above, the predictor is always the byte to the left.
      if (previous == nullptr) return Unfilter<kUnit>(kPngFilterSub, row, previous, length);
      UnfilterPaeth<kUnit>(row, previous, length);
      return true;
    default:
      return false;
  }
}

}  // namespace

bool UnfilterPngRow(uint8_t filter, uint8_t* row, const uint8_t* previous, int32_t length,
                    int32_t unit) {
  using UnfilterRow = bool(uint8_t, uint8_t*, const uint8_t*, int32_t);
  static constexpr std::array<UnfilterRow*, 9> kByUnit = {nullptr,     Unfilter<1>, Unfilter<2>,
                                                          Unfilter<3>, Unfilter<4>, nullptr,
                                                          Unfilter<6>, nullptr,     Unfilter<8>};
  return kByUnit[unit](filter, row, previous, length);
}
