#include "Compression/BlockReplay.h"

#include <algorithm>

void BlockReplay::TakeSnapshot(const uint8_t* window, int32_t blockStart) {
  std::copy_n(window, kRingBytes, snapshot_.begin());
  blockStart_ = blockStart;
}

void BlockReplay::Restart() {
  ring_ = snapshot_;
  cursor_ = static_cast<uint16_t>(blockStart_);
}
