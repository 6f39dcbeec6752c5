// Reads the chunks of a PNG file and checks their CRCs.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

struct PngChunk {
  uint32_t type;   // as in the file, letter case included
  int32_t length;  // of the data, in bytes
};

// Reads the header of the next chunk. False: the file ends, the length is above 2^31 - 1, or the
// type's reserved bit is set.
[[nodiscard]] bool ReadChunkHeader(Core::Stream& in, PngChunk& chunk);

// Appends the data of `chunk` to `data` and reads the CRC after it. False: the file ends, the CRC
// is wrong, or there is no memory. Memory is taken as the bytes arrive, not by the length claimed.
[[nodiscard]] bool ReadChunkData(Core::Stream& in, const PngChunk& chunk, Core::ByteArray& data);
