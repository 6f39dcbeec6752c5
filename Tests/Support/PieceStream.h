// A stream that gives its bytes in pieces of a fixed size.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Core/Stream.h"

using Bytes = std::vector<uint8_t>;

struct PieceStream : Core::Stream {
  explicit PieceStream(const Bytes& all, std::size_t size = SIZE_MAX) : bytes(all), piece(size) {}
  bool Read(void* buffer, int32_t count, uint32_t& done) override {
    done = uint32_t(std::min({bytes.size() - position, piece, std::size_t(count)}));
    std::copy_n(bytes.begin() + position, done, static_cast<uint8_t*>(buffer));
    position += done;
    return true;
  }

  const Bytes bytes;
  const std::size_t piece;
  std::size_t position = 0;
};
