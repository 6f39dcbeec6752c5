// Writes bits to a stream, least significant first as RFC 1951, section 3.1.1 wants them. Bits
// gather in an accumulator and leave it four bytes at a time.
#pragma once

#include <cstdint>

#include "Core/Stream.h"

// Once the stream has refused bytes, every later operation returns false and writes nothing.
class BitWriter {
 public:
  // No destination yet: every write fails.
  BitWriter() = default;

  // Writes to `destination`, any writable stream, which must outlive the writer.
  explicit BitWriter(Core::Stream& destination) : destination_(&destination) {}

  BitWriter(const BitWriter&) = delete;
  BitWriter& operator=(const BitWriter&) = delete;

  // Writes what is pending and flushes the destination.
  ~BitWriter();

  // Makes `destination` the stream to write to. False, and nothing changed: it is null, cannot be
  // written, or is readable as well; a two-way stream is handed to the constructor.
  [[nodiscard]] bool Attach(Core::Stream* destination);

  // Writes the low `count` bits of `value`. Requires: 0 <= count <= 32, no bit set above them.
  [[nodiscard]] bool WriteBits(uint32_t value, int32_t count) {
    bits_ |= uint64_t{value} << held_;
    held_ += count;
    return held_ < kGroupBits || WriteGroup();
  }

  [[nodiscard]] bool WriteByte(uint8_t value) { return WriteBits(value, 8); }

  // Pads with zero bits to the next byte and writes everything pending.
  [[nodiscard]] bool AlignToByte();

  // Aligns and flushes the destination.
  [[nodiscard]] bool Flush();

 private:
  static constexpr int32_t kGroupBits = 32;

  [[nodiscard]] bool WriteGroup();
  [[nodiscard]] bool WriteBytes(int32_t count);

  Core::Stream* destination_ = nullptr;
  uint64_t bits_ = 0;  // the next bit to leave is bit 0; zero above the held ones
  int32_t held_ = 0;   // below 32 between calls
  bool refused_ = false;
};
