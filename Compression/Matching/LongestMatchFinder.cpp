#include "Compression/Matching/LongestMatchFinder.h"

#include <algorithm>
#include <bit>
#include <new>

#include "Compression/Matching/CommonLength.h"
#include "Compression/Matching/PixelRuns.h"

void LongestMatchFinder::Reset(int32_t bytesRead) {
  const auto width = std::bit_width(static_cast<uint32_t>(bytesRead));
  hashBits_ = std::max(static_cast<int32_t>(width), kMinHashBits);
  threes_.Reset(hashBits_, 0);
  fours_.Reset(hashBits_, 0);
}

void LongestMatchFinder::Link(const DeflateWindow& window, int32_t end) {
  end_ = end;
  candidates_ = 0;
  LinkPlaces(window.Bytes(), base_, base_ + static_cast<uint32_t>(end), fours_, threes_);
  if (denseFills_ > 0 && --denseFills_ > 0) LinkDense(window);
}

void LongestMatchFinder::LinkDense(const DeflateWindow& window) {
  const uint32_t endPlace = base_ + static_cast<uint32_t>(end_);
  LinkPlaces(window.Bytes(), base_, endPlace, dense_->eights);
  LinkPlaces(window.Bytes(), base_, endPlace, dense_->sixteens);
  LinkPlaces(window.Bytes(), base_, endPlace, dense_->fortyEights);
}

// Linking the dense chains takes longer than all other work for most data, and saves most of the
// time for noise of few colours, where the same four bytes stand everywhere. It costs 75 to 100
// instructions a byte, as many as three or four candidates. So it begins when the searches of one
// fill have visited as many, and goes on for some fills. Then the chains must prove necessary
// again, which costs less than a tenth of the instructions of noise of one bit, and data that has
// become plain is linked plainly again after half a megabyte.
void LongestMatchFinder::TurnDense(const DeflateWindow& window) {
  constexpr int32_t kDenseFills = 16;
  candidates_ = 0;
  if (dense_ == nullptr) dense_.reset(new (std::nothrow) DenseChains);
  if (dense_ == nullptr) return;
  denseFills_ = kDenseFills;
  dense_->eights.Reset(hashBits_, base_);
  dense_->sixteens.Reset(hashBits_, base_);
  dense_->fortyEights.Reset(hashBits_, base_);
  LinkDense(window);
}

bool LongestMatchFinder::FindMatch(const DeflateWindow& window, int32_t maxDistance,
                                   int32_t maxLength, int32_t pendingLength, Match& match) {
  if (pendingLength >= maxLength) return false;
  const MatchQuery query = {window.Here(), maxDistance, maxLength};
  const uint32_t place = base_ + static_cast<uint32_t>(window.Position());
  if (maxLength < kLongMatch) {
    // The last places have no key of four bytes, and the very last ones no link.
    return maxLength >= kMinMatchLength &&
           WalkPlainly(query, threes_.Newest(place, query.here), place, pendingLength, match);
  }
  const int32_t nearest = NearestOfFour(query, place);
  if (nearest <= maxDistance) {
    // Inside a run the pixel before matches in full, and no nearer place does. Where the plain walk
    // skips runs, it finds that place too: bytes with the periods three and four are all equal.
    if (nearest <= PixelRuns::kPixelBytes &&
        CommonLength(query.here - nearest, query.here, 0, maxLength) == maxLength) {
      match = {nearest, maxLength};
      return true;
    }
    if (MatchWalk::SkipsFurther(query)) {
      return WalkPlainly(query, threes_.Next(place, 0), place, pendingLength, match);
    }
    if (denseFills_ == 0 && candidates_ > kMaxPlainCandidates) TurnDense(window);
    Search search = {query, place, std::max(pendingLength, kMinMatchLength), maxLength};
    if ((denseFills_ > 0 && FindDense(search)) || FindLong(fours_, search)) {
      match = search.match;
      return true;
    }
  }
  // Without a match of four bytes the plain walk skips no run: the match after a skip has four.
  return pendingLength < kMinMatchLength && FindThree(query, place, match);
}

// The distance of the nearest place with the same four bytes as the position.
inline int32_t LongestMatchFinder::NearestOfFour(const MatchQuery& query, uint32_t place) const {
  const uint32_t key = Core::LoadLittle32(query.here);
  int32_t distance = fours_.Next(place, 0);
  while (distance <= query.maxDistance && Core::LoadLittle32(query.here - distance) != key) {
    distance = fours_.Next(place, distance);
  }
  return distance;
}

bool LongestMatchFinder::FindDense(Search& search) {
  return FindLong(dense_->fortyEights, search) || FindLong(dense_->sixteens, search) ||
         FindLong(dense_->eights, search);
}

// Makes the plain walk, whose first candidate is at `nearest`.
bool LongestMatchFinder::WalkPlainly(const MatchQuery& query, int32_t nearest, uint32_t place,
                                     int32_t pendingLength, Match& match) const {
  match = MatchWalk::Walk(
      query, nearest, [place, this](int32_t distance) { return threes_.Next(place, distance); });
  return match.length > std::max(pendingLength, kMinMatchLength - 1);
}

// Finds the nearest match of three bytes.
bool LongestMatchFinder::FindThree(const MatchQuery& query, uint32_t place, Match& match) const {
  const uint32_t key = Core::LoadLittle32(query.here) << 8;
  for (int32_t distance = threes_.Next(place, 0); distance <= query.maxDistance;
       distance = threes_.Next(place, distance)) {
    if (Core::LoadLittle32(query.here - distance) << 8 == key) {
      match = {distance, kMinMatchLength};
      return true;
    }
  }
  return false;
}

// Finds the longest match of at least kKeyBytes bytes. False: every match is shorter than a key,
// and search.maxLength then says so.
//
// A match of more than `best` bytes agrees with the position in its first best + 1 bytes, so it
// stands on the chain of every key within these, and any of these chains may be followed. Chains
// lead from near to far, and only a longer match replaces the best, so the nearest of the longest
// wins.
template <int32_t kKeyBytes>
bool LongestMatchFinder::FindLong(const HashChain<kKeyBytes>& chain, Search& search) {
  const int32_t wanted = search.best;
  const int32_t shorter = std::max(wanted, kKeyBytes - 1);
  if (shorter >= search.maxLength) return false;
  search.best = shorter;
  search.offset = 0;
  search.distance = chain.Next(search.place, 0);
  Hop(chain, search, 0);
  while (const int32_t length = FindLonger(chain, search)) {
    Improve(search, length);
    if (search.best >= search.maxLength) break;
    const int32_t passed = search.distance;
    search.distance = chain.Next(search.KeyPlace(), passed);
    Hop(chain, search, passed);
  }
  if (search.match.length > 0) return true;
  search.best = wanted;
  search.maxLength = shorter;
  return false;
}

// Follows the chain from the candidate at search.distance to the first with a longer match, and
// returns the length of that. 0: there is none.
//
// A longer match agrees with the position in its first four bytes and in the eight that end with
// byte `best`, or as many as there are from the position on. Candidates of which both agree are
// measured: one test, as each alone would often be mispredicted.
template <int32_t kKeyBytes>
inline int32_t LongestMatchFinder::FindLonger(const HashChain<kKeyBytes>& chain, Search& search) {
  const uint8_t* const here = search.query.here;
  const uint8_t* const keyHere = here + search.offset;
  const uint8_t* const lastHere = here + search.best - 7;
  const uint64_t lastMask = ~uint64_t{0} << 8 * std::max(7 - search.best, 0);
  const uint32_t first = Core::LoadLittle32(here);
  const uint64_t last = Core::LoadLittle64(lastHere);
  const uint32_t place = search.KeyPlace();
  const int32_t maxDistance = search.query.maxDistance;
  int32_t candidates = 0;
  int32_t length = 0;
  int32_t distance = search.distance;
  for (; distance <= maxDistance; ++candidates) {
    const uint32_t firstDifference = Core::LoadLittle32(here - distance) ^ first;
    const uint64_t lastDifference = (Core::LoadLittle64(lastHere - distance) ^ last) & lastMask;
    if ((firstDifference | lastDifference) == 0) {
      length = CommonLength(here - distance, here, 4, search.maxLength);
      if (length > search.best) break;
      length = 0;
    }
    // One test of both conditions, which is rarely true: each alone would often be mispredicted.
    const int32_t next = chain.Next(place, distance);
    const uint8_t* const key = keyHere - distance;
    const bool isInRun = (next - distance <= PixelRuns::kPixelBytes) &
                         (Core::LoadLittle64(key - 8) == Core::LoadLittle64(key - 4));
    distance = isInRun ? PassRun(chain, search, distance) : next;
  }
  candidates_ += candidates;
  search.distance = distance;
  return length;
}

// Moves on to the furthest candidate beyond `passed` that this chain offers for the key followed so
// far and for the last two keys within the first best + 1 bytes. The last keys hold the byte at
// which the best match failed: often they are rare where the first key is the colour of half the
// picture.
template <int32_t kKeyBytes>
inline void LongestMatchFinder::Hop(const HashChain<kKeyBytes>& chain, Search& search,
                                    int32_t passed) {
  constexpr int32_t kKeys = 2;
  for (int32_t i = 0; i < kKeys; ++i) {
    const int32_t offset = search.best - (kKeyBytes - 1) - i;
    if (offset <= 0) return;
    const uint32_t place = search.place + static_cast<uint32_t>(offset);
    int32_t next = chain.Next(place, 0);
    if (next <= passed) next = chain.Next(place, next);
    if (next > search.distance) {
      search.distance = next;
      search.offset = offset;
    }
  }
}

// Takes the candidate as the best, or a longer one in the same run of pixels. If the position
// stands in a run and the candidate's run ends earlier, each candidate one period further back
// matches a period more, until it reaches as far as the position's run.
void LongestMatchFinder::Improve(Search& search, int32_t length) {
  constexpr int32_t kPixelBytes = PixelRuns::kPixelBytes;
  const uint8_t* const here = search.query.here;
  if (length < search.maxLength &&
      Core::LoadLittle64(here) == Core::LoadLittle64(here + kPixelBytes)) {
    const int32_t run = PixelRuns::After(here, search.maxLength - kPixelBytes) + kPixelBytes;
    if (run > length) {
      const int32_t period = PixelRuns::PeriodOf(Core::LoadLittle32(here));
      const int32_t wanted = (run - length + period - 1) / period * period;
      const int32_t maxStep = std::min(wanted, search.query.maxDistance - search.distance);
      search.distance += PixelRuns::Before(here - search.distance, maxStep) / period * period;
      length = CommonLength(here - search.distance, here, 4, search.maxLength);
    }
  }
  search.best = length;
  search.match = {search.distance, length};
}

// The distance of the next candidate that can be better, after one in the middle of a run of
// pixels.
//
// Let the followed key lie in a run both at the position and at the candidate. A step of i bytes
// back along the chain shifts the candidate's run by i against the position's. Where the position's
// run begins or ends within the first best + 1 bytes, the run of a longer match must begin or end
// at the same byte; where it does not end within them, the match's run must not either. So one step
// can lead to a longer match, or the smallest of several, or none, and every candidate passed
// fails.
template <int32_t kKeyBytes>
int32_t LongestMatchFinder::PassRun(const HashChain<kKeyBytes>& chain, const Search& search,
                                    int32_t distance) {
  constexpr int32_t kPixelBytes = PixelRuns::kPixelBytes;
  const int32_t offset = search.offset;
  const uint8_t* const here = search.query.here + offset;
  const uint8_t* const there = here - distance;
  if (CommonLength(there, here, 0, kKeyBytes) < kKeyBytes ||
      PixelRuns::After(here, kKeyBytes - kPixelBytes) < kKeyBytes - kPixelBytes) {
    return chain.Next(search.KeyPlace(), distance);  // another key of the bucket, or no run here
  }
  const int32_t wantedAfter = search.best + 1 - offset - kPixelBytes;
  const int32_t hereAfter = PixelRuns::After(here, wantedAfter);
  const int32_t thereAfter = PixelRuns::After(there, wantedAfter);
  const int32_t hereBefore = PixelRuns::Before(here, offset);
  const int32_t thereBefore =
      PixelRuns::Before(there, search.query.maxDistance - distance + hereBefore);

  const int32_t period = PixelRuns::PeriodOf(Core::LoadLittle32(here));
  const int32_t minStep = std::max(hereAfter - thereAfter, 1);
  const int32_t maxStep = thereBefore - hereBefore;
  const int32_t step = hereBefore < offset ? maxStep : (minStep + period - 1) / period * period;
  const bool isPossible = minStep <= step && step <= maxStep && step % period == 0 &&
                          (hereAfter == wantedAfter || step == hereAfter - thereAfter);
  if (isPossible) return distance + step;
  return chain.Next(search.KeyPlace(), distance + thereBefore / period * period);
}
