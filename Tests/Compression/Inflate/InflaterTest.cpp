#include "Compression/Inflate/Inflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "Compression/Checksums/Adler32.h"
#include "Tests/Support/BitAssembler.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/SampleData.h"

namespace {

TEST(Inflater, AcceptsAndRefuses) {
  const std::map<std::string, int32_t> formats = {{"raw", 0}, {"zlib", kZlib}, {"gzip", kGzip}};
  for (const auto& [name, format, words, output] :
       ReadCases<4>(HALOMEND_TEST_DATA "Compression/Inflate/Streams.txt")) {
    const Inflated result = Inflate(BitAssembler(words), formats.at(format));
    EXPECT_EQ(result.isGood, output != "refused") << name;
    const std::string text(result.output.begin(), result.output.end());
    EXPECT_EQ(text + result.gzip, result.isGood ? Unescaped(output) : "") << name;
  }
}

TEST(Inflater, NeedsItsStreamsAndStaysFailed) {
  PieceStream input(BitAssembler("stored:abc")), bad(BitAssembler("fixed 'a symbol:286"));
  Core::Stream refusing;
  EXPECT_FALSE(Inflater(&input).Run(Inflater::kUnlimited));
  EXPECT_FALSE(Inflater(nullptr, &refusing).Run(Inflater::kUnlimited));
  EXPECT_FALSE(Inflater(&input, &refusing).Run(Inflater::kUnlimited));
  Inflater inflater(&bad);
  uint8_t byte = 0;
  int32_t got = 0;
  EXPECT_FALSE(inflater.ReadOutput(&byte, 1, got) || inflater.ReadOutput(&byte, 1, got));
  EXPECT_EQ(got, 0) << "the bytes of the failed step are dropped";
}

// The longest symbol there can be, at every distance from the end of the buffered input: 258 zeros
// after so many single ones. The codes of 1 to 15 bits have all bits set but the last.
TEST(Inflater, DecodesASymbolOf48Bits) {
  const std::string codes =
      "dynamic:288,30 lengths:1,2,3,4,5,6,7,8,9,A,B,C,D,E,0*242,F,0*27,F,0*3 "
      "lengths:1,2,3,4,5,6,7,8,9,A,B,C,D,E,0*14,F,F ";
  const std::string symbol = " 1*15 1*5 1*15 1*13 111111111111110";
  for (int lead = 0; lead < 64; ++lead) {
    const BitAssembler bits(codes + std::string(lead, '0') + symbol);
    for (const std::size_t piece : {std::size_t{5}, SIZE_MAX}) {
      const Inflated result = Inflate(bits, kRawDeflate, Inflater::kUnlimited, piece);
      EXPECT_TRUE(result.isGood && result.output == Bytes(lead + 258)) << lead;
    }
  }
}

// Some 200,000 bytes with matches that end at the window's end, or are copied from there, from as
// far back as can be or from close by.
TEST(Inflater, DecodesALongStreamHoweverItIsCutUp) {
  std::mt19937 random(7);
  Bytes output(1500, 'a');
  BitAssembler bits("x7801");
  bits.Stored(output, false).Block(kFixedBlock);
  for (int token = 0; token < 1500; ++token) {
    bits.Fixed(output.emplace_back(random()));
    const int place = int(output.size() % 32768), left = 32768 - place;
    const int length = left > 2 && left <= 258 ? left : 258 - random() % 256 * (token % 5 > 0);
    const int wanted[] = {32768, place + length + token % 5 - 2, 1 + token % 70};
    const int distance = std::min({wanted[token % 3], 32768, int(output.size())});
    bits.FixedMatch(length, distance);
    for (int i = 0; i < length; ++i) output.push_back(output.end()[-distance]);
  }
  bits.Fixed(kEndOfBlock).Big32(Adler32(output.data(), output.size(), kAdler32Initial));
  for (const std::size_t piece : {std::size_t{3}, std::size_t{7}, std::size_t{8191}, SIZE_MAX}) {
    const Inflated result = Inflate(bits, kZlib, output.size(), piece);
    EXPECT_TRUE(result.isGood && result.output == output) << piece;
  }
  const Inflated limited = Inflate(bits, kZlib, output.size() - 1);
  EXPECT_FALSE(limited.isGood);
  EXPECT_TRUE(limited.output == output) << "the limit is tested after the write";
}

// In pieces of 20 bytes the fast loop never works.
TEST(Inflater, ComesToTheSameFastAndSlow) {
  for (int round = 0; round < 42; ++round) {
    const Bytes data = MakeData(kAllDataKinds[round % 6], 1000 << round % 7, uint32_t(round));
    const Bytes bits = Deflated(data);
    ASSERT_TRUE(Inflate(bits, kRawDeflate).output == data) << round;
    ASSERT_TRUE(Inflate(bits, kRawDeflate, data.size(), 20).output == data) << round;
    for (const std::size_t size :
         {std::size_t{0}, data.size() / 2, data.size() + 9, data.size() + Inflater::kSpareSize}) {
      PieceStream input(bits);
      Bytes buffer(size);
      int32_t got = 0;
      ASSERT_TRUE(Inflater(&input).RunInto(buffer.data(), int32_t(size), got)) << round;
      ASSERT_EQ(std::size_t(got), std::min(size, data.size()));
      ASSERT_TRUE(std::equal(data.begin(), data.begin() + got, buffer.begin())) << round;
    }
  }
}

}  // namespace
