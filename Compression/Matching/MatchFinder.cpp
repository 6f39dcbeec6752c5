#include "Compression/Matching/MatchFinder.h"

#include <algorithm>

#include "Compression/Checksums/HashBytes.h"

// A run skip can lead to a position that was never inserted; the chain ends there.
void MatchFinder::Reset() {
  heads_.fill(kEmpty);
  chain_.fill(kNoLink);
}

// The last keys reach past the data: the bytes of the window there are part of them.
void MatchFinder::Insert(const DeflateWindow& window, int32_t position) {
  const uint8_t* bytes = window.Bytes() + position;
  const uint32_t key = bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16;
  int32_t& head = heads_[HashWord(key) & (kHashBuckets - 1)];
  const int32_t distance = position - head;
  const bool isLinked = head != kEmpty && distance <= DeflateWindow::kHistoryBytes;
  chain_[position] = isLinked ? static_cast<uint16_t>(distance) : kNoLink;
  head = position;
}

bool MatchFinder::FindMatch(const DeflateWindow& window, int32_t maxDistance, int32_t maxLength,
                            Match& match) {
  if (maxLength < kMinMatchLength) return false;
  const int32_t position = window.Position();
  Insert(window, position);
  match = MatchWalk::Walk(
      {window.Here(), maxDistance, maxLength}, chain_[position],
      [=, this](int32_t distance) { return distance + chain_[position - distance]; });
  return match.length >= kMinMatchLength;
}

void MatchFinder::Slide(int32_t shift, int32_t end) {
  if (shift == 0) return;
  std::copy(chain_.begin() + shift, chain_.begin() + shift + end, chain_.begin());
  for (int32_t& head : heads_) head = std::max(head - shift, kEmpty);
}
