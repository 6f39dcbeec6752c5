#include "Compression/Inflate/HuffmanDecodeTable.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Compression/Format/CanonicalCode.h"
#include "Compression/Format/DeflateFormat.h"

namespace {

// How many codes there are of each length. Counted, and later sorted, in two halves of the alphabet
// at once: neighbours often have the same length, and one by one each would wait for the other.
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

  // The codes of kMaxCodeLength bits that are left over; negative: there are not enough codes.
  constexpr int32_t Unused() const {
    int32_t left = 1 << kMaxCodeLength;
    for (int32_t length = 1; length <= kMaxCodeLength; ++length) {
      left -= of[length] << (kMaxCodeLength - length);
    }
    return left;
  }

  // Writes the symbols in the order of their codes to `symbols`, those without a code in front, and
  // returns where the others begin.
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

// Goes through the codes in their order, which is that of numbers with the first bit highest. Each
// is turned round by itself: counting on in the other order would be a chain of slow steps.
struct CodeWalk {
  const DecodeMeanings& meanings;
  const uint16_t* symbol;  // sorted
  uint32_t code = 0;
  int32_t length = 0;

  // Goes on to the codes that are one bit longer.
  constexpr void Lengthen() {
    code <<= 1;
    ++length;
  }

  // The place of the present code in a table, or the first bits of it.
  constexpr uint32_t Index() const { return ReverseBits(code, length); }

  // The entry for the present code; and on to the next one.
  constexpr DecodeEntry Take() {
    ++code;
    return meanings[*symbol++].WithCode(static_cast<uint32_t>(length));
  }
};

// Fills a table of `indexBits` bits with the codes that it can hold: the table of one bit first,
// which it doubles, puts in the codes of two bits, and so on. What the codes of a length leave
// free, the codes of the next ones take.
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

// Fills second tables with the longer codes and links the first table to them. Each comes when the
// one before it is full, as the first bits of codes in their order never decrease.
void FillSecond(DecodeEntry* entries, int32_t indexBits, uint32_t secondSize,
                DecodeEntry unassigned, const Counts& counts, CodeWalk& walk) {
  const uint32_t firstSize = uint32_t{1} << indexBits;
  DecodeEntry* second = entries + firstSize;  // the next one
  uint32_t first = firstSize;                 // which leads to the last one: none yet
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

// The table of a code without gaps that fits.
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
  const int32_t unused = counts.Unused();
  if (longest == 0 || unused < 0) return false;
  isComplete_ = unused == 0;
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
  isComplete_ = true;
  hasLevels_ = false;
  minLength_ = *std::min_element(lengths.begin(), lengths.end());
  indexBits_ = std::bit_width(kEntries) - 1;
  longMask_ = 0;
  symbolCount_ = kSymbols;
  meanings_ = &meanings;
  std::copy(lengths.begin(), lengths.end(), lengths_.begin());
  std::copy(entries.begin(), entries.end(), entries_.begin());
}

// Where the bits that are held settle the symbol, or the code has no gaps and there is input
// enough, the table says at once what the levels would come to: both consume the code's own bits,
// and both ask the source at most once, and only when the code is longer than the bits held.
// Everything else goes through the levels: gaps, because they consume what was read on the way; the
// end of the input, because part of a code may be read before it fails.
DecodeEntry HuffmanDecodeTable::ReadCarefully(BitReader& reader) {
  const View view = Entries();
  DecodeEntry entry = view.Find(reader.Cursor().bits);
  const auto isHeld = [&](int32_t count) {
    return static_cast<int32_t>(entry.CodeBits()) <= count &&
           !entry.IsSpecial(DecodeEntry::kUnassigned);
  };
  uint32_t code = 0;
  if (!isHeld(reader.Cursor().bitCount)) {
    if (!isComplete_) return ReadThroughLevels(reader);
    entry = view.Find(reader.LookAhead());
    if (!isHeld(reader.SureBits())) return ReadThroughLevels(reader);
  }
  static_cast<void>(reader.ReadBits(static_cast<int32_t>(entry.CodeBits()), code));
  return entry;
}

DecodeEntry HuffmanDecodeTable::ReadThroughLevels(BitReader& reader) {
  if (!hasLevels_ && !levels_.Build(lengths_.data(), symbolCount_)) {
    return DecodeEntry::Special(DecodeEntry::kNoMemory);
  }
  hasLevels_ = true;
  const int32_t symbol = levels_.ReadSymbol(reader);
  if (symbol != HuffmanLevels::kNoSymbol) return (*meanings_)[symbol];
  return DecodeEntry::Special(DecodeEntry::kInputEnd);
}
