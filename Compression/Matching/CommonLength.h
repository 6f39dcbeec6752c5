// The comparison of two places in the window, which every search for matches ends in.
#pragma once

#include <bit>
#include <cstdint>

#include "Core/Endian.h"

// The number of leading bytes, at most `maxLength`, in which two places agree; the first `known`
// bytes are known to.
inline int32_t CommonLength(const uint8_t* there, const uint8_t* here, int32_t known,
                            int32_t maxLength) {
  int32_t length = known;
  while (length + 8 <= maxLength) {
    const uint64_t difference =
        Core::LoadLittle64(there + length) ^ Core::LoadLittle64(here + length);
    if (difference != 0) return length + std::countr_zero(difference) / 8;
    length += 8;
  }
  while (length < maxLength && there[length] == here[length]) ++length;
  return length;
}
