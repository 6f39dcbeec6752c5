#include <cstdlib>
#include <cstring>

#include "Benchmarks/Peers/BestKnown.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace best_known {
namespace {

enum Filter { kNone, kSub, kUp, kAverage, kPaeth };

#if defined(__SSE2__)

// One pixel in the low bytes of a register.
template <int kUnit>
__m128i Load(const uint8_t* bytes) {
  uint64_t value = 0;
  std::memcpy(&value, bytes, kUnit);
  return _mm_cvtsi64_si128(static_cast<int64_t>(value));
}

template <int kUnit>
void Store(uint8_t* bytes, __m128i pixel) {
  const int64_t value = _mm_cvtsi128_si64(pixel);
  std::memcpy(bytes, &value, kUnit);
}

__m128i Average(__m128i left, __m128i above) {  // truncated; the instruction rounds up
  const __m128i odd = _mm_and_si128(_mm_xor_si128(left, above), _mm_set1_epi8(1));
  return _mm_sub_epi8(_mm_avg_epu8(left, above), odd);
}

__m128i Absolute(__m128i words) {
  return _mm_max_epi16(words, _mm_sub_epi16(_mm_setzero_si128(), words));
}

__m128i Select(__m128i mask, __m128i yes, __m128i no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// All in 16-bit words.
__m128i PredictPaeth(__m128i left, __m128i above, __m128i corner) {
  const __m128i byLeft = _mm_sub_epi16(above, corner);
  const __m128i byAbove = _mm_sub_epi16(left, corner);
  const __m128i toLeft = Absolute(byLeft);
  const __m128i toAbove = Absolute(byAbove);
  const __m128i toCorner = Absolute(_mm_add_epi16(byLeft, byAbove));
  const __m128i least = _mm_min_epi16(toCorner, _mm_min_epi16(toLeft, toAbove));
  return Select(_mm_cmpeq_epi16(least, toLeft), left,
                Select(_mm_cmpeq_epi16(least, toAbove), above, corner));
}

template <int kUnit, int kFilter>
void UnfilterPixels(const uint8_t* in, uint8_t* out, const uint8_t* above, std::size_t length) {
  const __m128i zero = _mm_setzero_si128();
  __m128i left = zero;
  __m128i corner = zero;
  for (std::size_t i = 0; i < length; i += kUnit) {
    const __m128i up = Load<kUnit>(above + i);
    __m128i predicted = left;
    if (kFilter == kAverage) predicted = Average(left, up);
    if (kFilter == kPaeth) {
      const __m128i upWords = _mm_unpacklo_epi8(up, zero);
      predicted = PredictPaeth(_mm_unpacklo_epi8(left, zero), upWords, corner);
      predicted = _mm_packus_epi16(predicted, predicted);
      corner = upWords;
    }
    left = _mm_add_epi8(Load<kUnit>(in + i), predicted);
    Store<kUnit>(out + i, left);
  }
}

#else

int PredictPaeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner);
  const int toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return left;
  return toAbove <= toCorner ? above : corner;
}

template <int kUnit, int kFilter>
void UnfilterPixels(const uint8_t* in, uint8_t* out, const uint8_t* above, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    const int left = i < kUnit ? 0 : out[i - kUnit];
    const int corner = i < kUnit ? 0 : above[i - kUnit];
    int predicted = left;
    if (kFilter == kAverage) predicted = (left + above[i]) / 2;
    if (kFilter == kPaeth) predicted = PredictPaeth(left, above[i], corner);
    out[i] = static_cast<uint8_t>(in[i] + predicted);
  }
}

#endif

template <int kUnit>
void UnfilterUnits(int filter, const uint8_t* in, uint8_t* out, const uint8_t* above,
                   std::size_t length) {
  if (filter == kSub) return UnfilterPixels<kUnit, kSub>(in, out, above, length);
  if (filter == kAverage) return UnfilterPixels<kUnit, kAverage>(in, out, above, length);
  UnfilterPixels<kUnit, kPaeth>(in, out, above, length);
}

}  // namespace

void UnfilterRow(int filter, const uint8_t* in, uint8_t* out, const uint8_t* above,
                 std::size_t length, int unit) {
  if (filter < kNone || filter > kPaeth) throw std::runtime_error("no such filter");
  if (filter == kNone) {
    if (in != out) std::memcpy(out, in, length);
  } else if (filter == kUp) {
    for (std::size_t i = 0; i < length; ++i) out[i] = static_cast<uint8_t>(in[i] + above[i]);
  } else if (unit == 1) {
    UnfilterUnits<1>(filter, in, out, above, length);
  } else if (unit == 2) {
    UnfilterUnits<2>(filter, in, out, above, length);
  } else if (unit == 3) {
    UnfilterUnits<3>(filter, in, out, above, length);
  } else if (unit == 4) {
    UnfilterUnits<4>(filter, in, out, above, length);
  } else if (unit == 6) {
    UnfilterUnits<6>(filter, in, out, above, length);
  } else {
    UnfilterUnits<8>(filter, in, out, above, length);
  }
}

}  // namespace best_known
