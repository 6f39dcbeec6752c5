#include "Compression/Inflate/BlockDecoder.h"

#include <algorithm>
#include <array>

#include "Compression/Format/DeflateFormat.h"
#include "Compression/Inflate/DecodeFast.h"

namespace {

constexpr int32_t kMaxLengthCount = kLiteralLengthSymbols + kDistanceSymbols;

// Any counts that a dynamic header can hold fit the alphabets.
static_assert(kMinLiteralLengthCount + (1 << kLiteralLengthCountBits) - 1 == kLiteralLengthSymbols);
static_assert(kMinDistanceCount + (1 << kDistanceCountBits) - 1 == kDistanceSymbols);
static_assert(kMinCodeLengthCount + (1 << kCodeLengthCountBits) - 1 == kCodeLengthSymbols);

// With this many bytes in the buffer a symbol is decoded without a call of the stream. It takes at
// most 48 bits: 15 for a length's code, 5 extra, 15 for a distance's code, 13 extra.
constexpr int32_t kBytesPerSymbol = 6;

}  // namespace

// Takes symbols from the buffer with the decoding tables. Requires: kBytesPerSymbol bytes are left
// at the start of each symbol.
class BlockDecoder::DirectBits {
 public:
  explicit DirectBits(const BitCursor& cursor) : cursor_(cursor) {}

  const BitCursor& Cursor() const { return cursor_; }

  DecodeEntry ReadSymbol(const HuffmanDecodeTable& table) {
    Refill();
    const DecodeEntry entry = table.Entries().Find(cursor_.bits);
    cursor_.Drop(static_cast<int32_t>(entry.CodeBits()));
    return entry;
  }

  // Refills for 0 bits too: a later read near the end of the input depends on what is held.
  int32_t ReadExtra(int32_t count) {
    Refill();
    return static_cast<int32_t>(cursor_.Take(count));
  }

  // Asked after symbol 0. True when it consumed no bit, as it stands for a pattern without a code
  // and has none itself: it would be read for ever.
  bool IsStuck(DecodeEntry last, const HuffmanDecodeTable&) const { return last.CodeBits() == 0; }

 private:
  // Holds enough for any code or extra bits. One symbol may add two bytes four times, and only six
  // bytes are certain to be left: so this adds only bytes that exist, and six are enough.
  void Refill() {
    constexpr int32_t kWanted = 16;
    if (cursor_.bitCount >= kWanted) return;
    for (int32_t added = 0; added < 2 && cursor_.next != cursor_.end; ++added) cursor_.AddByte();
  }

  BitCursor cursor_;
};

// Reads symbols through the reader, which fetches more input when it is needed.
class BlockDecoder::CarefulBits {
 public:
  explicit CarefulBits(BitReader& reader) : reader_(reader) {}

  DecodeEntry ReadSymbol(HuffmanDecodeTable& table) { return table.ReadCarefully(reader_); }

  // Deliberate: -1 where the input ends within the bits; the match is then one byte shorter or
  // nearer. The end of the stream is noticed at the next distance, or by the missing trailer.
  int32_t ReadExtra(int32_t count) {
    uint32_t value = 0;
    return reader_.ReadBits(count, value) ? static_cast<int32_t>(value) : -1;
  }

  // True when no further symbol can be read, now or later.
  bool IsStuck(DecodeEntry, const HuffmanDecodeTable& table) const {
    return reader_.IsExhausted(table.MinLength());
  }

 private:
  BitReader& reader_;
};

// Deliberate: where the input has ended the byte 0xFF is put. So a stream that ends within a
// compressed block goes on with such bytes until the limit of the output ends it. A pattern without
// a code is symbol 0, here and in distances.
template <typename Bits>
inline BlockDecoder::SymbolOutcome BlockDecoder::PutByte(Bits& bits, DecodeEntry entry) {
  const bool isMissing = entry.IsSpecial(DecodeEntry::kInputEnd);
  if ((isMissing || entry.Value() == 0) && refusesEndlessOutput_ &&
      bits.IsStuck(entry, literals_)) {
    return SymbolOutcome::kFailed;
  }
  window_.Put(isMissing ? uint8_t{0xFF} : static_cast<uint8_t>(entry.Value()));
  return SymbolOutcome::kContinue;
}

// Decodes one symbol and does what it means, however its bits are read.
template <typename Bits>
inline BlockDecoder::SymbolOutcome BlockDecoder::DecodeSymbol(Bits& bits, int32_t& budget) {
  const DecodeEntry entry = bits.ReadSymbol(literals_);
  if (entry.Has(DecodeEntry::kLiteral) || entry.IsSpecial(DecodeEntry::kUnassigned) ||
      entry.IsSpecial(DecodeEntry::kInputEnd)) {
    --budget;
    return PutByte(bits, entry);
  }
  if (entry.IsSpecial(DecodeEntry::kBlockEnd)) return SymbolOutcome::kBlockEnd;
  if (entry.Has(DecodeEntry::kSpecial)) return SymbolOutcome::kFailed;
  const int32_t length = static_cast<int32_t>(entry.Value()) + bits.ReadExtra(entry.ExtraBits());

  DecodeEntry distanceEntry = bits.ReadSymbol(distances_);
  if (distanceEntry.IsSpecial(DecodeEntry::kUnassigned)) distanceEntry = kDistanceMeanings[0];
  if (distanceEntry.Has(DecodeEntry::kSpecial)) return SymbolOutcome::kFailed;
  const int32_t distance =
      static_cast<int32_t>(distanceEntry.Value()) + bits.ReadExtra(distanceEntry.ExtraBits());

  window_.CopyMatch(distance, length);
  budget -= length;
  return SymbolOutcome::kContinue;
}

// Decodes symbols whose bytes are in the buffer, so that nothing calls the stream or tests for the
// end of the input. At least one after the fast loop, which may have left it; more where the fast
// loop has too little input.
BlockDecoder::SymbolOutcome BlockDecoder::DecodeBuffered(int32_t& budget) {
  BitCursor cursor = reader_.Cursor();
  if (cursor.BytesLeft() >= kFastInput && budget > 2) {
    DecodeFast(literals_, distances_, cursor, window_, budget);
    reader_.SetCursor(cursor);
    if (budget <= 0) return SymbolOutcome::kContinue;
  }
  DirectBits bits(cursor);
  int32_t left = budget;
  SymbolOutcome outcome = SymbolOutcome::kContinue;
  do {
    outcome = DecodeSymbol(bits, left);
  } while (outcome == SymbolOutcome::kContinue && left > 0 &&
           bits.Cursor().BytesLeft() >= kBytesPerSymbol && bits.Cursor().BytesLeft() < kFastInput);
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

void BlockDecoder::UseFixedTables() {
  literals_.UseFixedLiterals();
  distances_.UseFixedDistances();
}

// The code lengths of a dynamic header: plain ones and repeats, which may cross from the
// literal/length alphabet into the distances.
struct BlockDecoder::CodeLengths {
  std::array<uint8_t, kMaxLengthCount> of = {};
  int32_t count = 0;
  int32_t filled = 0;
  // Deliberate: a repeat of the previous length at the very start repeats 0.
  uint8_t previous = 0;

  bool IsFull() const { return filled == count; }

  // Adds what one symbol with its extra bits stands for. False: it would pass `count`.
  bool Add(uint32_t symbol, uint32_t extra) {
    if (symbol < kRepeatPreviousLength) {
      of[filled++] = previous = static_cast<uint8_t>(symbol);
      return true;
    }
    if (symbol != kRepeatPreviousLength) previous = 0;
    const int32_t times =
        kRepeatRanges[symbol - kRepeatPreviousLength].base + static_cast<int32_t>(extra);
    if (times > count - filled) return false;
    std::fill_n(of.begin() + filled, times, previous);
    filled += times;
    return true;
  }
};

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

  // The code of the lengths uses the table of the distances, which is filled last.
  HuffmanDecodeTable& codeLengthCode = distances_;
  CodeLengths lengths;
  lengths.count = literalCount + distanceCount;
  return codeLengthCode.Build(codeLengthLengths.data(), kCodeLengthSymbols, kCodeLengthMeanings) &&
         ReadCodeLengths(codeLengthCode, lengths) &&
         literals_.Build(lengths.of.data(), literalCount, kLiteralLengthMeanings) &&
         distances_.Build(lengths.of.data() + literalCount, distanceCount, kDistanceMeanings);
}

// Alternates between two ways: from the buffer as long as it holds plenty and entries are not
// special, then one symbol carefully.
bool BlockDecoder::ReadCodeLengths(HuffmanDecodeTable& code, CodeLengths& lengths) {
  const HuffmanDecodeTable::View view = code.Entries();
  while (!lengths.IsFull()) {
    BitCursor cursor = reader_.Cursor();
    while (!lengths.IsFull() && cursor.BytesLeft() >= BitReader::kPlainBytes) {
      const uint64_t bits = cursor.Ahead();
      const DecodeEntry entry = view.Find(bits);
      if (entry.Has(DecodeEntry::kSpecial)) break;
      if (!lengths.Add(entry.Value(), entry.ExtraIn(bits))) return false;
      cursor.Consume(static_cast<int32_t>(entry.AllBits()));
    }
    reader_.SetCursor(cursor);
    if (lengths.IsFull()) break;

    const DecodeEntry entry = code.ReadCarefully(reader_);
    uint32_t extra = 0;
    if (entry.Has(DecodeEntry::kSpecial) || !reader_.ReadBits(entry.ExtraBits(), extra) ||
        !lengths.Add(entry.Value(), extra)) {
      return false;
    }
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
    const int32_t count = std::min({reader_.BufferedBytes(), storedLeft_, budget});
    if (count > 0) {
      BitCursor cursor = reader_.Cursor();
      window_.PutAll(cursor.next, count);
      cursor.next += count;
      reader_.SetCursor(cursor);
      storedLeft_ -= count;
      budget -= count;
      continue;
    }
    uint8_t byte = 0;
    if (!reader_.ReadByte(byte)) return Outcome::kFailed;
    window_.Put(byte);
    --storedLeft_;
    --budget;
  }
  return storedLeft_ > 0 ? Outcome::kBudgetUsed : Outcome::kBlockEnd;
}
