// The encoder writes the bytes of its plain slow twin, at both kinds of level.
//
//   input: level, operations: their kind, a size, and literals or the distance of a copy
#include "Fuzz/Check.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/PlainDeflate.h"

namespace {

constexpr std::size_t kEnough = 70000;  // more than one block, and more than the window

// Makes data of many kinds and sizes from a short input.
Bytes Expand(FuzzInput& input) {
  Bytes data;
  while (input.Left() > 0 && data.size() < kEnough) {
    const uint8_t kind = input.Byte();
    const std::size_t size = (std::size_t{1} + input.Byte()) << 2 * (kind & 3);
    const std::size_t distance = input.Byte() * 131 % (data.size() + 1);
    const Bytes literals = distance == 0 || kind < 0x80 ? input.Take(size) : Bytes();
    data.insert(data.end(), literals.begin(), literals.end());
    for (auto left = literals.empty() && distance > 0 ? size : 0; left > 0; --left) {
      data.push_back(data.end()[-static_cast<std::ptrdiff_t>(distance)]);
    }
  }
  return Bytes(data);  // without spare capacity
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
  FuzzInput input = {bytes, bytes + size};
  const bool isLazy = input.Byte() % 2 == 0;
  const Bytes data = Expand(input);
  const int32_t level = isLazy || data.size() > kDeflateWindowSize ? 9 : 8;
  const Bytes deflated = Deflated(data, level);
  Check(deflated == Bytes(Plain::Encoder(data, level).out));
  Check(Plain::Inflater(deflated).output == data);
  return 0;
}
