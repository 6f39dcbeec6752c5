// Turns the tokens of a block back into the bytes that they stand for. A match may copy from the
// 32 KiB before the block, so these are kept.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Deflate/TokenBuffer.h"
#include "Compression/Format/DeflateFormat.h"
#include "Core/Array.h"

class BlockReplay {
 public:
  // Keeps a copy of the history of the block that starts at position `blockStart` of `window`.
  void TakeHistory(const uint8_t* window, int32_t blockStart);

  // Makes `bytes` the history followed by the tokens.RawBytes() bytes of the block. False: no
  // memory.
  [[nodiscard]] bool Replay(const TokenBuffer& tokens, Core::ByteArray& bytes) const;

 private:
  int32_t historySize_ = 0;
  std::array<uint8_t, kDeflateWindowSize> history_;
};
