#include "Compression/Inflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "Compression/Adler32.h"
#include "Compression/CpuFeatures.h"
#include "Compression/DeflateEncoder.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/BitAssembler.h"
#include "Tests/Support/PieceStream.h"
#include "Tests/Support/SampleData.h"

namespace {

struct Inflated {
  Inflated(int32_t format, const Bytes& bytes, int64_t limit = Inflater::kUnlimited,
           std::size_t piece = SIZE_MAX) {
    PieceStream input(bytes, piece);
    Core::MemoryStream written;
    Inflater inflater(&input, &written);
    inflater.SetFormat(format);
    succeeded = inflater.Run(limit);
    output.assign(written.GetData(), written.GetData() + written.GetSize());
    name = inflater.GzipName().ToNarrow();
    comment = inflater.GzipComment().ToNarrow();
    time = inflater.GzipModificationTime();
  }

  bool succeeded;
  Bytes output;
  std::string name, comment;  // of a gzip header
  uint32_t time;
};

TEST(Inflater, AcceptsAndRefuses) {
  const std::map<std::string, int32_t> formats = {{"raw", 0}, {"zlib", kZlib}, {"gzip", kGzip}};
  for (const auto& [name, format, words, output] :
       ReadCases<4>(HALOMEND_TEST_DATA "Compression/Streams.txt")) {
    const Inflated result(formats.at(format), BitAssembler(words));
    EXPECT_EQ(result.succeeded, output != "refused") << name;
    std::string text(result.output.begin(), result.output.end());
    if (result.time != 0) text += result.name + result.comment + std::to_string(result.time);
    EXPECT_EQ(text, result.succeeded ? Unescaped(output) : "") << name;
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
  for (int32_t call = 0, got = -1; call < 2; ++call) {
    EXPECT_FALSE(inflater.ReadOutput(&byte, 1, got));
    EXPECT_EQ(got, 0) << "the failing step's bytes are dropped";
  }
}

// The longest symbol there can be, at every distance from the end of the buffered input: 258 zeros
// behind so many single ones. The codes of 1 to 15 bits have all bits set but the last.
TEST(Inflater, DecodesASymbolOf48Bits) {
  const std::string codes =
      "dynamic:288,30 lengths:1,2,3,4,5,6,7,8,9,A,B,C,D,E,0*242,F,0*27,F,0*3 "
      "lengths:1,2,3,4,5,6,7,8,9,A,B,C,D,E,0*14,F,F ";
  const std::string symbol = " 1*15 1*5 1*15 1*13 111111111111110";
  for (int lead = 0; lead < 64; ++lead) {
    const BitAssembler bits(codes + std::string(lead, '0') + symbol);
    for (const std::size_t piece : {std::size_t{5}, SIZE_MAX}) {
      const Inflated result(kRawDeflate, bits, Inflater::kUnlimited, piece);
      EXPECT_TRUE(result.succeeded && result.output == Bytes(lead + 258)) << lead;
    }
  }
}

// Some 200,000 bytes with matches that end at the window's end, or are copied from there or from as
// far back as can be.
TEST(Inflater, DecodesALongStreamHoweverItIsCutUp) {
  std::mt19937 random(7);
  Bytes output(1500, 'a');
  BitAssembler bits("x7801");
  bits.Stored(output, false).Block(kFixedBlock);
  for (int token = 0; token < 1500; ++token) {
    bits.Fixed(output.emplace_back(random()));
    const int place = int(output.size() % 32768), left = 32768 - place;
    const int length = left > 2 && left <= 258 ? left : 258 - random() % 256 * (token % 5 > 0);
    const int wanted = token % 2 == 0 ? 32768 : place + length + token % 5 - 2;
    const int distance = std::min({wanted, 32768, int(output.size())});
    bits.FixedMatch(length, distance);
    for (int i = 0; i < length; ++i) output.push_back(output.end()[-distance]);
  }
  bits.Fixed(kEndOfBlock).Big32(Adler32(output.data(), output.size(), kAdler32Initial));
  for (const std::size_t piece : {std::size_t{3}, std::size_t{7}, std::size_t{8191}, SIZE_MAX}) {
    const Inflated result(kZlib, bits, output.size(), piece);
    EXPECT_TRUE(result.succeeded && result.output == output) << piece;
  }
  const Inflated limited(kZlib, bits, output.size() - 1);
  EXPECT_FALSE(limited.succeeded);
  EXPECT_TRUE(limited.output == output) << "the limit is tested after the write";
}

// In pieces of 20 bytes the fast loop never works.
TEST(Inflater, ComesToTheSameFastAndSlow) {
  for (int round = 0; round < 42; ++round) {
    const Bytes data = MakeData(kAllDataKinds[round % 6], 1000 << round % 7, uint32_t(round));
    Core::MemoryStream source(data.data(), uint32_t(data.size())), stream;
    ASSERT_TRUE(std::make_unique<DeflateEncoder>(source, stream, 9)->Compress());
    const Bytes bits(stream.GetData(), stream.GetData() + stream.GetSize());
    CpuFeatures::Limit({false, round % 2 == 0, false, false});
    ASSERT_TRUE(Inflated(kRawDeflate, bits).output == data) << round;
    ASSERT_TRUE(Inflated(kRawDeflate, bits, data.size(), 20).output == data) << round;
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

TEST(InflateWindow, CopiesMatchesAsIfByteByByte) {
  for (int32_t distance = 1; distance < 70; ++distance) {
    Bytes plain(40, 'z');
    for (int32_t i = 0; i < 40; ++i) plain[i] = uint8_t(i);
    const auto window = std::make_unique<InflateWindow>();
    window->PutAll(plain.data(), 40);
    for (int32_t length = 1; length <= 80; ++length) {
      window->CopyMatch(distance, length);
      for (int32_t i = 0; i < length; ++i) {
        plain.push_back(distance > int(plain.size()) ? uint8_t{0} : plain.end()[-distance]);
      }
    }
    const InflateWindow::Piece all = window->PendingPieces()[0];
    ASSERT_TRUE(Bytes(all.data, all.data + all.size) == plain) << distance;
  }
}

// Two damaged streams that give bytes for ever: one ends within a compressed block; in the other a
// pattern without a code stands for symbol 0, which has no code and consumes nothing.
TEST(Inflater, GivesEndlessStreamsAsFarAsItIsAsked) {
  const std::pair<const char*, uint8_t> rows[] = {{"fixed", 0xFF},
                                                  {"dynamic:257,1 lengths:0*256,8,8 1*8 x0*16", 0}};
  for (const auto& [words, endless] : rows) {
    const Inflated limited(kRawDeflate, BitAssembler(words), 100000);
    EXPECT_TRUE(!limited.succeeded && limited.output.size() > 100000);
    EXPECT_TRUE(limited.output == Bytes(limited.output.size(), endless));
    PieceStream input{BitAssembler(words)};
    Bytes pulled(200000);
    int32_t got = 0;
    EXPECT_TRUE(Inflater(&input).ReadOutput(pulled.data(), 200000, got));
    EXPECT_TRUE(pulled == Bytes(got, endless)) << got;
  }
}

}  // namespace
