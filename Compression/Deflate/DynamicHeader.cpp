#include "Compression/Deflate/DynamicHeader.h"

#include <algorithm>

namespace {

// Deliberate: the size estimate starts from 12 bits more than the three counts take. This decides
// between block types in close cases.
constexpr int32_t kEstimateBase = 26;

// The least and the greatest number of lengths that a repeat symbol stands for.
constexpr DeflateRange RepeatRange(int32_t symbol) {
  return kRepeatRanges[symbol - kRepeatPreviousLength];
}
constexpr int32_t MaxOf(DeflateRange range) { return range.base + (1 << range.extraBits) - 1; }
constexpr int32_t kMinRepeat = RepeatRange(kRepeatPreviousLength).base;
constexpr int32_t kMaxLengthRepeat = MaxOf(RepeatRange(kRepeatPreviousLength));
constexpr int32_t kMinLongZeros = RepeatRange(kRepeatZeroLong).base;
constexpr int32_t kMaxLongZeros = MaxOf(RepeatRange(kRepeatZeroLong));
static_assert(kMinRepeat == 3 && kMaxLengthRepeat == 6 && kMaxLongZeros == 138);

int32_t ExtraBitsOf(int32_t symbol) {
  return symbol < kRepeatPreviousLength ? 0 : RepeatRange(symbol).extraBits;
}

// The number of symbols to declare: without those at the end that have no code, but at least `min`.
int32_t DeclaredCount(const HuffmanEncodeTable& code, int32_t count, int32_t min) {
  while (count > min && code.LengthOf(count - 1) == 0) --count;
  return count;
}

}  // namespace

void DynamicHeader::Build(const HuffmanEncodeTable& literals, const HuffmanEncodeTable& distances,
                          HuffmanTree& tree) {
  GatherLengths(literals, distances);
  EncodeRuns();
  BuildCode(tree);
}

void DynamicHeader::GatherLengths(const HuffmanEncodeTable& literals,
                                  const HuffmanEncodeTable& distances) {
  literalCount_ = DeclaredCount(literals, kLiteralLengthSymbols, kMinLiteralLengthCount);
  distanceCount_ = DeclaredCount(distances, kDistanceSymbols, kMinDistanceCount);
  lengths_.fill(0);
  for (int32_t i = 0; i < literalCount_; ++i) {
    lengths_[i] = static_cast<uint8_t>(literals.LengthOf(i));
  }
  for (int32_t i = 0; i < distanceCount_; ++i) {
    lengths_[literalCount_ + i] = static_cast<uint8_t>(distances.LengthOf(i));
  }
}

// The two sets of lengths are one sequence: a run may cross from the first into the second.
void DynamicHeader::EncodeRuns() {
  recordCount_ = 0;
  const auto end = lengths_.begin() + literalCount_ + distanceCount_;
  for (auto start = lengths_.begin(); start != end;) {
    const uint8_t length = *start;
    const auto runEnd = std::find_if(start, end, [=](uint8_t other) { return other != length; });
    const int32_t run = static_cast<int32_t>(runEnd - start);
    if (length == 0) {
      RepeatZero(run);
    } else {
      AddRecord(length, 0);
      RepeatLength(length, run - 1);
    }
    start = runEnd;
  }
}

// Deliberate: the splits here and below are greedy. A remainder of one or two becomes plain
// records, where an even split would save some; other splits give other bytes.
void DynamicHeader::RepeatLength(uint8_t length, int32_t count) {
  while (count >= kMinRepeat) {
    const int32_t repeated = std::min(count, kMaxLengthRepeat);
    AddRecord(kRepeatPreviousLength, repeated - kMinRepeat);
    count -= repeated;
  }
  for (; count > 0; --count) AddRecord(length, 0);
}

void DynamicHeader::RepeatZero(int32_t count) {
  while (count >= kMinRepeat) {
    const int32_t repeated = std::min(count, kMaxLongZeros);
    if (repeated < kMinLongZeros) {
      AddRecord(kRepeatZeroShort, repeated - kMinRepeat);
    } else {
      AddRecord(kRepeatZeroLong, repeated - kMinLongZeros);
    }
    count -= repeated;
  }
  for (; count > 0; --count) AddRecord(0, 0);
}

void DynamicHeader::AddRecord(int32_t symbol, int32_t extra) {
  records_[recordCount_++] = {static_cast<uint8_t>(symbol), static_cast<uint8_t>(extra)};
}

void DynamicHeader::BuildCode(HuffmanTree& tree) {
  std::array<uint32_t, kCodeLengthSymbols> frequencies{};
  for (int32_t i = 0; i < recordCount_; ++i) ++frequencies[records_[i].symbol];
  // Deliberate: the frequencies decide, not the lengths. These differ when only one symbol is used:
  // the neighbour paired with it has a code and may stay undeclared.
  orderedCount_ = kCodeLengthSymbols;
  while (orderedCount_ > kMinCodeLengthCount &&
         frequencies[kCodeLengthOrder[orderedCount_ - 1]] == 0) {
    --orderedCount_;
  }
  code_.BuildFromFrequencies(frequencies.data(), kCodeLengthSymbols, kMaxCodeLengthCodeLength,
                             tree);
}

int32_t DynamicHeader::SizeInBits() const {
  int32_t size = orderedCount_ * kCodeLengthLengthBits + kEstimateBase;
  for (int32_t i = 0; i < recordCount_; ++i) {
    size += code_.LengthOf(records_[i].symbol) + ExtraBitsOf(records_[i].symbol);
  }
  return size;
}

bool DynamicHeader::Write(BitWriter& writer) const {
  if (!writer.WriteBits(static_cast<uint32_t>(literalCount_ - kMinLiteralLengthCount),
                        kLiteralLengthCountBits) ||
      !writer.WriteBits(static_cast<uint32_t>(distanceCount_ - kMinDistanceCount),
                        kDistanceCountBits) ||
      !writer.WriteBits(static_cast<uint32_t>(orderedCount_ - kMinCodeLengthCount),
                        kCodeLengthCountBits)) {
    return false;
  }
  for (int32_t i = 0; i < orderedCount_; ++i) {
    if (!writer.WriteBits(code_[kCodeLengthOrder[i]].length, kCodeLengthLengthBits)) return false;
  }
  for (int32_t i = 0; i < recordCount_; ++i) {
    const HuffmanCode& code = code_[records_[i].symbol];
    if (!writer.WriteBits(code.bits, code.length) ||
        !writer.WriteBits(records_[i].extra, ExtraBitsOf(records_[i].symbol))) {
      return false;
    }
  }
  return true;
}
