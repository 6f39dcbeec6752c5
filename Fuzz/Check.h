// Helpers of all fuzz targets. A target stops the process when an input makes the program break a
// promise. libFuzzer and Fuzz/Replay.cpp both pass the input in a heap block of exactly its size,
// so that AddressSanitizer sees a read beyond it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Tests/Support/Bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

inline void Check(bool holds) {
  if (!holds) __builtin_trap();
}

// Hands out an input from its front, and zeros after its end.
struct FuzzInput {
  const uint8_t* next;
  const uint8_t* end;

  std::size_t Left() const { return static_cast<std::size_t>(end - next); }
  uint8_t Byte() { return Left() == 0 ? uint8_t{0} : *next++; }
  Bytes Take(std::size_t count) {
    next += count = count < Left() ? count : Left();
    return Bytes(next - count, next);
  }
};
