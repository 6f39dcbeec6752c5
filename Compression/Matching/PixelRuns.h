// Runs of one pixel: stretches in which every byte equals the one four bytes before it. Much of a
// picture is such a run, and every pixel of it is a link of the same hash chain.
#pragma once

#include <bit>
#include <cstdint>

#include "Compression/Matching/CommonLength.h"
#include "Core/Endian.h"

namespace PixelRuns {

constexpr int32_t kPixelBytes = 4;

// The period of a run of the pixel `word` in bytes: 1, 2 or 4.
inline int32_t PeriodOf(uint32_t word) {
  return word == std::rotl(word, 8) ? 1 : word == std::rotl(word, 16) ? 2 : kPixelBytes;
}

// The number of bytes from `bytes` on, at most `maxCount`, that equal the byte four bytes later.
inline int32_t After(const uint8_t* bytes, int32_t maxCount) {
  return CommonLength(bytes, bytes + kPixelBytes, 0, maxCount);
}

// The number of bytes before `bytes`, at most `maxCount`, that equal the byte four bytes later.
inline int32_t Before(const uint8_t* bytes, int32_t maxCount) {
  int32_t count = 0;
  while (count + 8 <= maxCount) {
    const uint64_t difference =
        Core::LoadLittle64(bytes - count - 8) ^ Core::LoadLittle64(bytes - count - 4);
    if (difference != 0) return count + std::countl_zero(difference) / 8;
    count += 8;
  }
  while (count < maxCount && bytes[-1 - count] == bytes[kPixelBytes - 1 - count]) ++count;
  return count;
}

}  // namespace PixelRuns
