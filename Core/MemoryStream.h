// A stream in memory: either it reads bytes that it borrows, or it works on a growing buffer of its
// own. Which of the two is settled at construction.
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
  bool Read(void* buffer, int32_t count, uint32_t& done) override;

  // Writes at the position and grows the buffer as needed; bytes between the old end and a position
  // beyond it are left as they were. False, and nothing changed: the stream borrows, or the end
  // would pass 2^31 - 1 bytes. False, and the buffer is lost: no memory.
  bool Write(const void* buffer, int32_t count, uint32_t& done) override;

  uint32_t GetCaps() override;

  // Past the end is allowed; a negative target is the start.
  // Deliberate: a target outside 32 bits gives false, yet the position becomes its low 32 bits.
  bool Seek(int64_t offset, int32_t origin) override;

  int64_t Tell() override { return position_; }
  int64_t GetSize() override;

  // False on a borrowing stream, or when there is no memory.
  bool Truncate() override;

 private:
  const uint8_t* borrowed_ = nullptr;
  ByteArray buffer_;  // not used while bytes are borrowed
  int32_t position_ = 0;
  int32_t borrowedLength_ = 0;
};

}  // namespace Core
