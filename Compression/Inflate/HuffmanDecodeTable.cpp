#include "Compression/Inflate/HuffmanDecodeTable.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Compression/Format/CanonicalCode.h"
#include "Compression/Format/DeflateFormat.h"

namespace {

// The number of codes of each length. The two halves of the alphabet are counted and sorted side by
// side: neighbours often have the same length, so one loop over all would wait for its own stores.
struct Counts {
  using ByLength = std::array<uint16_t, kMaxCodeLength + 1>;

  ByLength of = {};
  ByLength inLowerHalf = {};

  // False: a length above kMaxCodeLength.
  constexpr bool Count(const uint8_t* lengths, int32_t symbolCount) {
    const int32_t half = symbolCount / 2;
    uint32_t highest = symbolCount % 2 == 0 ? 0 : lengths[symbolCount - 1];
    for (int32_t i = 0; i < 2 * half; ++i) highest |= lengths[i];
    if (highest > kMaxCodeLength) return false;
    for (int32_t i = 0; i < half; ++i) {
      ++inLowerHalf[lengths[i]];
      ++of[lengths[half + i]];
    }
    if (symbolCount % 2 != 0) ++of[lengths[symbolCount - 1]];
    for (std::size_t length = 0; length < of.size(); ++length) {
      of[length] = static_cast<uint16_t>(of[length] + inLowerHalf[length]);
    }
    return true;
  }

  constexpr int32_t Shortest() const {
    int32_t length = 1;
    while (length <= kMaxCodeLength && of[length] == 0) ++length;
    return length;
  }

  constexpr int32_t Longest() const {
    int32_t length = kMaxCodeLength;
    while (length > 0 && of[length] == 0) --length;
    return length;
  }

  constexpr bool IsOverSubscribed() const {
    int32_t left = 1 << kMaxCodeLength;  // codes of kMaxCodeLength bits
    for (int32_t length = 1; length <= kMaxCodeLength; ++length) {
      left -= of[length] << (kMaxCodeLength - length);
    }
    return left < 0;
  }

  // Writes the symbols to `symbols` in the order of their codes, those without a code first.
  // Returns the first symbol with a code.
  constexpr const uint16_t* Sort(const uint8_t* lengths, int32_t symbolCount,
                                 uint16_t* symbols) const {
    ByLength lower{};
    ByLength upper{};
    uint16_t next = 0;
    for (std::size_t length = 0; length < of.size(); ++length) {
      lower[length] = next;
      upper[length] = static_cast<uint16_t>(next + inLowerHalf[length]);
      next = static_cast<uint16_t>(next + of[length]);
    }
    const int32_t half = symbolCount / 2;
    for (int32_t i = 0; i < half; ++i) {
      symbols[lower[lengths[i]]++] = static_cast<uint16_t>(i);
      symbols[upper[lengths[half + i]]++] = static_cast<uint16_t>(half + i);
    }
    if (symbolCount % 2 != 0) {
      const int32_t last = symbolCount - 1;
      symbols[upper[lengths[last]]] = static_cast<uint16_t>(last);
    }
    return &symbols[of[0]];
  }
};

// Walks the codes in canonical order, in which they count up with the first bit highest. Each code
// is reversed by itself: counting in reversed order would be a longer chain of dependent steps.
struct CodeWalk {
  const DecodeMeanings& meanings;
  const uint16_t* symbol;  // sorted
  uint32_t code = 0;
  int32_t length = 0;

  // Advances to the codes that are one bit longer.
  constexpr void Lengthen() {
    code <<= 1;
    ++length;
  }

  // The index of the present code in a table, first bit lowest.
  constexpr uint32_t Index() const { return ReverseBits(code, length); }

  // Returns the entry for the present code and advances to the next one.
  constexpr DecodeEntry Take() {
    ++code;
    return meanings[*symbol++].WithCode(static_cast<uint32_t>(length));
  }
};

// Fills a table of `indexBits` bits with the codes of up to that length: first as a table of one
// bit, which is doubled before the codes of two bits are put in, and so on. A longer code
// overwrites a slot that the shorter codes have left unassigned.
constexpr void FillFirst(DecodeEntry* entries, int32_t indexBits, DecodeEntry unassigned,
                         const Counts& counts, CodeWalk& walk) {
  entries[0] = unassigned;
  while (walk.length < indexBits) {
    const uint32_t half = uint32_t{1} << walk.length;
    std::copy_n(entries, half, entries + half);
    walk.Lengthen();
    for (int32_t count = counts.of[walk.length]; count > 0; --count) {
      const uint32_t index = walk.Index();
      entries[index] = walk.Take();
    }
  }
}

// Fills second tables with the longer codes and links the first table to them. In canonical order
// the first bits never decrease, so a second table is complete when the next one begins.
void FillSecond(DecodeEntry* entries, int32_t indexBits, uint32_t secondSize,
                DecodeEntry unassigned, const Counts& counts, CodeWalk& walk) {
  const uint32_t firstSize = uint32_t{1} << indexBits;
  DecodeEntry* second = entries + firstSize;  // the next second table
  uint32_t first = firstSize;                 // the index that leads to the latest one; none yet
  while (walk.length < kMaxCodeLength) {
    walk.Lengthen();
    const uint32_t step = uint32_t{1} << (walk.length - indexBits);
    for (int32_t count = counts.of[walk.length]; count > 0; --count) {
      const uint32_t bits = walk.Index();
      if (first != (bits & (firstSize - 1))) {
        first = bits & (firstSize - 1);
        entries[first] =
            DecodeEntry(static_cast<uint32_t>(second - entries), DecodeEntry::kLong, 0);
        std::fill_n(second, secondSize, unassigned);
        second += secondSize;
      }
      const DecodeEntry entry = walk.Take();
      for (uint32_t i = bits >> indexBits; i < secondSize; i += step) {
        *(second - secondSize + i) = entry;
      }
    }
  }
}

// The table of a complete code of at most kBits bits.
template <int32_t kBits, std::size_t kSymbols>
constexpr std::array<DecodeEntry, 1 << kBits> MakeTable(
    const std::array<uint8_t, kSymbols>& lengths, const DecodeMeanings& meanings) {
  Counts counts;
  std::array<uint16_t, kSymbols> symbols{};
  std::array<DecodeEntry, 1 << kBits> entries{};
  counts.Count(lengths.data(), kSymbols);
  CodeWalk walk = {meanings, counts.Sort(lengths.data(), kSymbols, symbols.data())};
  FillFirst(entries.data(), kBits, entries[0], counts, walk);
  return entries;
}

constexpr auto kFixedLiterals = MakeTable<9>(kFixedLiteralLengths, kLiteralLengthMeanings);
constexpr auto kFixedDistances = MakeTable<5>(kFixedDistanceLengths, kDistanceMeanings);

}  // namespace

bool HuffmanDecodeTable::Build(const uint8_t* lengths, int32_t symbolCount,
                               const DecodeMeanings& meanings) {
  Counts counts;
  if (!counts.Count(lengths, symbolCount)) return false;
  const int32_t longest = counts.Longest();
  if (longest == 0 || counts.IsOverSubscribed()) return false;
  hasLevels_ = false;
  minLength_ = counts.Shortest();
  indexBits_ = std::min(longest, kMaxIndexBits);
  longMask_ = (uint32_t{1} << (longest - indexBits_)) - 1;
  symbolCount_ = symbolCount;
  meanings_ = &meanings;
  std::memcpy(lengths_.data(), lengths, static_cast<std::size_t>(symbolCount));

  std::array<uint16_t, kLiteralLengthSymbols> symbols;
  const DecodeEntry unassigned =
      DecodeEntry::Special(DecodeEntry::kUnassigned).WithCode(lengths[0]);
  CodeWalk walk = {meanings, counts.Sort(lengths, symbolCount, symbols.data())};
  FillFirst(entries_.data(), indexBits_, unassigned, counts, walk);
  FillSecond(entries_.data(), indexBits_, longMask_ + 1, unassigned, counts, walk);
  return true;
}

void HuffmanDecodeTable::UseFixedLiterals() {
  UseFixed(kFixedLiterals, kFixedLiteralLengths, kLiteralLengthMeanings);
}

void HuffmanDecodeTable::UseFixedDistances() {
  UseFixed(kFixedDistances, kFixedDistanceLengths, kDistanceMeanings);
}

template <std::size_t kEntries, std::size_t kSymbols>
void HuffmanDecodeTable::UseFixed(const std::array<DecodeEntry, kEntries>& entries,
                                  const std::array<uint8_t, kSymbols>& lengths,
                                  const DecodeMeanings& meanings) {
  hasLevels_ = false;
  minLength_ = *std::min_element(lengths.begin(), lengths.end());
  indexBits_ = std::bit_width(kEntries) - 1;
  longMask_ = 0;
  symbolCount_ = kSymbols;
  meanings_ = &meanings;
  std::copy(lengths.begin(), lengths.end(), lengths_.begin());
  std::copy(entries.begin(), entries.end(), entries_.begin());
}

// The levels are built only where they matter, since that takes longer than the decoding of an
// icon: when the buffered bits hold no whole code. If they hold one, no other code fits, whatever
// follows, and the levels would take the same bits of it one after the other.
DecodeEntry HuffmanDecodeTable::ReadCarefully(BitReader& reader) {
  BitCursor ahead = reader.Cursor();
  while (ahead.bitCount < kMaxCodeLength && ahead.next != ahead.end) ahead.AddByte();
  const DecodeEntry entry = Entries().Find(ahead.bits);
  const int32_t codeBits = static_cast<int32_t>(entry.CodeBits());
  uint32_t code = 0;
  if (!entry.IsSpecial(DecodeEntry::kUnassigned) && codeBits <= ahead.bitCount &&
      reader.ReadsPlenty() && reader.ReadBits(codeBits, code)) {
    return entry;
  }
  if (!hasLevels_ && !levels_.Build(lengths_.data(), symbolCount_)) {
    return DecodeEntry::Special(DecodeEntry::kNoMemory);
  }
  hasLevels_ = true;
  const int32_t symbol = levels_.ReadSymbol(reader);
  if (symbol != HuffmanLevels::kNoSymbol) return (*meanings_)[symbol];
  return DecodeEntry::Special(DecodeEntry::kInputEnd);
}
