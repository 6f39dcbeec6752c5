// Seeded byte strings, from noise to long repeats, whose matches lie at the edges of the format.
#pragma once

#include <bit>
#include <random>

#include "Tests/Support/Bytes.h"

// The seed chooses the kind as well: how many byte values there are, whether some are more frequent
// than others, and how much is copied from before.
inline Bytes MakeData(uint32_t seed, std::size_t size) {
  std::mt19937 random(seed);
  const uint32_t values[] = {2, 3, 4, 16, 97, 256, 256, 256}, shares[] = {0, 0, 1, 5, 40};
  const uint32_t bound = values[random() % 8], copied = shares[random() % 5];  // in percent
  const bool isSkewed = random() % 4 == 0;
  const std::size_t burst = 1 + random() % 30;
  Bytes data;
  while (data.size() < size) {
    if (data.empty() || random() % 100 >= copied) {
      for (auto count = random() % burst; count-- < burst;) {
        const uint32_t number = random();
        data.push_back(uint8_t(isSkewed ? std::countr_one(number) : (number >> 8) % bound));
      }
      continue;
    }
    const std::size_t distances[] = {1 + random() % 8, 4, 32766 + random() % 3, random() % 40000};
    const std::size_t lengths[] = {3, 4 + random() % 60, 4 * (64 + random() % 7),
                                   256 + random() % 4, random() % 700};
    const std::size_t distance = distances[random() % 4] % data.size() + 1;
    for (auto left = lengths[random() % 5]; left > 0; --left) {
      data.push_back(data.end()[-static_cast<std::ptrdiff_t>(distance)]);
    }
  }
  data.resize(size);
  return data;
}
