// The repair gives every picture the same pixels and the same result as its plain slow twin.
//
//   input: width, threshold, runs of pixels with one alpha
#include <algorithm>

#include "Compression/Checksums/HashBytes.h"
#include "Fuzz/Check.h"
#include "Tool/AlphaRepair.h"

namespace {

// The repair in its plainest form: lists for the whole picture, each neighbour tested alone. Around
// the picture is a frame of pixels that are neither known nor ever queued.
struct SlowRepair {
  SlowRepair(const Bitmap& bitmap, int threshold)
      : step(bitmap.Width() + 2),
        pixels(step * (bitmap.Height() + 2)),
        known(pixels.size()),
        queued(pixels.size(), true) {
    for (int y = 0; y < bitmap.Height(); ++y) {
      for (int x = 0; x < bitmap.Width(); ++x) {
        const int place = (y + 1) * step + x + 1;
        pixels[place] = bitmap.Row(y)[x];
        known[place] = AlphaOf(pixels[place]) > threshold;
        queued[place] = false;
      }
    }
  }

  // Returns whether any pixel changed.
  bool Run() {
    const int around[] = {-step - 1, -step, -step + 1, -1, 1, step - 1, step, step + 1};
    std::vector<int> current, next;
    for (int place = 0; place < int(pixels.size()); ++place) {
      bool isSeed = false;
      for (const int way : around) isSeed |= !queued[place] && !known[place] && known[place + way];
      if (isSeed) current.push_back(place);
    }
    const bool isChanging = !current.empty();
    for (; !current.empty(); current.swap(next), next.clear()) {
      for (std::size_t i = 0; i < current.size();) {
        const int place = current[i];
        if (known[place]) {
          ++i;
          continue;
        }
        unsigned sums[3] = {}, sources = 0;
        for (const int way : around) {
          const int other = place + way;
          for (int part = 0; part < 3 && known[other]; ++part) {
            sums[part] += pixels[other] >> 8 * part & 255;
          }
          sources += known[other];
          if (known[other] || queued[other]) continue;
          queued[other] = true;
          next.push_back(other);
        }
        pixels[place] &= ~kColorMask;
        for (int part = 0; part < 3; ++part) pixels[place] |= sums[part] / sources << 8 * part;
        known[place] = true;
        current[i] = current.back();
        current.pop_back();
      }
    }
    return isChanging;
  }

  int step;  // from row to row
  std::vector<Pixel> pixels;
  std::vector<bool> known, queued;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzInput input = {data, data + size};
  const int32_t width = input.Byte() % 151;  // more than two words of a bit mask
  const int32_t thresholds[] = {0, 0, 0, 0, 0, 1, 68, 136, 254, 255, 256, -1};
  const int32_t threshold = thresholds[input.Byte() % 12];
  std::vector<Pixel> pixels;
  while (input.Left() > 0 && pixels.size() < 20000) {
    const uint32_t byte = input.Byte(), alpha = byte < 128 ? (byte >> 3) * 17 : 0;
    for (uint32_t count = 1u << byte % 8; count > 0; --count) {
      pixels.push_back(alpha << 24 | (HashWord(pixels.size()) & kColorMask));
    }
  }
  Bitmap bitmap(width, width == 0 ? 1 : static_cast<int32_t>(pixels.size()) / width);
  for (int32_t y = 0; y < bitmap.Height(); ++y) {
    std::copy_n(pixels.begin() + y * width, width, bitmap.Row(y));
  }
  SlowRepair slow(bitmap, threshold);
  Check(RepairTransparentPixels(bitmap, threshold) == slow.Run());
  Check(SlowRepair(bitmap, threshold).pixels == slow.pixels);
  return 0;
}
