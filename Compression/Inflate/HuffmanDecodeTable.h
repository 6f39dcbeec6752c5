// A prefix code in the form in which it is decoded: a table that tells from the next bits what they
// mean and how many they are, and a second one behind it for the codes that are longer than its
// index.
//
// Deliberate: a bit pattern that no code begins with decodes as symbol 0, where most decoders fail.
// Streams with incomplete codes are accepted, and what they decode to depends on it. Here such a
// pattern consumes the length of symbol 0's code, which may be nothing; where it is read through
// the levels, it consumes the bits that were read on the way.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/DecodeEntry.h"
#include "Compression/Inflate/HuffmanLevels.h"

class HuffmanDecodeTable {
 public:
  // Longer codes are rare in pictures, and the first table is small enough for the nearest cache.
  static constexpr int32_t kMaxIndexBits = 11;

  // What a look-up needs, for a loop that keeps it in registers.
  struct View {
    const DecodeEntry* entries;
    uint32_t mask;      // of the first table's index
    int32_t indexBits;  // of the first table
    uint32_t longMask;  // of the index into a second table

    // What `bits` begin with; those above the ones held may be anything as long as the code is not
    // longer than those.
    DecodeEntry Find(uint64_t bits) const {
      const DecodeEntry entry = entries[bits & mask];
      return entry.Has(DecodeEntry::kLink) ? FindLong(entry, bits) : entry;
    }

    DecodeEntry FindLong(DecodeEntry link, uint64_t bits) const {
      return entries[link.Value() + (bits >> indexBits & longMask)];
    }
  };

  // Makes the table of the canonical code with these code lengths, for symbols of these meanings.
  // False: all lengths are 0, one is above kMaxCodeLength, or they ask for more codes than there
  // are; the table must then be built anew before it is used.
  // Requires: symbolCount <= kLiteralLengthSymbols.
  [[nodiscard]] bool Build(const uint8_t* lengths, int32_t symbolCount,
                           const DecodeMeanings& meanings);

  // The tables of fixed blocks, which stand ready.
  void UseFixedLiterals();
  void UseFixedDistances();

  View Entries() const {
    return {entries_.data(), (uint32_t{1} << indexBits_) - 1, indexBits_, longMask_};
  }

  // The bits that every symbol takes at least when it is read carefully.
  int32_t MinLength() const { return minLength_; }

  // Reads one symbol bit by bit, as the levels do: no bit is asked for that the symbol does not
  // need. The code's bits are consumed, extra bits are not. Special entries: kInputEnd when the
  // input ended first, kNoMemory when the levels could not be built.
  DecodeEntry ReadCarefully(BitReader& reader);

 private:
  // Each second table has a code of its own behind it.
  static constexpr int32_t kMaxEntries =
      (1 << kMaxIndexBits) + (kLiteralLengthSymbols << (kMaxCodeLength - kMaxIndexBits));

  template <std::size_t kEntries, std::size_t kSymbols>
  void UseFixed(const std::array<DecodeEntry, kEntries>& entries,
                const std::array<uint8_t, kSymbols>& lengths, const DecodeMeanings& meanings);
  DecodeEntry ReadThroughLevels(BitReader& reader);

  int32_t indexBits_ = 0;
  uint32_t longMask_ = 0;
  int32_t minLength_ = 0;
  bool isComplete_ = false;  // each pattern begins with a code
  bool hasLevels_ = false;   // levels_ is that of this code: it is made when it is needed
  int32_t symbolCount_ = 0;
  const DecodeMeanings* meanings_ = nullptr;
  std::array<uint8_t, kLiteralLengthSymbols> lengths_;  // of the codes, by symbol
  HuffmanLevels levels_;
  std::array<DecodeEntry, kMaxEntries> entries_;
};
