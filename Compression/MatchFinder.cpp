#include "Compression/MatchFinder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Compression/DeflateFormat.h"
#include "Compression/HashBytes.h"

MatchFinder::MatchFinder() { heads_.fill(kEmpty); }

int32_t MatchFinder::Fill(Core::Stream* source, int32_t available) {
  // The position is at most kHistoryBytes here, so the data never passes the window's end.
  const int32_t wanted = kHistoryBytes - available;
  uint32_t done = 0;
  if (source == nullptr || wanted < 0 ||
      !source->Read(window_.data() + position_ + available, wanted, done)) {
    return -1;
  }
  return static_cast<int32_t>(done);
}

// The key is read past the end of the data as well: what stands in the window there takes part.
void MatchFinder::Insert(int32_t position) {
  const uint8_t* bytes = window_.data() + position;
  const uint32_t key = bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16;
  int32_t& head = heads_[HashWord(key) & (kHashBuckets - 1)];
  const int32_t distance = position - head;
  const bool isLinked = head != kEmpty && distance <= kHistoryBytes;
  chain_[position] = isLinked ? static_cast<uint16_t>(distance) : 0;
  head = position;
}

// The walk along the chain has no limit of steps: it ends at a zero link, beyond maxDistance, or at
// a match of full length. The time is spent for the longest match.
bool MatchFinder::FindMatch(int32_t maxDistance, int32_t maxLength, Match& match) {
  if (maxLength < kMinMatchLength) return false;
  Insert(position_);
  const int32_t nearest = chain_[position_];
  if (nearest == 0 || nearest > maxDistance) return false;

  const int32_t extraRun = PeriodicRun(maxLength);
  Match best = {0, 0};
  int32_t candidate = position_ - nearest;
  while (position_ - candidate <= maxDistance) {
    int32_t length = CommonLength(candidate, best.length, maxLength);
    if (length == kPeriod && extraRun > 0) {
      const int32_t start = RunStart(candidate, extraRun, maxDistance);
      if (start != candidate) {
        candidate = start;
        length = CommonLength(candidate, best.length, maxLength);
      }
    }
    if (length > best.length) {
      best = {position_ - candidate, length};
      if (length >= maxLength) break;
    }
    const int32_t step = chain_[candidate];
    if (step == 0) break;
    candidate -= step;
  }
  match = best;
  return best.length >= kMinMatchLength;
}

// How many bytes, in whole periods, the three bytes at the position are repeated behind themselves.
// Counted in steps of three while more than two of maxLength bytes are left, so the last period may
// reach past the data.
int32_t MatchFinder::PeriodicRun(int32_t maxLength) const {
  const uint8_t* here = window_.data() + position_;
  int32_t run = kPeriod;
  for (int32_t budget = maxLength; budget >= kPeriod; budget -= kPeriod) {
    if (std::memcmp(here + run, here, kPeriod) != 0) break;
    run += kPeriod;
  }
  return run - kPeriod;
}

// The number of leading bytes, at most maxLength, that agree at the candidate and the position; 0
// when the first byte differs or the byte that would beat a match of `best` bytes does.
// Requires: best < maxLength.
int32_t MatchFinder::CommonLength(int32_t candidate, int32_t best, int32_t maxLength) const {
  const uint8_t* there = window_.data() + candidate;
  const uint8_t* here = window_.data() + position_;
  if (there[best] != here[best] || there[0] != here[0]) return 0;
  int32_t length = 1;
  while (length + 8 <= maxLength) {
    uint64_t theirs;
    uint64_t ours;
    std::memcpy(&theirs, there + length, sizeof theirs);
    std::memcpy(&ours, here + length, sizeof ours);
    if (theirs != ours) return length + std::countr_zero(theirs ^ ours) / 8;
    length += 8;
  }
  while (length < maxLength && there[length] == here[length]) ++length;
  return length;
}

// The earliest place from which the three bytes of the candidate repeat up to it, at most as often
// as they repeat at the position. A candidate inside such a run would match no longer than its
// start does, so the walk goes on from there.
// Deliberate: the bound on how far back this may lead is odd, and stays: another one would find
// other matches.
int32_t MatchFinder::RunStart(int32_t candidate, int32_t extraRun, int32_t maxDistance) const {
  const uint8_t* here = window_.data() + position_;
  const int32_t bound = (position_ - candidate) + position_ - maxDistance + kPeriod;
  int32_t start = candidate;
  for (int32_t steps = extraRun / kPeriod; steps > 0; --steps) {
    const int32_t earlier = start - kPeriod;
    if (earlier < bound || std::memcmp(window_.data() + earlier, here, kPeriod) != 0) break;
    start = earlier;
  }
  return start;
}

void MatchFinder::Slide(int32_t end) {
  if (position_ < kHistoryBytes) return;
  const int32_t shift = position_ - kHistoryBytes;
  const int32_t kept = end - shift;
  std::memmove(window_.data(), window_.data() + shift, static_cast<std::size_t>(kept));
  for (int32_t i = 0; i < kept; ++i) {
    const uint16_t distance = chain_[i + shift];
    chain_[i] = distance > i ? 0 : distance;  // a link to before the window ends its chain
  }
  for (int32_t& head : heads_) head = std::max(head - shift, kEmpty);
  position_ = kHistoryBytes;
}
