#include "Memory/HeapPoison.h"

#ifdef HALOMEND_POISONS_HEAP  // other builds do not see such an access

#include <gtest/gtest.h>

#include "Memory/GlobalHeap.h"

namespace {

// How many bytes of a block of 13 bytes are open after it was used in some way.
TEST(HeapPoison, OpensTheBytesAskedForAndNoOthers) {
  struct Row {
    const char* name;
    void (*act)(void* block);
    int open;
  };
  for (const auto& [name, act, open] :
       {Row{"allocated", [](void*) {}, 13}, Row{"freed", HeapFree, 0},
        Row{"shrunk", [](void* block) { ASSERT_EQ(HeapResize(block, 3), block); }, 3},
        Row{"grown", [](void* block) { ASSERT_EQ(HeapResize(block, 80), block); }, 80},
        Row{"measured", [](void* block) { ASSERT_EQ(HeapUsableSize(block), 16u); }, 16}}) {
    char* block = static_cast<char*>(HeapMalloc(13));
    act(block);
    for (int index = -16; index < 200; ++index) {
      ASSERT_EQ(__asan_address_is_poisoned(block + index), index < 0 || index >= open)
          << name << ' ' << index;
    }
    if (open > 0) HeapFree(block);
  }
}

TEST(HeapPoison, EndsTheProgramWhenABlockIsFreedAgain) {
  void* block = HeapMalloc(16);
  HeapFree(block);
  EXPECT_DEATH(HeapFree(block), "use-after-poison");
}

}  // namespace

#endif
