// The baseline: a straightforward program on libpng and zlib.
#pragma once

#include "Benchmarks/Peers/Picture.h"

namespace baseline {

// Every format that libpng reads; 16-bit samples keep their upper byte. Throws on bad files.
Picture Decode(const Bytes& file);

// The repair in the required order, written plainly: each neighbour is tested against the bounds.
// Returns the number of pixels that were given a colour.
std::size_t Repair(Picture& picture);

// Level 9. No row filters, or with `isFiltered` those that libpng chooses.
Bytes Encode(const Picture& picture, bool isFiltered = false);

}  // namespace baseline
