// The last 32 KiB of decompressed bytes, as a ring: matches copy from it, and the bytes at its end
// that have not been handed on yet are pending.
//
//        read_          write_
//   ...  | pending ...  | oldest bytes, about to be overwritten ...
#pragma once

#include <array>
#include <cstdint>

#include "Compression/DeflateFormat.h"

class InflateWindow {
 public:
  struct Piece {
    const uint8_t* data;
    int32_t size;
  };

  // Requires, of both: PendingSize() stays below kDeflateWindowSize.
  void Put(uint8_t byte) {
    bytes_[write_] = byte;
    write_ = Wrapped(write_ + 1);
  }

  // Deliberate: a distance that reaches before the first byte reads the zeros the window begins
  // with, where most decoders fail; there is no count of the bytes so far to compare with.
  // Requires: 1 <= distance <= kDeflateWindowSize, 1 <= length <= kMaxMatchLength.
  void CopyMatch(int32_t distance, int32_t length) {
    int32_t source = Wrapped(write_ - distance);
    if (source + length <= kDeflateWindowSize && write_ + length < kDeflateWindowSize) {
      // Byte by byte and forwards: a match that overlaps itself repeats its first bytes.
      for (int32_t end = write_ + length; write_ < end;) bytes_[write_++] = bytes_[source++];
      return;
    }
    for (int32_t i = 0; i < length; ++i) Put(bytes_[Wrapped(source + i)]);
  }

  int32_t PendingSize() const { return Wrapped(write_ - read_); }

  // The pending bytes in order, in two pieces where they wrap; a piece may be empty.
  std::array<Piece, 2> PendingPieces() const {
    if (write_ >= read_) return {{{bytes_ + read_, write_ - read_}, {bytes_, 0}}};
    return {{{bytes_ + read_, kDeflateWindowSize - read_}, {bytes_, write_}}};
  }

  // Marks the first `count` pending bytes as handed on.
  void Release(int32_t count) { read_ = Wrapped(read_ + count); }

 private:
  static int32_t Wrapped(int32_t index) { return index & (kDeflateWindowSize - 1); }

  int32_t write_ = 0;
  int32_t read_ = 0;
  uint8_t bytes_[kDeflateWindowSize] = {};
};
