// Canonical codes, and the decoding table against a plain bit-by-bit decoder.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Compression/CanonicalCode.h"
#include "Compression/HuffmanTable.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/BitAssembler.h"

namespace {

TEST(CanonicalCode, AssignsTheExampleOfTheFormat) {
  const Bytes lengths = {3, 3, 3, 3, 3, 2, 4, 4, 0};
  uint16_t codes[9];
  ASSERT_TRUE(AssignCanonicalCodes(lengths.data(), 9, codes));
  // 010 011 100 101 110 00 1110 1111, first bit lowest.
  const uint16_t expected[9] = {0b010, 0b110, 0b001, 0b101, 0b011, 0b00, 0b0111, 0b1111, 0};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(codes[i], expected[i]) << i;
}

TEST(CanonicalCode, RefusesImpossibleLengthsOnly) {
  const auto assign = [](const Bytes& lengths) {
    uint16_t codes[8];
    return AssignCanonicalCodes(lengths.data(), static_cast<int32_t>(lengths.size()), codes);
  };
  for (const Bytes& lengths : {Bytes{0, 0}, {2}, {1, 1}, {1, 2, 3, 4, 15}}) {
    EXPECT_TRUE(assign(lengths)) << testing::PrintToString(lengths);
  }
  for (const Bytes& lengths : {Bytes{1, 1, 1}, {1, 2, 2, 15}, {1, 16}}) {
    EXPECT_FALSE(assign(lengths)) << testing::PrintToString(lengths);
  }
}

// Counts through the codes of each length in turn, one bit at a time. -1: no code begins so.
int DecodeSlowly(const Bytes& lengths, uint32_t bits, int& used) {
  uint32_t code = 0;
  uint32_t first = 0;
  for (used = 1; used <= kMaxCodeLength; ++used) {
    code = code << 1 | (bits & 1);
    bits >>= 1;
    uint32_t next = first;
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
      if (lengths[symbol] == used && next++ == code) return static_cast<int>(symbol);
    }
    first = next << 1;
  }
  return -1;
}

// Splits the code space at random; `dropped` in 8 of the codes are then taken out again.
Bytes RandomLengths(std::mt19937& random, uint32_t dropped) {
  Bytes lengths = {0};
  for (int splits = 1 + random() % 1000; splits > 0 && lengths.size() < 286; --splits) {
    uint8_t& length = lengths[random() % 4 == 0 ? 0 : random() % lengths.size()];
    if (length < kMaxCodeLength) lengths.push_back(++length);
  }
  if (random() % 2 == 0) std::sort(lengths.begin(), lengths.end());  // runs of equal lengths
  for (uint8_t& length : lengths) length = random() % 8 < dropped ? 0 : length;
  lengths.resize(kLiteralLengthSymbols);
  if (*std::max_element(lengths.begin(), lengths.end()) == 0) lengths.back() = 1;
  return lengths;
}

TEST(HuffmanTable, DecodesAsBitByBit) {
  std::mt19937 random(1);
  HuffmanTable table;  // one for all, as the decoder rebuilds its tables
  for (int round = 0; round < 200; ++round) {
    const Bytes lengths = RandomLengths(random, round % 3);
    ASSERT_TRUE(table.Build(lengths.data(), kLiteralLengthSymbols));
    for (int i = 0; i < 500; ++i) {
      const uint32_t bits = random() & 0x7FFF;
      int used = 0;
      const int symbol = DecodeSlowly(lengths, bits, used);
      const auto entry = table.Find(bits & ((1u << table.MaxLength()) - 1));
      ASSERT_EQ(entry.symbol, symbol < 0 ? 0 : symbol);
      ASSERT_EQ(entry.length, symbol < 0 ? lengths[0] : used);

      const Bytes bytes = BitAssembler().Number(bits, 15).Number(0, 1);
      Core::MemoryStream stream(bytes.data(), 2);
      BitReader reader(&stream);
      ASSERT_EQ(table.ReadSymbol(reader), symbol < 0 ? 0 : symbol);
      const int left = reader.Cursor().bitCount + 8 * reader.Cursor().BytesLeft();
      ASSERT_TRUE(symbol < 0 || 16 - left == used);
    }
  }
}

}  // namespace
