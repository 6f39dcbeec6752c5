#include "Compression/Checksums/Crc32.h"

#include <array>

#include "Compression/CpuFeatures.h"
#include "Core/Endian.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // reflected: the highest power is bit 0

// A polynomial times x, modulo kPolynomial.
constexpr uint32_t TimesX(uint32_t polynomial) {
  return (polynomial & 1) != 0 ? polynomial >> 1 ^ kPolynomial : polynomial >> 1;
}

// Row k: what a byte becomes with k zero bytes behind it.
using Tables = std::array<std::array<uint32_t, 256>, 8>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = TimesX(crc);
    tables[0][byte] = crc;
  }
  for (std::size_t row = 1; row < tables.size(); ++row) {
    for (uint32_t byte = 0; byte < 256; ++byte) {
      const uint32_t crc = tables[row - 1][byte];
      tables[row][byte] = tables[0][crc & 0xFF] ^ crc >> 8;
    }
  }
  return tables;
}

constexpr Tables kTables = MakeTables();
static_assert(kTables[0][1] == 0x77073096);

// These work on the remainder itself, which a CRC is the complement of. Eight bytes at a time: the
// remainder of a sum is the sum of the remainders, and each byte has seven to none behind it.
uint32_t ByTables(const uint8_t* data, std::size_t length, uint32_t remainder) {
  for (; length >= 8; length -= 8, data += 8) {
    const uint32_t low = remainder ^ Core::LoadLittle32(data);
    const uint32_t high = Core::LoadLittle32(data + 4);
    remainder = kTables[7][low & 0xFF] ^ kTables[6][low >> 8 & 0xFF] ^
                kTables[5][low >> 16 & 0xFF] ^ kTables[4][low >> 24] ^ kTables[3][high & 0xFF] ^
                kTables[2][high >> 8 & 0xFF] ^ kTables[1][high >> 16 & 0xFF] ^
                kTables[0][high >> 24];
  }
  for (; length > 0; --length, ++data) {
    remainder = kTables[0][(remainder ^ *data) & 0xFF] ^ remainder >> 8;
  }
  return remainder;
}

#if defined(__SSE2__)

// Folding: 16 bytes are 128 bits of a polynomial, and with d bits behind them they may be replaced
// by anything that has the same remainder, added to what stands there:
//
//   first 8 bytes * (x^(d + 32) mod P)  +  last 8 bytes * (x^(d - 32) mod P)
//
// as products without carries, each of up to 96 bits. Reflected, a product of 64 by 33 bits comes
// out where it belongs when the constants are shifted up by one. So blocks are folded onto the ones
// behind them until one is left, whose remainder the table gives.
struct FoldFactors {
  uint64_t first;
  uint64_t last;
};

constexpr uint64_t PowerOfX(int32_t exponent) {
  uint32_t power = uint32_t{1} << 31;
  for (int32_t i = 0; i < exponent; ++i) power = TimesX(power);
  return uint64_t{power} << 1;
}

constexpr FoldFactors FactorsFor(int32_t bytes) {
  return {PowerOfX(8 * bytes + 32), PowerOfX(8 * bytes - 32)};
}

constexpr FoldFactors kFold16 = FactorsFor(16);
constexpr FoldFactors kFold64 = FactorsFor(64);
constexpr FoldFactors kFold128 = FactorsFor(128);
static_assert(kFold16.first == 0x1751997D0 && kFold16.last == 0x0CCAA009E);
static_assert(kFold64.first == 0x154442BD4 && kFold64.last == 0x1C6E41596);

#define HALOMEND_PCLMUL __attribute__((target("pclmul")))
#define HALOMEND_VPCLMUL __attribute__((target("avx2,pclmul,vpclmulqdq")))

HALOMEND_PCLMUL inline __m128i LoadBlock(const uint8_t* data) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
}

HALOMEND_VPCLMUL inline __m256i LoadPair(const uint8_t* data) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data));
}

HALOMEND_PCLMUL inline __m128i Factors(const FoldFactors& factors) {
  return _mm_set_epi64x(static_cast<int64_t>(factors.last), static_cast<int64_t>(factors.first));
}

HALOMEND_PCLMUL inline __m128i Fold(__m128i block, __m128i factors, __m128i onto) {
  return _mm_xor_si128(onto, _mm_xor_si128(_mm_clmulepi64_si128(block, factors, 0x00),
                                           _mm_clmulepi64_si128(block, factors, 0x11)));
}

// Folds `count` blocks that stand one after the other, and what follows them, into one; then the
// table takes the rest.
HALOMEND_PCLMUL uint32_t Finish(const __m128i* blocks, int32_t count, const uint8_t* data,
                                std::size_t length) {
  const __m128i factors = Factors(kFold16);
  __m128i block = blocks[0];
  for (int32_t i = 1; i < count; ++i) block = Fold(block, factors, blocks[i]);
  for (; length >= 16; length -= 16, data += 16) block = Fold(block, factors, LoadBlock(data));
  uint8_t bytes[16];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), block);
  return ByTables(data, length, ByTables(bytes, sizeof bytes, 0));
}

// Four blocks at a time, as each product takes longer than to begin the next. The remainder so far
// is added to the first four bytes. Requires: length >= 64.
HALOMEND_PCLMUL uint32_t ByFolding(const uint8_t* data, std::size_t length, uint32_t remainder) {
  constexpr std::size_t kStep = 64;
  const __m128i factors = Factors(kFold64);
  __m128i blocks[4];
  for (int64_t i = 0; i < 4; ++i) blocks[i] = LoadBlock(data + 16 * i);
  blocks[0] = _mm_xor_si128(blocks[0], _mm_cvtsi32_si128(static_cast<int32_t>(remainder)));
  for (data += kStep, length -= kStep; length >= kStep; data += kStep, length -= kStep) {
    for (int64_t i = 0; i < 4; ++i) blocks[i] = Fold(blocks[i], factors, LoadBlock(data + 16 * i));
  }
  return Finish(blocks, 4, data, length);
}

// The same in pairs of blocks. Requires: length >= 128.
HALOMEND_VPCLMUL uint32_t ByWideFolding(const uint8_t* data, std::size_t length,
                                        uint32_t remainder) {
  constexpr std::size_t kStep = 128;
  const __m256i factors = _mm256_broadcastsi128_si256(Factors(kFold128));
  __m256i pairs[4];
  for (int64_t i = 0; i < 4; ++i) pairs[i] = LoadPair(data + 32 * i);
  const __m128i start = _mm_cvtsi32_si128(static_cast<int32_t>(remainder));
  pairs[0] = _mm256_xor_si256(pairs[0], _mm256_zextsi128_si256(start));
  for (data += kStep, length -= kStep; length >= kStep; data += kStep, length -= kStep) {
    for (int64_t i = 0; i < 4; ++i) {
      const __m256i products = _mm256_xor_si256(_mm256_clmulepi64_epi128(pairs[i], factors, 0x00),
                                                _mm256_clmulepi64_epi128(pairs[i], factors, 0x11));
      pairs[i] = _mm256_xor_si256(products, LoadPair(data + 32 * i));
    }
  }
  __m128i blocks[8];
  for (int64_t i = 0; i < 4; ++i) {
    blocks[2 * i] = _mm256_castsi256_si128(pairs[i]);
    blocks[2 * i + 1] = _mm256_extracti128_si256(pairs[i], 1);
  }
  return Finish(blocks, 8, data, length);
}

constexpr std::size_t kMinFolded = 128;

uint32_t ByBestMeans(const uint8_t* data, std::size_t length, uint32_t remainder) {
  const CpuFeatures& features = CpuFeatures::For(length);
  if (length < kMinFolded || !features.hasCarrylessMultiply) {
    return ByTables(data, length, remainder);
  }
  if (features.hasWideCarrylessMultiply) return ByWideFolding(data, length, remainder);
  return ByFolding(data, length, remainder);
}

#else

constexpr auto ByBestMeans = ByTables;

#endif

}  // namespace

uint32_t Crc32(const uint8_t* data, std::size_t length, uint32_t crc) {
  return data == nullptr ? crc : ~ByBestMeans(data, length, ~crc);
}
