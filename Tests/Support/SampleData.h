// Seeded byte strings of several kinds, from noise to long repeats, for round trips.
#pragma once

#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "Tests/Support/Bytes.h"

// kDistantCopies: four bytes of noise and four bytes from 30,000 back, alternating.
enum class DataKind { kNoise, kFewValues, kRuns, kPeriodThree, kDistantCopies, kSkewed };
constexpr DataKind kAllDataKinds[] = {DataKind::kNoise,         DataKind::kFewValues,
                                      DataKind::kRuns,          DataKind::kPeriodThree,
                                      DataKind::kDistantCopies, DataKind::kSkewed};

inline Bytes MakeData(DataKind kind, std::size_t size, uint32_t seed) {
  std::mt19937 random(seed);
  Bytes data(size);
  for (std::size_t i = 0; i < size; ++i) {
    const uint32_t r = random();
    const uint8_t middle = static_cast<uint8_t>(r >> 8), high = static_cast<uint8_t>(r >> 16);
    const auto copied = [&](bool isCopied, std::size_t distance, uint8_t otherwise) {
      return isCopied && i >= distance ? data[i - distance] : otherwise;
    };
    const uint8_t bytes[] = {middle,
                             static_cast<uint8_t>(middle % 3),
                             copied(r % 300 != 0, 1, high),
                             copied(r % 97 != 0, 3, high),
                             copied(i / 4 % 2 == 0, 30000, middle),
                             static_cast<uint8_t>(std::countr_one(r))};
    data[i] = bytes[static_cast<int>(kind)];
  }
  return data;
}
