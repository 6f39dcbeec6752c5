#include "Core/CharacterSets.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <set>
#include <string>
#include <vector>

namespace {

using Text = std::vector<int32_t>;

Text Decode(const std::string& bytes, uint32_t codePage) {
  Text text(bytes.size());
  const int32_t size = static_cast<int32_t>(bytes.size());
  text.resize(Core::DecodeText(bytes.data(), size, text.data(), size, codePage));
  return text;
}

std::string Encode(const Text& text, uint32_t codePage) {
  std::string bytes(6 * text.size(), '#');
  const int32_t length = static_cast<int32_t>(text.size());
  bytes.resize(Core::EncodeText(text.data(), length, bytes.data(), 6 * length, codePage));
  return bytes;
}

// What the C library converts `text` to, or nothing if it cannot.
std::string Judge(const char* to, const char* from, const std::string& text) {
  const iconv_t converter = iconv_open(to, from);
  EXPECT_NE(converter, reinterpret_cast<iconv_t>(-1)) << to << " from " << from;
  char* source = const_cast<char*>(text.data());
  char target[16], *end = target;
  std::size_t left = text.size(), room = sizeof target;
  const bool good = iconv(converter, &source, &left, &end, &room) == 0;
  iconv_close(converter);
  return good ? std::string(target, end) : std::string();
}

std::string Utf32(int32_t codePoint) {
  return std::string(reinterpret_cast<const char*>(&codePoint), sizeof codePoint);
}

TEST(CharacterSets, ByteSetsAgreeWithTheCLibraryOnEveryByteAndEveryCodePoint) {
  const char* const names[] = {"ISO-8859-1", "ISO-8859-2", "CP1252", "CP1250"};
  for (uint32_t codePage = 2; codePage <= 5; ++codePage) {
    const char* const name = names[codePage - 2];
    std::set<int32_t> pages;
    for (int byte = 0; byte < 256; ++byte) {
      const std::string source(1, static_cast<char>(byte));
      const Text text = Decode(source, codePage);
      const std::string expected = Judge("UTF-32LE", name, source);
      ASSERT_EQ(Utf32(text.at(0)), expected.empty() ? Utf32('?') : expected) << name << byte;
      pages.insert(text[0] >> 8);
    }
    for (int32_t codePoint = 0; codePoint < 0x10000; ++codePoint) {
      std::string expected = Judge(name, "UTF-32LE", Utf32(codePoint));
      if (expected.empty()) expected = pages.count(codePoint >> 8) > 0 ? "\xFF" : "?";
      // The higher bits are ignored, the sign among them.
      ASSERT_EQ(Encode({codePoint, codePoint | 0x10000, codePoint | INT32_MIN}, codePage),
                expected + expected + expected)
          << name << codePoint;
    }
  }
}

TEST(CharacterSets, Utf8DecodesUntilTheFirstFault) {
  const struct {
    const char* name;
    std::string bytes;
    Text text;
  } rows[] = {{"two and three bytes", "f\xC3\xA9\xEF\xBF\xBF!", {'f', 0xE9, 0xFFFF, '!'}},
              {"beyond the basic plane", "\xF0\x9F\x98\x80!", {'?', '!'}},
              {"the largest value", "\xFD\xBF\xBF\xBF\xBF\xBF!", {'?', '!'}},
              {"overlong forms, a surrogate", "\xC0\x80\xE0\x81\x81\xED\xA0\x80", {0, 'A', 0xD800}},
              {"stray continuation", "ab\x80z", {'a', 'b'}},
              {"no lead byte", "a\xFEz", {'a'}},
              {"no lead byte either", "\xFFz", {}},
              {"cut off", "a\xE2\x82", {'a'}},
              {"broken continuation", "a\xE2\x82z\xC2\xA9", {'a'}},
              {"a lead byte as continuation", "a\xC3\xC3\xA9", {'a'}}};
  for (const auto& row : rows) EXPECT_EQ(Decode(row.bytes, 1), row.text) << row.name;
}

TEST(CharacterSets, Utf8TakesTheShortestSequence) {
  for (const int32_t last : {0x7F, 0x7FF, 0xFFFF, 0x1FFFFF, 0x3FFFFFF}) {
    EXPECT_EQ(Encode({last}, 1).size() + 1, Encode({last + 1}, 1).size()) << last;
  }
  EXPECT_EQ(Encode({INT32_MAX}, 1).size(), 6u);
  EXPECT_EQ(Encode({-1, 0x7F, INT32_MIN}, 1), "\x7F");
}

TEST(CharacterSets, TheDefaultIsUtf8UntilAnotherIsSelected) {
  EXPECT_EQ(Encode({0x20AC}, 0), "\xE2\x82\xAC");
  Core::SelectCodePage(5);
  Core::SelectCodePage(0);  // the locale "C" of this process selects none
  EXPECT_EQ(Encode({0x20AC}, 0), "\x80");
  Core::SelectCodePage(1);
}

}  // namespace
