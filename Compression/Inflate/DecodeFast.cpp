#include "Compression/Inflate/DecodeFast.h"

#include "Compression/Inflate/MatchCopy.h"
#include "Core/Endian.h"

namespace {

constexpr uint32_t kMaxDistanceBits = kMaxCodeLength + kDistanceRanges.back().extraBits;
constexpr int32_t kTurnInput = 16;  // bytes; see below

// The input, 64 bits at a time, without a test for its end.
struct WideBits {
  const uint8_t* next;
  uint64_t bits;   // above `count` stands the beginning of the next byte, or zeros
  uint32_t count;  // how many are held, up to 63

  // Holds at least 56 bits afterwards. A byte that is held in part is fetched again: its bits are
  // the same.
  void Refill() {
    bits |= Core::LoadLittle64(next) << count;
    next += (63 - count) >> 3;
    count |= 56;
  }

  DecodeEntry Look(const HuffmanDecodeTable::View& table) const {
    return table.entries[bits & table.mask];
  }

  void Drop(uint32_t dropped) {
    bits >>= dropped;
    count -= dropped;
  }
};

}  // namespace

// Why nothing but speed changes. Decoding symbol by symbol, with at least 6 bytes left, fetches two
// bytes before a symbol when it holds fewer than 16 bits. So it then holds 16 to 31 bits, and which
// of these it holds follows from the symbol's place in the input and from the parity of `next`,
// which pairs of bytes do not change. BitCursor::Skip puts that state together at the end. A symbol
// that needs more care is left alone, with the state from before it.
//
// Why there is enough input. A turn of the loop begins with at least 56 bits held and kTurnInput
// bytes after them. It fetches two words, the second at most 7 bytes after the first: 15 bytes. It
// takes at most two literals of 11 bits and a match of 48 bits, so the next symbol then begins at
// most 14 bits after the bits held first. With 31 more bits held from there, 5 of the bytes are
// taken: more than 6 are left at the start of each symbol, the first one after the loop included.
void DecodeFast(const HuffmanDecodeTable& lengthTable, const HuffmanDecodeTable& distanceTable,
                BitCursor& cursor, InflateWindow& window, int32_t& budget) {
  const HuffmanDecodeTable::View lengths = lengthTable.Entries();
  const HuffmanDecodeTable::View distances = distanceTable.Entries();
  const uint8_t* const lastNext = cursor.end - kTurnInput;
  const uint8_t* const begin = window.Begin();
  uint8_t* out = window.Write();
  uint8_t* const lastOut = out + budget - 2;  // two literals may come before the last symbol
  WideBits in = {cursor.next, cursor.bits, static_cast<uint32_t>(cursor.bitCount)};
  uint32_t undone = 0;  // bits already dropped of a match whose distance needs more care

  in.Refill();
  DecodeEntry entry = in.Look(lengths);
  while (in.next <= lastNext && out < lastOut) {
    if (entry.Has(DecodeEntry::kLiteral)) {
      in.Drop(entry.AllBits());
      *out++ = static_cast<uint8_t>(entry.Value());
      entry = in.Look(lengths);
      if (entry.Has(DecodeEntry::kLiteral)) {
        in.Drop(entry.AllBits());
        *out++ = static_cast<uint8_t>(entry.Value());
        entry = in.Look(lengths);
      }
    }
    if (entry.Has(DecodeEntry::kSpecial)) {
      if (!entry.Has(DecodeEntry::kLink)) break;
      entry = lengths.FindLong(entry, in.bits);
      if (entry.Has(DecodeEntry::kSpecial)) break;
    }
    if (entry.Has(DecodeEntry::kLiteral)) {
      in.Drop(entry.AllBits());
      *out++ = static_cast<uint8_t>(entry.Value());
      entry = in.Look(lengths);
      in.Refill();
      continue;
    }
    uint8_t* const end = out + entry.ValueIn(in.bits);
    in.Drop(entry.AllBits());
    undone = entry.AllBits();
    // Rarely: the test is predicted, so the next look-up does not wait for the count of bits.
    if (in.count < kMaxDistanceBits + HuffmanDecodeTable::kMaxIndexBits) in.Refill();
    entry = in.Look(distances);
    if (entry.Has(DecodeEntry::kSpecial)) {
      if (!entry.Has(DecodeEntry::kLink)) break;
      entry = distances.FindLong(entry, in.bits);
      if (entry.Has(DecodeEntry::kSpecial)) break;
    }
    const uint32_t distance = entry.ValueIn(in.bits);
    if (distance > static_cast<std::size_t>(out - begin)) break;
    in.Drop(entry.AllBits());
    undone = 0;
    entry = in.Look(lengths);  // before the copy, which does not need to wait for it
    in.Refill();
    MatchCopy::CopyWords(out, distance, end);
    out = end;
  }

  const std::ptrdiff_t taken = 8 * (in.next - cursor.next) - static_cast<int32_t>(in.count) -
                               static_cast<int32_t>(undone) + cursor.bitCount;
  budget -= static_cast<int32_t>(out - window.Write());
  window.SetWrite(out);
  cursor.Skip(taken);
}
