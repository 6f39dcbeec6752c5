#include "Compression/Inflate/Inflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>

#include "Compression/Inflate/DecodeFast.h"
#include "Tests/Support/BitAssembler.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/PlainInflate.h"
#include "Tests/Support/SampleData.h"

namespace {

// The stream without its damage, GOOD>BAD being either GOOD or BAD.
std::string Chosen(const std::string& words, bool isDamaged) {
  std::string chosen;
  for (const std::string& word : Words(words)) {
    const std::size_t sign = word.find('>');
    chosen += isDamaged && sign != word.npos ? word.substr(sign + 1) : word.substr(0, sign);
    chosen += ' ';
  }
  return chosen;
}

TEST(Inflater, AcceptsAndRefuses) {
  const std::map<std::string, int32_t> formats = {{"raw", 0}, {"zlib", kZlib}, {"gzip", kGzip}};
  for (const auto& [name, format, words, output] :
       ReadCases<4>(HALOMEND_TEST_DATA "Compression/Inflate/Streams.txt")) {
    const bool isRefused = words.find('>') != words.npos;
    const Inflated good = Inflate(BitAssembler(Chosen(words, false)), formats.at(format));
    const Inflated bad = Inflate(BitAssembler(Chosen(words, true)), formats.at(format));
    EXPECT_TRUE(good.isGood && bad.isGood != isRefused && (output == "refused") == isRefused)
        << name;
    const std::string text(good.output.begin(), good.output.end());
    EXPECT_TRUE(isRefused || text + good.gzip == Unescaped(output)) << name << ": " << text;
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

// A stream of our encoder, or matches at the edges of the window: matches that end there, or are
// copied from as far back as can be, from before the first byte, or from close by.
Bytes SomeStream(std::mt19937& random) {
  const bool isLong = random() % 8 == 0;
  if (random() % 2 == 0) return Deflated(MakeData(random(), random() % (isLong ? 90000 : 2000)));
  int size = 1 + static_cast<int>(random() % 2000);
  BitAssembler bits;
  bits.Stored(MakeData(random(), size), false).Block(kFixedBlock);
  for (int token = random() % (isLong ? 1500 : 50); token > 0; --token) {
    const bool hasLiteral = random() % 4 == 0;  // elsewhere a match may be the first of a step
    if (hasLiteral) bits.Fixed(random() % 256);
    size += hasLiteral;
    const int left = 32768 - size % 32768;
    const int length = left > 2 && left <= 258 ? left : 258 - random() % 256 * (token % 5 > 0);
    const int wanted[] = {32768 - token % 3, size % 32768 + length + token % 5 - 2, 1 + token % 70};
    const int reach = std::min(wanted[token % 3], 32768);
    bits.FixedMatch(length, std::min(reach, size + int(random() % 64 / 63)));
    size += length;
  }
  return bits.Fixed(kEndOfBlock);
}

// However the input is cut up; in small pieces the fast loop never works. Zeros follow a damaged
// stream, so that most of them do not end by the end of the input.
TEST(Inflater, FindsWhatThePlainInflaterFinds) {
  std::mt19937 random(7);
  int refused = 0;
  for (int round = 0; round < 1200; ++round) {
    Bytes bits = SomeStream(random);
    const bool isDamaged = round % 3 > 0;
    for (int flips = isDamaged ? random() % 4 : 0; flips > 0; --flips) {
      bits[random() % std::min<std::size_t>(bits.size(), random() % 2 == 0 ? 80 : SIZE_MAX)] ^=
          1 << random() % 8;
    }
    if (isDamaged) bits.resize(bits.size() + 20);
    const Plain::Inflater plain(bits);
    if (isDamaged && plain.IsAtEnd()) continue;
    refused += !plain.isGood;
    for (const std::size_t piece : {SIZE_MAX, std::size_t{20}, std::size_t{1 + random() % 9000}}) {
      if (plain.hasGap && piece != SIZE_MAX) continue;
      const Inflated result = Inflate(bits, kRawDeflate, Inflater::kUnlimited, piece);
      ASSERT_EQ(result.isGood, plain.isGood) << round << " in pieces of " << piece;
      ASSERT_TRUE(result.output.size() <= plain.output.size() &&
                  std::equal(result.output.begin(), result.output.end(), plain.output.begin()));
      ASSERT_GE(result.output.size() + (plain.isGood ? 0 : 32768 + 258), plain.output.size());
    }
    if (!plain.isGood || plain.hasGap) continue;
    const std::size_t whole = plain.output.size();
    for (const std::size_t size : {std::size_t{0}, whole / 2, whole + Inflater::kSpareSize}) {
      PieceStream input(bits);
      Bytes buffer(size);
      int32_t got = 0;
      ASSERT_TRUE(Inflater(&input).RunInto(buffer.data(), int32_t(size), got)) << round;
      ASSERT_EQ(std::size_t(got), std::min(size, whole));
      ASSERT_TRUE(std::equal(buffer.begin(), buffer.begin() + got, plain.output.begin()));
    }
    if (whole == 0) continue;
    const Inflated limited = Inflate(bits, kRawDeflate, int64_t(whole) - 1);
    ASSERT_TRUE(!limited.isGood && limited.output == plain.output) << "tested after the write";
  }
  EXPECT_GT(refused, 60);
}

// The state that the fast loop leaves, wherever it begins and for any budget: it stands at a
// symbol, and holds the bits that reading two bytes whenever fewer than 16 bits are held would have
// left.
TEST(DecodeFast, LeavesTheStateOfDecodingSymbolBySymbol) {
  std::mt19937 random(8);
  const auto literals = std::make_unique<HuffmanDecodeTable>();
  const auto distances = std::make_unique<HuffmanDecodeTable>();
  std::size_t sum = 0;
  for (int round = 0; round < 3000; ++round) {
    static Bytes bits;
    static std::unique_ptr<Plain::Inflater> plain;
    if (round % 8 == 0) {
      bits = SomeStream(random);
      if (round % 16 == 0) bits[random() % bits.size()] ^= random();
      plain = std::make_unique<Plain::Inflater>(bits);
    }
    if (plain->places.empty()) continue;
    const auto [at, done] = plain->places[random() % plain->places.size()];
    BitCursor cursor = {&bits[at / 8], &*bits.end()};
    if (cursor.BytesLeft() < kFastInput + 4) continue;
    cursor.AddByte();
    cursor.Drop(at % 8);
    for (int more = random() % 3; more > 0; --more) cursor.AddByte();
    ASSERT_TRUE(
        literals->Build(plain->literals.data(), int(plain->literals.size()),
                        kLiteralLengthMeanings) &&
        distances->Build(plain->distances.data(), int(plain->distances.size()), kDistanceMeanings));
    const auto window = std::make_unique<InflateWindow>();
    const int history = static_cast<int>(std::min<std::size_t>(done, random() % 30000));
    window->MakeRoom();
    window->PutAll(&plain->output[done] - history, history);
    const int budget = 3 + random() % (InflateWindow::kMaxPending - history - 3);
    int left = budget;
    const uint8_t* const begin = cursor.next;
    DecodeFast(*literals, *distances, cursor, *window, left);

    const std::size_t now = 8 * (cursor.next - bits.data()) - cursor.bitCount;
    const auto place =
        std::ranges::lower_bound(plain->places, now, {}, &Plain::Inflater::Place::bits);
    ASSERT_TRUE(place != plain->places.end() && place->bits == now) << round;
    ASSERT_EQ(budget - left, int(place->bytes - done)) << round;
    Bytes output(window->PendingSize());
    window->CopyPending(output.data(), window->PendingSize());
    ASSERT_TRUE(std::equal(output.begin(), output.end(), &plain->output[done] - history,
                           &plain->output[place->bytes]));
    ASSERT_TRUE(cursor.bitCount >= 16 && cursor.bitCount < 32 && cursor.BytesLeft() >= 6);
    ASSERT_EQ((cursor.next - begin) % 2, 0);
    for (int bit = 0; bit < 64; ++bit) {
      const std::size_t source = now + bit;
      ASSERT_EQ(cursor.bits >> bit & 1,
                bit < cursor.bitCount ? bits[source / 8] >> source % 8 & 1 : 0);
    }
    sum += budget - left;
  }
  EXPECT_GT(sum, 300000u);
}

}  // namespace
