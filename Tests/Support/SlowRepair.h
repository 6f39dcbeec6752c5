// The repair in its plainest form: lists for the whole picture, each neighbour tested alone.
#pragma once

#include <algorithm>
#include <vector>

#include "Image/Bitmap.h"

// Returns whether any pixel changed. A place is a pixel's index, row by row.
inline bool RepairSlowly(Bitmap& bitmap, int threshold) {
  const int width = bitmap.Width();
  const int count = width * bitmap.Height();
  const auto at = [&](int place) -> Pixel& { return bitmap.Row(place / width)[place % width]; };
  std::vector<std::vector<int>> around(count);
  std::vector<bool> known(count);
  for (int place = 0; place < count; ++place) {
    known[place] = AlphaOf(at(place)) > threshold;
    for (int y = place / width - 1; y <= place / width + 1; ++y) {
      for (int x = place % width - 1; x <= place % width + 1; ++x) {
        const bool isInside = x >= 0 && x < width && y >= 0 && y < bitmap.Height();
        if (isInside && y * width + x != place) around[place].push_back(y * width + x);
      }
    }
  }

  std::vector<int> current;
  for (int place = 0; place < count; ++place) {
    const auto isKnown = [&](int other) { return known[other]; };
    if (!known[place] && std::ranges::any_of(around[place], isKnown)) current.push_back(place);
  }
  const bool isChanging = !current.empty();
  std::vector<bool> queued(count);
  std::vector<int> next;
  for (; !current.empty(); current.swap(next), next.clear()) {
    for (std::size_t i = 0; i < current.size();) {
      const int place = current[i];
      if (known[place]) {
        ++i;
        continue;
      }
      unsigned sums[3] = {};
      unsigned sources = 0;
      for (const int other : around[place]) {
        for (int part = 0; known[other] && part < 3; ++part) {
          sums[part] += at(other) >> 8 * part & 255;
        }
        sources += known[other];
        if (known[other] || queued[other]) continue;
        queued[other] = true;
        next.push_back(other);
      }
      at(place) &= ~kColorMask;
      for (int part = 0; part < 3; ++part) at(place) |= sums[part] / sources << 8 * part;
      known[place] = true;
      current[i] = current.back();
      current.pop_back();
    }
  }
  return isChanging;
}
