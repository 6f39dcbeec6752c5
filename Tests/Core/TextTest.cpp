#include <gtest/gtest.h>
#include <iconv.h>

#include <map>
#include <new>
#include <string>
#include <vector>

#include "Core/Array.h"
#include "Core/CharacterSets.h"
#include "Core/FatalExit.h"
#include "Core/String.h"

static int allocations = 0;
static int allowedAllocations = INT32_MAX;

// The operator that allocates the blocks of strings; the tests decide when it has no memory.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return ++allocations > allowedAllocations ? nullptr : ::operator new[](size);
}

namespace {

// The characters of a byte are the C library's; all others are those that no byte has.
TEST(CharacterSets, ByteSetsAgreeWithTheCLibraryOnEveryByteAndEveryCodePoint) {
  const char* const names[] = {"ISO-8859-1", "ISO-8859-2", "CP1252", "CP1250"};
  for (uint32_t codePage = 2; codePage <= 5; ++codePage) {
    const iconv_t converter = iconv_open("UTF-32LE", names[codePage - 2]);
    std::map<int32_t, char> bytes;
    std::map<int32_t, bool> hasPage;
    for (int byte = 0; byte < 256; ++byte) {
      char narrow = static_cast<char>(byte), *from = &narrow;
      int32_t expected = 0, decoded = 0;
      char* to = reinterpret_cast<char*>(&expected);
      std::size_t left = 1, room = sizeof expected;
      if (iconv(converter, &from, &left, &to, &room) != 0) expected = '?';
      ASSERT_EQ(Core::DecodeText(&narrow, 1, &decoded, 1, codePage), 1);
      ASSERT_EQ(decoded, expected) << codePage << ' ' << byte;
      bytes.emplace(expected, narrow);  // the first byte of '?' is its own
      hasPage[expected >> 8] = true;
    }
    iconv_close(converter);
    for (int32_t codePoint = 0; codePoint < 0x10000; ++codePoint) {
      const char missing = hasPage[codePoint >> 8] ? '\xFF' : '?';
      const char byte = bytes.contains(codePoint) ? bytes[codePoint] : missing;
      // The higher bits are ignored, the sign among them.
      const int32_t text[] = {codePoint, codePoint | 0x10000, codePoint | INT32_MIN};
      char encoded[4] = {};
      ASSERT_EQ(Core::EncodeText(text, 3, encoded, 4, codePage), 3);
      ASSERT_EQ(std::string(encoded, 3), std::string(3, byte)) << codePage << ' ' << codePoint;
    }
  }
}

Core::String Make(const char* text) {
  Core::String string;
  EXPECT_TRUE(string.Assign(0, text, nullptr));
  return string;
}

TEST(CharacterSets, TheDefaultIsUtf8UntilAnotherIsSelected) {
  const Core::String euro = Make("\xE2\x82\xAC");
  Core::SelectCodePage(5);
  Core::SelectCodePage(0);  // the locale "C" of this process selects none
  EXPECT_STREQ(euro.ToNarrow(), "\x80");
  Core::SelectCodePage(1);
}

TEST(String, CopiesShareTheirBlocks) {
  Core::String first = Make("shared"), second = first, third;
  third = first;
  const char* const rendering = second.ToNarrow();
  allocations = 0;
  second = first;  // the same text already: it keeps its rendering
  third = second;  // the same again: it stays without one
  Core::String fourth = second;
  EXPECT_TRUE(second.ToNarrow() == rendering && fourth.ToNarrow() == rendering);
  EXPECT_EQ(allocations, 0);
  EXPECT_NE(third.ToNarrow(), rendering);
  first.Release();
  second = Make("new");
  EXPECT_EQ(third.ToNarrow() + std::string(fourth.ToNarrow()), "sharedshared");
  allocations = 0;
  EXPECT_TRUE(fourth.Assign(0, "", nullptr) && fourth.IsEmpty() && third.Format("%s", ""));
  EXPECT_TRUE(third.IsEmpty() && *third.ToNarrow() == '\0' && allocations == 0);
}

TEST(String, FormatCutsLongResults) {
  for (const std::size_t size : {1, 15998, 15999, 16000, 40000}) {
    Core::String string;
    ASSERT_TRUE(string.Format("%s%c", std::string(size - 1, 'x').c_str(), 'y'));
    EXPECT_EQ(string.ToNarrow(), (std::string(size - 1, 'x') + 'y').substr(0, 15999));
  }
}

TEST(String, SaysWhenThereIsNoMemory) {
  allocations = 0;
  allowedAllocations = 1;
  Core::String string = Make("text");
  EXPECT_TRUE(!string.PrepareNarrow() && *string.ToNarrow() == '\0');
  allowedAllocations = INT32_MAX;
  EXPECT_STREQ(string.ToNarrow(), "text");
  allowedAllocations = 0;
  EXPECT_TRUE(!string.Format("newer") && string.IsEmpty());
  allowedAllocations = INT32_MAX;
}

TEST(FatalExitDeathTest, EndsSilentlyWithItsStatus) {
  EXPECT_EXIT(Core::FatalExit("message", 7), testing::ExitedWithCode(7), "^$");
}

TEST(Array, GrowsByHalfAndKeepsItsElements) {
  using Numbers = std::vector<int32_t>;
  Core::Array<int32_t> array, fences[100];  // so that a growing block has to move
  Numbers capacities;
  for (int32_t i = 0; i < 100; ++i) {
    if (i == array.Capacity()) capacities.push_back(i);
    ASSERT_TRUE(fences[i].Append(i) && (i == 0 ? array.Append(7) : array.Append(array[0])));
    ASSERT_EQ(array[i], 7) << "an element of the old block";
    if (i > 0) array[i] = i;
  }
  EXPECT_EQ(capacities, (Numbers{0, 1, 2, 3, 4, 6, 9, 13, 19, 28, 42, 63, 94}));
  for (int32_t i = 1; i < array.Size(); ++i) EXPECT_EQ(array[i], i);
  EXPECT_EQ(Core::GrownCapacity(INT32_MAX - 1, INT32_MAX), INT32_MAX);
  Core::Array<int32_t> copy;
  ASSERT_TRUE(array.SetCapacity(3) && copy.Assign(array) && copy.AppendAll(array.Data() + 1, 2));
  EXPECT_EQ(Numbers(copy.begin(), copy.end()), (Numbers{7, 1, 2, 1, 2}));
}

TEST(Array, IsEmptyAfterARequestThatCannotBeMet) {
  struct Huge {
    char bytes[1 << 24];  // 2^31 of them exceed any address space
  };
  Core::Array<Huge> array;
  ASSERT_TRUE(array.SetSize(1));
  for (int tries = 0; tries < 2; ++tries) EXPECT_FALSE(array.SetCapacity(INT32_MAX));
  EXPECT_TRUE(array.IsEmpty() && array.Data() == nullptr && !array.SetSize(1));
  EXPECT_TRUE(array.SetCapacity(0) && array.SetSize(1));
}

}  // namespace
