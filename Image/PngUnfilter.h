// Undoes the filter of one PNG row.
#pragma once

#include <cstdint>

// Restores the `length` bytes of `row` in place. `previous` is the restored row above it; null
// means zeros, for the first row of a pass. `unit` is the size of a pixel in bytes, or 1 where
// several pixels share a byte. False: there is no such filter.
// Requires: unit is 1, 2, 3, 4, 6 or 8, and length is a multiple of unit and not 0.
[[nodiscard]] bool UnfilterPngRow(uint8_t filter, uint8_t* row, const uint8_t* previous,
                                  int32_t length, int32_t unit);
