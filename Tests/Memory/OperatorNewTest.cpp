// A program of its own, since the operators are replaced in all of it, the test framework included.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "Memory/HeapChecks.h"

namespace {

// Every form of new. The pointers are volatile, so that the compiler cannot assume that two forms
// never return null, nor leave out a pair of new and delete.
void* (*volatile forms[])(std::size_t) = {
    ::operator new, ::operator new[],
    [](std::size_t size) { return ::operator new(size, std::nothrow); },
    [](std::size_t size) { return ::operator new[](size, std::nothrow); }};

void* fromBefore = nullptr;  // allocated before the heap was active

TEST(OperatorNew, OnceActiveServesEveryFormFromTheHeap) {
  const uint64_t before = GetStats(StatsDetail::kCounters).allocBlocks;
  for (auto* volatile form : forms) {
    void* blocks[] = {form(0), form(24), form(1), form(100), form(3), form(8)};
    for (const void* block : blocks) EXPECT_TRUE(IsBlock(block));
    EXPECT_EQ(HeapUsableSize(blocks[0]), 8u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[1]) % 16, 0u);
    ::operator delete(blocks[0]);
    ::operator delete[](blocks[1]);
    delete static_cast<char*>(blocks[2]);  // sized, where the compiler knows that form
    delete[] static_cast<char*>(blocks[3]);
    ::operator delete(blocks[4], std::nothrow);
    ::operator delete[](blocks[5], std::nothrow);
    EXPECT_TRUE(form(SIZE_MAX / 2) == nullptr && form(SIZE_MAX) == nullptr);
  }
  EXPECT_FALSE(IsInHeap(fromBefore));
  ::operator delete(fromBefore);
  EXPECT_EQ(GetStats(StatsDetail::kCounters).allocBlocks, before);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  fromBefore = forms[0](100);
  ActivateHeap();
  const int result = RUN_ALL_TESTS();
  // The framework's own exit handlers may run after the heap's destructor and use what it unmapped.
  std::fflush(stdout);
  std::_Exit(result);
}
