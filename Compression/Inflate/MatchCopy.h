// Copies matches in words.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "Core/Endian.h"

namespace MatchCopy {

// The bytes that a copy may write after its end.
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

// Repeats the last `distance` bytes, up to 8, over a whole word: mask them out and multiply.
struct Pattern {
  uint64_t mask;
  uint64_t factor;
  uint32_t step;  // bytes of the word that are whole repeats
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

// Copies a match to `to` up to `end` from `distance` bytes before, as if byte by byte: a match that
// overlaps itself repeats its first bytes. Writes whole words, up to kOverrun bytes too many. No
// word that is read contains a byte that the copy has still to write: from 16 bytes back the words
// stand there already, and of nearer bytes only the repeated ones are used.
inline void CopyWords(uint8_t* to, uint32_t distance, uint8_t* end) {
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
