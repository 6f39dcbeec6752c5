// Adler-32, the checksum of a zlib stream (RFC 1950, section 8.2).
#pragma once

#include <cstddef>
#include <cstdint>

// The checksum of a zlib stream before its first byte.
constexpr uint32_t kAdler32Initial = 1;

// The checksum of the `length` bytes at `data`, continued from `previous`. Null data is allowed
// when `length` is 0. Both halves of the result are below 65,521, whatever those of `previous` are.
uint32_t Adler32(const uint8_t* data, std::size_t length, uint32_t previous);
