// The parse of one deflate block: literals and matches, packed, between the parser that appends
// them and the block writer that walks them. Nobody else knows the flag bytes.
//
//   | flags | record | record | ... (eight tokens) | flags | record | ...
//
//   flag bit 0:  literal          | byte |                         (bit k belongs to the k-th
//                literal triple   | byte | byte | byte |            token of its group, least
//   flag bit 1:  match            | distance - 1, low, high | length - 3 |       significant first)
//
// A triple is three literals in the place of a match: a bit beside the buffer tells it from a
// single literal. Only the block writer makes them.
#pragma once

#include <array>
#include <cstdint>

// One token as the cursor hands it out.
struct Token {
  int32_t length;         // bytes it stands for: 1 or 3 for literals
  int32_t distance;       // how far back a match reaches; 0 for literals
  const uint8_t* record;  // the bytes of literals

  bool IsMatch() const { return distance != 0; }
};

class TokenBuffer {
 public:
  TokenBuffer() { Reset(); }

  // Empties the buffer for a new block.
  void Reset();

  // Requires for both: not full.
  void AppendLiteral(uint8_t byte);
  void AppendMatch(int32_t distance, int32_t length);

  // True when the next token might not fit: the block must be written now.
  bool IsFull() const { return writeIndex_ >= kCapacity - kMaxTokenBytes; }

  int32_t Count() const { return count_; }

 private:
  friend class TokenCursor;

  static constexpr int32_t kCapacity = 65536;
  static constexpr int32_t kMaxTokenBytes = 4;  // a match that opens a group
  static constexpr int32_t kMaxTokens = kCapacity;
  static constexpr int32_t kTokensPerGroup = 8;
  static constexpr int32_t kTripleBitsPerWord = 64;

  void AppendFlag(uint8_t flag);

  std::array<uint8_t, kCapacity> bytes_;
  int32_t count_ = 0;
  int32_t writeIndex_ = 0;
  int32_t flagIndex_ = 0;  // of the group being filled
  int32_t flagBitsUsed_ = 0;
  std::array<uint64_t, kMaxTokens / kTripleBitsPerWord> triples_;  // bit k: token k is a triple
};

// Walks the tokens of a buffer, which must not change but through the cursor.
class TokenCursor {
 public:
  explicit TokenCursor(TokenBuffer& buffer) : buffer_(buffer) {}

  // The next token; its record stays valid as long as the buffer. False: there are no more.
  bool Next(Token& token);

  // Turns the match that Next handed out last into the three literals `bytes`.
  // Requires: it is a match.
  void ReplaceByTriple(const uint8_t* bytes);

 private:
  TokenBuffer& buffer_;
  int32_t index_ = 0;      // of the next token
  int32_t readIndex_ = 0;  // of its record, or of the flag byte before it
  int32_t flagIndex_ = 0;  // of the last token's group
};
