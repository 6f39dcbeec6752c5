#include "Compression/Inflate/BitReader.h"

#include <cstring>

bool BitReader::Read32(uint32_t& value) {
  constexpr int32_t kHighBits = 32 - kMaxReadBits;
  uint32_t low = 0;
  uint32_t high = 0;
  if (!ReadBits(kMaxReadBits, low) || !ReadBits(kHighBits, high)) return false;
  value = high << kMaxReadBits | low;
  return true;
}

// Adds bytes from the buffer until `count` bits are held. False: there are too few.
bool BitReader::HoldBits(int32_t count) {
  if (cursor_.BytesLeft() < kTopUpBelow) TopUp();
  while (cursor_.bitCount < count) {
    if (cursor_.next == cursor_.end) return false;
    cursor_.AddByte();
  }
  return true;
}

// Moves the bytes left to the buffer's start and fills the rest with one read of the source.
void BitReader::TopUp() {
  const int32_t left = cursor_.BytesLeft();
  if (left > 0) std::memmove(buffer_, cursor_.next, static_cast<std::size_t>(left));
  uint32_t got = 0;
  if (source_ == nullptr || !source_->Read(buffer_ + left, kBufferSize - left, got)) got = 0;
  sourceEnded_ = got == 0;
  cursor_.next = buffer_;
  cursor_.end = buffer_ + left + got;
}
