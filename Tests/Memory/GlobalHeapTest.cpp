#include "Memory/GlobalHeap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Memory/Heap.h"
#include "Memory/HeapChecks.h"

namespace {

constexpr std::size_t kImpossible = SIZE_MAX / 2;

uint64_t InUse() { return GetStats(StatsDetail::kCounters).allocBlocks; }

TEST(GlobalHeap, MallocAlignsAndCallocZeroes) {
  for (std::size_t size = 0; size < 200; ++size) {
    void* blocks[] = {HeapMalloc(size), HeapMallocAligned(size, 4096)};
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[0]) % (size >= 16 ? 16 : 8), 0u) << size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[1]) % 4096, 0u) << size;
    for (void* block : blocks) HeapFree(block);
  }
  void* block = HeapMalloc(4000);
  HeapFree(std::memset(block, 0xFF, 4000));
  ASSERT_EQ(HeapCalloc(40, 100), block);
  EXPECT_EQ(std::string(static_cast<char*>(block), 4000), std::string(4000, '\0'));
  HeapFree(block);
  EXPECT_EQ(HeapCalloc(SIZE_MAX / 2 + 2, 2), nullptr);
  HeapFree(HeapCalloc(0, 100));
  EXPECT_EQ(InUse(), 0u);
}

TEST(GlobalHeap, ResizingKeepsTheContentOrTheBlock) {
  char* block = static_cast<char*>(HeapRealloc(nullptr, 100));
  void* fence = ResizeOrAllocate(nullptr, 8, 2);
  std::strcpy(block, "kept");
  EXPECT_TRUE(ResizeOrAllocate(block, 50, 2) == block && HeapRealloc(block, 32) == block);
  EXPECT_TRUE(HeapRealloc(block, kImpossible) == nullptr &&
              ResizeOrAllocate(block, kImpossible, 2) == nullptr);
  void* other = ResizeOrAllocate(block, 5000, 2);
  EXPECT_TRUE(other != block && InUse() == 3);  // the caller moves the content
  char* moved = static_cast<char*>(HeapRealloc(block, 5000));
  EXPECT_TRUE(moved != block && InUse() == 3);
  EXPECT_STREQ(moved, "kept");
  EXPECT_TRUE(HeapResize(moved, kImpossible) == nullptr && HeapRealloc(moved, 0) == nullptr);
  HeapFree(HeapRealloc(std::malloc(10), 20));  // a block of malloc: freed, not copied
  for (void* each : {fence, other, std::malloc(1)}) HeapFree(each);
  EXPECT_EQ(InUse(), 0u);
}

// Every call that takes the lock, several at a time. Where one does not take it, the heap or a
// block is damaged, or ThreadSanitizer reports the race.
TEST(GlobalHeap, ServesSeveralThreads) {
  std::vector<std::jthread> threads;
  for (std::size_t thread = 1; thread <= 3; ++thread) {
    threads.emplace_back([thread] {
      for (std::size_t step = 1; step <= 4000; ++step) {
        const std::size_t size = 8 + step * thread * 97 % 500;
        auto* block = static_cast<std::size_t*>(HeapMalloc(size));
        *block = step * thread;
        block = static_cast<std::size_t*>(HeapRealloc(block, size % 7 * 100 + 8));
        EXPECT_TRUE(HeapResize(block, size) == nullptr || HeapUsableSize(block) >= size);
        void* other = ResizeOrAllocate(block, 2 * size, 8);
        EXPECT_EQ(*block, step * thread);
        if (other != block) HeapFree(other);
        EXPECT_TRUE(GlobalHeap().FreeBlock(block));
        HeapFree(HeapCalloc(2, size));
        EXPECT_TRUE(step % 500 > 0 || GlobalHeap().AddSegment(8, 8));
        EXPECT_TRUE(step % 50 > 0 || (CheckBlocks() && CheckBuckets() && InUse() < 9));
      }
    });
  }
  threads.clear();  // joins them
  EXPECT_TRUE(CheckBlocks() && CheckBuckets() && InUse() == 0);
}

#ifdef HALOMEND_POISONS_HEAP  // other builds do not see such an access

// How many bytes of a block of 13 bytes are open after it was used in some way.
TEST(HeapPoison, OpensTheBytesAskedForAndNoOthers) {
  const std::pair<int, void (*)(void* block)> rows[] = {
      {13, [](void*) {}},
      {0, HeapFree},
      {3, [](void* block) { ASSERT_EQ(HeapResize(block, 3), block); }},
      {80, [](void* block) { ASSERT_EQ(HeapResize(block, 80), block); }},
      {16, [](void* block) { ASSERT_EQ(HeapUsableSize(block), 16u); }}};
  for (const auto& [open, act] : rows) {
    char* block = static_cast<char*>(HeapMalloc(13));
    act(block);
    for (int index = -16; index < 200; ++index) {
      ASSERT_EQ(__asan_address_is_poisoned(block + index), index < 0 || index >= open) << open;
    }
    if (open > 0) HeapFree(block);
    EXPECT_DEATH(HeapFree(block), "use-after-poison");
  }
}

#endif

// Every form of new. The pointers are volatile, so that the compiler cannot assume that two forms
// never return null, nor leave out a pair of new and delete.
void* (*volatile forms[])(std::size_t) = {
    ::operator new, ::operator new[],
    [](std::size_t size) { return ::operator new(size, std::nothrow); },
    [](std::size_t size) { return ::operator new[](size, std::nothrow); }};

void UseOperators() {
  void* const fromBefore = forms[0](100);
  ActivateHeap();
  const uint64_t before = InUse();
  for (auto* volatile form : forms) {
    void* blocks[] = {form(0), form(24), form(1), form(100), form(3), form(8)};
    for (const void* block : blocks) EXPECT_TRUE(IsBlock(block));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[1]) % 16, 0u);
    ::operator delete(blocks[0]);
    ::operator delete[](blocks[1]);
    delete static_cast<char*>(blocks[2]);  // sized, where the compiler knows that form
    delete[] static_cast<char*>(blocks[3]);
    ::operator delete(blocks[4], std::nothrow);
    ::operator delete[](blocks[5], std::nothrow);
    EXPECT_TRUE(form(kImpossible) == nullptr && form(SIZE_MAX) == nullptr);
  }
  EXPECT_FALSE(IsInHeap(fromBefore));
  ::operator delete(fromBefore);
  EXPECT_EQ(InUse(), before);
  // Without exit handlers: the framework's own may run after the heap's destructor.
  std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

// In a process of its own, since the operators stay on the heap. GoogleTest prints nothing there:
// to see what failed, call UseOperators alone.
TEST(OperatorNewDeathTest, OnceActiveServesEveryFormFromTheHeap) {
  EXPECT_EXIT(UseOperators(), testing::ExitedWithCode(0), "");
}

}  // namespace
