// Seeded byte strings, from noise to long repeats, whose matches lie at the edges of the format.
#pragma once

#include <bit>
#include <random>

#include "Tests/Support/Bytes.h"

// The seed chooses the kind as well: how many byte values there are, whether some are more frequent
// than others, how much is copied from before, and how much is runs of a few pixels.
inline Bytes MakeData(uint32_t seed, std::size_t size) {
  std::mt19937 random(seed);
  const uint32_t values[] = {2, 3, 4, 16, 97, 256, 256, 256}, shares[] = {0, 0, 1, 5, 40};
  const uint32_t bound = values[random() % 8], copied = shares[random() % 5];  // in percent
  const bool isSkewed = random() % 4 == 0, isPixels = random() % 2 == 0;
  const std::size_t burst = 1 + random() % 30, palette = 1 + random() % 4;
  uint32_t colors[4] = {0, 0xFFFFFFFF};
  for (uint32_t& color : colors) color += static_cast<uint32_t>(random());
  Bytes data;
  if (random() % 4 == 0) data = Bytes(random() % 700, uint8_t(random() % bound));
  while (data.size() < size) {
    if (isPixels && random() % 8 > 0) {
      const uint32_t color = colors[random() % palette];
      for (auto left = random() % 16 > 0 ? random() % 12 : 64 + random() % 7; left > 0; --left) {
        for (int byte = 0; byte < 4; ++byte) data.push_back(uint8_t(color >> 8 * byte));
      }
      if (random() % 4 == 0) data.push_back(uint8_t(random()));
    } else if (data.empty() || random() % 100 >= copied) {
      for (auto left = 1 + random() % burst; left > 0; --left) {
        const uint32_t number = random();
        data.push_back(uint8_t(isSkewed ? std::countr_one(number) : (number >> 8) % bound));
      }
    } else {
      // The very start of the data among them: there the plain walk's bound on runs is odd.
      const std::size_t distances[] = {random() % 8, 3, 32765 + random() % 3, random() % 40000,
                                       data.size() - 1};
      const std::size_t lengths[] = {3, 4 + random() % 60, 4 * (64 + random() % 7),
                                     256 + random() % 4, random() % 700};
      const std::size_t distance = distances[random() % 5] % data.size() + 1;
      for (auto left = lengths[random() % 5]; left > 0; --left) {
        data.push_back(data.end()[-static_cast<std::ptrdiff_t>(distance)]);
      }
    }
  }
  data.resize(size);
  return data;
}
