#include "Compression/Inflate/HuffmanDecodeTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "Compression/Format/CanonicalCode.h"
#include "Tests/Support/Deflated.h"

namespace {

// Lengths of `shortest` bits and more at random, as long as the code space lasts.
Bytes RandomLengths(std::mt19937& random, int shortest) {
  Bytes lengths(kLiteralLengthSymbols);
  int left = 1 << kMaxCodeLength;
  for (uint8_t& length : lengths) {
    const int wanted = shortest + random() % (kMaxCodeLength + 1 - shortest);
    if (random() % 3 == 0 || left < 1 << (kMaxCodeLength - wanted)) continue;
    length = static_cast<uint8_t>(wanted);
    left -= 1 << (kMaxCodeLength - wanted);
  }
  return lengths;
}

// Against the list of all patterns.
TEST(HuffmanDecodeTable, KnowsEveryPattern) {
  constexpr uint32_t kPatterns = 1 << kMaxCodeLength;
  std::mt19937 random(1);
  HuffmanDecodeTable table;  // one for all, as the decoder rebuilds its tables
  HuffmanLevels levels;
  for (int round = 0; round < 60; ++round) {
    const Bytes lengths = RandomLengths(random, 1 + round / 4);
    uint16_t codes[kLiteralLengthSymbols];
    ASSERT_TRUE(AssignCanonicalCodes(lengths.data(), kLiteralLengthSymbols, codes));
    std::vector<int> symbols(kPatterns, -1);
    for (int symbol = 0; symbol < kLiteralLengthSymbols; ++symbol) {
      for (uint32_t bits = codes[symbol]; lengths[symbol] > 0 && bits < kPatterns;
           bits += 1 << lengths[symbol]) {
        symbols[bits] = symbol;
      }
    }
    ASSERT_TRUE(table.Build(lengths.data(), kLiteralLengthSymbols, kLiteralLengthMeanings));
    ASSERT_TRUE(levels.Build(lengths.data(), kLiteralLengthSymbols));
    for (uint32_t bits = 0; bits < kPatterns; bits += 1 + round % 7) {
      const int symbol = std::max(symbols[bits], 0);  // 0 where no code begins so
      const DecodeEntry meaning = symbols[bits] < 0 ? DecodeEntry::Special(DecodeEntry::kUnassigned)
                                                    : kLiteralLengthMeanings[symbol];
      ASSERT_EQ(table.Entries().Find(bits | random() << kMaxCodeLength),
                meaning.WithCode(lengths[symbol]));

      const uint8_t bytes[] = {uint8_t(bits), uint8_t(bits >> 8)};
      Core::MemoryStream stream(bytes, 2);
      BitReader reader(&stream);
      ASSERT_EQ(levels.ReadSymbol(reader), symbol);
    }
  }
}

}  // namespace
