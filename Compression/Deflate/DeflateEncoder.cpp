#include "Compression/Deflate/DeflateEncoder.h"

#include <algorithm>
#include <new>
#include <utility>

#include "Compression/Format/DeflateFormat.h"

// cppcheck-suppress uninitMemberVar
DeflateEncoder::DeflateEncoder(Core::Stream& source, Core::Stream& destination, int32_t level)
    : source_(&source), level_(level), writer_(destination) {}

bool DeflateEncoder::Compress() {
  // The window and the tokens are those of the first call.
  if (std::exchange(isStarted_, true)) return false;
  int32_t available = 0;  // bytes in the window from the position on
  for (;;) {
    const int32_t got = window_.Fill(source_, available);
    const int32_t total = available + got;
    if (total < 0) return false;
    if (total == 0) break;
    if (bytesRead_ == 0 && !ResetFinder(got)) return false;
    bytesRead_ += static_cast<uint64_t>(got);
    available = total;
    const int32_t end = window_.Position() + total;
    if (IsLazy()) longestFinder_.Link(window_, end);
    if (total <= kMaxMatchLength) break;
    // Every position parsed here is followed by enough bytes for the longest match.
    int32_t consumed = total - kMaxMatchLength;
    if (!Parse(consumed, kMaxMatchLength)) return false;
    const int32_t shift = window_.Slide(end);
    IsLazy() ? longestFinder_.Slide(shift) : plainFinder_->Slide(shift, end - shift);
    available = total - consumed;
  }
  if (!Parse(available, 0)) return false;
  if (pending_.isPending) AppendPending();
  return FlushBlock(FinalBlock::kYes) && writer_.Flush();
}

bool DeflateEncoder::ResetFinder(int32_t bytesRead) {
  if (IsLazy()) {
    longestFinder_.Reset(bytesRead);
    return true;
  }
  plainFinder_.reset(new (std::nothrow) MatchFinder);
  if (plainFinder_ != nullptr) plainFinder_->Reset();
  return plainFinder_ != nullptr;
}

// Parses `count` positions; `reserve` more bytes follow them. The last match may extend into these:
// `count` becomes the number of positions parsed. False: a block could not be written.
bool DeflateEncoder::Parse(int32_t& count, int32_t reserve) {
  int32_t done = 0;
  while (done < count) {
    const int32_t lookahead = count - done + reserve;
    // The same as Step would do, without a search; frequent in pictures that hardly repeat.
    if (IsLazy() && !pending_.isPending && lookahead >= LongestMatchFinder::kLongMatch &&
        longestFinder_.IsNew(window_)) {
      tokens_.AppendLiteral(*window_.Here());
      window_.Advance(1);
      ++done;
    } else {
      done += Step(lookahead);
    }
    if (tokens_.IsFull() && !FlushBlock(FinalBlock::kNo)) return false;
  }
  count = done;
  return true;
}

// Parses the next position, from which `lookahead` bytes of data stand, and the bytes of a match
// taken there. Returns the number of positions parsed.
int32_t DeflateEncoder::Step(int32_t lookahead) {
  Match found = {0, 0};
  const bool isFound = FindMatch(lookahead, found);
  if (pending_.isPending) {
    if (!isFound) return TakePending();
    tokens_.AppendLiteral(pending_.literal);
  }
  const uint8_t literal = *window_.Here();
  window_.Advance(1);
  if (!isFound) {
    tokens_.AppendLiteral(literal);
    return 1;
  }
  pending_ = {true, literal, found};
  return IsLazy() ? 1 : 1 + TakePending();
}

// Finds the match at the position. A lazy parser gets only one longer than the pending match.
bool DeflateEncoder::FindMatch(int32_t lookahead, Match& match) {
  const int32_t maxDistance = std::min(window_.Position(), DeflateWindow::kHistoryBytes);
  const int32_t maxLength = std::min(lookahead, kMaxMatchLength);
  if (!IsLazy()) return plainFinder_->FindMatch(window_, maxDistance, maxLength, match);
  const int32_t atLeast = pending_.isPending ? pending_.match.length : 0;
  return longestFinder_.FindMatch(window_, maxDistance, maxLength, atLeast, match);
}

// Takes the pending match, whose first byte is parsed already, and parses the rest of it. Returns
// the number of positions parsed. Deliberate: below level 9 the second byte of the match is not
// inserted into the hash chains, since only a search would have inserted it.
int32_t DeflateEncoder::TakePending() {
  AppendPending();
  const int32_t covered = pending_.match.length - 1;
  if (!IsLazy()) {
    for (int32_t i = 1; i < covered; ++i) plainFinder_->Insert(window_, window_.Position() + i);
  }
  window_.Advance(covered);
  return covered;
}

void DeflateEncoder::AppendPending() {
  const Match match = pending_.match;
  tokens_.AppendMatch(match.distance, match.length, window_.Here() - 1);
  pending_.isPending = false;
}

bool DeflateEncoder::FlushBlock(FinalBlock final) {
  if (!blocks_.WriteBlock(tokens_, final)) return false;
  if (final == FinalBlock::kYes) return true;
  // A pending match begins the next block, and its first byte is parsed already.
  blocks_.BeginBlock(window_.Bytes(), window_.Position() - (pending_.isPending ? 1 : 0));
  tokens_.Reset();
  return true;
}
