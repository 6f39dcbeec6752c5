// The plain search for repeated bytes, along hash chains over three-byte keys: each link is the
// distance from a position to the next older one. Level 8 and below use it: what they find depends
// on which positions were inserted, and when.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Matching/DeflateWindow.h"
#include "Compression/Matching/MatchWalk.h"

// Positions are indices of the window that all calls are given.
class MatchFinder {
 public:
  // Empties the chains. Call it first.
  void Reset();

  // Finds the longest match for the bytes at the window's position, at most `maxLength` (at most
  // 258) long and at most `maxDistance` back; of equal ones the nearest. Inserts the position into
  // the chains unless `maxLength` is below 3. False: there is no match of three bytes or more.
  // Requires: maxDistance <= position, maxLength bytes of data at the position.
  bool FindMatch(const DeflateWindow& window, int32_t maxDistance, int32_t maxLength, Match& match);

  // Inserts a position into the chains. Requires: it is not inserted yet.
  void Insert(const DeflateWindow& window, int32_t position);

  // The window has moved down by `shift`; its data ends at `end`.
  void Slide(int32_t shift, int32_t end);

 private:
  static constexpr int32_t kHashBuckets = 8192;
  static constexpr int32_t kEmpty = -1;
  static constexpr uint16_t kNoLink = 0xFFFF;  // further than any distance

  std::array<int32_t, kHashBuckets> heads_;
  std::array<uint16_t, DeflateWindow::kSize> chain_;  // distance to the next older position
};
