// The repair gives every picture the same pixels and the same result as its plain slow twin.
//
//   input: width, threshold, pixels
#include <algorithm>

#include "Compression/Checksums/HashBytes.h"
#include "Fuzz/Check.h"
#include "Tests/Support/SlowRepair.h"
#include "Tool/AlphaRepair.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzInput input = {data, data + size};
  const int32_t width = 1 + input.Byte() % 150;  // more than two words of a bit mask
  const int32_t threshold = std::max(0, input.Byte() - 200) * 6 - 3 * (input.Left() % 2);
  const int32_t height = static_cast<int32_t>(input.Left()) / width + 1;
  Bitmap bitmap(width, height);
  for (Pixel* pixel = bitmap.Row(0); pixel != bitmap.Row(0) + width * height; ++pixel) {
    // A byte of 128 or more is a transparent pixel; any other byte gives the alpha, which may be 0.
    const uint8_t byte = input.Byte();
    *pixel =
        (byte < 128 ? Pixel{byte} << 25 : 0) | (HashWord(input.Left() << 8 | byte) & kColorMask);
  }
  Bitmap slow(bitmap);
  Check(RepairTransparentPixels(bitmap, threshold) == RepairSlowly(slow, threshold));
  Check(std::equal(slow.Row(0), slow.Row(0) + width * height, bitmap.Row(0)));
  return 0;
}
