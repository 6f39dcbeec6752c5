// The baseline: what a straightforward program on libpng and zlib does.
#pragma once

#include "Benchmarks/Peers/Picture.h"

namespace baseline {

// Every format that libpng reads; 16-bit samples keep their upper byte. Throws on bad files.
Picture Decode(const Bytes& file);

// The repair in the order that is asked for, written plainly: every neighbour with its own bounds.
// Returns how many pixels were given a colour.
std::size_t Repair(Picture& picture);

// Level 9; filter none, or `isFiltered` with libpng's choice for each row.
Bytes Encode(const Picture& picture, bool isFiltered = false);

}  // namespace baseline
