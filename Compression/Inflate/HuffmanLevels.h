// A prefix code as a tree of small tables, each of which takes the bits from one code length in use
// to the next, so that a symbol never costs more bits than its code has. For reading near the end
// of the input, where there are no bits to spare; and for the patterns that no code begins with.
//
// Deliberate: such a pattern decodes as symbol 0, as in HuffmanDecodeTable, and consumes the bits
// that were read on the way.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Core/Array.h"

class HuffmanLevels {
 public:
  static constexpr int32_t kNoSymbol = -1;

  // Makes the tree of the canonical code with these code lengths. False: all lengths are 0, one is
  // above kMaxCodeLength, they ask for more codes than there are, or there is no memory.
  // Requires: symbolCount <= kLiteralLengthSymbols.
  [[nodiscard]] bool Build(const uint8_t* lengths, int32_t symbolCount);

  // Reads one symbol. kNoSymbol: the input ended first; the levels that were read stay consumed.
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

  // A slot holds a symbol or a link to a subtable. One that no code leads to holds symbol 0, from
  // the start: marking it first and replacing the mark later made a block with the largest tables
  // ten times as dear.
  static constexpr int16_t kUnassigned = 0;
  static int16_t LinkTo(int32_t subtable) { return static_cast<int16_t>(-2 - subtable); }
  static int32_t LinkedSubtable(int16_t link) { return -2 - link; }

  Core::Array<Subtable> subtables_;  // the first is the root
  Core::Array<int16_t> slots_;
};
