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
  LinkPlaces(window.Bytes(), base_, base_ + static_cast<uint32_t>(end), fours_, threes_);
  LinkDeep(window, end);
}

// Linking the long keys costs more than all the rest for most data, and saves nearly all the time
// for noise of few colours, where a key of four bytes stands everywhere. So it is done for a while
// when the search has had to look at many places, and then has to show anew that it is needed.
void LongestMatchFinder::LinkDeep(const DeflateWindow& window, int32_t end) {
  constexpr int32_t kDenseLooks = 6;  // per byte
  constexpr int32_t kDeepFills = 16;
  const bool isDense = looks_ > kDenseLooks * DeflateWindow::kHistoryBytes;
  looks_ = 0;
  if (deepFills_ > 0) {
    --deepFills_;
  } else if (isDense) {
    if (deep_ == nullptr) deep_.reset(new (std::nothrow) DeepChains);
    if (deep_ == nullptr) return;
    deepFills_ = kDeepFills;
    deep_->eights.Reset(hashBits_, base_);
    deep_->sixteens.Reset(hashBits_, base_);
    deep_->thirtyTwos.Reset(hashBits_, base_);
  }
  if (deepFills_ == 0) return;
  const uint32_t endPlace = base_ + static_cast<uint32_t>(end);
  LinkPlaces(window.Bytes(), base_, endPlace, deep_->eights);
  LinkPlaces(window.Bytes(), base_, endPlace, deep_->sixteens);
  LinkPlaces(window.Bytes(), base_, endPlace, deep_->thirtyTwos);
}

bool LongestMatchFinder::FindMatch(const DeflateWindow& window, int32_t maxDistance,
                                   int32_t maxLength, int32_t atLeast, Match& match) {
  const MatchQuery query = {window.Here(), maxDistance, maxLength};
  const uint32_t place = base_ + static_cast<uint32_t>(window.Position());
  if (maxLength < kLongKey) {
    // The last places have no key of four bytes, and the very last ones no link.
    return maxLength >= kMinMatchLength &&
           WalkPlainly(query, place, threes_.Newest(place, query.here), atLeast, match);
  }
  const int32_t nearest = NearestLong(query, place, 0);
  if (nearest > maxDistance) {
    // Nor can the plain walk skip a run: what it would find in it has four bytes of the key.
    return atLeast < kMinMatchLength && FindShort(query, place, match);
  }
  // With a match pending, most searches end here: the key that ends one byte behind it is new.
  if (atLeast >= kLongKey &&
      (atLeast >= maxLength || NearestLong(query, place, atLeast - (kLongKey - 1)) > maxDistance)) {
    return false;
  }
  return FindAny(query, place, nearest, atLeast, match);
}

// The distance of the nearest place of the key of four bytes at `offset`.
inline int32_t LongestMatchFinder::NearestLong(const MatchQuery& query, uint32_t place,
                                               int32_t offset) const {
  const uint8_t* const here = query.here + offset;
  place += static_cast<uint32_t>(offset);
  const uint32_t key = Core::LoadLittle32(here);
  int32_t distance = fours_.Next(place, 0);
  while (distance <= query.maxDistance && Core::LoadLittle32(here - distance) != key) {
    distance = fours_.Next(place, distance);
  }
  return distance;
}

bool LongestMatchFinder::FindAny(const MatchQuery& query, uint32_t place, int32_t nearest,
                                 int32_t atLeast, Match& match) {
  // Inside a run the pixel before matches in full, and nothing nearer does. Where the plain walk
  // skips runs it begins there as well: bytes that repeat after three and after four are all alike.
  if (nearest <= PixelRuns::kPixelBytes &&
      CommonLength(query.here - nearest, query.here, 0, query.maxLength) == query.maxLength) {
    match = {nearest, query.maxLength};
    return true;
  }
  if (MatchWalk::SkipsFurther(query)) {
    return WalkPlainly(query, place, threes_.Next(place, 0), atLeast, match);
  }
  Search search = {query, place, std::max(atLeast, kMinMatchLength), query.maxLength};
  if ((deepFills_ > 0 && FindDeep(search)) || FindLong(fours_, search)) {
    match = search.match;
    return true;
  }
  return atLeast < kMinMatchLength && FindShort(query, place, match);
}

bool LongestMatchFinder::FindDeep(Search& search) {
  return FindLong(deep_->thirtyTwos, search) || FindLong(deep_->sixteens, search) ||
         FindLong(deep_->eights, search);
}

// Makes the plain walk from the candidate at `nearest` on.
bool LongestMatchFinder::WalkPlainly(const MatchQuery& query, uint32_t place, int32_t nearest,
                                     int32_t atLeast, Match& match) const {
  match = MatchWalk::Walk(
      query, nearest, [place, this](int32_t distance) { return threes_.Next(place, distance); });
  return match.length > std::max(atLeast, kMinMatchLength - 1);
}

// The nearest match of three bytes.
bool LongestMatchFinder::FindShort(const MatchQuery& query, uint32_t place, Match& match) const {
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

// The longest match of kKeyBytes and more, by the chains of such keys inside it. If there is none,
// matches are shorter than a key.
//
// A match of more than `best` bytes agrees with the position in its first best + 1 bytes, so it
// stands on the chain of every key within them, and each of these chains may be followed. Chains
// lead from near to far, and only a longer match replaces another, so the nearest of the longest
// wins.
template <int32_t kKeyBytes>
bool LongestMatchFinder::FindLong(const HashChain<kKeyBytes>& chain, Search& search) {
  const int32_t atLeast = search.best;
  if (std::max(atLeast, kKeyBytes - 1) >= search.most) return false;
  search.best = std::max(atLeast, kKeyBytes - 1);
  const uint8_t* const here = search.query.here;
  const int32_t maxDistance = search.query.maxDistance;
  const uint32_t first = Core::LoadLittle32(here);
  int32_t looks = 0;
  search.offset = 0;
  search.distance = chain.Next(search.place, 0);
  Hop(chain, search, 0);
  while (search.distance <= maxDistance) {
    const uint32_t place = search.place + static_cast<uint32_t>(search.offset);
    const uint8_t* const keyHere = here + search.offset;
    const uint8_t* const lastHere = here + search.best - 3;
    const uint32_t last = Core::LoadLittle32(lastHere);
    int32_t distance = search.distance;
    int32_t length = 0;
    for (;; ++looks) {
      const int32_t next = chain.Next(place, distance);
      if (Core::LoadLittle32(lastHere - distance) == last &&
          Core::LoadLittle32(here - distance) == first) {
        length = CommonLength(here - distance, here, 4, search.most);
        if (length > search.best) break;
      }
      // One test of both, which is rarely true: each alone would often be, at random.
      const uint8_t* const key = keyHere - distance;
      const bool isInRun = (next - distance <= PixelRuns::kPixelBytes) &
                           (Core::LoadLittle64(key - 8) == Core::LoadLittle64(key - 4));
      distance = isInRun ? PassRun(chain, search, distance) : next;
      if (distance > maxDistance) break;
    }
    search.distance = distance;
    if (distance > maxDistance) break;
    Improve(search, length);
    if (search.best >= search.most) break;
    const int32_t passed = search.distance;
    search.distance = chain.Next(place, passed);
    Hop(chain, search, passed);
  }
  looks_ += looks;
  if (search.match.length > 0) return true;
  search.best = atLeast;
  search.most = std::max(atLeast, kKeyBytes - 1);
  return false;
}

// Goes on to the furthest of the next candidates behind `passed` that this chain and those of the
// last keys in the first best + 1 bytes offer. The last ones hold the byte at which the best match
// failed: often they are rare where the first key is the colour of half the picture.
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

// Takes the candidate for the best, or a longer one of the same run of pixels: where the position
// stands in a run and the candidate's ends before it does, the next candidates, a period further
// back each, match that much more, until they reach as far as the run.
void LongestMatchFinder::Improve(Search& search, int32_t length) {
  const uint8_t* const here = search.query.here;
  if (length < search.most &&
      Core::LoadLittle64(here) == Core::LoadLittle64(here + PixelRuns::kPixelBytes)) {
    const int32_t run =
        PixelRuns::Behind(here, search.most - PixelRuns::kPixelBytes) + PixelRuns::kPixelBytes;
    if (run > length) {
      const int32_t period = PixelRuns::PeriodOf(Core::LoadLittle32(here));
      const int32_t wanted = (run - length + period - 1) / period * period;
      const int32_t most = std::min(wanted, search.query.maxDistance - search.distance);
      search.distance += PixelRuns::Before(here - search.distance, most) / period * period;
      length = CommonLength(here - search.distance, here, 4, search.most);
    }
  }
  search.best = length;
  search.match = {search.distance, length};
}

// The next candidate worth a look behind one that failed in the midst of a run of pixels.
//
// Let the followed key lie in a run both at the position and at the candidate. A step of i bytes
// back along the chain moves the candidate's run by i against the position's. Where a run of the
// position begins or ends within the first best + 1 bytes, that of a longer match must begin or end
// at the same place; where it goes on, that of the match must too. So one step, or all from some
// step on, or none can lead to a longer match, and every candidate that is passed fails.
template <int32_t kKeyBytes>
int32_t LongestMatchFinder::PassRun(const HashChain<kKeyBytes>& chain, const Search& search,
                                    int32_t distance) {
  const int32_t offset = search.offset;
  const uint8_t* const here = search.query.here + offset;
  const uint8_t* const there = here - distance;
  const uint32_t place = search.place + static_cast<uint32_t>(offset);
  constexpr int32_t kPixelBytes = PixelRuns::kPixelBytes;
  if (CommonLength(there, here, 0, kKeyBytes) < kKeyBytes ||
      PixelRuns::Behind(here, kKeyBytes - kPixelBytes) < kKeyBytes - kPixelBytes) {
    return chain.Next(place, distance);  // another key of the same bucket, or no run here
  }
  const int32_t wantedBehind = search.best + 1 - offset - kPixelBytes;
  const int32_t hereBehind = PixelRuns::Behind(here, wantedBehind);
  const int32_t thereBehind = PixelRuns::Behind(there, wantedBehind);
  const int32_t hereBefore = PixelRuns::Before(here, offset);
  const int32_t mostBefore = search.query.maxDistance - distance + hereBefore;
  const int32_t thereBefore = PixelRuns::Before(there, mostBefore);

  const int32_t period = PixelRuns::PeriodOf(Core::LoadLittle32(here));
  const int32_t least = std::max(hereBehind - thereBehind, 1);
  const int32_t most = thereBefore - hereBefore;
  const int32_t step = hereBefore < offset ? most : (least + period - 1) / period * period;
  const bool isPossible = least <= step && step <= most && step % period == 0 &&
                          (hereBehind == wantedBehind || step == hereBehind - thereBehind);
  return isPossible ? distance + step : chain.Next(place, distance + thereBefore / period * period);
}
