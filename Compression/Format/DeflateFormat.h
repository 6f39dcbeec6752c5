// Everything that RFC 1951 fixes, shared by the decoder and the encoder: block types, alphabets,
// the values of length and distance codes, and the layout of a dynamic block's header.
#pragma once

#include <array>
#include <cstdint>

// The two-bit block type that follows the final-block bit.
enum DeflateBlockType : uint32_t { kStoredBlock = 0, kFixedBlock = 1, kDynamicBlock = 2 };

constexpr int32_t kFinalBlockBits = 1;
constexpr int32_t kBlockTypeBits = 2;
constexpr int32_t kMaxStoredLength = 65535;  // bytes in one stored block

// Matches.
constexpr int32_t kDeflateWindowSize = 32768;  // and so the largest distance
constexpr int32_t kMinMatchLength = 3;
constexpr int32_t kMaxMatchLength = 258;

// Alphabets. Literal/length: 0-255 literal bytes, 256 end of block, 257-285 lengths. The symbols
// 286 and 287 and the distance symbols 30 and 31 take part in the code and may not occur.
constexpr int32_t kLiteralLengthSymbols = 288;
constexpr int32_t kDistanceSymbols = 32;
constexpr int32_t kCodeLengthSymbols = 19;
constexpr int32_t kEndOfBlock = 256;
constexpr int32_t kFirstLengthSymbol = 257;

// The longest codes, in bits.
constexpr int32_t kMaxCodeLength = 15;
constexpr int32_t kMaxCodeLengthCodeLength = 7;

// A range of lengths or distances: its symbol stands for `base` plus the value of the `extraBits`
// bits that follow the symbol's code.
struct DeflateRange {
  uint16_t base;
  uint8_t extraBits;
};

constexpr int32_t kLengthRangeCount = 29;
constexpr int32_t kDistanceRangeCount = 30;

// Eight ranges of one value, then four ranges to each number of extra bits. The last would be
// 227-258; the longest match has a range of its own, so that it needs no extra bits.
constexpr std::array<DeflateRange, kLengthRangeCount> MakeLengthRanges() {
  std::array<DeflateRange, kLengthRangeCount> ranges{};
  int32_t base = kMinMatchLength;
  for (int32_t i = 0; i < kLengthRangeCount - 1; ++i) {
    const int32_t extraBits = i < 8 ? 0 : i / 4 - 1;
    ranges[i] = {static_cast<uint16_t>(base), static_cast<uint8_t>(extraBits)};
    base += 1 << extraBits;
  }
  ranges[kLengthRangeCount - 1] = {kMaxMatchLength, 0};
  return ranges;
}

// Four ranges of one value, then two ranges to each number of extra bits.
constexpr std::array<DeflateRange, kDistanceRangeCount> MakeDistanceRanges() {
  std::array<DeflateRange, kDistanceRangeCount> ranges{};
  int32_t base = 1;
  for (int32_t i = 0; i < kDistanceRangeCount; ++i) {
    const int32_t extraBits = i < 4 ? 0 : i / 2 - 1;
    ranges[i] = {static_cast<uint16_t>(base), static_cast<uint8_t>(extraBits)};
    base += 1 << extraBits;
  }
  return ranges;
}

// By symbol - kFirstLengthSymbol, and by distance symbol.
constexpr std::array<DeflateRange, kLengthRangeCount> kLengthRanges = MakeLengthRanges();
constexpr std::array<DeflateRange, kDistanceRangeCount> kDistanceRanges = MakeDistanceRanges();
static_assert(kLengthRanges[27].base == 227 && kLengthRanges[27].extraBits == 5);
static_assert(kLengthRanges[28].base == 258 && kLengthRanges[28].extraBits == 0);
static_assert(kDistanceRanges[29].base == 24577 && kDistanceRanges[29].extraBits == 13);

// The dynamic header: three counts, each stored less its minimum, then the lengths of the
// code-length code in kCodeLengthOrder, then all other code lengths under that code.
constexpr int32_t kLiteralLengthCountBits = 5;
constexpr int32_t kDistanceCountBits = 5;
constexpr int32_t kCodeLengthCountBits = 4;
constexpr int32_t kMinLiteralLengthCount = 257;
constexpr int32_t kMinDistanceCount = 1;
constexpr int32_t kMinCodeLengthCount = 4;
constexpr int32_t kCodeLengthLengthBits = 3;

// Most used first, so that trailing zeros can be left out.
constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder = {
    16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};

// Code-length symbols: 0-15 are lengths, the others repeat one.
constexpr int32_t kRepeatPreviousLength = 16;
constexpr int32_t kRepeatZeroShort = 17;
constexpr int32_t kRepeatZeroLong = 18;

// How often, by code-length symbol - kRepeatPreviousLength.
constexpr std::array<DeflateRange, 3> kRepeatRanges = {{{3, 2}, {3, 3}, {11, 7}}};

// The codes of fixed blocks.
constexpr std::array<uint8_t, kLiteralLengthSymbols> MakeFixedLiteralLengths() {
  std::array<uint8_t, kLiteralLengthSymbols> lengths{};
  for (int32_t symbol = 0; symbol < kLiteralLengthSymbols; ++symbol) {
    lengths[symbol] = symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8;
  }
  return lengths;
}

constexpr std::array<uint8_t, kDistanceSymbols> MakeFixedDistanceLengths() {
  std::array<uint8_t, kDistanceSymbols> lengths{};
  lengths.fill(5);
  return lengths;
}

constexpr std::array<uint8_t, kLiteralLengthSymbols> kFixedLiteralLengths =
    MakeFixedLiteralLengths();
constexpr std::array<uint8_t, kDistanceSymbols> kFixedDistanceLengths = MakeFixedDistanceLengths();
