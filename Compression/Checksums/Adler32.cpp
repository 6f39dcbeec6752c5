#include "Compression/Checksums/Adler32.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr uint32_t kModulus = 65521;  // the largest prime below 2^16

// The bytes after which the sums are reduced. Sums of 32 bits would allow 5552; 4096 are whole
// blocks, and as many as the lanes below can hold.
constexpr std::size_t kMaxRun = 4096;

struct Sums {
  uint32_t a;  // 1 and all bytes
  uint32_t b;  // all values that `a` had
};

#if defined(__SSE2__)

constexpr std::size_t kBlockSize = 32;

uint32_t SumOfLanes(__m128i lanes) {
  lanes = _mm_add_epi32(lanes, _mm_shuffle_epi32(lanes, 0x4E));
  lanes = _mm_add_epi32(lanes, _mm_shuffle_epi32(lanes, 0xB1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(lanes));
}

// Adds blocks of 32 bytes x[0] to x[31]. Each block means
//
//   b += 32 * a + 32 * x[0] + 31 * x[1] + ... + 1 * x[31], with `a` as it was before the block
//   a += x[0] + ... + x[31]
//
// so the loop gathers three things: the bytes; the sum of `a` before each block, without the value
// that `a` had before the loop, which is added at the end; and the sum of the bytes at each of the
// 32 places of a block, which is multiplied by the weights once, at the end. The latter has 16-bit
// lanes: 128 blocks fill them up to 32,640, so they are good as signed numbers too. All other sums
// stay below 2^32: b becomes at most 2^16 + 2^12 * 2^16 + 2^5 * 2^26 + 2^25.
void AddBlocks(Sums& sums, const uint8_t* data, std::size_t blocks) {
  const __m128i zero = _mm_setzero_si128();
  __m128i bytes = zero;
  __m128i earlier = zero;
  __m128i places[4] = {zero, zero, zero, zero};
  for (std::size_t i = 0; i < blocks; ++i, data += kBlockSize) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16));
    earlier = _mm_add_epi32(earlier, bytes);
    bytes = _mm_add_epi32(bytes, _mm_add_epi32(_mm_sad_epu8(low, zero), _mm_sad_epu8(high, zero)));
    places[0] = _mm_add_epi16(places[0], _mm_unpacklo_epi8(low, zero));
    places[1] = _mm_add_epi16(places[1], _mm_unpackhi_epi8(low, zero));
    places[2] = _mm_add_epi16(places[2], _mm_unpacklo_epi8(high, zero));
    places[3] = _mm_add_epi16(places[3], _mm_unpackhi_epi8(high, zero));
  }
  __m128i weighted = zero;
  __m128i weights = _mm_set_epi16(25, 26, 27, 28, 29, 30, 31, 32);
  for (const __m128i place : places) {
    weighted = _mm_add_epi32(weighted, _mm_madd_epi16(place, weights));
    weights = _mm_sub_epi16(weights, _mm_set1_epi16(8));
  }
  sums.b += kBlockSize * (sums.a * static_cast<uint32_t>(blocks) + SumOfLanes(earlier)) +
            SumOfLanes(weighted);
  sums.a += SumOfLanes(bytes);
}

#endif

// Requires: length <= kMaxRun.
void AddRun(Sums& sums, const uint8_t* data, std::size_t length) {
#if defined(__SSE2__)
  const std::size_t inBlocks = length / kBlockSize * kBlockSize;
  AddBlocks(sums, data, length / kBlockSize);
  data += inBlocks;
  length -= inBlocks;
#endif
  for (; length > 0; --length) {
    sums.a += *data++;
    sums.b += sums.a;
  }
}

}  // namespace

uint32_t Adler32(const uint8_t* data, std::size_t length, uint32_t previous) {
  Sums sums = {previous & 0xFFFF, previous >> 16};
  do {
    const std::size_t run = std::min(length, kMaxRun);
    AddRun(sums, data, run);
    sums.a %= kModulus;
    sums.b %= kModulus;
    data += run;
    length -= run;
  } while (length > 0);  // at least once: the result is reduced even without a byte
  return sums.b << 16 | sums.a;
}
