#include "Compression/Checksums/HashBytes.h"

uint32_t HashBytes(const uint8_t* data, std::size_t length) {
  uint32_t hash = HashSteps::Start(length);
  while (length > 0) {
    const std::size_t size = length < 4 ? length : 4;
    uint32_t word = 0;  // the last word may be short: its missing bytes are zero
    for (std::size_t i = 0; i < size; ++i) word |= uint32_t{data[i]} << (8 * i);
    hash = HashSteps::Mix(hash, word);
    data += size;
    length -= size;
  }
  return HashSteps::Finish(hash);
}
