// Numbers in byte buffers: little-endian for deflate and the searches of its encoder, big-endian
// for PNG and zlib. The results do not depend on the machine's byte order.
//
// Little-endian words, those of the hot loops, are copied whole. From shifts g++ 12 makes a load
// for each byte where two words overlap, and clang 14 a store for each byte in loops. The
// big-endian ones stand outside loops, and both make single loads and stores of them.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace Core {

constexpr uint32_t SwapBytes32(uint32_t value) {
  return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

constexpr uint64_t SwapBytes64(uint64_t value) {
  return uint64_t{SwapBytes32(static_cast<uint32_t>(value))} << 32 |
         SwapBytes32(static_cast<uint32_t>(value >> 32));
}

inline constexpr bool kIsLittleEndian = std::endian::native == std::endian::little;

inline uint32_t LoadLittle32(const uint8_t* bytes) {
  uint32_t word;
  std::memcpy(&word, bytes, sizeof word);
  return kIsLittleEndian ? word : SwapBytes32(word);
}

inline uint64_t LoadLittle64(const uint8_t* bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return kIsLittleEndian ? word : SwapBytes64(word);
}

inline void StoreLittle32(uint8_t* bytes, uint32_t value) {
  const uint32_t word = kIsLittleEndian ? value : SwapBytes32(value);
  std::memcpy(bytes, &word, sizeof word);
}

inline void StoreLittle64(uint8_t* bytes, uint64_t value) {
  const uint64_t word = kIsLittleEndian ? value : SwapBytes64(value);
  std::memcpy(bytes, &word, sizeof word);
}

constexpr uint32_t LoadBig32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
         uint32_t{bytes[3]};
}

constexpr uint16_t LoadBig16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

constexpr void StoreBig32(uint8_t* bytes, uint32_t value) {
  bytes[0] = static_cast<uint8_t>(value >> 24);
  bytes[1] = static_cast<uint8_t>(value >> 16);
  bytes[2] = static_cast<uint8_t>(value >> 8);
  bytes[3] = static_cast<uint8_t>(value);
}

}  // namespace Core
