#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <queue>
#include <random>

#include "Compression/BoundedSort.h"
#include "Compression/HuffmanCodeTable.h"

namespace {

using Frequencies = std::vector<uint32_t>;

std::vector<int32_t> LengthsFor(const Frequencies& frequencies, int32_t maxLength) {
  HuffmanCodeTable table;
  const int32_t count = static_cast<int32_t>(frequencies.size());
  table.BuildFromFrequencies(frequencies.data(), count, maxLength);
  std::vector<int32_t> lengths;
  for (int32_t i = 0; i < count; ++i) lengths.push_back(table.LengthOf(i));
  return lengths;
}

// In units of 2^-32: a complete code has 2^32.
uint64_t KraftSum(const std::vector<int32_t>& lengths) {
  uint64_t sum = 0;
  for (int32_t length : lengths) sum += length == 0 ? 0 : uint64_t{1} << (32 - length);
  return sum;
}

// The least possible size in bits of a message with these frequencies under any prefix code.
uint64_t OptimalCost(const Frequencies& frequencies) {
  std::priority_queue<uint64_t, std::vector<uint64_t>, std::greater<>> queue;
  for (uint32_t frequency : frequencies) {
    if (frequency != 0) queue.push(frequency);
  }
  uint64_t cost = 0;
  while (queue.size() > 1) {
    uint64_t sum = queue.top();
    queue.pop();
    sum += queue.top();
    queue.pop();
    cost += sum;
    queue.push(sum);
  }
  return cost;
}

uint64_t Cost(const Frequencies& frequencies, const std::vector<int32_t>& lengths) {
  uint64_t cost = 0;
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    cost += uint64_t{frequencies[i]} * static_cast<uint64_t>(lengths[i]);
  }
  return cost;
}

TEST(HuffmanCodeTable, FewSymbols) {
  const struct {
    const char* name;
    Frequencies frequencies;
    std::vector<int32_t> lengths;
  } rows[] = {
      {"none: the last and its lower neighbour", {0, 0, 0, 0}, {0, 0, 1, 1}},
      {"one: paired with the upper neighbour", {0, 7, 0, 0}, {0, 1, 1, 0}},
      {"the last one: paired with the lower", {0, 0, 0, 7}, {0, 0, 1, 1}},
      {"an alphabet of one", {5}, {0}},
      {"equal: leaves merge in symbol order before inner nodes", {1, 1, 1}, {2, 2, 1}},
      {"a leaf before an inner node of its weight", {1, 1, 2, 2}, {2, 2, 2, 2}},
      {"Fibonacci", {1, 1, 2, 3, 5}, {4, 4, 3, 2, 1}},
  };
  for (const auto& row : rows) EXPECT_EQ(LengthsFor(row.frequencies, 7), row.lengths) << row.name;
}

TEST(HuffmanCodeTable, IsOptimalWhileTheLimitIsNotReached) {
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    Frequencies frequencies(2 + random() % 287);
    for (uint32_t& frequency : frequencies) frequency = random() % 4 == 0 ? 0 : random() % 200;
    frequencies[0] = frequencies[1] = 1;
    const std::vector<int32_t> lengths = LengthsFor(frequencies, 15);
    ASSERT_EQ(KraftSum(lengths), uint64_t{1} << 32);
    ASSERT_EQ(Cost(frequencies, lengths), OptimalCost(frequencies)) << round;
  }
}

// Frequencies whose tree is deeper than the limit: complete all the same, and near the optimum.
TEST(HuffmanCodeTable, LimitedCodesStayCompleteAndClose) {
  std::mt19937 random(4);
  for (int32_t limit : {7, 15}) {
    for (int round = 0; round < 200; ++round) {
      Frequencies frequencies(limit == 7 ? 19 : 40 + random() % 240);
      uint64_t a = 1;
      uint64_t b = 1;
      for (uint32_t& frequency : frequencies) {
        frequency = static_cast<uint32_t>(a) + random() % 2;
        if (b < (1u << 26)) a = std::exchange(b, a + b);
      }
      std::shuffle(frequencies.begin(), frequencies.end(), random);
      const std::vector<int32_t> lengths = LengthsFor(frequencies, limit);
      ASSERT_EQ(*std::max_element(lengths.begin(), lengths.end()), limit);
      ASSERT_EQ(KraftSum(lengths), uint64_t{1} << 32);
      const uint64_t cost = Cost(frequencies, lengths);
      ASSERT_LE(cost, OptimalCost(frequencies) * (limit == 7 ? 12 : 11) / 10);
    }
  }
}

// The order that the sort leaves equal records in decides bytes, so it is pinned.
TEST(BoundedSort, LeavesEqualRecordsInItsOwnOrder) {
  struct Record {
    int key;
    char name;
    bool operator<(const Record& other) const { return key < other.key; }
    bool operator==(const Record& other) const { return key == other.key; }
  };
  Record records[] = {{2, 'a'}, {1, 'b'}, {2, 'c'}, {1, 'd'}, {2, 'e'}, {1, 'f'}, {3, 'g'}};
  BoundedSort(records, 0, 6, 0);
  std::string order;
  for (const Record& record : records) order += record.name;
  EXPECT_EQ(order, "bfdcaeg");

  int numbers[] = {1, 2};
  EXPECT_EXIT(BoundedSort(numbers, 0, 1, 257), testing::ExitedWithCode(1), "^$");
}

TEST(HuffmanCodeTable, DumpsItsTreeLeftToRight) {
  HuffmanCodeTable table;
  const Frequencies frequencies = {4, 1, 2};
  table.BuildFromFrequencies(frequencies.data(), 3, 15);
  testing::internal::CaptureStdout();
  table.DumpTree(table.Root(), 0);
  table.DumpTree(-1, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "        Leaf 1\n    Node 3\n        Leaf 2\nNode 4\n    Leaf 0\n");
}

}  // namespace
