#include "Compression/Inflate/HuffmanDecodeTable.h"

#include <gtest/gtest.h>

#include <random>

#include "Tests/Support/Deflated.h"
#include "Tests/Support/PlainInflate.h"

namespace {

// Lengths of `shortest` bits and more at random, often in runs, as long as the code space lasts,
// and perhaps one more.
Bytes RandomLengths(std::mt19937& random, int shortest) {
  Bytes lengths(kLiteralLengthSymbols);
  int left = 1 << kMaxCodeLength, wanted = shortest;
  for (uint8_t& length : lengths) {
    if (random() % 8 == 0) wanted = shortest + random() % (kMaxCodeLength + 1 - shortest);
    if (random() % 3 == 0 || left < 1 << (kMaxCodeLength - wanted)) continue;
    length = static_cast<uint8_t>(wanted);
    left -= 1 << (kMaxCodeLength - wanted);
  }
  if (random() % 4 == 0) lengths[random() % lengths.size()] = shortest;
  return lengths;
}

// The tables and the levels, on every pattern of 15 bits.
TEST(HuffmanDecodeTable, KnowsEveryPattern) {
  std::mt19937 random(1);
  HuffmanDecodeTable table;  // one for all, as the decoder rebuilds its tables
  HuffmanLevels levels;
  int refused = 0;
  EXPECT_FALSE(levels.Build(Bytes{0, 16}.data(), 2) || levels.Build(Bytes{0, 0}.data(), 2));
  for (int round = 0; round < 45; ++round) {
    const Bytes lengths = RandomLengths(random, 1 + round / 3);
    const Plain::Code code(lengths);
    ASSERT_EQ(table.Build(lengths.data(), kLiteralLengthSymbols, kLiteralLengthMeanings),
              code.isGood);
    ASSERT_EQ(levels.Build(lengths.data(), kLiteralLengthSymbols), code.isGood);
    refused += !code.isGood;
    for (uint32_t bits = 0; code.isGood && bits < 1 << kMaxCodeLength; bits += 1 + round % 7) {
      const int symbol = code.symbols[bits], length = code.BitsOf(bits, false);
      const DecodeEntry meaning = symbol >= 0 ? kLiteralLengthMeanings[symbol]
                                              : DecodeEntry::Special(DecodeEntry::kUnassigned);
      ASSERT_EQ(table.Entries().Find(bits | random() << kMaxCodeLength), meaning.WithCode(length));

      const uint8_t bytes[] = {uint8_t(bits), uint8_t(bits >> 8), 0};
      Core::MemoryStream stream(bytes, sizeof bytes);
      BitReader reader(&stream);
      ASSERT_EQ(levels.ReadSymbol(reader), std::max(symbol, 0));
      const BitCursor& after = reader.Cursor();
      ASSERT_EQ(24 - after.bitCount - 8 * after.BytesLeft(), code.BitsOf(bits, true)) << bits;
    }
  }
  EXPECT_GT(refused, 3);
}

// Where the input ends, or comes in pieces: the levels ask for no bit that a symbol does not need,
// and the look-up in the table must not be told from them.
TEST(HuffmanDecodeTable, ReadsCarefullyAsTheLevelsDo) {
  std::mt19937 random(2);
  HuffmanDecodeTable table;
  HuffmanLevels levels;
  for (int round = 0; round < 20000; ++round) {
    if (round % 100 == 0) {
      const Bytes lengths = RandomLengths(random, 1 + random() % 9);
      if (!levels.Build(lengths.data(), kLiteralLengthSymbols)) continue;
      ASSERT_TRUE(table.Build(lengths.data(), kLiteralLengthSymbols, kLiteralLengthMeanings));
    }
    Bytes bytes(random() % 80);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    const std::size_t piece = 1 + random() % 24;
    PieceStream fast(bytes, piece), slow(bytes, piece);
    BitReader reader(&fast), other(&slow);
    for (int reads = 0; reads < 40; ++reads) {
      for (BitReader* each : {&reader, &other}) {  // what the loops on a cursor leave
        BitCursor cursor = each->Cursor();
        if (reads % 3 == 0 && cursor.BytesLeft() >= 6) cursor.Consume(48);
        each->SetCursor(cursor);
      }
      const DecodeEntry entry = table.ReadCarefully(reader);
      const int symbol = levels.ReadSymbol(other);
      ASSERT_EQ(entry.IsSpecial(DecodeEntry::kInputEnd), symbol < 0) << round;
      const DecodeEntry meaning = kLiteralLengthMeanings[std::max(symbol, 0)];
      ASSERT_TRUE(symbol < 0 ||
                  (entry.Value() == meaning.Value() && entry.ExtraBits() == meaning.ExtraBits()))
          << round << ' ' << symbol;
      uint32_t extra = 0, otherExtra = 0;
      const int count = random() % 14;
      ASSERT_EQ(reader.ReadBits(count, extra), other.ReadBits(count, otherExtra)) << round;
      ASSERT_EQ(extra, otherExtra) << round;
    }
  }
}

}  // namespace
