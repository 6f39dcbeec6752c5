// A raw deflate stream read in the plainest way, bit by bit: the measure of the inflater. Like the
// inflater it takes incomplete codes and matches from before the first byte.
#pragma once

#include <algorithm>
#include <string>

#include "Compression/Format/DeflateFormat.h"
#include "Tests/Support/Bytes.h"

namespace Plain {

// The code of each symbol, its first bit highest: RFC 1951, section 3.2.2.
inline std::vector<int> CanonicalCodes(const Bytes& lengths) {
  std::vector<int> codes(lengths.size());
  for (int length = 1, code = 0; length <= kMaxCodeLength; ++length, code *= 2) {
    for (std::size_t i = 0; i < lengths.size(); ++i) {
      if (lengths[i] == length) codes[i] = code++;
    }
  }
  return codes;
}

// A Huffman code as the list of the symbols that the patterns of 15 bits begin with.
struct Code {
  explicit Code(const Bytes& of) : lengths(of) {
    const std::vector<int> codes = CanonicalCodes(of);
    std::size_t used = 0;
    for (std::size_t i = 0; i < of.size(); ++i) {
      if (of[i] == 0 || (used += symbols.size() >> of[i]) > symbols.size()) continue;
      uint32_t pattern = 0;  // the code, its first bit lowest
      for (int bit = 0; bit < of[i]; ++bit) pattern = pattern << 1 | (codes[i] >> bit & 1);
      for (; pattern < symbols.size(); pattern += 1 << of[i]) symbols[pattern] = int(i);
    }
    isGood = 0 < used && used <= symbols.size();
  }

  // The bits that a pattern consumes. Where no code begins so, it stands for symbol 0 and has the
  // bits of that; for a careful reader it has the next length in use at which this is certain.
  int BitsOf(uint32_t pattern, bool isCareful) const {
    int bits = lengths[std::max(symbols[pattern], 0)];
    if (symbols[pattern] >= 0 || !isCareful) return bits;
    const auto isOnTheWay = [&](uint32_t step) {
      uint32_t like = pattern % step;
      while (like < symbols.size() && symbols[like] < 0) like += step;
      return like < symbols.size();
    };
    for (bits = 1; std::ranges::count(lengths, bits) == 0 || isOnTheWay(1 << bits);) ++bits;
    return bits;
  }

  Bytes lengths;
  std::vector<int> symbols = std::vector<int>(1 << kMaxCodeLength, -1);  // -1: none
  bool isGood;  // neither empty nor over-subscribed
};

class Inflater {
 public:
  explicit Inflater(const Bytes& input) : input_(input) {
    for (bool isFinal = false; isGood && !isFinal;) {
      isFinal = Number(1) != 0;
      types += char('0' + Number(2));
      isGood = types.back() == '0' ? ReadStored() : types.back() < '3' && ReadCompressed();
    }
  }

  // True when the stream ends so late in the input that it may have been read on from there.
  bool IsAtEnd() const { return !IsInside(12); }

  struct Place {
    std::size_t bits, bytes;
  };
  Bytes output;               // up to the fault
  std::string types;          // of the blocks
  Bytes literals, distances;  // the code lengths of the last block
  std::vector<Place> places;  // what is read and written where each of its symbols begins
  bool isGood = true;
  bool hasGap =
      false;  // a pattern without a code, which is read otherwise in small pieces of input

 private:
  bool IsInside(std::size_t bytes) const { return at_ + 8 * bytes <= 8 * input_.size(); }

  int Number(int count) {
    int number = 0;
    for (int i = 0; i < count; ++i, ++at_) {
      if (at_ / 8 < input_.size()) number |= (input_[at_ / 8] >> at_ % 8 & 1) << i;
    }
    return number;
  }

  // -1: it has no bits, and so no end.
  int Symbol(const Code& code, bool isCareful = false) {
    const int pattern = Number(kMaxCodeLength), bits = code.BitsOf(pattern, isCareful);
    at_ -= kMaxCodeLength - bits;
    hasGap = hasGap || code.symbols[pattern] < 0;
    return bits == 0 ? -1 : std::max(code.symbols[pattern], 0);
  }

  bool ReadStored() {
    at_ = (at_ + 7) / 8 * 8;
    const int size = Number(16);
    if (size + Number(16) != kMaxStoredLength || !IsInside(size)) return false;
    for (int i = 0; i < size; ++i) output.push_back(uint8_t(Number(8)));
    return true;
  }

  bool ReadCompressed() {
    places.clear();
    literals.assign(kFixedLiteralLengths.begin(), kFixedLiteralLengths.end());
    distances.assign(kFixedDistanceLengths.begin(), kFixedDistanceLengths.end());
    if (types.back() == '2' && !ReadLengths()) return false;
    const Code literalCode(literals), distanceCode(distances);
    while (literalCode.isGood && distanceCode.isGood && IsInside(0)) {
      places.push_back({at_, output.size()});
      const int symbol = Symbol(literalCode), range = symbol - kFirstLengthSymbol;
      if (symbol == kEndOfBlock) return IsInside(0);
      if (symbol < 0 || range >= kLengthRangeCount) return false;
      if (range < 0) {
        output.push_back(uint8_t(symbol));
        continue;
      }
      int length = kLengthRanges[range].base + Number(kLengthRanges[range].extraBits);
      const int far = std::max(Symbol(distanceCode), 0);
      if (far >= kDistanceRangeCount) return false;
      const int distance = kDistanceRanges[far].base + Number(kDistanceRanges[far].extraBits);
      for (; length > 0; --length) {
        output.push_back(distance > int(output.size()) ? 0 : output.end()[-distance]);
      }
    }
    return false;
  }

  bool ReadLengths() {
    literals.assign(kMinLiteralLengthCount + Number(5), 0);
    distances.assign(kMinDistanceCount + Number(5), 0);
    Bytes own(kCodeLengthSymbols), lengths;
    const int count = kMinCodeLengthCount + Number(4);
    for (int i = 0; i < count; ++i) own[kCodeLengthOrder[i]] = uint8_t(Number(3));
    const Code code(own);
    const std::size_t wanted = literals.size() + distances.size();
    for (int previous = 0; code.isGood && lengths.size() < wanted && IsInside(0);) {
      const int symbol = Symbol(code, true), repeat = symbol - kRepeatPreviousLength;
      if (repeat != 0) previous = repeat < 0 ? symbol : 0;
      const DeflateRange range = repeat < 0 ? DeflateRange{1, 0} : kRepeatRanges[repeat];
      lengths.insert(lengths.end(), range.base + Number(range.extraBits), uint8_t(previous));
    }
    if (lengths.size() != wanted) return false;
    std::copy_n(lengths.begin(), literals.size(), literals.begin());
    std::copy(lengths.begin() + literals.size(), lengths.end(), distances.begin());
    return true;
  }

  const Bytes& input_;
  std::size_t at_ = 0;  // in bits
};

}  // namespace Plain
