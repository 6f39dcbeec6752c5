// Runs of one pixel: stretches in which every byte equals the one four places before it. Much of a
// picture is such a run, and a hash chain passes through each of its pixels.
#pragma once

#include <bit>
#include <cstdint>

#include "Compression/Matching/CommonLength.h"
#include "Core/Endian.h"

namespace PixelRuns {

constexpr int32_t kPixelBytes = 4;

// After how many bytes a run of the pixel `word` repeats: 1, 2 or 4.
inline int32_t PeriodOf(uint32_t word) {
  return word == std::rotl(word, 8) ? 1 : word == std::rotl(word, 16) ? 2 : kPixelBytes;
}

// How many bytes from `bytes` on, at most `most`, equal the ones four places behind them.
inline int32_t Behind(const uint8_t* bytes, int32_t most) {
  return CommonLength(bytes, bytes + kPixelBytes, 0, most);
}

// How many bytes before `bytes`, at most `most`, equal the ones four places behind them.
inline int32_t Before(const uint8_t* bytes, int32_t most) {
  int32_t count = 0;
  while (count + 8 <= most) {
    const uint64_t difference =
        Core::LoadLittle64(bytes - count - 8) ^ Core::LoadLittle64(bytes - count - 4);
    if (difference != 0) return count + std::countl_zero(difference) / 8;
    count += 8;
  }
  while (count < most && bytes[-1 - count] == bytes[kPixelBytes - 1 - count]) ++count;
  return count;
}

}  // namespace PixelRuns
