// PNG files, read and written.

#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <map>
#include <string>
#include <tuple>

#include "Core/MemoryStream.h"
#include "Image/PngDecoder.h"
#include "Image/PngEncoder.h"
#include "Image/PngHeader.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/FaultyStream.h"
#include "Tests/Support/PngBuilder.h"

namespace {

// The result of the decoder: " refused", or the pixels as text.
std::string Decoded(Bytes file) {
  const int64_t end = static_cast<int64_t>(file.size());
  file.resize(file.size() + 5);
  Core::MemoryStream in(file.data(), static_cast<uint32_t>(file.size()));
  Bitmap bitmap(2, 2);
  const bool isLoaded = LoadPng(in, bitmap);
  EXPECT_TRUE(isLoaded ? in.Tell() == end : bitmap.Width() + bitmap.Height() == 0);
  std::string pixels;
  for (int32_t i = 0; i < bitmap.Width() * bitmap.Height(); ++i) {
    char text[10];
    std::snprintf(text, sizeof text, " %08X", bitmap.Row(0)[i]);
    pixels += text;
  }
  return isLoaded ? pixels : " refused";
}

// The file that a row of Files.txt describes.
Bytes FileOf(const std::string& format, const std::string& chunks, const Bytes& imageData) {
  const std::map<std::string, int> colorTypes = {
      {"grey", 0}, {"rgb", 2}, {"palette", 3}, {"greya", 4}, {"rgba", 6}};
  const std::vector<std::string> words = Words(chunks), formatWords = Words(format);
  const int colorType = colorTypes.at(formatWords[0]), bitDepth = std::stoi(formatWords[1]);
  Bytes stream = PngBuilder::Zlib(imageData);
  const auto isData = [](const std::string& word) { return strcasecmp(word.c_str(), "IDAT") == 0; };
  auto piecesLeft = std::count_if(words.begin(), words.end(), isData);
  PngBuilder file;
  for (const std::string& word : words) {
    const std::string value = word.size() > 5 ? word.substr(5) : "";
    Bytes data;
    if (isData(word)) {
      const auto end = --piecesLeft == 0 ? stream.end() : stream.begin() + 5;
      data.assign(stream.begin(), end);
      stream.erase(stream.begin(), end);
    } else if (value.find('x') != value.npos) {
      uint32_t width = 0, height = 0;
      std::sscanf(value.c_str(), "%ux%u", &width, &height);
      data = PngBuilder::Header(width, height, bitDepth, colorType, formatWords.size() > 2);
    } else {
      data = FromHex(Unescaped(value));
    }
    file.Chunk(word.substr(0, 4), data);
  }
  return file;
}

TEST(PngDecoder, ReadsAndRefusesFiles) {
  for (const auto& [name, format, chunks, imageData, pixels] :
       ReadCases<5>(HALOMEND_TEST_DATA "Image/Files.txt")) {
    std::string data, expected;
    for (const std::string& part : Words(imageData)) data += Unescaped(part);
    for (const std::string& pixel : Words(pixels)) {
      expected += ' ' + (pixel.size() == 2 ? "FF" + pixel + pixel + pixel : pixel);
    }
    const Bytes file = FileOf(format, chunks, data.empty() ? Bytes(5) : FromHex(data));
    EXPECT_EQ(Decoded(file), expected) << name;
  }
}

TEST(PngDecoder, RefusesEveryDamage) {
  const Bytes file = FileOf("grey 8", "IHDR=1x1 tRNS=0000 IDAT tEXt=010203 IEND", Bytes(2));
  ASSERT_EQ(Decoded(file), " 00000000");
  for (std::size_t i = 0; i < 8 * file.size(); ++i) {
    Bytes damaged = file;
    damaged[i / 8] ^= 1 << i % 8;
    EXPECT_EQ(Decoded(damaged), " refused") << i;
  }
}

TEST(PngHeader, AllowsKnownFormatsOfSizesThatCanBeWritten) {
  const auto isAllowed = [](uint32_t width, uint32_t height, int depth, int type) {
    const Bytes data = PngBuilder::Header(width, height, depth, type, 0);
    PngHeader header;
    return ParsePngHeader(data.data(), 13, header);
  };
  for (int i = 0; i < 8 * 256; ++i) {
    const std::pair<uint8_t, uint8_t> format(i % 8, i / 8);
    const bool isKnown = std::ranges::count(kAllPngFormats, format) > 0;
    EXPECT_EQ(isAllowed(1, 1, format.second, format.first), isKnown) << i % 8 << ' ' << i / 8;
  }
  const std::tuple<uint32_t, uint32_t, bool> rows[] = {
      {536870911, 1, true},   {536870912, 1, false}, {23170, 23170, true},
      {23171, 23170, false},  {0, 0x7FFFFFFE, true}, {0, 0x7FFFFFFF, false},
      {0xFFFFFFFF, 0, false}, {65536, 65536, false}, {0x7FFFFFFE, 0x7FFFFFFE, false}};
  for (const auto& [width, height, isSmall] : rows) {
    EXPECT_EQ(isAllowed(width, height, 1, kPngGrey), isSmall) << width << " x " << height;
  }
}

TEST(PngEncoder, ReportsARefusalAtEveryByte) {
  Bitmap bitmap(9, 7);
  for (int i = 0; i < 63; ++i) bitmap.Row(0)[i] = i % 5 * 0x87654321u;
  Core::MemoryStream saved;
  ASSERT_TRUE(SavePng(saved, bitmap));
  const Bytes whole = BytesOf(saved);
  for (Fault fault : {Fault::kRefuse, Fault::kCut}) {
    for (std::size_t limit = 0; limit < whole.size(); ++limit) {
      Core::MemoryStream out;
      FaultyStream faulty(out, static_cast<int64_t>(limit), fault);
      EXPECT_FALSE(SavePng(faulty, bitmap)) << limit;
      EXPECT_TRUE(out.GetSize() <= static_cast<int64_t>(limit) &&
                  std::equal(out.GetData(), out.GetData() + out.GetSize(), whole.begin()));
    }
  }
}

}  // namespace
