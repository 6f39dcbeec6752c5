#include "Compression/MatchFinder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Core/MemoryStream.h"

namespace {

TEST(MatchFinder, FindsTheNearestOfTheLongest) {
  const struct {
    const char* name;
    std::string text;
    int32_t position, maxDistance, maxLength;
    Match match;
  } rows[] = {
      {"the nearest wins a tie", "abcxabcyabcz", 8, 8, 4, {4, 3}},
      {"as long and far as allowed", "abcxabcyabcz", 8, 4, 3, {4, 3}},
      {"too far", "abcxabcyabcz", 8, 3, 4, {0, 0}},
      {"too short", "abcxabcyabcz", 8, 8, 2, {0, 0}},
      {"a longer one behind", "abcdxabcyabcd", 9, 9, 4, {9, 4}},
      {"... too far", "abcdxabcyabcd", 9, 8, 4, {4, 3}},
      {"... longer than asked for", "abcdxabcyabcd", 9, 9, 3, {4, 3}},
      {"overlapping", "abcabcabcabc", 3, 3, 9, {3, 9}},
      {"longer than a word", "0123456789A#0123456789B", 12, 12, 11, {12, 10}},
      {"the start of a run", "abcabcabcQabcabcR", 10, 10, 7, {7, 6}},
      {"... reached in one step", "xxxxxxxxxabcabcabcQabcabcR", 19, 19, 7, {7, 6}},
      {"the end of a run", "xxxxxxxxxabcabcQabcabcabcQabcabcQ", 26, 26, 7, {7, 7}},
  };
  for (const auto& row : rows) {
    Core::MemoryStream source(row.text.data(), static_cast<uint32_t>(row.text.size()));
    auto finder = std::make_unique<MatchFinder>();
    EXPECT_EQ(finder->Fill(nullptr, 0), -1);
    EXPECT_EQ(finder->Fill(&source, 0), static_cast<int32_t>(row.text.size()));
    for (int32_t i = 0; i < row.position; ++i) finder->Insert(i);
    finder->Advance(row.position);
    Match match = {0, 0};
    const bool isFound = finder->FindMatch(row.maxDistance, row.maxLength, match);
    EXPECT_EQ(isFound, row.match.length > 0) << row.name;
    EXPECT_EQ(match.distance, row.match.distance) << row.name;
    EXPECT_EQ(match.length, row.match.length) << row.name;
  }
}

}  // namespace
