// A Huffman code for encoding: the bits of every symbol, made from frequencies or from given
// lengths (RFC 1951, section 3.2.2).
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Deflate/HuffmanTree.h"
#include "Compression/Format/CanonicalCode.h"

// A symbol's bits as the bit writer wants them: the code's first bit is bit 0.
struct HuffmanCode {
  uint16_t bits;
  uint8_t length;  // in bits; 0: the symbol has no code
};

class HuffmanEncodeTable {
 public:
  // Makes the code of `symbolCount` symbols with these frequencies, at most `maxLength` bits long.
  // HuffmanTree::Build says which symbols get a code and what the arguments are limited to. `tree`
  // is work space; it holds the tree afterwards and may serve many tables.
  void BuildFromFrequencies(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength,
                            HuffmanTree& tree);

  // Makes the canonical code of the given lengths. False: a length is above kMaxCodeLength, or the
  // code is over-subscribed. Requires: symbolCount <= HuffmanTree::kMaxSymbols.
  [[nodiscard]] constexpr bool AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount) {
    uint16_t bits[HuffmanTree::kMaxSymbols] = {};
    if (!::AssignCanonicalCodes(lengths, symbolCount, bits)) return false;
    for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
      codes_[symbol] = {bits[symbol], lengths[symbol]};
    }
    return true;
  }

  const HuffmanCode& operator[](int32_t symbol) const { return codes_[symbol]; }
  int32_t LengthOf(int32_t symbol) const { return codes_[symbol].length; }

 private:
  std::array<HuffmanCode, HuffmanTree::kMaxSymbols> codes_{};
};

// The two codes of a fixed block (RFC 1951, section 3.2.6).
constexpr void BuildFixedTables(HuffmanEncodeTable& literals, HuffmanEncodeTable& distances) {
  // Cannot fail: the published lengths fill the code space exactly.
  static_cast<void>(literals.AssignCanonicalCodes(
      kFixedLiteralLengths.data(), static_cast<int32_t>(kFixedLiteralLengths.size())));
  static_cast<void>(distances.AssignCanonicalCodes(
      kFixedDistanceLengths.data(), static_cast<int32_t>(kFixedDistanceLengths.size())));
}
