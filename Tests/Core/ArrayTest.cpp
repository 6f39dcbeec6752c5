#include "Core/Array.h"

#include <gtest/gtest.h>

#include <vector>

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
