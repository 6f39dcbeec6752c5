// The best known program of little effort: libdeflate wherever it fits, rows unfiltered with SSE2,
// a repair without bounds checks.
#pragma once

#include "Benchmarks/Peers/Picture.h"

namespace best_known {

// The zlib stream of a file: the data of its IDAT chunks. Throws on bad files.
Bytes ImageStream(const Bytes& file);

// The size of the decompressed stream. Throws for interlaced files, which no peer needs.
std::size_t ImageDataSize(const Bytes& file);

// Reads files without interlace, of 8 and 16 bits in any colour type and of fewer bits with a
// palette, as in Pictures.tsv. Throws on other and on bad files.
Picture Decode(const Bytes& file);

// Like baseline::Repair.
std::size_t Repair(Picture& picture);

// Level 9, no row filters.
Bytes Encode(const Picture& picture);

// The rows as PNG compresses them, each after a filter byte 0.
Bytes RawImage(const Picture& picture);

// Restores one row from `in` to `out`, which may be the same; `above` is the restored row before.
// Requires: unit, the bytes of a pixel, is 1, 2, 3, 4, 6 or 8, and length is a multiple of it.
void UnfilterRow(int filter, const uint8_t* in, uint8_t* out, const uint8_t* above,
                 std::size_t length, int unit);

}  // namespace best_known
