// A stream in memory. It either reads borrowed bytes or reads and writes a growing buffer of its
// own; the constructor decides which.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

namespace Core {

class MemoryStream final : public Stream {
 public:
  // An empty stream with a buffer of its own.
  MemoryStream() = default;

  // Reads `length` bytes at `data`, which the caller keeps alive and unchanged.
  // Requires: length <= 2^31 - 1.
  MemoryStream(const void* data, uint32_t length);

  // The bytes, borrowed or owned; null when there are none. Valid until the next write.
  const uint8_t* GetData() const;

  // Never fails: at or beyond the end it reads 0 bytes.
  [[nodiscard]] bool Read(void* buffer, int32_t count, uint32_t& done) override;

  // Writes at the position and grows the buffer as needed. If the position was beyond the end, the
  // bytes between them are uninitialised. False, with nothing changed: the stream borrows, `count`
  // or the position is negative, or the end would be beyond 2^31 - 1 bytes. False, with the buffer
  // lost: no memory.
  [[nodiscard]] bool Write(const void* buffer, int32_t count, uint32_t& done) override;

  uint32_t GetCaps() override;

  // A target beyond the end is allowed; a negative one counts as 0.
  // Deliberate: for a target outside int32_t the result is false, but the position becomes its low
  // 32 bits.
  [[nodiscard]] bool Seek(int64_t offset, int32_t origin) override;

  int64_t Tell() override { return position_; }
  int64_t GetSize() override;

  // False: the stream borrows, or there is no memory.
  [[nodiscard]] bool Truncate() override;

 private:
  const uint8_t* borrowed_ = nullptr;
  ByteArray buffer_;  // not used while bytes are borrowed
  int32_t position_ = 0;
  int32_t borrowedLength_ = 0;
};

}  // namespace Core
