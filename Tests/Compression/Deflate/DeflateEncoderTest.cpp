#include "Compression/Deflate/DeflateEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>

#include "Compression/Checksums/HashBytes.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/FaultyStream.h"
#include "Tests/Support/SampleData.h"

namespace {

// The two seeds were searched for: their data lies at the edges of the choice.
Bytes BytesBelow(int bound, std::size_t size, uint32_t seed) {
  std::mt19937 random(seed);
  random.discard(2);
  Bytes data(size);
  for (uint8_t& byte : data) byte = static_cast<uint8_t>(random() % bound);
  return data;
}

TEST(DeflateEncoder, ChoosesTheCheapestKindOfBlock) {
  const struct {
    const char* name;
    Bytes data;
    int type;
  } rows[] = {
      {"nothing", {}, 1},
      {"a few letters", {'a', 'b', 'c'}, 1},
      {"noise", MakeData(DataKind::kNoise, 20000, 1), 0},
      {"skewed", MakeData(DataKind::kSkewed, 20000, 1), 2},
      {"stored and dynamic of one size", BytesBelow(210, 1172, 785), 0},
      {"dynamic smaller but for its base cost", BytesBelow(97, 192, 42), 1},
  };
  for (const auto& row : rows) {
    const Bytes deflated = Deflated(row.data);
    EXPECT_EQ(deflated[0] & 7, 1 + 2 * row.type) << row.name << ", the only block and the last";
  }
  Core::MemoryStream nothing, out;
  const auto encoder = std::make_unique<DeflateEncoder>(nothing, out, 9);
  ASSERT_TRUE(encoder->Compress() && encoder->Blocks().BlockCount() == 1);
  const Bytes once = BytesOf(out);
  EXPECT_TRUE(!encoder->Compress() && BytesOf(out) == once) << "a second call writes nothing";
  EXPECT_EQ(encoder->Blocks().HeaderBits(), 26 + 18 * 3 + 4 * 1 + 3 * 8) << "1s and zero runs";
}

// Places in `text` match earlier ones, each longer than the place before: while the parser goes
// over it, a match is pending all the time, also at the byte where the first block is full.
// The second block is stored, and begins with the match.
TEST(DeflateEncoder, AMatchMayWaitWhileItsBlockIsWritten) {
  const Bytes text = MakeData(DataKind::kNoise, 30, 9);
  for (std::size_t start = 58280; start < 58360; start += 5) {
    Bytes data = MakeData(DataKind::kNoise, start + 3000, 1);
    std::copy(text.begin(), text.end(), data.begin() + start);
    for (int k = 0; k < 13; ++k) {
      std::copy_n(text.begin() + k, 3 + k, data.begin() + start - 1000 + 50 * k);
    }
    ASSERT_EQ(Inflate(Deflated(data), kRawDeflate).output, data) << start;
  }
}

// A match may reach back 32,768 bytes and no more.
TEST(DeflateEncoder, ReachesBackAsFarAsTheFormatAllows) {
  std::size_t sizes[2];
  for (std::size_t further : {0, 1}) {
    Bytes data = MakeData(DataKind::kNoise, 100, 3);
    data.resize(32768 + further, 7);
    data.insert(data.end(), data.begin(), data.begin() + 100);
    sizes[further] = Deflated(data).size();
  }
  EXPECT_LT(sizes[0] + 80, sizes[1]);
}

TEST(DeflateEncoder, LazyParsingPaysFromLevelNineOn) {
  const Bytes data = MakeData(DataKind::kFewValues, 9000, 1);
  EXPECT_LT(Deflated(data, 9).size(), Deflated(data, 8).size());
  EXPECT_EQ(Deflated(data, 256 + 8), Deflated(data, 8)) << "only the low byte counts";
  const Bytes eight = Deflated(data, 8);
  EXPECT_EQ(HashBytes(eight.data(), eight.size()), 2497660101u) << "other bytes than ever";
}

// A destination that refuses at byte n: false, and what arrived before is the true beginning.
TEST(DeflateEncoder, ReportsARefusalAtEveryByte) {
  for (DataKind kind : {DataKind::kNoise, DataKind::kSkewed, DataKind::kPeriodThree}) {
    const Bytes data = MakeData(kind, 700, 5);
    const Bytes whole = Deflated(data);
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
  const Bytes data = MakeData(DataKind::kRuns, 70000, 9);
  for (int64_t limit : {32768, 65000, -1}) {
    Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size())), out;
    FaultyStream faulty(source, limit, Fault::kRefuse);
    ASSERT_EQ(std::make_unique<DeflateEncoder>(faulty, out, 9)->Compress(), limit > 0);
    if (limit < 0) break;
    const Bytes back = Inflate(BytesOf(out), kRawDeflate).output;
    ASSERT_TRUE(30000 < back.size() && back.size() < static_cast<std::size_t>(limit));
    EXPECT_TRUE(std::equal(back.begin(), back.end(), data.begin()));
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
}

TEST(BitWriter, StaysRefusedWhateverIsAttached) {
  Core::MemoryStream out;
  FaultyStream full(out, 0, Fault::kRefuse), sink(out, 1000, Fault::kRefuse, Core::kWritable);
  BitWriter writer(full);
  EXPECT_TRUE(writer.WriteByte(1) && !writer.AlignToByte());
  EXPECT_FALSE(writer.Attach(&sink) || writer.WriteByte(2) || writer.Flush());
  EXPECT_EQ(out.GetSize(), 0);
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
