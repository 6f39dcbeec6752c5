#include "Compression/Adler32.h"

#include <algorithm>

namespace {

constexpr uint32_t kModulus = 65521;  // the largest prime below 2^16

// The most bytes that can be added before the upper sum could pass 2^32.
constexpr std::size_t kBytesPerReduction = 5552;

}  // namespace

uint32_t Adler32(const uint8_t* data, std::size_t length, uint32_t previous) {
  uint32_t a = previous & 0xFFFF;
  uint32_t b = previous >> 16;
  while (length > 0) {
    const std::size_t run = std::min(length, kBytesPerReduction);
    for (std::size_t i = 0; i < run; ++i) {
      a += data[i];
      b += a;
    }
    a %= kModulus;
    b %= kModulus;
    data += run;
    length -= run;
  }
  return b << 16 | a;
}
