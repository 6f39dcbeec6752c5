// CRC-32, the checksum of PNG chunks and gzip streams (PNG, annex D; RFC 1952, section 8).
#pragma once

#include <cstddef>
#include <cstdint>

// The CRC of the `length` bytes at `data`, continued from `crc`: 0 for the first piece, the
// previous result for each further one. Null data returns `crc` unchanged.
uint32_t Crc32(const uint8_t* data, std::size_t length, uint32_t crc);
