#include "Compression/Deflate/TokenBuffer.h"

#include "Compression/Deflate/DeflateSymbols.h"

void TokenBuffer::Reset() {
  count_ = 0;
  matchCount_ = 0;
  savedBytes_ = 0;
  shortCount_ = 0;
  counts_ = {};
  counts_.literals[kEndOfBlock] = 1;
}

void TokenBuffer::AppendMatch(int32_t distance, int32_t length, const uint8_t* bytes) {
  if (length == kMinMatchLength) {
    shortMatches_[shortCount_++] = {static_cast<uint16_t>(count_), {bytes[0], bytes[1], bytes[2]}};
  }
  const int32_t symbol = DistanceSymbol(distance);
  tokens_[count_++] = Token::Match(distance, length, symbol);
  ++matchCount_;
  savedBytes_ += length - 1;
  ++counts_.literals[kFirstLengthSymbol + kLengthIndex[length]];
  ++counts_.distances[symbol];
}
