// The encoder compresses any data, at both kinds of level, and the inflater restores it.
//
//   input: level, size, operations (literals, noise, or a copy of earlier data)
#include <algorithm>

#include "Compression/Checksums/HashBytes.h"
#include "Fuzz/Check.h"
#include "Tests/Support/Deflated.h"

namespace {

constexpr std::size_t kSmall = 1024;
constexpr std::size_t kLarge = 150000;  // more than one block, and several windows

// Makes data of many kinds and sizes from a short input.
Bytes Expand(FuzzInput& input) {
  const uint8_t form = input.Byte();
  const std::size_t bound = std::min(kSmall << (form < 0x80 ? 0 : form & 15), kLarge);
  Bytes data;
  while (input.Left() > 0 && data.size() < bound) {
    const uint8_t operation = input.Byte();
    const std::size_t size = (std::size_t{1} + input.Byte()) << 2 * (operation & 3);
    std::size_t count = std::min(size, bound - data.size());
    if ((operation & 0x40) == 0) {
      const Bytes literals = input.Take(count);
      data.insert(data.end(), literals.begin(), literals.end());
    } else if ((operation & 0x20) == 0 || data.empty()) {
      for (; count > 0; --count) data.push_back(HashWord(data.size()) & (operation * 7 | 1));
    } else {
      const std::size_t distance = 1 + input.Byte() * std::size_t{131} % data.size();
      for (; count > 0; --count) data.push_back(data[data.size() - distance]);
    }
  }
  return Bytes(data);  // without spare capacity
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
  FuzzInput input = {bytes, bytes + size};
  const int32_t level = 8 + input.Byte() % 2;
  const Bytes data = Expand(input);
  const int64_t limit = static_cast<int64_t>(data.size());
  const Inflated restored = Inflate(Deflated(data, level), kRawDeflate, limit);
  Check(restored.isGood && restored.output == data);
  return 0;
}
