// The quicksort of the Huffman builder.
//
// Deliberate: it is not stable. The order in which it leaves equal records decides which code
// lengths a limited code gets, and so the bytes of the compressed stream. A library sort would
// leave another order.
#pragma once

#include <cstdint>
#include <utility>

#include "Core/FatalExit.h"

constexpr int32_t kMaxSortDepth = 256;

// Sorts records[low..high], both included, by `<` and `==` of the record type. `depth` counts the
// partitions so far, from 0; beyond kMaxSortDepth the process ends with status 1.
template <typename Record>
void BoundedSort(Record* records, int32_t low, int32_t high, int32_t depth) {
  for (;;) {
    if (depth > kMaxSortDepth) Core::FatalExit("Sort recursion too deep!", 1);
    if (low >= high) return;
    std::swap(records[(low + high) / 2], records[high]);
    const Record pivot = records[high];
    int32_t boundary = low;
    for (int32_t i = low; i < high; ++i) {
      if (!(pivot < records[i])) std::swap(records[i], records[boundary++]);
    }
    std::swap(records[boundary], records[high]);

    int32_t leftEnd = boundary - 1;
    while (leftEnd >= low && records[leftEnd] == pivot) --leftEnd;
    int32_t rightStart = boundary + 1;
    while (rightStart <= high && records[rightStart] == pivot) ++rightStart;
    ++depth;
    BoundedSort(records, low, leftEnd, depth);
    low = rightStart;
  }
}
