// Assembles deflate streams bit by bit, also streams that no encoder would write.
#pragma once

#include <algorithm>
#include <cstdio>

#include "Compression/Format/DeflateFormat.h"
#include "Tests/Support/Cases.h"

class BitAssembler {
 public:
  BitAssembler() = default;
  // Tests/Compression/Inflate/Streams.txt explains the words.
  explicit BitAssembler(const std::string& words) {
    for (const std::string& word : Words(Unescaped(words))) Word(word);
  }

  // A number of `count` bits, least significant first, as counts and extra bits are.
  BitAssembler& Number(uint64_t value, int count) {
    for (int i = 0; i < count; ++i) Bit(value >> i & 1);
    return *this;
  }
  // A Huffman code of `count` bits, most significant first.
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
  // A whole stored block.
  BitAssembler& Stored(const Bytes& bytes, bool isFinal = true) {
    Block(kStoredBlock, isFinal).Append({}).Number(bytes.size(), 16).Number(~bytes.size(), 16);
    return Append(bytes);
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
  // The range that a length or a distance falls into.
  static int Range(const auto& ranges, int value) {
    const auto after = std::ranges::upper_bound(ranges, value, {}, &DeflateRange::base);
    return static_cast<int>(after - ranges.begin()) - 1;
  }
  BitAssembler& Extra(DeflateRange range, int value) {
    return Number(value - range.base, range.extraBits);
  }
  BitAssembler& FixedMatch(int length, int distance) {
    const int near = Range(kLengthRanges, length), far = Range(kDistanceRanges, distance);
    Fixed(kFirstLengthSymbol + near).Extra(kLengthRanges[near], length);
    return Code(far, 5).Extra(kDistanceRanges[far], distance);
  }
  int Size() const { return static_cast<int>(8 * bytes_.size()) - (8 - used_) % 8; }  // in bits
  operator Bytes() const { return bytes_; }

 private:
  void Bit(bool bit) {
    if (used_ == 0) bytes_.push_back(0);
    bytes_.back() |= bit << used_;
    used_ = (used_ + 1) % 8;
  }

  // A word misspelt ends the program.
  BitAssembler& Word(const std::string& word) {
    const std::string kind = word.substr(0, word.find(':'));
    const std::string rest = word.substr(std::min(word.size(), kind.size() + 1));
    const auto number = [&](int index) { return std::stoi(Words(rest, ',').at(index)); };
    if (word[0] == '\'') return Fixed(static_cast<uint8_t>(word.at(1)));
    if (word[0] == 'x') return Append(FromHex(word.substr(1)));
    if (kind == "fixed") return Block(kFixedBlock, rest != "+");
    if (kind == "stored") return Stored(Bytes(rest.begin(), rest.end()));
    if (kind == "symbol") return Fixed(number(0));
    if (kind == "match") return FixedMatch(number(0), number(1));
    if (kind == "dynamic") return DynamicHead(number(0), number(1));
    if (kind == "repeat")
      return Code(number(0), 5).Number(number(1), kRepeatRanges.at(number(0) - 16).extraBits);
    for (const char digit : rest) {
      if (digit != ',') Code(std::stoi(std::string(1, digit), nullptr, 16), 5);
    }
    if (kind == "lengths") return *this;
    if (kind.find_first_not_of("01") != kind.npos) std::abort();
    for (const char bit : word) Bit(bit == '1');
    return *this;
  }
  // A final dynamic block up to the code lengths. All 19 code-length symbols get 5 bits, so the
  // code of each is its own number.
  BitAssembler& DynamicHead(int literalCount, int distanceCount) {
    Block(kDynamicBlock).Number(literalCount - 257, 5).Number(distanceCount - 1, 5).Number(15, 4);
    for (int i = 0; i < kCodeLengthSymbols; ++i) Number(5, 3);
    return *this;
  }

  Bytes bytes_;
  int used_ = 0;  // bits of the last byte; 0 when it is full
};
