#include "Compression/Crc32.h"

#include <array>

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // reflected

constexpr std::array<uint32_t, 256> MakeTable() {
  std::array<uint32_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ kPolynomial : crc >> 1;
    table[byte] = crc;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kTable = MakeTable();
static_assert(kTable[1] == 0x77073096);

}  // namespace

uint32_t Crc32(const uint8_t* data, std::size_t length, uint32_t crc) {
  if (data == nullptr) return crc;
  crc = ~crc;
  for (std::size_t i = 0; i < length; ++i) crc = kTable[(crc ^ data[i]) & 0xFF] ^ crc >> 8;
  return ~crc;
}
