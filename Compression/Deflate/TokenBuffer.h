// The tokens of one deflate block and the frequency of each symbol. The parser appends them, the
// block writer walks them.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "Compression/Format/DeflateFormat.h"

// The bytes that the shortest match stands for.
using ThreeBytes = std::array<uint8_t, kMinMatchLength>;

// One token in 32 bits:
//
//   literal         | 0 | ....................................... | byte |
//   literal triple  | 1 | ..................... | byte 2 | byte 1 | byte 0 |
//   match           | 2 | distance symbol (6) | length (9) | distance - 1 (15) |
//
// A triple is three literals in the place of a match of three bytes.
class Token {
 public:
  // Uninitialised: the buffer's tokens are written before they are read.
  // cppcheck-suppress uninitMemberVar
  Token() = default;
  static Token Literal(uint8_t byte) { return Token(byte); }
  static Token Triple(const ThreeBytes& bytes) {
    return Token(kTriple << kKindShift | uint32_t{bytes[2]} << 16 | uint32_t{bytes[1]} << 8 |
                 bytes[0]);
  }
  static Token Match(int32_t distance, int32_t length, int32_t distanceSymbol) {
    return Token(kMatch << kKindShift | static_cast<uint32_t>(distanceSymbol) << kSymbolShift |
                 static_cast<uint32_t>(length) << kLengthShift |
                 static_cast<uint32_t>(distance - 1));
  }

  bool IsLiteral() const { return bits_ >> kKindShift == 0; }
  bool IsMatch() const { return bits_ >> kKindShift == kMatch; }

  // Of literals, one or three.
  uint8_t Byte(int32_t index) const { return static_cast<uint8_t>(bits_ >> 8 * index); }

  // Of a match.
  int32_t Distance() const { return static_cast<int32_t>(bits_ & 0x7FFF) + 1; }
  int32_t Length() const { return static_cast<int32_t>(bits_ >> kLengthShift & 0x1FF); }
  int32_t DistanceSymbol() const { return static_cast<int32_t>(bits_ >> kSymbolShift & 0x3F); }

 private:
  static constexpr uint32_t kTriple = 1;
  static constexpr uint32_t kMatch = 2;
  static constexpr int32_t kLengthShift = 15;
  static constexpr int32_t kSymbolShift = 24;
  static constexpr int32_t kKindShift = 30;

  explicit Token(uint32_t bits) : bits_(bits) {}

  uint32_t bits_;
};

// The frequency of each symbol, the end of the block included.
struct SymbolCounts {
  std::array<uint32_t, kLiteralLengthSymbols> literals;
  std::array<uint32_t, kDistanceSymbols> distances;
};

class TokenBuffer {
 public:
  TokenBuffer() { Reset(); }

  // Empties the buffer for a new block.
  void Reset();

  // Requires for both: not full. `bytes` are the first three of those a match stands for.
  void AppendLiteral(uint8_t byte) {
    tokens_[count_++] = Token::Literal(byte);
    ++counts_.literals[byte];
  }
  void AppendMatch(int32_t distance, int32_t length, const uint8_t* bytes);

  // True when the block must be written now.
  // Deliberate: it counts as if tokens were packed into 64 KiB, a literal as one byte and a match
  // as three, with a byte of flags before each group of eight. Other bounds would give other
  // blocks.
  bool IsFull() const {
    const int32_t flagBytes = (count_ + kTokensPerGroup - 1) / kTokensPerGroup;
    return count_ + (kMatchBytes - 1) * matchCount_ + flagBytes >= kFullAt;
  }

  std::span<const Token> Tokens() const { return {tokens_.data(), static_cast<size_t>(count_)}; }
  const SymbolCounts& Counts() const { return counts_; }
  int32_t RawBytes() const { return count_ + savedBytes_; }  // the bytes that the tokens stand for

  // Turns every match of three bytes for which `isBetter(distanceSymbol, bytes)` holds into a
  // literal triple. True when there was one.
  template <typename IsBetter>
  bool ConvertShortMatches(const IsBetter& isBetter);

 private:
  static constexpr int32_t kCapacity = 65536;
  static constexpr int32_t kMaxTokenBytes = 4;  // a match that opens a group
  static constexpr int32_t kFullAt = kCapacity - kMaxTokenBytes;
  static constexpr int32_t kTokensPerGroup = 8;
  static constexpr int32_t kMatchBytes = 3;
  static constexpr int32_t kMaxTokens = kFullAt * 8 / 9 + 1;
  static constexpr int32_t kMaxShortMatches = kFullAt / kMatchBytes + 1;

  struct ShortMatch {
    uint16_t token;
    ThreeBytes bytes;
  };
  static_assert(kMaxTokens <= 1 << 16);

  int32_t count_;
  int32_t matchCount_;  // matches appended
  int32_t savedBytes_;  // their bytes, less one for each
  int32_t shortCount_;
  SymbolCounts counts_;
  std::array<Token, kMaxTokens> tokens_;
  std::array<ShortMatch, kMaxShortMatches> shortMatches_;
};

template <typename IsBetter>
bool TokenBuffer::ConvertShortMatches(const IsBetter& isBetter) {
  int32_t kept = 0;
  for (int32_t i = 0; i < shortCount_; ++i) {
    const ShortMatch match = shortMatches_[i];
    Token& token = tokens_[match.token];
    if (!isBetter(token.DistanceSymbol(), match.bytes)) {
      shortMatches_[kept++] = match;
      continue;
    }
    --counts_.literals[kFirstLengthSymbol];
    --counts_.distances[token.DistanceSymbol()];
    token = Token::Triple(match.bytes);
    for (const uint8_t byte : match.bytes) ++counts_.literals[byte];
  }
  const bool isChanged = kept < shortCount_;
  shortCount_ = kept;
  return isChanged;
}
