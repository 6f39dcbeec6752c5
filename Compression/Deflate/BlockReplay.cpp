#include "Compression/Deflate/BlockReplay.h"

#include <algorithm>

void BlockReplay::TakeHistory(const uint8_t* window, int32_t blockStart) {
  historySize_ = std::min(blockStart, kDeflateWindowSize);
  std::copy_n(window + blockStart - historySize_, historySize_, history_.begin());
}

bool BlockReplay::Replay(const TokenBuffer& tokens, Core::ByteArray& bytes) const {
  if (!bytes.SetSize(historySize_ + tokens.RawBytes())) return false;
  uint8_t* next = std::copy_n(history_.begin(), historySize_, bytes.Data());
  for (const Token token : tokens.Tokens()) {
    if (!token.IsMatch()) {
      *next++ = token.Byte(0);
      continue;
    }
    for (int32_t i = token.Length(); i > 0; --i, ++next) *next = *(next - token.Distance());
  }
  return true;
}
