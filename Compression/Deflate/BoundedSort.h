// The quicksort of the Huffman builder.
//
// Deliberate: it is not stable, and where records compare equal the order it leaves them in decides
// which code lengths a limited code gets, and with them the bytes of the compressed stream. A
// library sort would leave another order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "Core/FatalExit.h"

constexpr int32_t kMaxSortDepth = 256;

enum class Order {
  kTotal,    // no two records are equal
  kPartial,  // some may be
};

// Sorts records[low..high], both included, by `<` and `==` of the record type. `depth` counts the
// passes above this one and starts at 0; beyond kMaxSortDepth the process ends with status 1.
template <Order kOrder, typename Record>
void BoundedSort(Record* records, int32_t low, int32_t high, int32_t depth) {
  for (;;) {
    if (depth > kMaxSortDepth) Core::FatalExit("Sort recursion too deep!", 1);
    if (low >= high) return;
    if (kOrder == Order::kTotal && high - low <= kMaxSortDepth - depth) {
      // All sorts come to the same, and a library's is faster. This one would not get too deep
      // either: each pass takes one record away at least and needs two.
      std::sort(records + low, records + high + 1);
      return;
    }
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
    BoundedSort<kOrder>(records, low, leftEnd, depth);
    low = rightStart;
  }
}
