// Bits out of a byte stream, least significant bit of each byte first, as deflate has them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Core/Endian.h"
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

  // The bits that stand next, held or not, 32 at the least. Requires: 4 bytes are left, and
  // bitCount <= 31.
  uint64_t Ahead() const { return bits | uint64_t{Core::LoadLittle32(next)} << bitCount; }

  // Drops `count` bits, adding single bytes as far as they are needed. Requires: they are there.
  void Consume(int32_t count) {
    while (bitCount < count) AddByte();
    Drop(count);
  }

  // Drops `count` bits, however many are held, and then holds 16 to 31 of those that follow: as if
  // in the course of it two bytes had been added whenever fewer than 16 bits were held.
  // Requires: bitCount <= 31, and the bytes are there.
  void Skip(std::ptrdiff_t count) {
    const std::ptrdiff_t place = count - bitCount;        // of the bits that follow, from `next` on
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

// Reads a stream through a buffer. Every read asks the stream at most once for more bytes: a stream
// whose reads give fewer than 3 bytes before its end may fail a read that it could have served.
class BitReader {
 public:
  // With so many bytes buffered, two reads of up to 15 bits come from the buffer: a copy of the
  // cursor may take them by itself.
  static constexpr int32_t kPlainBytes = 16;

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

  // How many bytes ReadByte would give without asking the source, so that a caller may take them
  // from Cursor() at once. Requires: the reader stands on a byte boundary.
  int32_t BufferedBytes() const {
    return cursor_.bitCount > 0 ? 0 : cursor_.BytesLeft() - (kTopUpBelow - 1);
  }

  // The bits that stand next, at least 15 as far as they are buffered, with zeros behind them. The
  // source is asked for more now where reading more bits than are held would ask it: the next read
  // must be one, and asks no more.
  uint64_t LookAhead() {
    if (cursor_.BytesLeft() >= kTopUpBelow) return cursor_.Ahead();
    TopUp();
    isToppedUp_ = true;
    BitCursor ahead = cursor_;
    while (ahead.bitCount < 15 && ahead.next != ahead.end) ahead.AddByte();
    return ahead.bits;
  }

  // How many of the next 15 bits can be read in portions of any sizes without asking the source, or
  // with it having nothing more to give; may tell more than 15.
  int32_t SureBits() const {
    constexpr int32_t kBytes = 2;
    if (!sourceEnded_ && cursor_.BytesLeft() < kTopUpBelow + kBytes) return cursor_.bitCount;
    return cursor_.bitCount + 8 * cursor_.BytesLeft();
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
  bool isToppedUp_ = false;  // by LookAhead, in place of the read that follows
  BitCursor cursor_;         // within buffer_
  uint8_t buffer_[kBufferSize];
};
