#include "Compression/Deflate/HuffmanTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>

#include "Compression/Deflate/BoundedSort.h"
#include "Tests/Support/PlainDeflate.h"

namespace {

using Numbers = std::vector<uint32_t>;

TEST(HuffmanTree, IsThatOfThePlainHeap) {
  std::mt19937 random(3);
  for (int round = 0; round < 3000; ++round) {
    Numbers frequencies(2 + random() % (kLiteralLengthSymbols - 1));
    for (uint32_t& frequency : frequencies) frequency = 1 + random() % 4;
    const Bytes expected = Plain::CodeLengths(frequencies, 288);
    const int limit = round % 2 == 0 ? 15 : std::ranges::max(expected);
    Bytes lengths(expected.size());
    HuffmanTree().Build(frequencies.data(), int(lengths.size()), limit, lengths.data());
    ASSERT_EQ(lengths, expected) << round;
  }
}

TEST(HuffmanTree, PairsALoneSymbolAndLimitsLengths) {
  const struct {
    const char* name;
    int32_t limit;
    Numbers frequencies;
    Bytes lengths;
  } rows[] = {
      {"none: the last and its lower neighbour", 7, {0, 0, 0, 0}, {0, 0, 1, 1}},
      {"one: paired with the upper neighbour", 7, {0, 7, 0, 0}, {0, 1, 1, 0}},
      {"the last one: paired with the lower", 7, {0, 0, 0, 7}, {0, 0, 1, 1}},
      {"an alphabet of one", 7, {5}, {0}},
      {"above the limit", 3, {1, 1, 2, 3, 5}, {3, 3, 3, 3, 1}},
      {"... far above it", 4, {34, 1, 21, 13, 1, 3, 8, 2, 5}, {1, 4, 4, 4, 4, 4, 4, 4, 4}},
      {"... as far as can be", 3, {1, 21, 1, 13, 3, 8, 2, 5}, {3, 3, 3, 3, 3, 3, 3, 3}},
      {"... equals", 5, {1, 1, 2, 3, 5, 8, 13, 13, 13, 13, 40}, {4, 5, 5, 5, 5, 4, 3, 3, 3, 3, 2}},
  };
  for (const auto& row : rows) {
    Bytes lengths(row.lengths.size());
    HuffmanTree().Build(row.frequencies.data(), int(lengths.size()), row.limit, lengths.data());
    EXPECT_EQ(lengths, row.lengths) << row.name;
  }
}

TEST(BoundedSort, EndsTheProgramWhenItIsTooDeep) {
  // The record in the middle, which becomes the pivot, is the largest in each pass.
  std::vector<uint64_t> records;
  while (records.size() < 257) {
    records.push_back(records.size());
    std::swap(records.back(), records[(records.size() - 1) / 2]);
  }
  std::vector<uint64_t> sorted = records;
  BoundedSort(sorted.data(), 0, 256, 0);
  EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
  records.push_back(257);
  std::swap(records[257], records[128]);
  EXPECT_EXIT(BoundedSort(records.data(), 0, 257, 0), testing::ExitedWithCode(1), "^$");
}

// The order decides which symbols get the shorter codes. It is the one of the first release, on
// which the hashes of written files rest; nothing else defines it.
TEST(BoundedSort, LeavesEqualRecordsInAnOrderOfItsOwn) {
  struct Record {
    char key, name;
    bool operator<(const Record& other) const { return key < other.key; }
    bool operator==(const Record& other) const { return key == other.key; }
  };
  std::vector<Record> records;
  for (char key : std::string("13003131300103"))
    records.push_back({key, char('a' + records.size())});
  BoundedSort(records.data(), 0, 13, 0);
  std::string names;
  for (const Record& record : records) names += record.name;
  EXPECT_EQ(names, "cdjmkahlfeibng");
}

TEST(HuffmanTree, IsDumpedLeftToRight) {
  HuffmanTree tree;
  uint8_t lengths[3];
  tree.Build(Numbers{4, 1, 2}.data(), 3, 15, lengths);
  testing::internal::CaptureStdout();
  tree.DumpTree(tree.Root(), 0);
  tree.DumpTree(-1, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "        Leaf 1\n    Node 3\n        Leaf 2\nNode 4\n    Leaf 0\n");
}

}  // namespace
