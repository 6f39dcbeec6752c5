#include "Compression/MatchFinder.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "Core/MemoryStream.h"
#include "Tests/Support/SampleData.h"

namespace {

// The nearest of the longest matches, found by looking everywhere.
Match SlowMatch(const Bytes& data, std::size_t position, std::size_t maxLength) {
  Match best = {0, 0};
  for (std::size_t distance = 1; distance <= position && distance <= 32768; ++distance) {
    std::size_t length = 0;
    while (length < maxLength && data[position + length] == data[position + length - distance]) {
      ++length;
    }
    if (static_cast<int32_t>(length) > best.length) {
      best = {static_cast<int32_t>(distance), static_cast<int32_t>(length)};
    }
  }
  return best.length >= 3 ? best : Match{0, 0};
}

// Greedily over data without runs of period three, where the finder may skip candidates.
TEST(MatchFinder, FindsTheNearestOfTheLongest) {
  std::mt19937 random(7);
  Bytes data;
  while (data.size() < 6000) {
    if (data.size() > 300 && random() % 3 == 0) {
      const std::size_t from = random() % (data.size() - 290);
      const std::size_t length = 1 + random() % (random() % 8 == 0 ? 280 : 12);
      for (std::size_t i = 0; i < length; ++i) data.push_back(data[from + i]);
    } else {
      data.push_back(static_cast<uint8_t>(random() % 64));
    }
  }
  Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size()));
  auto finder = std::make_unique<MatchFinder>();
  ASSERT_EQ(finder->Fill(&source, 0), static_cast<int32_t>(data.size()));
  std::size_t found = 0;
  for (std::size_t position = 0; position < data.size(); ++position) {
    const std::size_t maxLength = std::min<std::size_t>(258, data.size() - position);
    Match match = {0, 0};
    if (finder->FindMatch(finder->Position(), static_cast<int32_t>(maxLength), match)) ++found;
    const Match slow = SlowMatch(data, position, maxLength);
    ASSERT_EQ(match.length >= 3 ? match.distance : 0, slow.distance) << position;
    ASSERT_EQ(match.length >= 3 ? match.length : 0, slow.length) << position;
    finder->Advance(1);
  }
  EXPECT_GT(found, 3000u);
}

TEST(MatchFinder, TiesAndLimits) {
  const Bytes data = {'a', 'b', 'c', 'x', 'a', 'b', 'c', 'y', 'a', 'b', 'c', 'z'};
  const struct {
    int32_t maxDistance, maxLength;
    bool isFound;
  } rows[] = {{8, 4, true}, {4, 3, true}, {3, 4, false}, {8, 2, false}};
  for (const auto& row : rows) {
    Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size()));
    auto finder = std::make_unique<MatchFinder>();
    ASSERT_EQ(finder->Fill(&source, 0), 12);
    for (int32_t i = 0; i < 8; ++i) finder->Insert(i);
    finder->Advance(8);
    Match match = {0, 0};
    EXPECT_EQ(finder->FindMatch(row.maxDistance, row.maxLength, match), row.isFound);
    if (row.isFound) {
      EXPECT_EQ(match.distance, 4) << "the nearest wins a tie";
    }
  }
  auto finder = std::make_unique<MatchFinder>();
  EXPECT_EQ(finder->Fill(nullptr, 0), -1);
}

}  // namespace
