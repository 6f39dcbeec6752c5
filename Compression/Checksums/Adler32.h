// Adler-32 as zlib uses it (RFC 1950, section 8.2).
#pragma once

#include <cstddef>
#include <cstdint>

// The checksum of a zlib stream before its first byte.
constexpr uint32_t kAdler32Initial = 1;

// The checksum of `length` bytes at `data` continued from `previous`.
uint32_t Adler32(const uint8_t* data, std::size_t length, uint32_t previous);
