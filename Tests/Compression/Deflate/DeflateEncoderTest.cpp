#include "Compression/Deflate/DeflateEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>

#include "Core/MemoryStream.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/FaultyStream.h"
#include "Tests/Support/PlainDeflate.h"
#include "Tests/Support/SampleData.h"

namespace {

void TestEncoder(const Bytes& data, int level, std::map<std::string, int>& types) {
  const Bytes deflated = Deflated(data, level);
  const Plain::Inflater plain(deflated);
  ASSERT_TRUE(plain.isGood && plain.output == data);
  ASSERT_TRUE(deflated == Bytes(Plain::Encoder(data, level % 256).out)) << plain.types;
  ++types[plain.types];
}

TEST(DeflateEncoder, WritesWhatThePlainEncoderWrites) {
  std::map<std::string, int> types;
  for (uint32_t seed = 0; seed < 1600; ++seed) {
    SCOPED_TRACE(seed);
    const std::size_t sizes[] = {seed % 50, seed % 300, seed % 1000, seed % 5000};
    const std::size_t size = seed % 25 < 24 ? sizes[seed % 4] : seed % 200 == 199 ? 150000 : 33500;
    const Bytes data = MakeData(seed, size);
    TestEncoder(data, 9, types);
    if (size < 32768) TestEncoder(data, seed % 8 == 0 ? 256 + 8 : 8, types);
    ASSERT_FALSE(HasFatalFailure());
  }
  for (const char* one : {"0", "1", "2"}) EXPECT_GT(types[one], 50) << one;
}

// A pattern that is repeated, noise, and the pattern again. In small data two keys of a pixel often
// share a bucket; over 700 bytes the walk's odd bound on the start of a run decides.
TEST(DeflateEncoder, FindsRunsInRuns) {
  std::mt19937 random(1);
  std::map<std::string, int> types;
  const auto test = [&](std::size_t period, std::size_t first, std::size_t gap,
                        std::size_t second) {
    Bytes data(first + gap + second);
    for (std::size_t i = 0; i < data.size(); ++i) {
      data[i] = random();
      if (i >= period && i < first) data[i] = data[i - period];
      if (i >= first + gap) data[i] = data[(i - first - gap) % period];
    }
    TestEncoder(data, 9, types);
  };
  for (int i = 0; i < 1000; ++i) test(4, 64 + random() % 60, 1 + random() % 9, 16 + random() % 20);
  for (int i = 0; i < 60; ++i) test(1 + i % 3, 700, 425 + i / 3, 300);
}

// Places in `text` match earlier ones, each longer than the place before: while the parser goes
// over it, a match is pending all the time, also at the byte where the first block is full.
// The second block is stored, and begins with the match.
TEST(DeflateEncoder, AMatchMayWaitWhileItsBlockIsWritten) {
  std::map<std::string, int> types;
  std::mt19937 random(1);
  Bytes noise(62000);
  for (uint8_t& byte : noise) byte = static_cast<uint8_t>(random());
  for (std::size_t start = 58280; start < 58360; start += 10) {
    Bytes data(noise.begin(), noise.begin() + start + 3000);
    for (int k = 0; k < 13; ++k) {
      std::copy_n(data.begin() + start + k, 3 + k, data.begin() + start - 1000 + 50 * k);
    }
    TestEncoder(data, 9, types);
  }
  EXPECT_GT(types["00"], 3);
}

// Blocks of any tokens, small ones whose three forms are of nearly one size among them. The first
// token may reach back as far as the format allows.
TEST(BlockWriter, WritesWhatThePlainWriterWrites) {
  std::map<std::string, int> types;
  std::mt19937 random(2);
  for (int round = 0; round < 4000; ++round) {
    Bytes bytes = MakeData(round, random() % 3 == 0 ? 32768 + random() % 3 : random() % 300);
    const std::size_t start = bytes.size(), end = start + random() % 600 + round % 40 / 39 * 9000;
    const uint32_t bound = 2 + random() % 255, share = random() % 4;
    const auto tokens = std::make_unique<TokenBuffer>();
    std::vector<Plain::Token> plain;
    while (bytes.size() < end) {
      const int furthest = static_cast<int>(std::min<std::size_t>(bytes.size(), 32768));
      Plain::Token token{1, 0};
      if (furthest > 0 && (bytes.size() == start || random() % 8 < share)) {
        token = {3 + int(random() % (random() % 2 == 0 ? 2 : 256)), 1 + int(random() % furthest)};
        if (random() % 4 == 0) token.distance = furthest;
      }
      for (int i = 0; i < token.length; ++i) {
        bytes.push_back(token.distance > 0 ? bytes.end()[-token.distance] : random() % bound);
      }
      plain.push_back(token);
      const uint8_t* const at = &*bytes.end() - token.length;
      token.distance > 0 ? tokens->AppendMatch(token.distance, token.length, at)
                         : tokens->AppendLiteral(*at);
    }
    bytes.resize(bytes.size() + 3);
    BitAssembler expected;
    Plain::Block{&bytes[start], plain}.Write(expected, round % 2 == 0);
    Core::MemoryStream out;
    BitWriter writer(out);
    const auto blocks = std::make_unique<BlockWriter>(writer);
    blocks->BeginBlock(bytes.data(), static_cast<int32_t>(start));
    ASSERT_TRUE(blocks->WriteBlock(*tokens, round % 2 == 0 ? FinalBlock::kYes : FinalBlock::kNo));
    ASSERT_TRUE(writer.Flush() && BytesOf(out) == Bytes(expected)) << round;
    ++types[std::string(1, char('0' + (Bytes(expected)[0] >> 1 & 3)))];
  }
  for (const char* one : {"0", "1", "2"}) EXPECT_GT(types[one], 100) << one;
}

TEST(DeflateEncoder, CompressesOnceAndCounts) {
  Core::MemoryStream nothing, out;
  const auto encoder = std::make_unique<DeflateEncoder>(nothing, out, 9);
  ASSERT_TRUE(encoder->Compress() && encoder->Blocks().BlockCount() == 1);
  const Bytes once = BytesOf(out);
  EXPECT_TRUE(!encoder->Compress() && BytesOf(out) == once) << "a second call writes nothing";
  EXPECT_EQ(encoder->Blocks().HeaderBits(), 26 + 18 * 3 + 4 * 1 + 3 * 8) << "1s and zero runs";
}

// A destination that refuses at byte n: false, and what arrived before is the true beginning.
TEST(DeflateEncoder, ReportsARefusalAtEveryByte) {
  for (const uint32_t seed : {0, 1, 2}) {
    const Bytes data = MakeData(seed, 700), whole = Deflated(data);
    for (std::size_t run = 0; run < 2 * whole.size(); ++run) {
      const std::size_t limit = run / 2;
      Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size())), out;
      FaultyStream faulty(out, static_cast<int64_t>(limit),
                          run % 2 == 0 ? Fault::kRefuse : Fault::kCut);
      auto encoder = std::make_unique<DeflateEncoder>(source, faulty, 9);
      ASSERT_FALSE(encoder->Compress()) << limit;
      encoder.reset();
      ASSERT_TRUE(std::equal(out.GetData(), out.GetData() + out.GetSize(), whole.begin()));
    }
  }
}

TEST(DeflateEncoder, ASourceThatFailsEndsTheData) {
  const Bytes data = MakeData(9, 70000);
  for (int64_t limit : {32768, 65000, -1}) {
    Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size())), out;
    FaultyStream faulty(source, limit, Fault::kRefuse);
    ASSERT_EQ(std::make_unique<DeflateEncoder>(faulty, out, 9)->Compress(), limit > 0);
    if (limit < 0) break;
    const Bytes deflated = BytesOf(out);
    const Plain::Inflater back(deflated);
    EXPECT_EQ(back.output, Bytes(data.begin(), data.begin() + 32768 - 1));
  }
  EXPECT_FALSE(std::make_unique<DeflateEncoder>()->Compress());
}

TEST(BitWriter, PacksBitsAndRefusesTwoWayStreamsOnlyWhenAttached) {
  Core::MemoryStream out;
  FaultyStream sink(out, 1000, Fault::kRefuse, ~uint32_t{Core::kReadable});
  {
    BitWriter writer(out), attached;
    EXPECT_TRUE(writer.WriteBits(0b101, 3) && writer.WriteBits(0xFFFFFFFF, 32));
    EXPECT_TRUE(writer.AlignToByte() && writer.WriteByte(0xAB) && writer.WriteBits(1, 1));
    EXPECT_FALSE(writer.Attach(&out) || writer.Attach(nullptr) || attached.WriteBits(0, 32));
    EXPECT_TRUE(attached.Attach(&sink) && attached.WriteByte(7));
  }  // the destructors write the last bits, of the last writer first
  EXPECT_EQ(BytesOf(out), (Bytes{0xFD, 0xFF, 0xFF, 0xFF, 0x07, 0x07, 0xAB, 0x01}));
  FaultyStream full(out, 0, Fault::kRefuse);
  BitWriter refused(full);
  EXPECT_TRUE(refused.WriteByte(1) && !refused.AlignToByte());
  EXPECT_FALSE(refused.Attach(&sink) || refused.WriteByte(2) || refused.Flush());
}

TEST(BitWriter, HasRoomForBurstsOfAnyLength) {
  constexpr int kBits = 47;
  Core::MemoryStream out;
  BitWriter writer(out);
  for (int i = 0; i < 5000; ++i) {
    const int stores = 1 + i / 1000;
    ASSERT_TRUE(writer.HasRoom(stores));
    BitWriter::Burst burst = writer.Begin();
    for (int k = 0; k < stores; ++k) {
      burst.Put((uint64_t{1} << kBits) - 1, kBits);
      burst.Store();
    }
    writer.End(burst);
  }
  ASSERT_TRUE(writer.Flush());
  EXPECT_EQ(BytesOf(out), Bytes(15000 * kBits / 8, 0xFF));
}

}  // namespace
