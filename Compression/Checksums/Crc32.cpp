#include "Compression/Checksums/Crc32.h"

#include <array>

#include "Core/Endian.h"

namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // reflected: the highest power is bit 0

// Row k holds what a byte contributes to the remainder when k zero bytes follow it.
using Tables = std::array<std::array<uint32_t, 256>, 8>;

constexpr Tables MakeTables() {
  Tables tables{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? crc >> 1 ^ kPolynomial : crc >> 1;
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

}  // namespace

// Slicing by eight (Kounavis and Berry, 2008): the remainder of a sum is the sum of the remainders,
// so each of eight bytes is looked up by itself, in the row for the bytes that follow it.
uint32_t Crc32(const uint8_t* data, std::size_t length, uint32_t crc) {
  if (data == nullptr) return crc;
  crc = ~crc;
  for (; length >= 8; length -= 8, data += 8) {
    const uint32_t low = crc ^ Core::LoadLittle32(data);
    const uint32_t high = Core::LoadLittle32(data + 4);
    crc = kTables[7][low & 0xFF] ^ kTables[6][low >> 8 & 0xFF] ^ kTables[5][low >> 16 & 0xFF] ^
          kTables[4][low >> 24] ^ kTables[3][high & 0xFF] ^ kTables[2][high >> 8 & 0xFF] ^
          kTables[1][high >> 16 & 0xFF] ^ kTables[0][high >> 24];
  }
  for (; length > 0; --length, ++data) crc = kTables[0][(crc ^ *data) & 0xFF] ^ crc >> 8;
  return ~crc;
}
