// Turns the tokens of a block back into the bytes they stand for, from what the window held when
// the block began.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "Compression/DeflateWindow.h"
#include "Compression/TokenBuffer.h"

class BlockReplay {
 public:
  // How far back Recent can reach; more than a stored segment holds.
  static constexpr int32_t kRingBytes = DeflateWindow::kSize;

  // Keeps a copy of the window for the block that starts at position `blockStart` in it.
  void TakeSnapshot(const uint8_t* window, int32_t blockStart);

  // Starts over at the block's first byte.
  void Restart();

  void Append(uint8_t byte) { ring_[cursor_++] = byte; }

  // The byte appended `distance` calls ago, or before the block where that reaches back past it.
  // Requires: 1 <= distance <= kRingBytes.
  uint8_t Recent(int32_t distance) const { return ring_[Index(distance)]; }

  // As many of the last `count` bytes, from their first one on, as stand together.
  std::span<const uint8_t> Piece(int32_t count) const {
    const uint16_t first = Index(count);
    return {ring_.data() + first, std::min<std::size_t>(count, kRingBytes - first)};
  }

 private:
  uint16_t Index(int32_t distance) const { return static_cast<uint16_t>(cursor_ - distance); }

  int32_t blockStart_ = 0;  // index of the block's first byte in the snapshot
  uint16_t cursor_ = 0;     // index in the ring of the next byte; goes round with it
  static_assert(kRingBytes == 1 << 16);
  std::array<uint8_t, kRingBytes> snapshot_;
  std::array<uint8_t, kRingBytes> ring_;
};
