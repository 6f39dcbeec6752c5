#include "Compression/Matching/MatchWalk.h"

#include <cstring>

namespace MatchWalk {

int32_t PeriodicRun(const uint8_t* here, int32_t maxLength) {
  int32_t run = kPeriod;
  for (int32_t budget = maxLength; budget >= kPeriod; budget -= kPeriod) {
    if (std::memcmp(here + run, here, kPeriod) != 0) break;
    run += kPeriod;
  }
  return run - kPeriod;
}

// Deliberate: the bound on the distance is odd and stays: another bound would find other matches.
int32_t RunStart(const MatchQuery& query, int32_t distance, int32_t extraRun) {
  const int32_t bound = query.maxDistance - distance - kPeriod;
  int32_t start = distance;
  for (int32_t steps = extraRun / kPeriod; steps > 0; --steps) {
    const int32_t earlier = start + kPeriod;
    if (earlier > bound || std::memcmp(query.here - earlier, query.here, kPeriod) != 0) break;
    start = earlier;
  }
  return start;
}

}  // namespace MatchWalk
