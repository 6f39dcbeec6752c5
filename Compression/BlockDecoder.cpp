#include "Compression/BlockDecoder.h"

#include <algorithm>
#include <array>

#include "Compression/DeflateFormat.h"

namespace {

constexpr int32_t kMaxLengthCount = kLiteralLengthSymbols + kDistanceSymbols;

// So the counts of a dynamic header, whatever they are, fit the alphabets.
static_assert(kMinLiteralLengthCount + (1 << kLiteralLengthCountBits) - 1 == kLiteralLengthSymbols);
static_assert(kMinDistanceCount + (1 << kDistanceCountBits) - 1 == kDistanceSymbols);
static_assert(kMinCodeLengthCount + (1 << kCodeLengthCountBits) - 1 == kCodeLengthSymbols);

// A symbol is decoded from the buffer alone when this many bytes are there. It takes at most 48
// bits: 15 of a length's code, 5 extra, 15 of a distance's code, 13 extra.
constexpr int32_t kBytesPerSymbol = 6;

}  // namespace

// Takes symbols out of the buffer with the direct tables. Requires: kBytesPerSymbol bytes are left
// at the start of each symbol.
class BlockDecoder::DirectBits {
 public:
  explicit DirectBits(const BitCursor& cursor) : cursor_(cursor) {}

  const BitCursor& Cursor() const { return cursor_; }

  int32_t ReadSymbol(const HuffmanTable& table) {
    Refill();
    const HuffmanTable::DirectEntry entry = table.Find(cursor_.Peek(table.MaxLength()));
    cursor_.Drop(entry.length);
    return entry.symbol;
  }

  int32_t ReadExtra(int32_t count) {
    Refill();
    return static_cast<int32_t>(cursor_.Take(count));
  }

  // After symbol 0: whether it consumed nothing, as it does when it has no code and stands for a
  // pattern without one. All entries of symbol 0 are alike.
  bool IsStuck(const HuffmanTable& table) const {
    const HuffmanTable::DirectEntry next = table.Find(cursor_.Peek(table.MaxLength()));
    return next.symbol == 0 && next.length == 0;
  }

 private:
  // Enough for any code or extra bits. Two bytes at a time may come to eight for one symbol, where
  // only six are sure to be there: only bytes that exist are added, and six are enough.
  void Refill() {
    constexpr int32_t kWanted = 16;
    if (cursor_.bitCount >= kWanted) return;
    for (int32_t added = 0; added < 2 && cursor_.next != cursor_.end; ++added) cursor_.AddByte();
  }

  BitCursor cursor_;
};

// Reads symbols bit by bit through the reader, which fetches more input as needed.
class BlockDecoder::CarefulBits {
 public:
  explicit CarefulBits(BitReader& reader) : reader_(reader) {}

  int32_t ReadSymbol(const HuffmanTable& table) { return table.ReadSymbol(reader_); }

  // Deliberate: -1 where the input ends within the bits, and the match is one byte shorter or
  // nearer. The stream's end is noticed at its next distance, or by its missing trailer.
  int32_t ReadExtra(int32_t count) {
    uint32_t value = 0;
    return reader_.ReadBits(count, value) ? static_cast<int32_t>(value) : -1;
  }

  // Whether no further symbol can be read, now or later.
  bool IsStuck(const HuffmanTable& table) const {
    return reader_.IsExhausted(table.FirstLevelBits());
  }

 private:
  BitReader& reader_;
};

// What one symbol means, however its bits are read.
template <typename Bits>
inline BlockDecoder::SymbolOutcome BlockDecoder::DecodeSymbol(Bits& bits, int32_t& budget) {
  const int32_t symbol = bits.ReadSymbol(literals_);
  if (symbol < kEndOfBlock) {
    if (symbol <= 0 && refusesEndlessOutput_ && bits.IsStuck(literals_)) {
      return SymbolOutcome::kFailed;
    }
    // Deliberate: kNoSymbol is put too, as the byte 0xFF: a stream that ends within a compressed
    // block goes on with such bytes until the output's limit ends it.
    window_.Put(static_cast<uint8_t>(symbol));
    --budget;
    return SymbolOutcome::kContinue;
  }
  if (symbol == kEndOfBlock) return SymbolOutcome::kBlockEnd;
  const int32_t lengthRange = symbol - kFirstLengthSymbol;
  if (lengthRange >= kLengthRangeCount) return SymbolOutcome::kFailed;
  const auto [lengthBase, lengthBits] = kLengthRanges[lengthRange];
  const int32_t length = lengthBase + bits.ReadExtra(lengthBits);

  const int32_t distanceSymbol = bits.ReadSymbol(distances_);
  if (distanceSymbol < 0 || distanceSymbol >= kDistanceRangeCount) return SymbolOutcome::kFailed;
  const auto [distanceBase, distanceBits] = kDistanceRanges[distanceSymbol];
  const int32_t distance = distanceBase + bits.ReadExtra(distanceBits);

  window_.CopyMatch(distance, length);
  budget -= length;
  return SymbolOutcome::kContinue;
}

// The hot loop. The bytes for a whole symbol are there at each turn, so nothing within it asks the
// source or tests for the end of the input.
BlockDecoder::SymbolOutcome BlockDecoder::DecodeBuffered(int32_t& budget) {
  DirectBits bits(reader_.Cursor());
  int32_t left = budget;
  SymbolOutcome outcome = SymbolOutcome::kContinue;
  while (outcome == SymbolOutcome::kContinue && left > 0 &&
         bits.Cursor().BytesLeft() >= kBytesPerSymbol) {
    outcome = DecodeSymbol(bits, left);
  }
  reader_.SetCursor(bits.Cursor());
  budget = left;
  return outcome;
}

BlockDecoder::Outcome BlockDecoder::DecodeSymbols(int32_t& budget) {
  CarefulBits carefulBits(reader_);
  while (budget > 0) {
    const SymbolOutcome outcome = reader_.Cursor().BytesLeft() >= kBytesPerSymbol
                                      ? DecodeBuffered(budget)
                                      : DecodeSymbol(carefulBits, budget);
    if (outcome == SymbolOutcome::kFailed) return Outcome::kFailed;
    if (outcome == SymbolOutcome::kBlockEnd) return Outcome::kBlockEnd;
  }
  return Outcome::kBudgetUsed;
}

bool BlockDecoder::UseFixedTables() {
  return literals_.Build(kFixedLiteralLengths.data(), kLiteralLengthSymbols) &&
         distances_.Build(kFixedDistanceLengths.data(), kDistanceSymbols);
}

bool BlockDecoder::ReadDynamicTables() {
  uint32_t literals = 0;
  uint32_t distances = 0;
  uint32_t codeLengths = 0;
  if (!reader_.ReadBits(kLiteralLengthCountBits, literals) ||
      !reader_.ReadBits(kDistanceCountBits, distances) ||
      !reader_.ReadBits(kCodeLengthCountBits, codeLengths)) {
    return false;
  }
  const int32_t literalCount = static_cast<int32_t>(literals) + kMinLiteralLengthCount;
  const int32_t distanceCount = static_cast<int32_t>(distances) + kMinDistanceCount;
  const int32_t codeLengthCount = static_cast<int32_t>(codeLengths) + kMinCodeLengthCount;

  std::array<uint8_t, kCodeLengthSymbols> codeLengthLengths{};
  for (int32_t i = 0; i < codeLengthCount; ++i) {
    uint32_t length = 0;
    if (!reader_.ReadBits(kCodeLengthLengthBits, length)) return false;
    codeLengthLengths[kCodeLengthOrder[i]] = static_cast<uint8_t>(length);
  }

  // The code of the lengths borrows the table that the lengths themselves fill last.
  HuffmanTable& codeLengthCode = distances_;
  std::array<uint8_t, kMaxLengthCount> lengths{};
  return codeLengthCode.Build(codeLengthLengths.data(), kCodeLengthSymbols) &&
         ReadCodeLengths(codeLengthCode, lengths.data(), literalCount + distanceCount) &&
         literals_.Build(lengths.data(), literalCount) &&
         distances_.Build(lengths.data() + literalCount, distanceCount);
}

// Reads `count` run-length coded code lengths; runs cross from one alphabet into the other.
bool BlockDecoder::ReadCodeLengths(const HuffmanTable& code, uint8_t* lengths, int32_t count) {
  // Deliberate: a repeat of the previous length at the very start repeats 0.
  uint8_t previous = 0;
  for (int32_t filled = 0; filled < count;) {
    const int32_t symbol = code.ReadSymbol(reader_);
    if (symbol < 0) return false;
    if (symbol < kRepeatPreviousLength) {
      previous = static_cast<uint8_t>(symbol);
      lengths[filled++] = previous;
      continue;
    }
    if (symbol != kRepeatPreviousLength) previous = 0;
    const auto [base, extraBits] = kRepeatRanges[symbol - kRepeatPreviousLength];
    uint32_t extra = 0;
    if (!reader_.ReadBits(extraBits, extra)) return false;
    const int32_t times = base + static_cast<int32_t>(extra);
    if (times > count - filled) return false;
    std::fill_n(lengths + filled, times, previous);
    filled += times;
  }
  return true;
}

bool BlockDecoder::ReadStoredLength() {
  constexpr int32_t kLengthBits = 16;
  uint32_t length = 0;
  uint32_t complement = 0;
  if (!reader_.ReadBits(kLengthBits, length) || !reader_.ReadBits(kLengthBits, complement) ||
      length + complement != kMaxStoredLength) {
    return false;
  }
  storedLeft_ = static_cast<int32_t>(length);
  return true;
}

BlockDecoder::Outcome BlockDecoder::CopyStored(int32_t& budget) {
  while (storedLeft_ > 0 && budget > 0) {
    uint8_t byte = 0;
    if (!reader_.ReadByte(byte)) return Outcome::kFailed;
    window_.Put(byte);
    --storedLeft_;
    --budget;
  }
  return storedLeft_ > 0 ? Outcome::kBudgetUsed : Outcome::kBlockEnd;
}
