// One bit for every pixel of an image: a test or a mark is one word access.
#pragma once

#include <algorithm>
#include <cstdint>

#include "Core/Array.h"

class BitMask {
 public:
  // `count` bits, all clear. False: no memory.
  [[nodiscard]] bool Create(int32_t count) {
    const int64_t words = (int64_t{count} + kBitsPerWord - 1) / kBitsPerWord;
    if (!words_.SetSize(static_cast<int32_t>(words))) return false;
    std::fill(words_.begin(), words_.end(), 0);
    return true;
  }

  // Requires for both: 0 <= index < count.
  bool Test(int32_t index) const {
    return (words_[index / kBitsPerWord] >> (index % kBitsPerWord) & 1) != 0;
  }
  void Set(int32_t index) { words_[index / kBitsPerWord] |= uint64_t{1} << index % kBitsPerWord; }

 private:
  static constexpr int32_t kBitsPerWord = 64;

  Array<uint64_t> words_;
};
