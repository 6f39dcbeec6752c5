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
  BitAssembler& FixedMatch(int length, int distance) {
    const auto find = [](const auto& ranges, int value) {
      return std::find_if(ranges.rbegin(), ranges.rend(), [=](auto& r) { return r.base <= value; });
    };
    const auto near = find(kLengthRanges, length), far = find(kDistanceRanges, distance);
    Fixed(285 - int(near - kLengthRanges.rbegin())).Number(length - near->base, near->extraBits);
    return Code(29 - int(far - kDistanceRanges.rbegin()), 5)
        .Number(distance - far->base, far->extraBits);
  }
  operator Bytes() const { return bytes_; }

 private:
  void Bit(bool bit) {
    if (used_ == 0) bytes_.push_back(0);
    bytes_.back() |= bit << used_;
    used_ = (used_ + 1) % 8;
  }

  void Word(const std::string& word) {
    const std::string kind = word.substr(0, word.find(':'));
    const std::string rest = word.substr(std::min(word.size(), kind.size() + 1));
    int a = 0, b = 0;
    std::sscanf(rest.c_str(), "%d,%d", &a, &b);
    if (kind == "fixed") Block(kFixedBlock, rest != "+");
    if (kind == "stored") Stored(Bytes(rest.begin(), rest.end()));
    if (kind == "symbol") Fixed(a);
    if (kind == "match") FixedMatch(a, b);
    if (kind == "dynamic") DynamicHead(a, b);
    if (kind == "repeat") Code(a, 5).Number(b, kRepeatRanges[a - 16].extraBits);
    for (const char digit : kind == "lengths" ? rest : "") {
      if (digit != ',') Code(std::stoi(std::string(1, digit), nullptr, 16), 5);
    }
    if (word[0] == '\'') Fixed(static_cast<uint8_t>(word[1]));
    if (word[0] == 'x') Append(FromHex(word.substr(1)));
    for (const char bit : kind.find_first_not_of("01") == kind.npos ? word : "") Bit(bit == '1');
  }
  // A final dynamic block up to the code lengths. All 19 code-length symbols get 5 bits, so the
  // code of each is its own number.
  void DynamicHead(int literalCount, int distanceCount) {
    Block(kDynamicBlock).Number(literalCount - 257, 5).Number(distanceCount - 1, 5).Number(15, 4);
    for (int i = 0; i < kCodeLengthSymbols; ++i) Number(5, 3);
  }

  Bytes bytes_;
  int used_ = 0;  // bits of the last byte; 0 when it is full
};
