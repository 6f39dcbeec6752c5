// Canonical prefix codes: the code lengths alone determine the codes (RFC 1951, section 3.2.2).
#pragma once

#include <cstdint>

// Writes the code of each of `symbolCount` symbols to `codes`, from their `lengths` in bits. Codes
// stand bit-reversed, first bit lowest, as the bit streams carry them; a symbol of length 0 has no
// code and gets 0. False: a length is above kMaxCodeLength, or the lengths ask for more codes than
// there are; `codes` is then undefined. A set of lengths that leaves codes unused is fine.
// Requires: symbolCount <= kLiteralLengthSymbols.
[[nodiscard]] bool AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount,
                                        uint16_t* codes);
