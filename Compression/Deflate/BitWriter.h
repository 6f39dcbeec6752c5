// Writes bits to a stream, the least significant first (RFC 1951, section 3.1.1). An accumulator
// gathers bits, a buffer gathers bytes.
//
// Deliberate: the buffer of 8 KiB is handed on when it is full, so a stream that refuses bytes is
// noticed late, and then holds that much less than was written. Small groups of bytes would be
// noticed at once and cost a call of the stream each.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "Core/Endian.h"
#include "Core/Stream.h"

// Once the stream has refused bytes, every later operation that would write returns false and
// writes nothing; so does Attach.
class BitWriter {
 public:
  // No destination yet: every write fails.
  BitWriter() = default;

  // Writes to `destination`, any writable stream, which must outlive the writer.
  explicit BitWriter(Core::Stream& destination)
      : destination_(&destination), limit_(kBufferBytes) {}

  BitWriter(const BitWriter&) = delete;
  BitWriter& operator=(const BitWriter&) = delete;

  // Writes what is pending and flushes the destination.
  ~BitWriter();

  // Makes `destination` the stream to write to. False, and nothing changed: it is null, cannot be
  // written, or is readable as well (a two-way stream is for the constructor), or an earlier stream
  // has refused bytes.
  [[nodiscard]] bool Attach(Core::Stream* destination);

  // Writes the low `count` bits of `value`. Requires: 0 <= count <= 32, no bit set above them.
  [[nodiscard]] bool WriteBits(uint32_t value, int32_t count) {
    if (!HasRoom(1)) return false;
    Burst burst = Begin();
    burst.Put(value, count);
    End(burst);
    return true;
  }

  [[nodiscard]] bool WriteByte(uint8_t value) { return WriteBits(value, 8); }

  // Requires: the bits written so far fill whole bytes.
  [[nodiscard]] bool WriteBytes(std::span<const uint8_t> bytes);

  // Pads with zero bits to the next byte and writes everything pending.
  [[nodiscard]] bool AlignToByte();

  // Aligns and flushes the destination.
  [[nodiscard]] bool Flush();

  // Many writes without a test for each: HasRoom, Begin, then Put and Store alternating, then End.
  static constexpr int32_t kBytesPerStore = 8;  // written, of which at most 7 are kept
  struct Burst {
    uint64_t bits;  // the next bit to leave is bit 0; zero above the held ones
    int32_t held;
    uint8_t* next;

    // Requires: at most 56 bits between one Store and the next.
    void Put(uint64_t value, int32_t count) {
      bits |= value << held;
      held += count;
    }
    void Store() {
      Core::StoreLittle64(next, bits);
      next += held >> 3;
      bits >>= held & ~7;
      held &= 7;
    }
  };

  // Makes room for `stores` calls of Store. False: the stream refused bytes, or there is no stream.
  // Requires: stores <= kMaxStores.
  static constexpr int32_t kMaxStores = 1024;
  [[nodiscard]] bool HasRoom(int32_t stores) {
    return used_ + stores * kBytesPerStore <= limit_ || WriteBuffer();
  }
  Burst Begin() { return {bits_, held_, buffer_.data() + used_}; }
  void End(Burst burst) {
    burst.Store();
    bits_ = burst.bits;
    held_ = burst.held;
    used_ = static_cast<int32_t>(burst.next - buffer_.data());
  }

 private:
  static constexpr int32_t kBufferBytes = (kMaxStores + 1) * kBytesPerStore;

  [[nodiscard]] bool WriteBuffer();
  [[nodiscard]] bool WriteThrough(const uint8_t* bytes, int32_t count);

  Core::Stream* destination_ = nullptr;
  uint64_t bits_ = 0;
  int32_t held_ = 0;   // below 8 between calls
  int32_t used_ = 0;   // bytes of the buffer
  int32_t limit_ = 0;  // of used_; 0 without a stream to write to or after a refusal
  bool refused_ = false;
  // One store more than HasRoom counts: that of End.
  std::array<uint8_t, kBufferBytes + kBytesPerStore> buffer_;
};
