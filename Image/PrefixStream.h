// A stream that keeps the first bytes written to it and drops all others.
#pragma once

#include <algorithm>
#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

class PrefixStream final : public Core::Stream {
 public:
  // Keeps up to `limit` bytes. Memory is taken as they arrive.
  explicit PrefixStream(int32_t limit) : limit_(limit) {}

  ByteArray& Bytes() { return bytes_; }

  // Takes every byte, kept or not. False: no memory.
  bool Write(const void* buffer, int32_t count, uint32_t& done) override {
    const int32_t kept = std::min(count, limit_ - bytes_.Size());
    if (!bytes_.AppendAll(static_cast<const uint8_t*>(buffer), kept)) return false;
    done = static_cast<uint32_t>(count);
    return true;
  }

  uint32_t GetCaps() override { return Core::kOpen | Core::kWritable; }

 private:
  int32_t limit_;
  ByteArray bytes_;
};
