// A stream that passes every call to another stream until a given number of bytes has moved.
#pragma once

#include <algorithm>
#include <cstdint>

#include "Core/Stream.h"

enum class Fault {
  kRefuse,  // the transfer that would pass the limit returns false and moves nothing
  kCut,     // it is cut at the limit and returns true; later ones move 0 bytes
};

class FaultyStream final : public Core::Stream {
 public:
  // Reads and writes together may move `limit` bytes. GetCaps reports those capabilities of `inner`
  // that are in `capsMask`: a destination, for example, must not be readable.
  FaultyStream(Core::Stream& inner, int64_t limit, Fault fault, uint32_t capsMask = ~0u)
      : inner_(inner), left_(limit), fault_(fault), capsMask_(capsMask) {}

  bool Read(void* buffer, int32_t count, uint32_t& done) override {
    return Admit(count) && inner_.Read(buffer, count, done) && Count(done);
  }
  bool Write(const void* buffer, int32_t count, uint32_t& done) override {
    return Admit(count) && inner_.Write(buffer, count, done) && Count(done);
  }
  uint32_t GetCaps() override { return inner_.GetCaps() & capsMask_; }
  bool Seek(int64_t offset, int32_t origin) override { return inner_.Seek(offset, origin); }
  int64_t Tell() override { return inner_.Tell(); }
  int64_t GetSize() override { return inner_.GetSize(); }
  bool Flush() override { return inner_.Flush(); }

 private:
  bool Admit(int32_t& count) {
    if (count <= left_) return true;
    count = static_cast<int32_t>(std::min<int64_t>(count, left_));
    return fault_ == Fault::kCut;
  }
  bool Count(uint32_t done) {
    left_ -= done;
    return true;
  }

  Core::Stream& inner_;
  int64_t left_;
  Fault fault_;
  uint32_t capsMask_;
};
