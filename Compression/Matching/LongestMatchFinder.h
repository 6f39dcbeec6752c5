// The search for the longest match among all places in reach, for a parser that links every place.
// It finds what the plain walk along three-byte chains finds, but visits fewer candidates.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Compression/Matching/DeflateWindow.h"
#include "Compression/Matching/HashChain.h"
#include "Compression/Matching/MatchWalk.h"

// A match of n bytes stands on the chains of all keys inside it. So the search takes the chains of
// the longest keys first, which have the fewest places, and follows the key that leads furthest.
// Where the order of the plain walk decides the result (MatchWalk::SkipsFurther), it makes that
// walk. Docs/MatchSearch.md works out an example.
//
// Data is dense when the searches since the last fill of the window have visited many candidates.
// Then chains of longer keys are linked too, for a while.
class LongestMatchFinder {
 public:
  static constexpr int32_t kLongMatch = 4;  // matches from this length on are found by FindLong

  // Empties the chains. Call it first, with the number of bytes of the first read, to which the
  // tables are sized.
  void Reset(int32_t bytesRead);

  // Links all places of the data, which ends at `end`. Call it after each fill of the window.
  void Link(const DeflateWindow& window, int32_t end);

  // Finds the longest match for the bytes at the window's position: longer than `pendingLength`, at
  // most `maxLength` (at most 258) bytes long and at most `maxDistance` back; of equal ones the
  // nearest, apart from skipped runs (MatchWalk). False: there is none.
  // Requires: maxDistance <= position, maxLength bytes of linked data at the position.
  bool FindMatch(const DeflateWindow& window, int32_t maxDistance, int32_t maxLength,
                 int32_t pendingLength, Match& match);

  // True when no place in reach can match at the window's position: a fast test that holds for most
  // bytes of data that hardly repeats. Requires: kLongMatch bytes of linked data there.
  bool IsNew(const DeflateWindow& window) const {
    const uint32_t place = base_ + static_cast<uint32_t>(window.Position());
    return threes_.Next(place, 0) > std::min(window.Position(), DeflateWindow::kHistoryBytes);
  }

  // The window has moved down by `shift`.
  void Slide(int32_t shift) { base_ += static_cast<uint32_t>(shift); }

 private:
  static constexpr int32_t kMinHashBits = 8;

  // Data with more candidates in one fill, three a byte, is dense.
  static constexpr int32_t kMaxPlainCandidates = 3 * DeflateWindow::kHistoryBytes;

  struct DenseChains {
    HashChain<8> eights;
    HashChain<16> sixteens;
    HashChain<48> fortyEights;
  };

  // A search for a match of more than `best` and at most `maxLength` bytes.
  struct Search {
    MatchQuery query;
    uint32_t place;  // of query.here
    int32_t best;
    int32_t maxLength;
    int32_t distance = 0;  // of the candidate
    int32_t offset = 0;    // of the key whose chain is followed, from the position
    Match match = {0, 0};  // the best so far

    uint32_t KeyPlace() const { return place + static_cast<uint32_t>(offset); }
  };

  void LinkDense(const DeflateWindow& window);
  void TurnDense(const DeflateWindow& window);
  int32_t NearestOfFour(const MatchQuery& query, uint32_t place) const;
  bool FindDense(Search& search);
  bool WalkPlainly(const MatchQuery& query, int32_t nearest, uint32_t place, int32_t pendingLength,
                   Match& match) const;
  bool FindThree(const MatchQuery& query, uint32_t place, Match& match) const;
  template <int32_t kKeyBytes>
  bool FindLong(const HashChain<kKeyBytes>& chain, Search& search);
  template <int32_t kKeyBytes>
  int32_t FindLonger(const HashChain<kKeyBytes>& chain, Search& search);
  template <int32_t kKeyBytes>
  static void Hop(const HashChain<kKeyBytes>& chain, Search& search, int32_t passed);
  template <int32_t kKeyBytes>
  static int32_t PassRun(const HashChain<kKeyBytes>& chain, const Search& search, int32_t distance);
  static void Improve(Search& search, int32_t length);

  uint32_t base_ = 0;  // place of the window's first byte
  int32_t hashBits_ = 0;
  int32_t end_ = 0;         // of the data in the window
  int32_t candidates_ = 0;  // visited since the last fill
  int32_t denseFills_ = 0;  // fills for which the dense chains are still linked
  HashChain<3> threes_;
  HashChain<4> fours_;
  std::unique_ptr<DenseChains> dense_;  // null until needed, and when there is no memory for it
};
