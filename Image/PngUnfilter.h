// Undoes the filter of one PNG row.
#pragma once

#include <cstdint>

// Restores the `length` bytes of `row` in place from `previous`, the restored row above it; null
// stands for zeros, as above the first row of a pass. `unit` is the size of a pixel, or 1 where
// pixels share bytes. False: there is no such filter. Requires: length is a multiple of unit and
// not 0, and unit is 1, 2, 3, 4, 6 or 8.
[[nodiscard]] bool UnfilterPngRow(uint8_t filter, uint8_t* row, const uint8_t* previous,
                                  int32_t length, int32_t unit);
