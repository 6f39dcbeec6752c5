// Bits out of a byte stream, least significant bit of each byte first, as deflate has them.
#pragma once

#include <cstdint>

#include "Core/Stream.h"

// A place in buffered bytes with the bits already taken out of them. A plain record, so that a hot
// loop can work on a copy of its own.
struct BitCursor {
  const uint8_t* next = nullptr;
  const uint8_t* end = nullptr;
  uint64_t bits = 0;     // the bits held, the next one lowest; zeros above them
  int32_t bitCount = 0;  // how many

  int32_t BytesLeft() const { return static_cast<int32_t>(end - next); }

  // Requires: a byte is left and bitCount <= 56.
  void AddByte() {
    bits |= uint64_t{*next++} << bitCount;
    bitCount += 8;
  }

  // The next `count` bits, the first lowest; bits beyond those held read as 0.
  // Requires: 0 <= count <= 31.
  uint32_t Peek(int32_t count) const {
    return static_cast<uint32_t>(bits) & ((uint32_t{1} << count) - 1);
  }

  // Requires: count <= bitCount.
  void Drop(int32_t count) {
    bits >>= count;
    bitCount -= count;
  }

  uint32_t Take(int32_t count) {
    const uint32_t value = Peek(count);
    Drop(count);
    return value;
  }
};

// Reads a stream through a buffer. Every read asks the stream at most once for more bytes: a stream
// whose reads give fewer than 3 bytes before its end may fail a read that it could have served.
class BitReader {
 public:
  // The most bits that ReadBits takes out in one call.
  static constexpr int32_t kMaxReadBits = 24;

  // `source` is borrowed; null is a stream without bytes.
  // cppcheck-suppress uninitMemberVar ; the buffer is filled before it is read
  explicit BitReader(Core::Stream* source) : source_(source) {}
  BitReader(const BitReader&) = delete;
  BitReader& operator=(const BitReader&) = delete;

  // The next `count` bits, the first lowest. False: too few bits are left; those that are held stay
  // held, a shorter read may still succeed. Requires: 0 <= count <= kMaxReadBits.
  [[nodiscard]] bool ReadBits(int32_t count, uint32_t& value) {
    if (cursor_.bitCount < count && !HoldBits(count)) return false;
    value = cursor_.Take(count);
    return true;
  }

  // The next 32 bits, the first lowest; so a little-endian number. False: too few are left.
  [[nodiscard]] bool Read32(uint32_t& value);

  // The next byte. False: none is left. Requires: the reader stands on a byte boundary.
  [[nodiscard]] bool ReadByte(uint8_t& byte) {
    if (cursor_.bitCount >= 8) {
      byte = static_cast<uint8_t>(cursor_.Take(8));
      return true;
    }
    if (cursor_.BytesLeft() < kTopUpBelow) TopUp();
    if (cursor_.next == cursor_.end) return false;
    byte = *cursor_.next++;
    return true;
  }

  // Drops the bits up to the next byte boundary. Whole bytes that are held stay held.
  void AlignToByte() { cursor_.Drop(cursor_.bitCount % 8); }

  // The reader's place. A copy may read on by itself and is then handed back with SetCursor.
  const BitCursor& Cursor() const { return cursor_; }
  void SetCursor(const BitCursor& cursor) { cursor_ = cursor; }

  // True when the stream gave nothing the last time it was asked, and fewer than `count` bits are
  // left: ReadBits(count) fails now and ever after.
  bool IsExhausted(int32_t count) const {
    return sourceEnded_ && cursor_.bitCount + 8 * cursor_.BytesLeft() < count;
  }

 private:
  static constexpr int32_t kBufferSize = 8192;
  static constexpr int32_t kTopUpBelow = 8;  // bytes

  [[nodiscard]] bool HoldBits(int32_t count);
  void TopUp();

  Core::Stream* source_;
  bool sourceEnded_ = false;
  BitCursor cursor_;  // within buffer_
  uint8_t buffer_[kBufferSize];
};
