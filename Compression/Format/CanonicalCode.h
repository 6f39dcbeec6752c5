// Canonical prefix codes: the code lengths alone determine the codes (RFC 1951, section 3.2.2).
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"

inline constexpr std::array<uint8_t, 256> kReversedBytes = [] {
  std::array<uint8_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (int32_t i = 0; i < 8; ++i) table[byte] |= (byte >> i & 1) << (7 - i);
  }
  return table;
}();

// The low `length` bits of `code` in reverse order. Requires: 1 <= length <= 16, no bit above them.
constexpr uint32_t ReverseBits(uint32_t code, int32_t length) {
  return (uint32_t{kReversedBytes[code & 0xFF]} << 8 | kReversedBytes[code >> 8]) >> (16 - length);
}
static_assert(ReverseBits(0b0011, 4) == 0b1100 && ReverseBits(0x4001, 15) == 0x4001);

// Writes the code of each of `symbolCount` symbols to `codes`, from their `lengths` in bits. Codes
// stand bit-reversed, first bit lowest, as the bit streams carry them; a symbol of length 0 has no
// code and gets 0. False: a length is above kMaxCodeLength, or the lengths ask for more codes than
// there are; `codes` is then undefined. A set of lengths that leaves codes unused is fine.
// Requires: symbolCount <= kLiteralLengthSymbols.
[[nodiscard]] constexpr bool AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount,
                                                  uint16_t* codes) {
  std::array<uint32_t, kMaxCodeLength + 1> counts{};
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    if (lengths[symbol] > kMaxCodeLength) return false;
    ++counts[lengths[symbol]];
  }
  counts[0] = 0;

  std::array<uint32_t, kMaxCodeLength + 1> nextCodes{};
  for (int32_t length = 1; length <= kMaxCodeLength; ++length) {
    nextCodes[length] = (nextCodes[length - 1] + counts[length - 1]) << 1;
  }

  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    const int32_t length = lengths[symbol];
    if (length == 0) {
      codes[symbol] = 0;
      continue;
    }
    const uint32_t code = nextCodes[length]++;
    if (code >> length != 0) return false;
    codes[symbol] = static_cast<uint16_t>(ReverseBits(code, length));
  }
  return true;
}
