#include "Compression/Checksums/Adler32.h"

#include <algorithm>

#include "Compression/CpuFeatures.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

constexpr uint32_t kModulus = 65521;  // the largest prime below 2^16

// So many take the upper sum to 2^32 at the most.
constexpr std::size_t kBytesPerReduction = 4096;

// The two sums, in 64 bits: a loop over blocks adds to them in large pieces.
struct Sums {
  uint64_t a;
  uint64_t b;

  void Reduce() {
    a %= kModulus;
    b %= kModulus;
  }
};

#if defined(__SSE2__)

// Both loops take a block of 32 bytes x[0] to x[31] at a time. It adds to the sums
//
//   a += x[0] + ... + x[31]
//   b += 32 * a + 32 * x[0] + 31 * x[1] + ... + 1 * x[31], with a as it was before
//
// so they gather three things in 32-bit lanes: the bytes; the sum of `a` before each block, where
// the part of `a` from before the loop is left out and added at the end; and the weighted bytes.
// With 128 blocks no lane overflows: the bytes come to 2^20, the sums of them to 2^27, the weighted
// bytes to 2^25.
constexpr int32_t kBlockSize = 32;
constexpr int32_t kMaxBlocks = 128;

void AddGathered(Sums& sums, uint32_t bytes, uint32_t earlier, uint32_t weighted, int32_t blocks) {
  sums.b += sums.a * static_cast<uint32_t>(blocks * kBlockSize) + uint64_t{earlier} * kBlockSize +
            weighted;
  sums.a += bytes;
  sums.Reduce();
}

uint32_t SumOfLanes(__m128i lanes) {
  lanes = _mm_add_epi32(lanes, _mm_shuffle_epi32(lanes, 0x4E));
  lanes = _mm_add_epi32(lanes, _mm_shuffle_epi32(lanes, 0xB1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(lanes));
}

// The weights come last: the bytes at each of the 32 places are summed in 16 bits first, which 128
// blocks fill up to 32,640, so that they are good as signed numbers too.
void AddBlocks(Sums& sums, const uint8_t* data, int32_t blocks) {
  const __m128i zero = _mm_setzero_si128();
  __m128i bytes = zero;
  __m128i earlier = zero;
  __m128i places[4] = {zero, zero, zero, zero};
  for (int32_t i = 0; i < blocks; ++i, data += kBlockSize) {
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
  AddGathered(sums, SumOfLanes(bytes), SumOfLanes(earlier), SumOfLanes(weighted), blocks);
}

#define HALOMEND_AVX2 __attribute__((target("avx2")))

HALOMEND_AVX2 inline uint32_t SumOfLanes(__m256i lanes) {
  return SumOfLanes(
      _mm_add_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1)));
}

// A product of a byte and a weight and another one fit 16 bits with sign: 255 * (32 + 31).
HALOMEND_AVX2 void AddBlocksByAvx2(Sums& sums, const uint8_t* data, int32_t blocks) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i ones = _mm256_set1_epi16(1);
  const __m256i weights =
      _mm256_set_epi8(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                      23, 24, 25, 26, 27, 28, 29, 30, 31, 32);
  __m256i bytes = zero;
  __m256i earlier = zero;
  __m256i weighted = zero;
  for (int32_t i = 0; i < blocks; ++i, data += kBlockSize) {
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data));
    earlier = _mm256_add_epi32(earlier, bytes);
    bytes = _mm256_add_epi32(bytes, _mm256_sad_epu8(block, zero));
    const __m256i pairs = _mm256_maddubs_epi16(block, weights);
    weighted = _mm256_add_epi32(weighted, _mm256_madd_epi16(pairs, ones));
  }
  AddGathered(sums, SumOfLanes(bytes), SumOfLanes(earlier), SumOfLanes(weighted), blocks);
}

// Takes as many bytes as make whole blocks.
void AddWholeBlocks(Sums& sums, const uint8_t*& data, std::size_t& length) {
  const auto addBlocks = CpuFeatures::For(length).hasAvx2 ? AddBlocksByAvx2 : AddBlocks;
  while (length >= kBlockSize) {
    const auto blocks =
        static_cast<int32_t>(std::min<std::size_t>(length / kBlockSize, kMaxBlocks));
    addBlocks(sums, data, blocks);
    data += int64_t{blocks} * kBlockSize;
    length -= static_cast<std::size_t>(blocks) * kBlockSize;
  }
}

#else

void AddWholeBlocks(Sums&, const uint8_t*&, std::size_t&) {}

#endif

}  // namespace

uint32_t Adler32(const uint8_t* data, std::size_t length, uint32_t previous) {
  Sums sums = {previous & 0xFFFF, previous >> 16};
  AddWholeBlocks(sums, data, length);
  while (length > 0) {
    const std::size_t run = std::min(length, kBytesPerReduction);
    for (std::size_t i = 0; i < run; ++i) {
      sums.a += data[i];
      sums.b += sums.a;
    }
    sums.Reduce();
    data += run;
    length -= run;
  }
  return static_cast<uint32_t>(sums.b << 16 | sums.a);
}
