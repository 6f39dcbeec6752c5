// Numbers in byte buffers: little-endian for deflate and the searches of its encoder, big-endian
// for PNG and zlib. The shifts do not depend on the machine's byte order, and compile to single
// loads and stores.
#pragma once

#include <cstdint>

namespace Core {

constexpr uint32_t LoadLittle32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
         uint32_t{bytes[3]} << 24;
}

constexpr uint64_t LoadLittle64(const uint8_t* bytes) {
  return LoadLittle32(bytes) | uint64_t{LoadLittle32(bytes + 4)} << 32;
}

constexpr void StoreLittle32(uint8_t* bytes, uint32_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
  bytes[2] = static_cast<uint8_t>(value >> 16);
  bytes[3] = static_cast<uint8_t>(value >> 24);
}

constexpr void StoreLittle64(uint8_t* bytes, uint64_t value) {
  StoreLittle32(bytes, static_cast<uint32_t>(value));
  StoreLittle32(bytes + 4, static_cast<uint32_t>(value >> 32));
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

constexpr uint32_t SwapBytes32(uint32_t value) {
  return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

}  // namespace Core
