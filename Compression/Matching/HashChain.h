// Hash chains over keys of kKeyBytes bytes. Every place of the data has a link: how far back the
// next older place lies whose key falls into the same bucket. So a search can visit the places of a
// key from the newest to the oldest. Docs/MatchSearch.md draws such chains.
//
// A place is a position counted from the start of the data, modulo 2^16: nothing moves when the
// window slides. Links reach back kDeflateWindowSize bytes at most.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"
#include "Compression/Matching/PixelRuns.h"
#include "Core/Endian.h"

template <int32_t kKeyBytes>
class HashChain {
 public:
  static constexpr int32_t kMaxHashBits = kKeyBytes == 3 ? 15 : 16;

  // Empties the chains. `place` will be the first to be linked; the table gets 2^hashBits buckets,
  // or as many as it can have.
  void Reset(int32_t hashBits, uint32_t place) {
    hashShift_ = 32 - std::min(hashBits, kMaxHashBits);
    linked_ = place;
    freshUntil_ = place + kFreshFor;
    std::fill_n(heads_.begin(), BucketCount(), static_cast<uint16_t>(place - kTooFar));
  }

  // How far back from `place` the next older link lies, given the link at `distance` (0: start at
  // the newest); more than kDeflateWindowSize if there is none in reach. Places of other keys in
  // the same bucket appear too.
  int32_t Next(uint32_t place, int32_t distance) const {
    return distance + chain_[static_cast<uint16_t>(place - static_cast<uint32_t>(distance))] + 1;
  }

  // The same as Next(place, 0), also for the first place that is not linked yet. `bytes` are those
  // at the place.
  int32_t Newest(uint32_t place, const uint8_t* bytes) const {
    return place == linked_ ? Link16(place, heads_[Bucket(bytes)]) + 1 : Next(place, 0);
  }

 private:
  template <int32_t kLongest, int32_t... kOthers>
  friend void LinkPlaces(const uint8_t* bytes, uint32_t start, uint32_t end,
                         HashChain<kLongest>& longest, HashChain<kOthers>&... others);

  static constexpr int32_t kPlaces = 65536;

  // A head this far back is out of reach for every later place. It stays so for the next kFreshFor
  // places; then RefreshHeads runs again, before it could be mistaken for a new one.
  static constexpr uint32_t kTooFar = kDeflateWindowSize + 1;
  static constexpr uint32_t kFreshFor = kPlaces - 1 - kTooFar;

  int32_t BucketCount() const { return 1 << (32 - hashShift_); }

  // Multiplicative hashing (Knuth, The Art of Computer Programming, volume 3, section 6.4).
  uint32_t Bucket(const uint8_t* bytes) const {
    uint32_t key = 0;
    if constexpr (kKeyBytes == 3) {
      key = Core::LoadLittle32(bytes) << 8;
    } else if constexpr (kKeyBytes == 4) {
      key = Core::LoadLittle32(bytes);
    } else {
      uint64_t words = 0;
      for (int32_t i = 0; i < kKeyBytes; i += 8) {
        words = (words + Core::LoadLittle64(bytes + i)) * 0x9E3779B97F4A7C15;
      }
      key = static_cast<uint32_t>(words >> 32);
    }
    return key * 0x9E3779B1 >> hashShift_;
  }

  // A link holds a distance less one; kDeflateWindowSize or more is out of reach.
  static uint16_t Link16(uint32_t place, uint16_t head) {
    return static_cast<uint16_t>(place - head - 1);
  }

  void Insert(uint32_t place, const uint8_t* bytes) {
    uint16_t& head = heads_[Bucket(bytes)];
    chain_[static_cast<uint16_t>(place)] = Link16(place, head);
    head = static_cast<uint16_t>(place);
  }

  void RefreshHeads();
  bool AreApart(const uint8_t* bytes, int32_t period) const;
  void InsertRun(uint32_t place, const uint8_t* bytes, int32_t count, int32_t period);

  int32_t hashShift_;
  uint32_t linked_;      // the first place not linked yet
  uint32_t freshUntil_;  // the place at which RefreshHeads is due
  std::array<uint16_t, std::size_t{1} << kMaxHashBits> heads_;  // newest place of each bucket
  std::array<uint16_t, kPlaces> chain_;
};

// Links the places of several chains, as far as the data, which ends at place `end`, holds a whole
// key of the first chain, which has the longest keys. `bytes` are those at place `start`, at or
// before the first place not linked yet. Chains linked together once are always linked together.
template <int32_t kLongest, int32_t... kOthers>
void LinkPlaces(const uint8_t* bytes, uint32_t start, uint32_t end, HashChain<kLongest>& longest,
                HashChain<kOthers>&... others) {
  constexpr int32_t kStride = 8;   // places between two tests for a run
  constexpr int32_t kMinRun = 16;  // places; a shorter run is linked place by place
  constexpr int32_t kPixelBytes = PixelRuns::kPixelBytes;
  const int32_t last = static_cast<int32_t>(end - start) - kLongest + 1;
  for (int32_t i = static_cast<int32_t>(longest.linked_ - start); i < last;) {
    if (longest.linked_ == longest.freshUntil_) {
      longest.RefreshHeads();
      (others.RefreshHeads(), ...);
    }
    const int32_t stop = std::min(last, static_cast<int32_t>(longest.freshUntil_ - start));
    while (i < stop) {
      if (i >= kPixelBytes &&
          Core::LoadLittle64(bytes + i - kPixelBytes) == Core::LoadLittle64(bytes + i)) {
        const int32_t run = PixelRuns::After(bytes + i - kPixelBytes, stop - i + kLongest - 1);
        const int32_t count = run - kLongest + 1;
        const int32_t period = PixelRuns::PeriodOf(Core::LoadLittle32(bytes + i));
        if (count >= kMinRun && longest.AreApart(bytes + i, period) &&
            (others.AreApart(bytes + i, period) && ...)) {
          const uint32_t place = start + static_cast<uint32_t>(i);
          longest.InsertRun(place, bytes + i, count, period);
          (others.InsertRun(place, bytes + i, count, period), ...);
          i += count;
          continue;
        }
      }
      for (const int32_t strideEnd = std::min(i + kStride, stop); i < strideEnd; ++i) {
        const uint32_t place = start + static_cast<uint32_t>(i);
        longest.Insert(place, bytes + i);
        (others.Insert(place, bytes + i), ...);
      }
    }
    longest.linked_ = start + static_cast<uint32_t>(stop);
    ((others.linked_ = longest.linked_), ...);
  }
}

// Keeps heads that are out of reach out of reach: places repeat modulo 2^16, so an old head would
// seem near and lead into the chain of another bucket, a walk for nothing. The step is a
// subtraction with saturation, which compilers make of eight heads at once; for a head in reach it
// is 0.
template <int32_t kKeyBytes>
void HashChain<kKeyBytes>::RefreshHeads() {
  const uint16_t now = static_cast<uint16_t>(linked_);
  const auto refreshed = [now](uint16_t head) {
    const uint16_t age = static_cast<uint16_t>(now - head);
    return static_cast<uint16_t>(head + (age > kTooFar ? age - kTooFar : 0));
  };
  std::transform(heads_.begin(), heads_.begin() + BucketCount(), heads_.begin(), refreshed);
  freshUntil_ = linked_ + kFreshFor;
}

// True when the keys of the first `period` places fall into different buckets.
template <int32_t kKeyBytes>
bool HashChain<kKeyBytes>::AreApart(const uint8_t* bytes, int32_t period) const {
  uint32_t buckets[PixelRuns::kPixelBytes];
  for (int32_t i = 0; i < period; ++i) {
    buckets[i] = Bucket(bytes + i);
    if (std::find(buckets, buckets + i, buckets[i]) != buckets + i) return false;
  }
  return true;
}

// Links `count` places in a run of one pixel that begins before them: the newest place of each key
// is one period back. Requires: AreApart. Otherwise two keys of the run share a bucket, whose links
// must visit the places of both.
template <int32_t kKeyBytes>
void HashChain<kKeyBytes>::InsertRun(uint32_t place, const uint8_t* bytes, int32_t count,
                                     int32_t period) {
  const uint16_t first = static_cast<uint16_t>(place);
  const uint16_t link = static_cast<uint16_t>(period - 1);
  const int32_t beforeWrap = std::min(count, kPlaces - first);
  std::fill_n(chain_.begin() + first, beforeWrap, link);
  std::fill_n(chain_.begin(), count - beforeWrap, link);
  for (int32_t i = count - period; i < count; ++i) {
    heads_[Bucket(bytes + i)] = static_cast<uint16_t>(first + i);
  }
}
