// The eight neighbours of one pixel under repair: the average of those that are known, and which of
// them are fresh, that is, still to be queued.
//
// While the repair runs, the word of a hidden pixel is a cell. Its own alpha is kept elsewhere and
// its old colour has no meaning, so the cell records the state of the pixel:
//
//   alpha 0     hidden, without a colour. Bit 0 is set once a neighbour has queued it. Bit 1 is set
//               on the border of the image, where not all eight neighbours exist. All other bits
//               are 0.
//   alpha > 0   known, a source for averages: a visible pixel, or a hidden one that has its colour.
#pragma once

#include <array>
#include <bit>
#include <cstdint>

#include "Image/Color.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

inline constexpr Pixel kFreshCell = 0;
inline constexpr Pixel kQueuedBit = 1;
inline constexpr Pixel kBorderBit = 2;
inline constexpr Pixel kKnownBits = ~kColorMask;  // any of them makes a cell known

constexpr bool IsKnown(Pixel cell) { return (cell & kKnownBits) != 0; }

inline constexpr int kNeighbours = 8;

// The index of each neighbour minus that of the pixel, row by row from the top left.
using Distances = std::array<int32_t, kNeighbours>;
constexpr Distances NeighbourDistances(int32_t width) {
  return {-width - 1, -width, -width + 1, -1, 1, width - 1, width, width + 1};
}

// Per channel, the known neighbours' sum div their count.
#if defined(__SSE2__)
using Average = __m128i;  // blue, green and red in 16 bits each; the other bits have no meaning
#else
using Average = Pixel;  // as a known cell
#endif
inline Pixel CellOf(Average average);  // a known cell

struct Surroundings {
  Average average;
  uint32_t fresh;  // bit k is set if neighbour k is fresh
};

// The neighbour at the distance `latest`, if there is one, is known and has the colour `color`; its
// word need not be stored yet, so it is not known there. It is mostly the pixel handled last, whose
// colour arrives earlier by a register than by memory.
// Requires: all eight neighbours exist, and one is known.
inline Surroundings LookAround(const Pixel* cell, const Distances& distances, int32_t latest,
                               Average color);

#if defined(__SSE2__)

inline Pixel CellOf(Average average) {
  const int word = _mm_cvtsi128_si32(_mm_packus_epi16(average, average));
  return static_cast<Pixel>(word) | kKnownBits;
}

// Division by a count of 1 to 8: sum * QuotientScale(count) >> 15.
constexpr uint32_t QuotientScale(uint32_t count) { return (32768 + count - 1) / count; }

constexpr bool QuotientsAreExact() {
  for (uint32_t count = 1; count <= kNeighbours; ++count) {
    for (uint32_t sum = 0; sum <= count * 255; ++sum) {
      if (sum * QuotientScale(count) >> 15 != sum / count) return false;
    }
  }
  return true;
}
static_assert(QuotientsAreExact(), "for every sum of up to eight bytes");

// For each set of unknown neighbours, the scale for the count of known ones, once per channel.
constexpr std::array<uint64_t, 1 << kNeighbours> MakeQuotientScales() {
  std::array<uint64_t, 1 << kNeighbours> scales{};
  for (uint32_t unknown = 0; unknown + 1 < scales.size(); ++unknown) {
    const uint32_t count = kNeighbours - static_cast<uint32_t>(std::popcount(unknown));
    scales[unknown] = uint64_t{QuotientScale(count)} * 0x0001000100010001;
  }
  return scales;
}
inline constexpr std::array<uint64_t, 1 << kNeighbours> kQuotientScales = MakeQuotientScales();

// Four neighbours, one in each lane.
class FourCells {
 public:
  FourCells(Pixel a, Pixel b, Pixel c, Pixel d)
      : cells_(_mm_unpacklo_epi64(_mm_unpacklo_epi32(Lane(a), Lane(b)),
                                  _mm_unpacklo_epi32(Lane(c), Lane(d)))) {}

  // All bits are set in the lanes of such cells.
  __m128i AreUnknown() const { return HaveNoneOf(kKnownBits); }
  __m128i AreFresh() const { return HaveNoneOf(kKnownBits | kQueuedBit); }

  // The sums of blue, green and red of the known cells among two, 16 bits each, in either half.
  __m128i Sums() const {
    const __m128i zero = _mm_setzero_si128();
    const __m128i known = _mm_andnot_si128(AreUnknown(), cells_);
    return _mm_add_epi16(_mm_unpacklo_epi8(known, zero), _mm_unpackhi_epi8(known, zero));
  }

 private:
  static __m128i Lane(Pixel cell) { return _mm_cvtsi32_si128(static_cast<int>(cell)); }
  __m128i HaveNoneOf(Pixel bits) const {
    const __m128i found = _mm_and_si128(cells_, _mm_set1_epi32(static_cast<int>(bits)));
    return _mm_cmpeq_epi32(found, _mm_setzero_si128());
  }

  __m128i cells_;
};

// Computes all channels and neighbours at once. The neighbours are loaded one by one: a neighbour
// was often stored a moment ago, and store forwarding serves a load of that word alone. A wider
// load would wait until the store has reached the cache.
inline Surroundings LookAround(const Pixel* cell, const Distances& distances, int32_t latest,
                               Average color) {
  const Pixel* const above = cell + distances[1];
  const Pixel* const below = cell + distances[6];
  const FourCells first(above[-1], above[0], above[1], cell[-1]);
  const FourCells second(cell[1], below[-1], below[0], below[1]);
  const __m128i* const four = reinterpret_cast<const __m128i*>(distances.data());
  const __m128i distance = _mm_set1_epi32(latest);
  const __m128i isLatest = _mm_packs_epi32(_mm_cmpeq_epi32(distance, _mm_loadu_si128(four)),
                                           _mm_cmpeq_epi32(distance, _mm_loadu_si128(four + 1)));
  const __m128i unknown = _mm_packs_epi32(first.AreUnknown(), second.AreUnknown());
  const __m128i fresh = _mm_packs_epi32(first.AreFresh(), second.AreFresh());
  const uint32_t bits = static_cast<uint32_t>(_mm_movemask_epi8(
      _mm_packs_epi16(_mm_andnot_si128(isLatest, unknown), _mm_andnot_si128(isLatest, fresh))));

  // The word of the latest pixel adds nothing. Its colour is added last: then only this sum and the
  // division wait for it.
  const __m128i halves = _mm_add_epi16(first.Sums(), second.Sums());
  const __m128i others = _mm_add_epi16(halves, _mm_unpackhi_epi64(halves, halves));
  const __m128i hasLatest = _mm_set1_epi32(-(_mm_movemask_epi8(isLatest) != 0));
  const __m128i sums = _mm_add_epi16(others, _mm_and_si128(hasLatest, color));
  // The upper 16 bits of a product with twice the sum are those of sum * scale >> 15. The alpha
  // lanes are computed too, and overwritten.
  const __m128i averages = _mm_mulhi_epu16(
      _mm_add_epi16(sums, sums),
      _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kQuotientScales[bits & 0xFF])));
  return {averages, bits >> kNeighbours};
}

#else

constexpr bool IsFresh(Pixel cell) { return (cell & (kKnownBits | kQueuedBit)) == 0; }

inline Pixel CellOf(Average average) { return average; }

inline Surroundings LookAround(const Pixel* cell, const Distances& distances, int32_t latest,
                               Average color) {
  Surroundings found = {kKnownBits, 0};
  uint32_t count = 0, red = 0, green = 0, blue = 0;
  for (int k = 0; k < kNeighbours; ++k) {
    const Pixel neighbour = distances[k] == latest ? color : cell[distances[k]];
    if (IsFresh(neighbour)) found.fresh |= uint32_t{1} << k;
    if (!IsKnown(neighbour)) continue;
    ++count;
    red += RedOf(neighbour);
    green += GreenOf(neighbour);
    blue += BlueOf(neighbour);
  }
  found.average |= red / count << 16 | green / count << 8 | blue / count;
  return found;
}

#endif
