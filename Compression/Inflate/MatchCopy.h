// Copies matches in words.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "Core/Endian.h"

#define HALOMEND_INLINE inline __attribute__((always_inline))

namespace MatchCopy {

// What a copy may write behind its end, in bytes.
constexpr int32_t kOverrun = 32;

template <typename Word>
Word Load(const uint8_t* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

template <typename Word>
void Store(uint8_t* bytes, Word word) {
  std::memcpy(bytes, &word, sizeof word);
}

using Word16 = uint64_t __attribute__((vector_size(16)));

// To repeat the last `distance` bytes, up to 8, all over a word: mask them out and multiply.
struct Pattern {
  uint64_t mask;
  uint64_t factor;
  uint32_t step;  // the most bytes of the word that end with a whole repeat
};

constexpr std::array<Pattern, 9> MakePatterns() {
  std::array<Pattern, 9> patterns{};
  for (uint32_t distance = 1; distance <= 8; ++distance) {
    Pattern& pattern = patterns[distance];
    pattern.mask = ~uint64_t{0} >> (64 - 8 * distance);
    for (uint32_t shift = 0; shift < 64; shift += 8 * distance) {
      pattern.factor |= uint64_t{1} << shift;
    }
    pattern.step = 8 - 8 % distance;
  }
  return patterns;
}

inline constexpr std::array<Pattern, 9> kPatterns = MakePatterns();

// Copies the bytes that stand `distance` before `to` up to `end`, as if one after the other: a
// match that overlaps itself repeats its first bytes. Writes whole words, up to kOverrun bytes
// more. A word is never read from bytes that the copy itself has still to write: those at 16 and
// more back stand there already, and of the nearer ones only the repeated bytes are used.
HALOMEND_INLINE void CopyWords(uint8_t* to, uint32_t distance, uint8_t* end) {
  const uint8_t* from = to - distance;
  if (distance >= 16) {
    do {
      Store(to, Load<Word16>(from));
      Store(to + 16, Load<Word16>(from + 16));
      to += 32;
      from += 32;
    } while (to < end);
    return;
  }
  if (distance > 8) {
    const Word16 word = Load<Word16>(from);
    do {
      Store(to, word);
      to += distance;
    } while (to < end);
    return;
  }
  const Pattern& pattern = kPatterns[distance];
  const uint64_t word = (Core::LoadLittle64(from) & pattern.mask) * pattern.factor;
  if (pattern.step == 8) {
    const Word16 pair = {word, word};
    do {
      Store(to, pair);
      Store(to + 16, pair);
      to += 32;
    } while (to < end);
    return;
  }
  do {
    Core::StoreLittle64(to, word);
    to += pattern.step;
    Core::StoreLittle64(to, word);
    to += pattern.step;
  } while (to < end);
}

}  // namespace MatchCopy
