#include "Image/PngDecoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <utility>

#include "Core/MemoryStream.h"
#include "Image/PngHeader.h"
#include "Tests/Support/PngBuilder.h"

namespace {

struct Decoded {
  explicit Decoded(const Bytes& file) {
    Core::MemoryStream in(file.data(), static_cast<uint32_t>(file.size()));
    loaded = LoadPng(in, bitmap);
    end = in.Tell();
    EXPECT_TRUE(loaded || bitmap.Width() + bitmap.Height() == 0) << "a failure leaves nothing";
  }

  Bitmap bitmap{2, 2};
  bool loaded;
  int64_t end;  // where in the file the decoder stopped
};

// A file of one pixel whose samples are 0, from the names of its chunks. name:n gives a chunk n
// bytes. Several IDAT chunks share the data.
Bytes FileOf(int colorType, const std::string& script) {
  Bytes stream = PngBuilder::Zlib(Bytes(5));
  PngBuilder file;
  std::istringstream tokens(script);
  for (std::string token; tokens >> token;) {
    const std::string type = token.substr(0, 4);
    std::string name = type;
    for (char& letter : name) letter = static_cast<char>(std::toupper(letter));
    Bytes data;
    if (name == "IHDR") data = PngBuilder::Header(1, 1, 8, colorType, 0);
    if (name == "PLTE") data.resize(6);
    if (name == "TRNS") data.resize(colorType == 3 ? 1 : colorType == 2 ? 6 : 2);
    if (name == "IDAT") {
      const bool isLast = tokens.eof() || script.find("IDAT", tokens.tellg()) == std::string::npos;
      data.assign(stream.begin(), isLast ? stream.end() : stream.begin() + 5);
      stream.erase(stream.begin(), stream.begin() + data.size());
    }
    if (token.size() > 4) data.resize(std::stoi(token.substr(5)));
    file.Chunk(type, data);
  }
  return file;
}

TEST(PngDecoder, HoldsTheRulesOfChunks) {
  constexpr int kRefused = -1;
  const auto expectAlpha = [](int alpha, int colorType, const std::vector<std::string>& scripts) {
    for (const std::string& script : scripts) {
      Bytes file = FileOf(colorType, script);
      const int64_t end = static_cast<int64_t>(file.size());
      file.resize(file.size() + 5);
      const Decoded decoded(file);
      EXPECT_EQ(decoded.loaded ? AlphaOf(decoded.bitmap.Row(0)[0]) : kRefused, alpha) << script;
      EXPECT_TRUE(!decoded.loaded || decoded.end == end) << script << ": read past its end";
    }
  };
  expectAlpha(
      255, kPngGrey,
      {"IHDR IDAT IEND", "IHDR IDAT IDAT IDAT IEND", "IHDR IDAT tEXt IEND", "IHDR iHDR IDAT IEND",
       "ihDr idAt ieNd", "IHDR:14 IDAT IEND", "IHDR aBCD IDAT IEND:5"});
  expectAlpha(kRefused, kPngGrey,
              {"", "IHDR IDAT", "IHDR IEND", "IEND IHDR IDAT IEND", "tEXt IHDR IDAT IEND",
               "IHDR IHDR IDAT IEND", "IHDR:12 IDAT IEND", "IHDR ABCD IDAT IEND",
               "IHDR aBcD IDAT IEND", "IHDR IDAT tEXt IDAT IEND", "IHDR IDAT tRNS IDAT IEND",
               "IHDR PLTE IDAT IEND", "IHDR trns IDAT IEND", "IHDR tRNS:1 IDAT IEND"});
  expectAlpha(0, kPngGrey,
              {"IHDR tRNS IDAT IEND", "IHDR IDAT tRNS IEND", "IHDR tRNS tRNS IDAT IEND",
               "IHDR TRNS IDAT IEND", "IHDR trNS IDAT IEND", "IHDR tRNS:3 IDAT IEND"});
  expectAlpha(255, kPngTruecolor, {"IHDR PLTE IDAT IEND"});
  expectAlpha(kRefused, kPngTruecolor,
              {"IHDR PLTE PLTE IDAT IEND", "IHDR IDAT PLTE IEND", "IHDR IDAT tEXt PLTE IEND",
               "IHDR PLTE:4 IDAT IEND", "IHDR tRNS:5 IDAT IEND"});
  expectAlpha(0, kPngTruecolor, {"IHDR tRNS:7 IDAT IEND"});
  expectAlpha(255, kPngIndexed, {"IHDR PLTE IDAT IEND", "IHDR tRNS:0 PLTE IDAT IEND"});
  expectAlpha(kRefused, kPngIndexed,
              {"IHDR IDAT IEND", "IHDR PLTE tRNS:3 IDAT IEND", "IHDR tRNS PLTE IDAT IEND",
               "IHDR PLTE:3000 tRNS:1001 IDAT IEND"});
  expectAlpha(0, kPngIndexed,
              {"IHDR PLTE:0 IDAT IEND", "IHDR PLTE tRNS:2 IDAT IEND", "IHDR PLTE IDAT tRNS IEND",
               "IHDR PLTE:3000 tRNS:1000 IDAT IEND"});
  expectAlpha(kRefused, kPngGreyAlpha, {"IHDR PLTE IDAT IEND", "IHDR tRNS IDAT IEND"});
  expectAlpha(kRefused, kPngTruecolorAlpha, {"IHDR tRNS IDAT IEND"});
}

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;
const Pairs kFormats = {
    {0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
    {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};  // colour type, bit depth

TEST(PngHeader, AllowsTheFormatsOfTheStandardAndSizesThatCanBeWritten) {
  const auto parse = [](const Bytes& data) {
    PngHeader header;
    return ParsePngHeader(data.data(), static_cast<int32_t>(data.size()), header);
  };
  for (uint32_t type = 0; type < 8; ++type) {
    for (uint32_t depth = 0; depth < 66; ++depth) {
      const bool isFormat =
          std::count(kFormats.begin(), kFormats.end(), std::pair{type, depth}) > 0;
      EXPECT_EQ(parse(PngBuilder::Header(1, 1, depth, type, 1)), isFormat) << type << " " << depth;
    }
  }
  for (const int field : {10, 11, 12}) {  // compression, filter, interlace
    Bytes data = PngBuilder::Header(1, 1, 8, 0, 0);
    data[field] = 2;
    EXPECT_FALSE(parse(data)) << field;
  }
  const uint32_t largest = 0x7FFFFFFE;
  const Pairs accepted = {{0, 0}, {0, largest}, {largest, 0}, {536870911, 1}, {23170, 23170}};
  const Pairs refused = {{0, largest + 1}, {UINT32_MAX, 0}, {536870912, 1},
                         {23171, 23170},   {65536, 65536},  {largest, largest}};
  for (const auto& [w, h] : accepted) EXPECT_TRUE(parse(PngBuilder::Header(w, h, 16, 6, 0))) << w;
  for (const auto& [w, h] : refused) EXPECT_FALSE(parse(PngBuilder::Header(w, h, 1, 0, 0))) << w;
}

TEST(PngDecoder, TakesAsMuchImageDataAsThePixelsNeed) {
  const struct {
    const char* name;
    uint32_t width;
    uint32_t height;
    Bytes data;
    int decodedHeight;  // 0: no pixels, -1: refused
  } rows[] = {
      {"exact", 2, 3, Bytes(9), 3},
      {"one byte short", 2, 3, Bytes(8), -1},
      {"excess", 2, 3, Bytes(60000), 3},
      {"filter 5", 2, 3, {0, 0, 0, 5, 0, 0, 0, 0, 0}, -1},
      {"no width", 0, 0x7FFFFFFE, {}, 0},
      {"no height", 5, 0, Bytes(3), 0},
      {"gigabytes claimed", 2, 200000000, Bytes(9), -1},
  };
  for (const auto& row : rows) {
    PngBuilder file;
    file.Chunk("IHDR", PngBuilder::Header(row.width, row.height, 8, 0, 0));
    const Decoded decoded(file.Chunk("IDAT", PngBuilder::Zlib(row.data)).Chunk("IEND", {}));
    EXPECT_EQ(decoded.loaded ? decoded.bitmap.Height() : -1, row.decodedHeight) << row.name;
  }
}

TEST(PngDecoder, RefusesEveryCutAndEveryDamage) {
  const Bytes file = FileOf(3, "IHDR PLTE tRNS IDAT tEXt:3 IEND");
  ASSERT_TRUE(Decoded(file).loaded);
  for (std::size_t i = 0; i < file.size(); ++i) {
    EXPECT_FALSE(Decoded(Bytes(file.begin(), file.begin() + i)).loaded) << i;
    for (int bit = 0; bit < 8; ++bit) {
      Bytes damaged = file;
      damaged[i] ^= 1 << bit;
      EXPECT_FALSE(Decoded(damaged).loaded) << i;
    }
  }
}

// A random picture, put into a file by the definitions of the standard one sample at a time.
struct SamplePicture {
  SamplePicture(int w, int h, int color, int bits, uint32_t seed)
      : width(w), height(h), colorType(color), depth(bits), random(seed) {
    const int channelsOf[] = {1, 0, 3, 1, 2, 0, 4};
    channels = channelsOf[colorType];
    for (int i = 0; i < width * height * channels; ++i) {
      samples.push_back(random() % 3 == 0 ? 0 : random() % (1 << depth));
    }
  }

  int Sample(int x, int y, int c) const { return samples[(y * width + x) * channels + c]; }
  int Byte(int x, int y, int c) const {
    return depth == 16 ? Sample(x, y, c) >> 8 : Sample(x, y, c) * 255 / ((1 << depth) - 1);
  }

  Pixel At(int x, int y) const {
    const Pixel palette[4] = {0x00090807, 0xC8060504, 0xFF030201, 0};  // as the file has it
    if (colorType == 3) return palette[std::min(Sample(x, y, 0), 3)];
    bool isKey = true;
    for (int c = 0; c < channels; ++c) isKey = isKey && Sample(x, y, c) == Sample(0, 0, c);
    const int alpha = colorType >= 4 ? Byte(x, y, channels - 1) : isKey ? 0 : 255;
    const bool isGrey = channels < 3;
    return Color(Byte(x, y, 0), Byte(x, y, isGrey ? 0 : 1), Byte(x, y, isGrey ? 0 : 2), alpha)
        .Packed();
  }

  // Appends the rows of those pixels whose place in the 8 x 8 pattern is `pass`; 0 is all of them.
  void AppendPass(char pass, Bytes& data) {
    const char* const pattern[8] = {"16462646", "77777777", "56565656", "77777777",
                                    "36463646", "77777777", "56565656", "77777777"};
    Bytes previous;
    for (int y = 0; y < height; ++y) {
      Bytes row;
      int bitCount = 0;
      for (int x = 0; x < width; ++x) {
        if (pass != 0 && pattern[y % 8][x % 8] != pass) continue;
        for (int bit = channels * depth - 1; bit >= 0; --bit, ++bitCount) {
          if (bitCount % 8 == 0) row.push_back(0);
          const int sample = Sample(x, y, channels - 1 - bit / depth);
          row.back() |= (sample >> bit % depth & 1) << (7 - bitCount % 8);
        }
      }
      if (!row.empty()) AppendFiltered(row, previous, data);
    }
  }

  void AppendFiltered(const Bytes& row, Bytes& previous, Bytes& data) {
    previous.resize(row.size());
    const int filter = random() % 5;
    const std::size_t unit = std::max(1, channels * depth / 8);
    data.push_back(filter);
    for (std::size_t i = 0; i < row.size(); ++i) {
      const int a = i < unit ? 0 : row[i - unit];
      const int b = previous[i];
      const int c = i < unit ? 0 : previous[i - unit];
      const int p = a + b - c;
      const int pa = std::abs(p - a);
      const int pb = std::abs(p - b);
      const int pc = std::abs(p - c);
      const int paeth = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
      const int predictions[5] = {0, a, b, (a + b) / 2, paeth};
      data.push_back(row[i] - predictions[filter]);
    }
    previous = row;
  }

  // The colour of the first pixel is the transparent one where the format has no alpha.
  Bytes File(bool isInterlaced) {
    Bytes data;
    for (char pass = isInterlaced ? '1' : 0; pass <= (isInterlaced ? '7' : 0); ++pass)
      AppendPass(pass, data);
    PngBuilder file;
    file.Chunk("IHDR", PngBuilder::Header(width, height, depth, colorType, isInterlaced));
    Bytes key;
    for (int c = 0; c < channels; ++c)
      key.insert(key.end(), {uint8_t(Sample(0, 0, c) >> 8), uint8_t(Sample(0, 0, c))});
    if (colorType == 3) file.Chunk("PLTE", {9, 8, 7, 6, 5, 4, 3, 2, 1}).Chunk("tRNS", {0, 200});
    if (colorType < 3) file.Chunk("tRNS", key);
    return file.Chunk("IDAT", PngBuilder::Zlib(data)).Chunk("IEND", {});
  }

  int width;
  int height;
  int colorType;
  int depth;
  int channels;
  std::mt19937 random;
  std::vector<int> samples;
};

TEST(PngDecoder, ReadsEveryFormatPlainAndInterlaced) {
  uint32_t seed = 0;
  for (const auto& [type, depth] : kFormats) {
    for (const auto& [width, height] :
         Pairs{{1, 1}, {2, 1}, {1, 3}, {5, 2}, {4, 9}, {9, 8}, {37, 19}}) {
      SamplePicture source(width, height, type, depth, ++seed);
      for (const bool isInterlaced : {false, true}) {
        const Bitmap bitmap = Decoded(source.File(isInterlaced)).bitmap;
        ASSERT_EQ(std::pair(bitmap.Width(), bitmap.Height()),
                  std::pair(source.width, source.height));
        for (int i = 0; i < source.width * source.height; ++i) {
          const int x = i % source.width;
          const int y = i / source.width;
          ASSERT_EQ(bitmap.Row(y)[x], source.At(x, y))
              << type << "/" << depth << " at " << x << " " << y;
        }
      }
    }
  }
}

}  // namespace
