// A Huffman code for writing: the bits of every symbol, made from frequencies or from given lengths
// (RFC 1951, section 3.2.2).
#pragma once

#include <array>
#include <cstdint>

#include "Compression/HuffmanTree.h"

// A symbol's bits as the bit writer wants them: the code's first bit is bit 0.
struct HuffmanCode {
  uint16_t bits;
  uint8_t length;  // in bits; 0: the symbol has no code
};

class HuffmanCodeTable {
 public:
  // Makes the code of `symbolCount` symbols of these frequencies, no longer than `maxLength` bits.
  // Which symbols get a code, and the limits of the arguments: HuffmanTree::Build.
  void BuildFromFrequencies(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength);

  // Makes the canonical code of the given lengths. False: a length above 15, or more codes than
  // there are bit patterns. Requires: symbolCount <= HuffmanTree::kMaxSymbols.
  [[nodiscard]] bool AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount);

  const HuffmanCode& operator[](int32_t symbol) const { return codes_[symbol]; }
  int32_t LengthOf(int32_t symbol) const { return codes_[symbol].length; }

  // Prints the tree of the last BuildFromFrequencies below `node` to standard output, a line a
  // node, left to right and indented by `depth` and more; a debugging aid. A negative node prints
  // nothing.
  void DumpTree(int32_t node, int32_t depth) const;
  int32_t Root() const { return tree_.Root(); }

 private:
  std::array<HuffmanCode, HuffmanTree::kMaxSymbols> codes_{};
  HuffmanTree tree_;
};

// The two codes of a fixed block (RFC 1951, section 3.2.6).
void BuildFixedTables(HuffmanCodeTable& literals, HuffmanCodeTable& distances);
