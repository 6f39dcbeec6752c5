#include "Compression/TokenBuffer.h"

#include "Compression/DeflateFormat.h"

namespace {

constexpr int32_t kMatchRecordBytes = 3;

}  // namespace

void TokenBuffer::Reset() {
  bytes_[0] = 0;
  writeIndex_ = 1;
  flagIndex_ = 0;
  flagBitsUsed_ = 0;
  count_ = 0;
  triples_.fill(0);
}

void TokenBuffer::AppendLiteral(uint8_t byte) {
  AppendFlag(0);
  bytes_[writeIndex_++] = byte;
}

void TokenBuffer::AppendMatch(int32_t distance, int32_t length) {
  AppendFlag(1);
  bytes_[writeIndex_++] = static_cast<uint8_t>(distance - 1);
  bytes_[writeIndex_++] = static_cast<uint8_t>((distance - 1) >> 8);
  bytes_[writeIndex_++] = static_cast<uint8_t>(length - kMinMatchLength);
}

void TokenBuffer::AppendFlag(uint8_t flag) {
  if (flagBitsUsed_ == kTokensPerGroup) {
    flagIndex_ = writeIndex_;
    bytes_[writeIndex_++] = 0;
    flagBitsUsed_ = 0;
  }
  bytes_[flagIndex_] |= static_cast<uint8_t>(flag << flagBitsUsed_++);
  ++count_;
}

bool TokenCursor::Next(Token& token) {
  if (index_ >= buffer_.count_) return false;
  const int32_t bit = index_ % TokenBuffer::kTokensPerGroup;
  if (bit == 0) flagIndex_ = readIndex_++;
  const uint8_t* record = buffer_.bytes_.data() + readIndex_;
  if ((buffer_.bytes_[flagIndex_] >> bit & 1) != 0) {
    token = {record[2] + kMinMatchLength, (record[0] | record[1] << 8) + 1, nullptr};
    readIndex_ += kMatchRecordBytes;
  } else {
    const uint64_t triples = buffer_.triples_[index_ / TokenBuffer::kTripleBitsPerWord];
    const bool isTriple = (triples >> index_ % TokenBuffer::kTripleBitsPerWord & 1) != 0;
    token = {isTriple ? kMatchRecordBytes : 1, 0, record};
    readIndex_ += token.length;
  }
  ++index_;
  return true;
}

void TokenCursor::ReplaceByTriple(const uint8_t* bytes) {
  const int32_t last = index_ - 1;
  buffer_.bytes_[flagIndex_] &= static_cast<uint8_t>(~(1 << last % TokenBuffer::kTokensPerGroup));
  for (int32_t i = 0; i < kMatchRecordBytes; ++i) {
    buffer_.bytes_[readIndex_ - kMatchRecordBytes + i] = bytes[i];
  }
  buffer_.triples_[last / TokenBuffer::kTripleBitsPerWord] |=
      uint64_t{1} << last % TokenBuffer::kTripleBitsPerWord;
}
