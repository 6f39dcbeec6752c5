// CRC-32 as PNG and gzip use it (RFC 1952, section 8; PNG, annex D).
#pragma once

#include <cstddef>
#include <cstdint>

// The CRC of `length` bytes at `data` continued from `crc`: 0 for the first piece, the previous
// result for each further one. Null data returns `crc` unchanged.
uint32_t Crc32(const uint8_t* data, std::size_t length, uint32_t crc);
