// What both match finders share: the walk along a hash chain whose results all others have to give.
#pragma once

#include <cstdint>

#include "Compression/Matching/CommonLength.h"
#include "Core/Endian.h"

struct Match {
  int32_t distance;
  int32_t length;
};

// The position of a search and its limits. At least `maxLength` bytes of data follow `here`, and at
// least `maxDistance` precede it.
struct MatchQuery {
  const uint8_t* here;
  int32_t maxDistance;
  int32_t maxLength;
};

namespace MatchWalk {

constexpr int32_t kPeriod = 3;  // of the runs that are skipped in one step

// The number of bytes, in whole periods, in which the three bytes at a place are repeated right
// after it. Counts a period while more than two of maxLength bytes are left, so the last one may
// reach past the data.
int32_t PeriodicRun(const uint8_t* here, int32_t maxLength);

// True when a run skip can pass the nearest of the longest matches: the run at the position is as
// long as the longest match allowed, so several places match in full. Otherwise every skipped place
// matches fewer bytes than the one from which the walk goes on.
inline bool SkipsFurther(const MatchQuery& query) {
  return ((Core::LoadLittle32(query.here) ^ Core::LoadLittle32(query.here + kPeriod)) & 0xFFFFFF) ==
             0 &&
         kPeriod + PeriodicRun(query.here, query.maxLength) > query.maxLength;
}

// The distance of the start of the run of three bytes that the candidate at `distance` lies in, but
// at most as many periods further back as the position has: `extraRun` bytes. No candidate inside a
// run has a longer match than the start, so a walk goes on from the start.
int32_t RunStart(const MatchQuery& query, int32_t distance, int32_t extraRun);

// Follows a chain from the candidate at `distance` on: `next(d)` is the distance of the next older
// candidate after the one at d, or more than kDeflateWindowSize. Returns the nearest of the longest
// matches, apart from skipped runs; length 0 if there is none.
//
// The number of steps has no limit: the walk ends with the chain, beyond maxDistance, or at a match
// of full length. It spends time to find the longest match.
template <typename Next>
Match Walk(const MatchQuery& query, int32_t distance, const Next& next) {
  const uint8_t* const here = query.here;
  const int32_t extraRun = PeriodicRun(here, query.maxLength);
  Match best = {0, 0};
  const auto measure = [&](int32_t at) {
    const uint8_t* const there = here - at;
    if (there[best.length] != here[best.length] || there[0] != here[0]) return 0;
    return CommonLength(there, here, 1, query.maxLength);
  };
  for (; distance <= query.maxDistance; distance = next(distance)) {
    int32_t length = measure(distance);
    if (length == kPeriod && extraRun > 0) {
      const int32_t start = RunStart(query, distance, extraRun);
      if (start != distance) {
        distance = start;
        length = measure(distance);
      }
    }
    if (length > best.length) {
      best = {distance, length};
      if (length >= query.maxLength) break;
    }
  }
  return best;
}

}  // namespace MatchWalk
