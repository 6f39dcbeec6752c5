// A prefix code in the two forms in which it is decoded.
//
// The direct form wants as many bits in hand as the longest code has, and tells symbol and code
// length at once, by one table for the codes of up to 10 bits. The levels are for reading near the
// end of the input, and for the rare codes that are longer: a tree of small tables, each of which
// takes the bits from one code length in use to the next, so that a symbol never costs more bits
// than its code has. So a block of a few symbols with long codes costs no table of 2^15 entries.
//
// Deliberate: a bit pattern that no code begins with decodes as symbol 0, where most decoders fail.
// Streams with incomplete codes are accepted, and what they decode to depends on it. The two forms
// differ in what such a pattern consumes: the direct table the length of symbol 0's code, which may
// be nothing; the levels the bits that were read on the way.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/BitReader.h"
#include "Compression/DeflateFormat.h"
#include "Core/Array.h"

class HuffmanTable {
 public:
  static constexpr int32_t kNoSymbol = -1;

  struct DirectEntry {
    uint16_t symbol : 12;
    uint16_t length : 4;  // of its code, in bits
  };

  // Makes the table of the canonical code with these code lengths. False: all lengths are 0, one is
  // above kMaxCodeLength, they ask for more codes than there are, or there is no memory; the table
  // must then be built anew before it is used. Requires: symbolCount <= kLiteralLengthSymbols.
  [[nodiscard]] bool Build(const uint8_t* lengths, int32_t symbolCount);

  // The longest code, in bits.
  int32_t MaxLength() const { return maxLength_; }

  // The symbol that MaxLength() `bits` begin with.
  DirectEntry Find(uint32_t bits) const {
    const DirectEntry entry = direct_[static_cast<int32_t>(bits) & (direct_.Size() - 1)];
    return entry.symbol == kLongCode ? FindLong(bits) : entry;
  }

  // Reads one symbol through the levels. kNoSymbol: the input ended first; the levels that were
  // read stay consumed.
  int32_t ReadSymbol(BitReader& reader) const;

  // The bits that every symbol takes at least when read through the levels.
  int32_t FirstLevelBits() const { return subtables_[0].indexBits; }

 private:
  // Level tables stand one after the other in slots_.
  struct Subtable {
    int32_t offset;
    int32_t indexBits;
  };

  struct Code;

  static constexpr int32_t kMaxDirectBits = 10;
  static constexpr uint16_t kLongCode = 0xFFF;  // in place of a symbol: ask the levels

  DirectEntry FindLong(uint32_t bits) const;
  [[nodiscard]] bool BuildDirect(const Code* codes, int32_t symbolCount);
  [[nodiscard]] bool BuildLevels(const Code* codes, int32_t symbolCount);
  [[nodiscard]] bool InsertCode(const Code& code, int32_t symbol, const uint8_t* levelBits);
  [[nodiscard]] bool AddSubtable(int32_t indexBits);

  // A slot holds a symbol or a link to a subtable. One that no code leads to holds symbol 0, from
  // the start: marking it first and replacing the mark later made a block with the largest tables
  // ten times as dear.
  static constexpr int16_t kUnassigned = 0;
  static int16_t LinkTo(int32_t subtable) { return static_cast<int16_t>(-2 - subtable); }
  static int32_t LinkedSubtable(int16_t link) { return -2 - link; }

  Array<Subtable> subtables_;  // the first is the root
  Array<int16_t> slots_;
  Array<DirectEntry> direct_;  // a power of two
  int32_t maxLength_ = 0;
  std::array<uint8_t, kLiteralLengthSymbols> lengths_;  // code lengths, by symbol
};
