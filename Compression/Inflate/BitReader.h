// Reads bits from a byte stream, the least significant bit of each byte first (RFC 1951, section
// 3.1.1).
#pragma once

#include <cstddef>
#include <cstdint>

#include "Core/Endian.h"
#include "Core/Stream.h"

// A position in buffered bytes, and the bits already taken out of them. A plain record, so that a
// hot loop can work on a copy of its own.
struct BitCursor {
  const uint8_t* next = nullptr;
  const uint8_t* end = nullptr;
  uint64_t bits = 0;     // the bits held, the next one lowest; zeros above them
  int32_t bitCount = 0;  // the number of bits held

  int32_t BytesLeft() const { return static_cast<int32_t>(end - next); }

  // Requires: a byte is left and bitCount <= 56.
  void AddByte() {
    bits |= uint64_t{*next++} << bitCount;
    bitCount += 8;
  }

  // The next `count` bits, the first lowest; bits that are not held read as 0.
  // Requires: 0 <= count <= 31.
  uint32_t Peek(int32_t count) const {
    return static_cast<uint32_t>(bits) & ((uint32_t{1} << count) - 1);
  }

  // Requires: count <= bitCount.
  void Drop(int32_t count) {
    bits >>= count;
    bitCount -= count;
  }

  // At least the next 32 bits, whether held or not. Requires: 4 bytes are left, and bitCount <= 31.
  uint64_t Ahead() const { return bits | uint64_t{Core::LoadLittle32(next)} << bitCount; }

  // Drops `count` bits, and adds the bytes needed for that. Requires: the bytes are there.
  void Consume(int32_t count) {
    while (bitCount < count) AddByte();
    Drop(count);
  }

  // Drops `count` bits, also more than are held, and holds 16 to 31 bits afterwards: the state as
  // if on the way two bytes had been added whenever fewer than 16 bits were held. Requires:
  // bitCount <= 31, and the bytes are there.
  void Skip(std::ptrdiff_t count) {
    const std::ptrdiff_t place = count - bitCount;        // first bit kept, counted from `next`
    const std::ptrdiff_t pairs = (place + 16 + 15) / 16;  // 16 * pairs - place is 16 to 31
    if (pairs <= 1) {
      for (std::ptrdiff_t i = 0; i < 2 * pairs; ++i) AddByte();
      Drop(static_cast<int32_t>(count));
      return;
    }
    next += 2 * pairs;
    bitCount = static_cast<int32_t>(16 * pairs - place);
    bits = Core::LoadLittle32(next - 4) >> (32 - bitCount);
  }

  uint32_t Take(int32_t count) {
    const uint32_t value = Peek(count);
    Drop(count);
    return value;
  }
};

// Reads a stream through a buffer. Every operation calls the stream's Read at most once: with a
// stream that gives fewer than 3 bytes at a time, a read may fail although more bytes would follow.
class BitReader {
 public:
  // With this many bytes buffered, a symbol and its extra bits can be taken from a copy of the
  // cursor: no read of them would need the stream.
  static constexpr int32_t kPlainBytes = 16;

  // The most bits that one call of ReadBits takes.
  static constexpr int32_t kMaxReadBits = 24;

  // `source` is borrowed; null stands for a stream without bytes.
  // cppcheck-suppress uninitMemberVar ; the buffer is filled before it is read
  explicit BitReader(Core::Stream* source) : source_(source) {}
  BitReader(const BitReader&) = delete;
  BitReader& operator=(const BitReader&) = delete;

  // The next `count` bits, the first lowest. False: too few bits are left. They stay, so a shorter
  // read may still succeed. Requires: 0 <= count <= kMaxReadBits.
  [[nodiscard]] bool ReadBits(int32_t count, uint32_t& value) {
    if (cursor_.bitCount < count && !HoldBits(count)) return false;
    value = cursor_.Take(count);
    return true;
  }

  // The next 32 bits as a little-endian number. False: too few are left.
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

  // The number of bytes that ReadByte would give without a call of the stream; a caller may take
  // them from Cursor() at once. Requires: the reader stands on a byte boundary.
  int32_t BufferedBytes() const {
    return cursor_.bitCount > 0 ? 0 : cursor_.BytesLeft() - (kTopUpBelow - 1);
  }

  // Drops the bits up to the next byte boundary. Whole bytes that are held stay held.
  void AlignToByte() { cursor_.Drop(cursor_.bitCount % 8); }

  // The reader's position. A loop may advance a copy of it and hand that back with SetCursor.
  const BitCursor& Cursor() const { return cursor_; }
  void SetCursor(const BitCursor& cursor) { cursor_ = cursor; }

  // True when the last call of the stream gave nothing and fewer than `count` bits are left: then
  // ReadBits(count) fails now and always.
  bool IsExhausted(int32_t count) const {
    return sourceEnded_ && cursor_.bitCount + 8 * cursor_.BytesLeft() < count;
  }

  // False after a short read of a stream that has not ended: then the count of the calls of the
  // stream that a read makes may decide what is held later.
  bool ReadsPlenty() const { return sourceEnded_ || cursor_.end - buffer_ >= kPlainBytes; }

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
