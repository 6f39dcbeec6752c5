// What both match finders share: the walk along a hash chain whose results all others have to give.
#pragma once

#include <cstdint>

#include "Compression/Matching/CommonLength.h"
#include "Core/Endian.h"

struct Match {
  int32_t distance;
  int32_t length;
};

// Where a search stands and how far it may go. `here` has `maxLength` bytes of data behind it and
// at least `maxDistance` before it.
struct MatchQuery {
  const uint8_t* here;
  int32_t maxDistance;
  int32_t maxLength;
};

namespace MatchWalk {

constexpr int32_t kPeriod = 3;  // of the runs that are skipped in one step

// How many bytes, in whole periods, the three bytes at a place are repeated behind themselves.
// Counted in steps of three while more than two of maxLength bytes are left, so the last period may
// reach past the data.
int32_t PeriodicRun(const uint8_t* here, int32_t maxLength);

// Whether skipping a run can lead past the nearest of the longest matches: the run at the position
// reaches as far as the longest match allowed, so that several places match in full. Everywhere
// else the places that are skipped match for fewer bytes than the one that the walk goes on from.
inline bool SkipsFurther(const MatchQuery& query) {
  return ((Core::LoadLittle32(query.here) ^ Core::LoadLittle32(query.here + kPeriod)) & 0xFFFFFF) ==
             0 &&
         kPeriod + PeriodicRun(query.here, query.maxLength) > query.maxLength;
}

// The distance of the earliest place from which the three bytes at a candidate repeat up to it, at
// most as often as they repeat at the position, where `extraRun` bytes do. A candidate inside such
// a run matches no longer than its start does, so a walk goes on from there.
int32_t RunStart(const MatchQuery& query, int32_t distance, int32_t extraRun);

// Follows a chain from the candidate at `distance` on: `next` gives the distance of the next older
// one behind that at its argument, or more than kDeflateWindowSize. Of the longest matches the
// nearest, as far as runs are not skipped; of length 0 if there is none.
//
// The walk has no limit of steps: it ends with the chain, beyond maxDistance, or at a match of full
// length. The time is spent for the longest match.
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
