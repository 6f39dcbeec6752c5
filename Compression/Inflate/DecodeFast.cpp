#include "Compression/Inflate/DecodeFast.h"

#include "Compression/CpuFeatures.h"
#include "Compression/Inflate/MatchCopy.h"
#include "Core/Endian.h"

namespace {

constexpr uint32_t kMaxDistanceBits = kMaxCodeLength + kDistanceRanges.back().extraBits;
constexpr int32_t kTurnInput = 16;  // bytes; see below

// The input as 64 bits at a time, without a look at its end.
struct WideBits {
  const uint8_t* next;
  uint64_t bits;   // what stands above `count` is the beginning of the next byte, or zeros
  uint32_t count;  // how many are held, up to 63

  // At least 56 bits. The bytes that are only partly new are fetched again with the same bits.
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

// Why nothing but speed changes. A symbol that is decoded by itself, with at least 6 bytes left,
// begins with fetching two bytes when fewer than 16 bits are held; so it holds 16 to 31 then, and
// which of them follows from its place in the input and from the parity of `next`, which pairs of
// bytes leave as it is. That state is put together at the end. Symbols that need more care are left
// alone, and the state is that before them.
//
// Why there is input enough. A turn begins with at least 56 bits held and kTurnInput bytes behind
// them. It fetches words twice, the second one at most 7 bytes on: 15 bytes. It takes at most two
// literals of 11 bits and a match of 48; so at its end the next symbol stands at most 14 bits
// beyond the bits held first. With another 31 held from there, 5 of the bytes are taken: more than
// 6 are left at the start of each symbol, the first one behind the loop included.
HALOMEND_INLINE void Decode(const HuffmanDecodeTable& lengthTable,
                            const HuffmanDecodeTable& distanceTable, BitCursor& cursor,
                            InflateWindow& window, int32_t& budget) {
  const HuffmanDecodeTable::View lengths = lengthTable.Entries();
  const HuffmanDecodeTable::View distances = distanceTable.Entries();
  const uint8_t* const lastNext = cursor.end - kTurnInput;
  const uint8_t* const begin = window.Begin();
  uint8_t* out = window.Write();
  uint8_t* const lastOut = out + budget - 2;  // two literals may come before the last symbol
  WideBits in = {cursor.next, cursor.bits, static_cast<uint32_t>(cursor.bitCount)};
  uint32_t undone = 0;  // bits of a symbol that is given up

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
    // Mostly not: this keeps the counting out of the chain from one table to the next.
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
    entry = in.Look(lengths);  // early, as the copy does not wait for it
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

using DecodeForm = decltype(DecodeFast);

void DecodePlain(const HuffmanDecodeTable& lengths, const HuffmanDecodeTable& distances,
                 BitCursor& cursor, InflateWindow& window, int32_t& budget) {
  Decode(lengths, distances, cursor, window, budget);
}

#if defined(__SSE2__)
// With shifts whose counts stand in any register; some 4 % faster on pictures.
__attribute__((target("bmi,bmi2"))) void DecodeByBmi2(const HuffmanDecodeTable& lengths,
                                                      const HuffmanDecodeTable& distances,
                                                      BitCursor& cursor, InflateWindow& window,
                                                      int32_t& budget) {
  Decode(lengths, distances, cursor, window, budget);
}
DecodeForm* BestForm() { return CpuFeatures::For(0).hasBmi2 ? DecodeByBmi2 : DecodePlain; }
#else
DecodeForm* BestForm() { return DecodePlain; }
#endif

}  // namespace

void DecodeFast(const HuffmanDecodeTable& literals, const HuffmanDecodeTable& distances,
                BitCursor& cursor, InflateWindow& window, int32_t& budget) {
  BestForm()(literals, distances, cursor, window, budget);
}
