// An entry of a decoding table, in one 32-bit word: how many of the next bits to take, and what
// they mean.
//
//   31        16 15 14 13 12 11     8 7 6 5         0
//   |  value    |  flags    | code   |0 0| all bits  |
//
// `code` is the length of the code in bits; `all bits` adds the extra bits that follow the code.
// The value is a literal, the base of a length or a distance, or the index that a link leads to.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"

class DecodeEntry {
 public:
  enum Flag : uint32_t {
    kLiteral = 1 << 12,
    kLink = 1 << 13,     // leads to a second table: the code is longer than the first one's index
    kSpecial = 1 << 14,  // not for the fast loop: one of the kinds below, or a link
    kLong = kLink | kSpecial,
  };

  // The kinds of special entries, as values. An unassigned pattern has the code length of symbol 0,
  // and its value as a literal. The last two stand in no table: only ReadCarefully returns them.
  enum Kind : uint32_t { kUnassigned = 0, kBlockEnd, kInvalid, kInputEnd, kNoMemory };

  // Uninitialised: tables are large, and written before they are read.
  // cppcheck-suppress uninitMemberVar
  constexpr DecodeEntry() = default;
  constexpr DecodeEntry(uint32_t value, uint32_t flags, int32_t extraBits)
      : word_(value << kValueShift | flags | static_cast<uint32_t>(extraBits)) {}
  static constexpr DecodeEntry Special(Kind kind) { return {kind, kSpecial, 0}; }

  // The same meaning with a code of `length` bits.
  constexpr DecodeEntry WithCode(uint32_t length) const {
    DecodeEntry entry = *this;
    entry.word_ += length << kCodeShift | length;
    return entry;
  }

  constexpr bool Has(Flag flag) const { return (word_ & flag) != 0; }
  constexpr bool IsSpecial(Kind kind) const { return Has(kSpecial) && Value() == kind; }
  constexpr uint32_t Value() const { return word_ >> kValueShift; }
  constexpr uint32_t AllBits() const { return static_cast<uint8_t>(word_); }
  constexpr uint32_t CodeBits() const { return word_ >> kCodeShift & 15; }
  constexpr int32_t ExtraBits() const { return static_cast<int32_t>(AllBits() - CodeBits()); }

  // The extra bits, which follow the code in `bits`; and the value plus these.
  constexpr uint32_t ExtraIn(uint64_t bits) const {
    return static_cast<uint32_t>((bits & ((uint64_t{1} << AllBits()) - 1)) >> CodeBits());
  }
  constexpr uint32_t ValueIn(uint64_t bits) const { return Value() + ExtraIn(bits); }

  constexpr bool operator==(const DecodeEntry& other) const = default;

 private:
  static constexpr int32_t kCodeShift = 8;
  static constexpr int32_t kValueShift = 16;

  uint32_t word_;
};

// The meanings of the symbols of an alphabet, which are fixed; the codes differ from block to
// block.
using DecodeMeanings = std::array<DecodeEntry, kLiteralLengthSymbols>;

constexpr DecodeMeanings MakeLiteralLengthMeanings() {
  DecodeMeanings meanings;
  meanings.fill(DecodeEntry::Special(DecodeEntry::kInvalid));
  for (uint32_t byte = 0; byte < kEndOfBlock; ++byte) {
    meanings[byte] = DecodeEntry(byte, DecodeEntry::kLiteral, 0);
  }
  meanings[kEndOfBlock] = DecodeEntry::Special(DecodeEntry::kBlockEnd);
  for (int32_t i = 0; i < kLengthRangeCount; ++i) {
    meanings[kFirstLengthSymbol + i] =
        DecodeEntry(kLengthRanges[i].base, 0, kLengthRanges[i].extraBits);
  }
  return meanings;
}

constexpr DecodeMeanings MakeDistanceMeanings() {
  DecodeMeanings meanings;
  meanings.fill(DecodeEntry::Special(DecodeEntry::kInvalid));
  for (int32_t i = 0; i < kDistanceRangeCount; ++i) {
    meanings[i] = DecodeEntry(kDistanceRanges[i].base, 0, kDistanceRanges[i].extraBits);
  }
  return meanings;
}

// Each symbol stands for itself; the three repeat symbols have extra bits.
constexpr DecodeMeanings MakeCodeLengthMeanings() {
  DecodeMeanings meanings;
  meanings.fill(DecodeEntry::Special(DecodeEntry::kInvalid));
  for (int32_t i = 0; i < kCodeLengthSymbols; ++i) {
    const int32_t repeat = i - kRepeatPreviousLength;
    const int32_t extraBits = repeat < 0 ? 0 : kRepeatRanges[repeat].extraBits;
    meanings[i] = DecodeEntry(static_cast<uint32_t>(i), 0, extraBits);
  }
  return meanings;
}

inline constexpr DecodeMeanings kLiteralLengthMeanings = MakeLiteralLengthMeanings();
inline constexpr DecodeMeanings kDistanceMeanings = MakeDistanceMeanings();
inline constexpr DecodeMeanings kCodeLengthMeanings = MakeCodeLengthMeanings();
