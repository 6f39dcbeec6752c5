#include "Compression/CanonicalCode.h"

#include <array>

#include "Compression/DeflateFormat.h"

namespace {

constexpr std::array<uint8_t, 256> kReversedBytes = [] {
  std::array<uint8_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    for (int32_t i = 0; i < 8; ++i) table[byte] |= (byte >> i & 1) << (7 - i);
  }
  return table;
}();

// Requires: 1 <= length <= 16.
uint16_t ReverseBits(uint32_t code, int32_t length) {
  const uint32_t reversed = kReversedBytes[code & 0xFF] << 8 | kReversedBytes[code >> 8];
  return static_cast<uint16_t>(reversed >> (16 - length));
}

}  // namespace

bool AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount, uint16_t* codes) {
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
    codes[symbol] = ReverseBits(code, length);
  }
  return true;
}
