// Chunks of a PNG file, with their CRC tested.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

struct PngChunk {
  uint32_t type;   // as it stands in the file
  int32_t length;  // of the data, in bytes
};

// Reads the header of the next chunk. False: the file ends, or the length is above 2^31 - 1.
[[nodiscard]] bool ReadChunkHeader(Core::Stream& in, PngChunk& chunk);

// Appends the data of `chunk` to `data` and reads the CRC behind it. False: the file ends, the CRC
// is wrong, or there is no memory. Memory is taken as the bytes arrive, whatever length is claimed.
[[nodiscard]] bool ReadChunkData(Core::Stream& in, const PngChunk& chunk, Core::ByteArray& data);
