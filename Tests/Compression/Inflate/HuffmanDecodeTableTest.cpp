#include "Compression/Inflate/HuffmanDecodeTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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

// The shortcuts of careful reading, against the levels that they stand for: the same symbols, and
// the same bits held and bytes buffered, to the end of inputs that come in pieces.
TEST(HuffmanDecodeTable, ReadsCarefullyWhatTheLevelsRead) {
  std::mt19937 random(2);
  HuffmanDecodeTable table;
  HuffmanLevels levels;
  for (int round = 0; round < 2000; ++round) {
    const bool isFixed = round % 4 == 0;
    const Bytes lengths = isFixed ? Bytes(kFixedLiteralLengths.begin(), kFixedLiteralLengths.end())
                                  : RandomLengths(random, 1 + random() % 12);
    ASSERT_TRUE(levels.Build(lengths.data(), kLiteralLengthSymbols));
    ASSERT_TRUE(table.Build(lengths.data(), kLiteralLengthSymbols, kLiteralLengthMeanings));
    if (isFixed) table.UseFixedLiterals();
    Bytes input(random() % 60);
    std::generate(input.begin(), input.end(), std::ref(random));
    const std::size_t piece = round % 3 == 0 ? SIZE_MAX : 1 + random() % 12;
    PieceStream streams[] = {PieceStream(input, piece), PieceStream(input, piece)};
    BitReader reader(&streams[0]), plain(&streams[1]);
    for (int read = 0; read < 300; ++read) {
      const DecodeEntry entry = table.ReadCarefully(reader);
      const int32_t symbol = levels.ReadSymbol(plain);
      const DecodeEntry meaning = symbol < 0 ? DecodeEntry::Special(DecodeEntry::kInputEnd)
                                             : kLiteralLengthMeanings[symbol];
      ASSERT_TRUE(entry.Value() == meaning.Value() &&
                  entry.Has(DecodeEntry::kSpecial) == meaning.Has(DecodeEntry::kSpecial));
      ASSERT_EQ(reader.Cursor().bits, plain.Cursor().bits);
      ASSERT_EQ(reader.Cursor().bitCount, plain.Cursor().bitCount);
      ASSERT_EQ(reader.Cursor().BytesLeft(), plain.Cursor().BytesLeft());
      ASSERT_EQ(reader.IsExhausted(15), plain.IsExhausted(15));
    }
  }
}

}  // namespace
