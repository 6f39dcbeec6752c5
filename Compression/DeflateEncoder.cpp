#include "Compression/DeflateEncoder.h"

#include <algorithm>

#include "Compression/DeflateFormat.h"

DeflateEncoder::DeflateEncoder(Core::Stream& source, Core::Stream& destination, int32_t level)
    : source_(&source), level_(level), writer_(destination) {}

bool DeflateEncoder::Compress() {
  int32_t available = 0;  // bytes in the window from the position on
  for (;;) {
    const int32_t got = finder_.Fill(source_, available);
    const int32_t total = available + got;
    if (total < 0) return false;
    if (total == 0) break;
    bytesRead_ += static_cast<uint64_t>(got);
    available = total;
    if (total <= kMaxMatchLength) break;
    // Behind every position parsed here stand enough bytes for the longest match.
    const int32_t end = finder_.Position() + total;
    int32_t consumed = total - kMaxMatchLength;
    if (!Parse(consumed, kMaxMatchLength)) return false;
    finder_.Slide(end);
    available = total - consumed;
  }
  if (!Parse(available, 0)) return false;
  if (pending_.isPending) tokens_.AppendMatch(pending_.match.distance, pending_.match.length);
  pending_.isPending = false;
  return FlushBlock(FinalBlock::kYes) && writer_.Flush();
}

// Parses `count` positions with `reserve` more bytes to look at behind them. The last match may run
// into the reserve: `count` becomes the number of positions parsed. False: a block could not be
// written.
bool DeflateEncoder::Parse(int32_t& count, int32_t reserve) {
  int32_t done = 0;
  while (done < count) {
    done += Step(count - done + reserve);
    if (tokens_.IsFull() && !FlushBlock(FinalBlock::kNo)) return false;
  }
  count = done;
  return true;
}

// Parses the next position, with `lookahead` bytes there, and what a match taken there covers; the
// number of positions gone over.
int32_t DeflateEncoder::Step(int32_t lookahead) {
  Match found = {0, 0};
  const bool isFound = finder_.FindMatch(std::min(finder_.Position(), MatchFinder::kHistoryBytes),
                                         std::min(lookahead, kMaxMatchLength), found);
  if (pending_.isPending) {
    if (!isFound || pending_.match.length >= found.length) return TakePending();
    tokens_.AppendLiteral(pending_.literal);
  }
  const uint8_t literal = finder_.Current();
  finder_.Advance(1);
  if (!isFound) {
    tokens_.AppendLiteral(literal);
    return 1;
  }
  pending_ = {true, literal, found};
  return IsLazy() ? 1 : 1 + TakePending();
}

// Emits the pending match, whose first byte has been gone over, and inserts the positions it covers
// into the hash chains; the number of positions gone over.
// Deliberate: the match's second byte is inserted only where the search for a longer match there
// has done so, that is not below level 9.
int32_t DeflateEncoder::TakePending() {
  const Match match = pending_.match;
  pending_.isPending = false;
  tokens_.AppendMatch(match.distance, match.length);
  const int32_t covered = match.length - 1;
  for (int32_t i = 1; i < covered; ++i) finder_.Insert(finder_.Position() + i);
  finder_.Advance(covered);
  return covered;
}

bool DeflateEncoder::FlushBlock(FinalBlock final) {
  if (!blocks_.WriteBlock(tokens_, final)) return false;
  // A pending match begins the next block, and its first byte has been gone over.
  blocks_.BeginBlock(finder_.Window(), finder_.Position() - (pending_.isPending ? 1 : 0));
  tokens_.Reset();
  return true;
}
