// A Huffman code as a tree of small tables, for reading near the end of the input: a symbol never
// asks for more bits than its code has. The tables of a level take the bits between one code length
// in use and the next one in use.
//
// Deliberate: a pattern without a code decodes as symbol 0, as in HuffmanDecodeTable, and consumes
// the bits that were read on the way.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Core/Array.h"

class HuffmanLevels {
 public:
  static constexpr int32_t kNoSymbol = -1;

  // Builds the tree of the canonical code with these code lengths. False: all lengths are 0, one is
  // above kMaxCodeLength, the code is over-subscribed, or there is no memory.
  // Requires: symbolCount <= kLiteralLengthSymbols.
  [[nodiscard]] bool Build(const uint8_t* lengths, int32_t symbolCount);

  // Reads one symbol. kNoSymbol: the input ended first; the bits of the levels read are consumed.
  int32_t ReadSymbol(BitReader& reader) const;

 private:
  // The tables stand one after the other in slots_.
  struct Subtable {
    int32_t offset;
    int32_t indexBits;
  };

  struct Code;

  [[nodiscard]] bool InsertCode(const Code& code, int32_t symbol, const uint8_t* levelBits);
  [[nodiscard]] bool AddSubtable(int32_t indexBits);

  // A slot holds a symbol or a link to a subtable. A slot without a code holds symbol 0 from the
  // start; a mark to be replaced later made a block with the largest tables ten times as slow.
  static constexpr int16_t kUnassigned = 0;
  static int16_t LinkTo(int32_t subtable) { return static_cast<int16_t>(-2 - subtable); }
  static int32_t LinkedSubtable(int16_t link) { return -2 - link; }

  Core::Array<Subtable> subtables_;  // the first is the root
  Core::Array<int16_t> slots_;
};
