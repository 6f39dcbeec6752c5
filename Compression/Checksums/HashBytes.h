// The program's own 32-bit hash: of strings, and of the match finder's three-byte keys.
// This file includes nothing of ours, so that the string type of a lower layer may use it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace HashSteps {

constexpr uint32_t kLengthFactor = 0xF8FFD50B;
constexpr uint32_t kSeed = 0x53A28FC9;

constexpr uint32_t Start(std::size_t length) {
  return static_cast<uint32_t>(length) * kLengthFactor ^ kSeed;
}

constexpr uint32_t Mix(uint32_t hash, uint32_t word) {
  word = std::rotl(word * 0xDB91908Du, 21) * 0x6BE5BE6Fu;
  return std::rotl(hash ^ word, 11) * 5 - kSeed;
}

// Deliberate: the length is not mixed in again, as many hashes do at the end; Start has done it.
constexpr uint32_t Finish(uint32_t hash) {
  hash = (hash ^ hash >> 16) * kLengthFactor;
  hash = (hash ^ hash >> 13) * 0x3A69102Fu;
  return hash ^ hash >> 16;
}

}  // namespace HashSteps

// The hash of `length` bytes; null is allowed when `length` is 0.
uint32_t HashBytes(const uint8_t* data, std::size_t length);

// HashBytes of the four bytes of `word`, least significant first.
constexpr uint32_t HashWord(uint32_t word) {
  return HashSteps::Finish(HashSteps::Mix(HashSteps::Start(4), word));
}
