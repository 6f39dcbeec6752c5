// The best that is known to be done with little effort: libdeflate for all that it offers, rows
// unfiltered with SSE2, a repair without bounds checks.
#pragma once

#include "Benchmarks/Peers/Picture.h"

namespace best_known {

// The zlib stream of a file: the data of its IDAT chunks. Throws on bad files.
Bytes ImageStream(const Bytes& file);

// What the stream holds when decompressed. Throws for interlaced files, which no peer needs.
std::size_t ImageDataSize(const Bytes& file);

// Files without interlace, of the colour types and depths in Pictures.tsv and their like: 8 and 16
// bits of any colour type, palettes also with fewer bits. Throws on other and on bad files.
Picture Decode(const Bytes& file);

// As baseline::Repair.
std::size_t Repair(Picture& picture);

// Level 9, filter none.
Bytes Encode(const Picture& picture);

// The rows as PNG has them before compression, filter byte 0 before each.
Bytes RawImage(const Picture& picture);

// One row, from `in` to `out`, which may be the same; `above` is the row before, restored.
// Requires: unit, the bytes of a pixel, is 1, 2, 3, 4, 6 or 8, and length a multiple of it.
void UnfilterRow(int filter, const uint8_t* in, uint8_t* out, const uint8_t* above,
                 std::size_t length, int unit);

}  // namespace best_known
