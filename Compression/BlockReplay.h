// Turns the tokens of a block back into the bytes they stand for, from what the window held when
// the block began.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/MatchFinder.h"
#include "Compression/TokenBuffer.h"

class BlockReplay {
 public:
  // How far back Recent can reach; more than a stored segment holds.
  static constexpr int32_t kRingBytes = MatchFinder::kWindowBytes;

  // Keeps a copy of the window for the block that starts at position `blockStart` in it.
  void TakeSnapshot(const uint8_t* window, int32_t blockStart);

  // Starts over at the block's first byte.
  void Restart();

  // Appends byte `index` of a token's bytes, to be called for each of them in order.
  void AppendByteOf(const Token& token, int32_t index) {
    Append(token.IsMatch() ? Recent(token.distance) : token.record[index]);
  }

  // The byte appended `distance` calls ago, or before the block where that reaches back past it.
  // Requires: 1 <= distance <= kRingBytes.
  uint8_t Recent(int32_t distance) const {
    return ring_[static_cast<uint32_t>(cursor_ - distance) % kRingBytes];
  }

 private:
  void Append(uint8_t byte) {
    ring_[cursor_] = byte;
    cursor_ = (cursor_ + 1) % kRingBytes;
  }

  std::array<uint8_t, kRingBytes> snapshot_{};
  int32_t blockStart_ = 0;  // index of the block's first byte in the snapshot
  std::array<uint8_t, kRingBytes> ring_;
  int32_t cursor_ = 0;  // index in the ring of the next byte
};
