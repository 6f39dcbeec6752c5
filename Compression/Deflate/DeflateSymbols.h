// From lengths and distances to the symbols that stand for them (RFC 1951, section 3.2.5).
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"

// The index of the length code of a match length, 3 to 258; the symbol is kFirstLengthSymbol more.
inline constexpr std::array<uint8_t, kMaxMatchLength + 1> kLengthIndex = [] {
  std::array<uint8_t, kMaxMatchLength + 1> table{};
  uint8_t index = 0;
  for (int32_t length = kMinMatchLength; length <= kMaxMatchLength; ++length) {
    while (index + 1 < kLengthRangeCount && kLengthRanges[index + 1].base <= length) ++index;
    table[length] = index;
  }
  return table;
}();
static_assert(kLengthIndex[3] == 0 && kLengthIndex[257] == 27 && kLengthIndex[258] == 28);

// The distance symbol of a distance, 1 to 32,768. From 4 on there are two symbols to each power of
// two, distinguished by the bit below the highest.
constexpr int32_t DistanceSymbol(int32_t distance) {
  const uint32_t offset = static_cast<uint32_t>(distance - 1);
  if (offset < 4) return static_cast<int32_t>(offset);
  const int32_t highest = static_cast<int32_t>(std::bit_width(offset)) - 1;
  return 2 * highest + static_cast<int32_t>(offset >> (highest - 1) & 1);
}
static_assert(DistanceSymbol(4) == 3 && DistanceSymbol(5) == 4 && DistanceSymbol(24576) == 28 &&
              DistanceSymbol(24577) == 29 && DistanceSymbol(32768) == 29);
