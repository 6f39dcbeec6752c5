// A Huffman code for decoding, as tables: the next bits are the index of the entry that says what
// they mean and how many to take. Codes longer than the first table's index have second tables.
//
// Deliberate: a bit pattern that no code begins with decodes as symbol 0, where most decoders fail.
// So streams with incomplete codes are accepted, and their output depends on it. In the tables such
// a pattern consumes as many bits as the code of symbol 0 has, perhaps none. Read through the
// levels (HuffmanLevels) it consumes the bits that were read on the way.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/DecodeEntry.h"
#include "Compression/Inflate/HuffmanLevels.h"

class HuffmanDecodeTable {
 public:
  // In bits. Longer codes are rare in pictures, and a table of 8 KiB leaves room in the level-1
  // data cache.
  static constexpr int32_t kMaxIndexBits = 11;

  // The members that a look-up needs, for a loop that keeps them in registers.
  struct View {
    const DecodeEntry* entries;
    uint32_t mask;      // of the first table's index
    int32_t indexBits;  // of the first table
    uint32_t longMask;  // of the index into a second table

    // The entry for the code that `bits` begin with. Bits after the code do not matter.
    DecodeEntry Find(uint64_t bits) const {
      const DecodeEntry entry = entries[bits & mask];
      return entry.Has(DecodeEntry::kLink) ? FindLong(entry, bits) : entry;
    }

    DecodeEntry FindLong(DecodeEntry link, uint64_t bits) const {
      return entries[link.Value() + (bits >> indexBits & longMask)];
    }
  };

  // Builds the canonical code with these code lengths, for symbols with these meanings.
  // False: all lengths are 0, one is above kMaxCodeLength, or the code is over-subscribed; the
  // table must then be built again before it is used.
  // Requires: symbolCount <= kLiteralLengthSymbols.
  [[nodiscard]] bool Build(const uint8_t* lengths, int32_t symbolCount,
                           const DecodeMeanings& meanings);

  // The codes of fixed blocks, from tables made at compile time.
  void UseFixedLiterals();
  void UseFixedDistances();

  View Entries() const {
    return {entries_.data(), (uint32_t{1} << indexBits_) - 1, indexBits_, longMask_};
  }

  // The length of the shortest code, in bits: what ReadCarefully reads at least.
  int32_t MinLength() const { return minLength_; }

  // Reads one symbol, asking for no bit that it does not need: as the levels would do it.
  // Consumes the code's bits but no extra bits. Special entries: kInputEnd when the input ended
  // first, kNoMemory when the levels could not be built.
  DecodeEntry ReadCarefully(BitReader& reader);

 private:
  // Every second table holds at least one code.
  static constexpr int32_t kMaxEntries =
      (1 << kMaxIndexBits) + (kLiteralLengthSymbols << (kMaxCodeLength - kMaxIndexBits));

  template <std::size_t kEntries, std::size_t kSymbols>
  void UseFixed(const std::array<DecodeEntry, kEntries>& entries,
                const std::array<uint8_t, kSymbols>& lengths, const DecodeMeanings& meanings);

  int32_t indexBits_ = 0;
  uint32_t longMask_ = 0;
  int32_t minLength_ = 0;
  bool hasLevels_ = false;  // levels_ is built for this code; that happens at the first use
  int32_t symbolCount_ = 0;
  const DecodeMeanings* meanings_ = nullptr;
  std::array<uint8_t, kLiteralLengthSymbols> lengths_;  // code lengths by symbol
  HuffmanLevels levels_;
  std::array<DecodeEntry, kMaxEntries> entries_;
};
