// Assembles deflate streams by hand, bit by bit, also such as no encoder would write.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "Compression/DeflateFormat.h"

using Bytes = std::vector<uint8_t>;

class BitAssembler {
 public:
  // A number of `count` bits, least significant first: counts, extra bits.
  BitAssembler& Number(uint64_t value, int count) {
    for (int i = 0; i < count; ++i) Bit(uint32_t(value >> i) & 1);
    return *this;
  }
  // A code of `count` bits, most significant first.
  BitAssembler& Code(uint32_t code, int count) {
    for (int i = count - 1; i >= 0; --i) Bit(code >> i & 1);
    return *this;
  }
  // Whole bytes, from the next byte boundary.
  BitAssembler& Append(const Bytes& bytes) {
    used_ = 0;
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  BitAssembler& Big32(uint32_t value) {
    return Append(
        {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)});
  }
  // What follows the header of a stored block.
  BitAssembler& Stored(const Bytes& bytes) {
    const uint8_t low = uint8_t(bytes.size());
    const uint8_t high = uint8_t(bytes.size() >> 8);
    return Append({low, high, uint8_t(~low), uint8_t(~high)}).Append(bytes);
  }
  BitAssembler& Block(uint32_t type, bool isFinal = true) {
    return Number(isFinal, 1).Number(type, 2);
  }
  // A symbol of the fixed literal/length code, from the table of RFC 1951, section 3.2.6.
  BitAssembler& Fixed(int symbol) {
    if (symbol < 144) return Code(0x30 + symbol, 8);
    if (symbol < 256) return Code(0x190 + symbol - 144, 9);
    return symbol < 280 ? Code(symbol - 256, 7) : Code(0xC0 + symbol - 280, 8);
  }
  BitAssembler& FixedMatch(int length, int distance) {
    int range = kLengthRangeCount - 1;
    while (kLengthRanges[range].base > length) --range;
    Fixed(kFirstLengthSymbol + range)
        .Number(length - kLengthRanges[range].base, kLengthRanges[range].extraBits);
    range = kDistanceRangeCount - 1;
    while (kDistanceRanges[range].base > distance) --range;
    return Code(range, 5).Number(distance - kDistanceRanges[range].base,
                                 kDistanceRanges[range].extraBits);
  }
  // The head of a final dynamic block up to the code lengths. All 19 code-length symbols get 5
  // bits, so the code of each is its own number.
  BitAssembler& DynamicHead(int literalCount, int distanceCount) {
    Block(kDynamicBlock).Number(literalCount - 257, 5).Number(distanceCount - 1, 5).Number(15, 4);
    for (int i = 0; i < kCodeLengthSymbols; ++i) Number(5, 3);
    return *this;
  }
  // Code lengths as the run-length coded symbols {symbol, extra bits}.
  BitAssembler& Lengths(const std::vector<std::pair<int, int>>& runs) {
    for (const auto& [symbol, extra] : runs) {
      Code(symbol, 5);
      if (symbol >= 16) Number(extra, kRepeatRanges[symbol - 16].extraBits);
    }
    return *this;
  }
  // A whole dynamic header: the code lengths of the symbols that have a code.
  BitAssembler& Dynamic(std::map<int, int> literals, std::map<int, int> distances) {
    DynamicHead(kLiteralLengthSymbols, kDistanceSymbols);
    for (int i = 0; i < kLiteralLengthSymbols; ++i) Code(literals[i], 5);
    for (int i = 0; i < kDistanceSymbols; ++i) Code(distances[i], 5);
    return *this;
  }
  operator Bytes() const { return bytes_; }

 private:
  void Bit(uint32_t bit) {
    if (used_ == 0) bytes_.push_back(0);
    bytes_.back() |= static_cast<uint8_t>(bit << used_);
    used_ = (used_ + 1) % 8;
  }

  Bytes bytes_;
  int used_ = 0;  // bits of the last byte; 0 when it is full
};
