// Seeded byte strings of several kinds, from noise to long repeats, for round trips.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

enum class DataKind { kNoise, kFewValues, kRuns, kPeriodThree, kDistantCopies, kSkewed };
constexpr DataKind kAllDataKinds[] = {DataKind::kNoise,         DataKind::kFewValues,
                                      DataKind::kRuns,          DataKind::kPeriodThree,
                                      DataKind::kDistantCopies, DataKind::kSkewed};

inline Bytes MakeData(DataKind kind, std::size_t size, uint32_t seed) {
  std::mt19937 random(seed);
  Bytes data(size);
  for (std::size_t i = 0; i < size; ++i) {
    const uint32_t r = random();
    switch (kind) {
      case DataKind::kNoise:
        data[i] = static_cast<uint8_t>(r >> 8);
        break;
      case DataKind::kFewValues:
        data[i] = static_cast<uint8_t>(r >> 8) % 3;
        break;
      case DataKind::kRuns:
        data[i] = i > 0 && r % 300 != 0 ? data[i - 1] : static_cast<uint8_t>(r >> 16);
        break;
      case DataKind::kPeriodThree:
        data[i] = i >= 3 && r % 97 != 0 ? data[i - 3] : static_cast<uint8_t>(r >> 16);
        break;
      case DataKind::kDistantCopies:  // four bytes from far back, between noise
        data[i] = i >= 30000 && i / 4 % 2 == 0 ? data[i - 30000] : static_cast<uint8_t>(r >> 8);
        break;
      case DataKind::kSkewed: {
        uint8_t value = 0;
        for (uint32_t bits = r; (bits & 1) != 0; bits >>= 1) ++value;
        data[i] = value;
        break;
      }
    }
  }
  return data;
}
