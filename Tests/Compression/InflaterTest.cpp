#include "Compression/Inflater.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <utility>

#include "Compression/Adler32.h"
#include "Compression/Crc32.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/BitAssembler.h"

namespace {

// Gives its bytes in pieces of a fixed size.
struct PieceStream : Core::Stream {
  PieceStream(const Bytes& all, std::size_t size) : bytes(all), piece(size) {}
  bool Read(void* buffer, int32_t count, uint32_t& done) override {
    done = uint32_t(std::min({bytes.size() - position, piece, std::size_t(count)}));
    std::copy_n(bytes.begin() + position, done, static_cast<uint8_t*>(buffer));
    position += done;
    return true;
  }

  const Bytes& bytes;
  std::size_t piece;
  std::size_t position = 0;
};

struct Inflated {
  bool succeeded;
  Bytes output;
};

constexpr std::size_t kWhole = 1 << 20;

Inflated Inflate(int32_t format, const Bytes& bytes, int64_t limit = Inflater::kUnlimited,
                 std::size_t piece = kWhole) {
  PieceStream input(bytes, piece);
  Core::MemoryStream output;
  Inflater inflater(&input, &output);
  inflater.SetFormat(format);
  const bool succeeded = inflater.Run(limit);
  return {succeeded, Bytes(output.GetData(), output.GetData() + output.GetSize())};
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

template <std::size_t kSize>
Bytes Text(const char (&text)[kSize]) {
  return Bytes(text, text + kSize - 1);
}

BitAssembler Bits() { return BitAssembler(); }
BitAssembler Fixed() { return Bits().Block(kFixedBlock); }

// "abc" in a stored block and in containers.
const Bytes kAbc = Bits().Block(kStoredBlock).Stored(Text("abc"));
Bytes Zlib(const Bytes& header, uint32_t adler = 0x024D0127) {
  return header + kAbc + Bits().Big32(adler);
}
Bytes Gzip(const Bytes& header, uint32_t crc = 0x352441C2, uint32_t size = 3) {
  return header + kAbc + Bits().Number(crc, 32).Number(size, 32);
}

// Behind a stream: keeps the decoder on its direct tables, where a short input is read by levels.
const Bytes kRest(8);

// Literal codes A 0, symbol 0 10, end of block 1100; 1101 and 111 begin no code.
BitAssembler Incomplete() { return Bits().Dynamic({{'A', 1}, {0, 2}, {256, 4}}, {{0, 1}}); }

// Zeros up to the length of symbol 256, the first of them by a repeat of nothing, then `runs`. The
// data is an end of block of two bits.
Bytes Lengths(int literalCount, int distanceCount, const std::vector<std::pair<int, int>>& runs) {
  BitAssembler bits = Bits().DynamicHead(literalCount, distanceCount);
  return bits.Lengths({{16, 3}, {18, 127}, {18, 88}, {17, 7}, {17, 0}}).Lengths(runs).Append(kRest);
}

// 400 bytes of i * i / 6 % 17 as zlib 1.2.13 packs them at level 9, in a dynamic block.
const Bytes kGolden = {0x78, 0xDA, 0xED, 0xCD, 0xD1, 0x11, 0xC3, 0x30, 0x08, 0x04, 0x51, 0x0C, 0xC2,
                       0x9C, 0x38, 0x0C, 0xEA, 0xBF, 0x5A, 0x4F, 0x52, 0x41, 0x0A, 0xC8, 0xFE, 0xEF,
                       0x3C, 0x11, 0xB9, 0x74, 0xDD, 0xC8, 0xE7, 0x58, 0x70, 0x0C, 0x6D, 0x7B, 0xBC,
                       0x8C, 0x9A, 0xCA, 0xD5, 0x21, 0x74, 0xA9, 0xD0, 0x21, 0x5C, 0x4F, 0x17, 0x73,
                       0x03, 0xD8, 0xC9, 0xEA, 0xA3, 0x0E, 0x8E, 0x46, 0x89, 0x53, 0xA2, 0xD7, 0xF7,
                       0xB0, 0xF2, 0xD9, 0xD6, 0xB0, 0x61, 0xD8, 0x79, 0x12, 0xF7, 0xD2, 0x4B, 0x3E,
                       0xFD, 0x95, 0x9F, 0x94, 0x17, 0x5D, 0x24, 0x0C, 0x1A};
Bytes GoldenOutput() {
  Bytes output;
  for (int i = 0; i < 400; ++i) output.push_back(i * i / 6 % 17);
  return output;
}

TEST(Inflater, AcceptsAndRefuses) {
  constexpr int32_t kRaw = kRawDeflate;
  const std::optional<Bytes> refused;
  const struct {
    const char* name;
    int32_t format;
    Bytes input;
    std::optional<Bytes> output;
  } rows[] = {
      {"empty stored", kRaw, Bits().Block(0).Stored({}), Bytes()},
      {"empty zlib", kZlib, Bits().Append({0x78, 0xDA, 3, 0}).Big32(1), Bytes()},
      {"dynamic", kZlib, kGolden, GoldenOutput()},
      {"stored, mid-byte", kRaw, Bits().Block(1, 0).Fixed('x').Fixed(256).Block(0).Stored({'y'}),
       Text("xy")},
      {"literals", kRaw, Fixed().Fixed(143).Fixed(144).Fixed(255).Fixed(256), Text("\x8F\x90\xFF")},
      {"overlap", kRaw, Fixed().Fixed('a').Fixed('b').FixedMatch(5, 2).Fixed(256), Text("abababa")},
      {"258 by symbol 284", kRaw, Fixed().Fixed('a').Fixed(284).Number(31, 5).Code(0, 5).Fixed(256),
       Bytes(259, 'a')},
      {"before the start", kRaw,
       Fixed().Fixed('a').FixedMatch(3, 2).FixedMatch(4, 32768).Fixed(256), Text("a\0a\0\0\0\0\0")},
      {"no code, direct", kRaw, Incomplete().Code(0b0111101100, 10).Append(kRest), Text("A\0\0A")},
      {"no code, levels", kRaw, Incomplete().Code(0b0111101100, 10), Text("A\0A")},
      {"no distance of this code", kRaw,
       Bits().Dynamic({{'A', 1}, {256, 2}, {257, 2}}, {{1, 1}}).Code(0b011110, 6), Text("AAAA")},
      {"repeats to the end", kRaw, Lengths(258, 3, {{2, 0}, {16, 1}}), Bytes()},
      {"zlib, small window", kZlib, Zlib({0x08, 0x1D}), Text("abc")},
      {"zlib, dictionary", kZlib, Zlib({0x78, 0x20, 1, 2, 3, 4}), Text("abc")},
      {"gzip", kGzip, Gzip({31, 139, 8, 0, 0, 0, 0, 0, 0, 3}), Text("abc")},
      {"nothing", kRaw, {}, refused},
      {"block type 3", kRaw, Bits().Block(3), refused},
      {"stored length", kRaw, Bits().Block(0).Append({1, 0, 255, 255, 'a'}), refused},
      {"length 286", kRaw, Fixed().Fixed(286).Append(kRest), refused},
      {"length 287, levels", kRaw, Fixed().Fixed(287).Number(0, 20), refused},
      {"distance 30", kRaw, Fixed().Fixed(257).Code(30, 5).Append(kRest), refused},
      {"distance 31, levels", kRaw, Fixed().Fixed(257).Code(31, 5).Number(0, 9), refused},
      {"distance, cut", kRaw, Fixed().Fixed(276).Number(0, 3), refused},
      {"no code-length code", kRaw, Bits().Block(2).Number(0, 26).Append(kRest), refused},
      {"repeat past the end", kRaw, Lengths(257, 1, {{2, 0}, {16, 0}}), refused},
      {"over-subscribed", kRaw,
       Bits().Dynamic({{'A', 1}, {'B', 1}, {256, 1}}, {{0, 1}}).Append(kRest), refused},
      {"no distance code", kRaw, Bits().Dynamic({{'A', 1}, {256, 1}}, {}).Code(1, 1).Append(kRest),
       refused},
      {"dynamic header, cut", kRaw, Bits().DynamicHead(257, 1).Code(1, 5), refused},
      {"zlib method", kZlib, Zlib({0x77, 0x09}), refused},
      {"zlib window", kZlib, Zlib({0x88, 0x1C}), refused},
      {"zlib header check", kZlib, Zlib({0x78, 0x02}), refused},
      {"zlib checksum", kZlib, Zlib({0x78, 0x01}, 0x024D0128), refused},
      {"gzip magic", kGzip, Gzip({31, 138, 8, 0, 0, 0, 0, 0, 0, 3}), refused},
      {"gzip method", kGzip, Gzip({31, 139, 7, 0, 0, 0, 0, 0, 0, 3}), refused},
      {"gzip flag 32", kGzip, Gzip({31, 139, 8, 32, 0, 0, 0, 0, 0, 3}), refused},
      {"gzip header CRC", kGzip, Gzip({31, 139, 8, 2, 0, 0, 0, 0, 0, 3, 0, 0}), refused},
      {"gzip name, cut", kGzip, {31, 139, 8, 8, 0, 0, 0, 0, 0, 3, 'n'}, refused},
      {"gzip CRC", kGzip, Gzip({31, 139, 8, 0, 0, 0, 0, 0, 0, 3}, 0), refused},
      {"gzip size", kGzip, Gzip({31, 139, 8, 0, 0, 0, 0, 0, 0, 3}, 0x352441C2, 4), refused},
  };
  for (const auto& row : rows) {
    const Inflated result = Inflate(row.format, row.input);
    EXPECT_EQ(result.succeeded, row.output.has_value()) << row.name;
    EXPECT_EQ(result.output, row.output.value_or(Bytes())) << row.name;
  }
}

TEST(Inflater, KeepsTheFieldsOfAGzipHeader) {
  const Bytes header = {31, 139, 8, 31, 0x78, 0x56, 0x34, 0x12, 0, 3, 2, 0, 9, 9, 0xE9, 0, 'c', 0};
  const uint32_t crc = Crc32(header.data(), header.size(), 0);
  const Bytes bytes = Gzip(header + Bytes{uint8_t(crc), uint8_t(crc >> 8)});
  Core::MemoryStream input(bytes.data(), static_cast<uint32_t>(bytes.size()));
  Core::MemoryStream output;
  Inflater inflater(&input, &output);
  inflater.SetFormat(kGzip);
  ASSERT_TRUE(inflater.Run(3));
  EXPECT_STREQ(inflater.GzipName().ToNarrow(), "\xC3\xA9");
  EXPECT_STREQ(inflater.GzipComment().ToNarrow(), "c");
  EXPECT_EQ(inflater.GzipModificationTime(), 0x12345678u);
}

TEST(Inflater, NeedsItsStreams) {
  PieceStream input(kAbc, kWhole);
  Core::Stream refusing;
  EXPECT_FALSE(Inflater(&input).Run(Inflater::kUnlimited));
  EXPECT_FALSE(Inflater(nullptr, &refusing).Run(Inflater::kUnlimited));
  EXPECT_FALSE(Inflater(&input, &refusing).Run(Inflater::kUnlimited));
}

TEST(Inflater, StaysFailed) {
  const Bytes bytes = Fixed().Fixed('a').Fixed(286);
  PieceStream input(bytes, kWhole);
  Inflater inflater(&input);
  uint8_t byte = 0;
  for (int32_t call = 0, got = -1; call < 2; ++call) {
    EXPECT_FALSE(inflater.ReadOutput(&byte, 1, got));
    EXPECT_EQ(got, 0) << "the failing step's bytes are dropped";
  }
}

// The longest symbol there can be, at every distance from the end of the buffered input.
TEST(Inflater, DecodesASymbolOf48Bits) {
  std::map<int, int> literals = {{256, 15}, {284, 15}};
  std::map<int, int> distances = {{28, 15}, {29, 15}};
  for (int i = 0; i < 14; ++i) literals[i] = distances[i] = i + 1;
  for (int lead = 0; lead < 64; ++lead) {
    BitAssembler bits = Bits().Dynamic(literals, distances).Number(0, lead);
    bits.Number(0x7FFF, 15).Number(31, 5).Number(0x7FFF, 15).Number(8191, 13).Code(0x7FFE, 15);
    for (const std::size_t piece : {std::size_t{5}, kWhole}) {
      const Inflated result = Inflate(kRawDeflate, bits, Inflater::kUnlimited, piece);
      EXPECT_TRUE(result.succeeded && result.output == Bytes(lead + 258)) << lead;
    }
  }
}

// 300,000 bytes in a zlib stream of stored and fixed blocks, and the same by a plain model.
struct LongStream {
  LongStream() {
    std::mt19937 random(7);
    BitAssembler bits = Bits().Append({0x78, 0x01});
    for (int block = 0; block < 6; ++block) {
      Bytes stored(1224 + block);
      for (uint8_t& byte : stored) byte = output.emplace_back(random());
      bits.Block(kStoredBlock, false).Stored(stored).Block(kFixedBlock, block == 5);
      for (int token = 0; token < 390; ++token) {
        bits.Fixed(output.emplace_back(random()));
        const int length = token % 5 == 0 ? 258 : 3 + random() % 256;
        const int longest = std::min(32768, int(output.size()));
        const int toWindowEnd = int(output.size() % 32768) + length + token % 5 - 2;
        const int distance = token % 7 == 0   ? longest
                             : token % 7 == 1 ? std::min(longest, toWindowEnd)
                                              : 1 + random() % (longest >> random() % 9);
        bits.FixedMatch(length, distance);
        for (int i = 0; i < length; ++i) output.push_back(output.end()[-distance]);
      }
      bits.Fixed(256);
    }
    bytes = bits.Big32(Adler32(output.data(), output.size(), kAdler32Initial));
  }

  Bytes output;
  Bytes bytes;
};

TEST(Inflater, DecodesALongStreamHoweverItIsCutUp) {
  const LongStream stream;
  for (const std::size_t piece : {std::size_t{3}, std::size_t{7}, std::size_t{8191}, kWhole}) {
    const Inflated result = Inflate(kZlib, stream.bytes, stream.output.size(), piece);
    EXPECT_TRUE(result.succeeded && result.output == stream.output) << piece;
  }
  for (const int32_t size : {1, 257, 32508, 32769}) {
    PieceStream input(stream.bytes, kWhole);
    Inflater inflater(&input);
    inflater.SetFormat(kZlib);
    Bytes pulled;
    Bytes buffer(size);
    for (int32_t got = size; got == size;) {
      ASSERT_TRUE(inflater.ReadOutput(buffer.data(), size, got));
      pulled.insert(pulled.end(), buffer.begin(), buffer.begin() + got);
    }
    EXPECT_TRUE(pulled == stream.output) << size;
  }
}

TEST(Inflater, FailsWhenALongStreamIsLimitedCutShortOrDamaged) {
  const LongStream stream;
  const Inflated limited = Inflate(kZlib, stream.bytes, stream.output.size() - 1);
  EXPECT_FALSE(limited.succeeded);
  EXPECT_TRUE(limited.output == stream.output) << "the limit is tested after the write";
  const std::size_t size = stream.bytes.size();
  for (std::size_t cut = 0; cut < size; cut += cut + 30 < size ? 67 : 1) {
    EXPECT_FALSE(Inflate(kZlib, Bytes(stream.bytes.begin(), stream.bytes.begin() + cut)).succeeded);
    Bytes damaged = stream.bytes;
    damaged[cut] ^= 1 << cut % 8;
    EXPECT_FALSE(Inflate(kZlib, damaged).succeeded) << cut;
  }
}

// Two damaged streams that give bytes for ever: one ends within a compressed block; in the other a
// pattern without a code stands for symbol 0, which has no code and consumes nothing.
TEST(Inflater, EndsEndlessStreams) {
  const std::pair<Bytes, uint8_t> rows[] = {
      {Fixed(), 0xFF},
      {Bits().Dynamic({{256, 8}}, {{0, 8}}).Number(0xFF, 8).Append(kRest), 0},
  };
  for (const auto& [bytes, endless] : rows) {
    EXPECT_FALSE(Inflate(kRawDeflate, bytes).succeeded);
    const Inflated limited = Inflate(kRawDeflate, bytes, 100000);
    EXPECT_FALSE(limited.succeeded);
    EXPECT_GT(limited.output.size(), 100000u);
    PieceStream input(bytes, kWhole);
    Inflater inflater(&input);
    Bytes pulled(200000);
    int32_t got = 0;
    EXPECT_TRUE(inflater.ReadOutput(pulled.data(), 200000, got));
    EXPECT_TRUE(pulled == Bytes(got, endless)) << got;
    EXPECT_TRUE(limited.output == Bytes(limited.output.size(), endless));
  }
}

}  // namespace
