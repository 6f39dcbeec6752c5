#include "Compression/CanonicalCode.h"

#include <array>

#include "Compression/DeflateFormat.h"

namespace {

uint16_t ReverseBits(uint32_t code, int32_t length) {
  uint32_t reversed = 0;
  for (int32_t i = 0; i < length; ++i) reversed |= (code >> i & 1) << (length - 1 - i);
  return static_cast<uint16_t>(reversed);
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
