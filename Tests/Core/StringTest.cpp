#include "Core/String.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "Core/FatalExit.h"

static int allocations = 0;
static int allowedAllocations = INT32_MAX;

// The operator that allocates the blocks of strings; the tests decide when it has no memory.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return ++allocations > allowedAllocations ? nullptr : ::operator new[](size);
}

namespace {

Core::String Make(const char* text, uint32_t codePage = 0) {
  Core::String string;
  EXPECT_TRUE(string.Assign(codePage, text, nullptr));
  return string;
}

TEST(String, IsEmptyWithoutABlock) {
  Core::String string = Make("abc");
  allocations = 0;
  EXPECT_TRUE(string.Assign(0, "", nullptr) && string.IsEmpty());
  EXPECT_TRUE(string.Assign(0, nullptr, nullptr) && string.Format("%s", "") && string.IsEmpty());
  EXPECT_TRUE(*string.ToNarrow() == '\0' && allocations == 0);
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
}

TEST(String, FormatCutsLongResults) {
  for (const std::size_t size : {1, 15998, 15999, 16000, 40000}) {
    Core::String string;
    ASSERT_TRUE(string.Format("%s%c", std::string(size - 1, 'x').c_str(), 'y'));
    EXPECT_EQ(string.ToNarrow(), (std::string(size - 1, 'x') + 'y').substr(0, 15999));
  }
}

TEST(String, SaysWhenThereIsNoMemory) {
  Core::String string;
  allocations = 0;
  allowedAllocations = 1;
  EXPECT_TRUE(string.Assign(0, "text", nullptr));
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

}  // namespace
