// The search for the longest match among all places in reach, for a parser that inserts every
// place: what the plain walk along three-byte chains finds, found with fewer looks.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "Compression/Matching/DeflateWindow.h"
#include "Compression/Matching/HashChain.h"
#include "Compression/Matching/MatchWalk.h"

// A match of n bytes stands on the chains of all keys inside it. So it is looked for on those of
// the longest keys first, where few places are, and on each chain the walk goes on along the key
// that takes it furthest. Where the order of the plain walk decides the result
// (MatchWalk::SkipsFurther), that walk is made.
class LongestMatchFinder {
 public:
  static constexpr int32_t kLongKey = 4;  // from here on, a match is looked for by FindLong

  // To be called first, with the number of bytes read first, which chooses the size of the tables.
  void Reset(int32_t bytesRead);

  // Links all places in data that ends at `end`. To be called after each fill of the window.
  void Link(const DeflateWindow& window, int32_t end);

  // The longest match for the bytes at the window's position that is longer than `atLeast`, at most
  // `maxLength` (at most 258) long and `maxDistance` back; of equal ones the nearest, but for
  // skipped runs (MatchWalk). False: there is none.
  // Requires: maxDistance <= position, maxLength bytes of linked data at the position.
  bool FindMatch(const DeflateWindow& window, int32_t maxDistance, int32_t maxLength,
                 int32_t atLeast, Match& match);

  // Whether no earlier place in reach can match at the window's position: a quick no to most bytes
  // of what hardly repeats. Requires: kLongKey bytes of linked data there.
  bool IsNew(const DeflateWindow& window) const {
    const uint32_t place = base_ + static_cast<uint32_t>(window.Position());
    return threes_.Next(place, 0) > std::min(window.Position(), DeflateWindow::kHistoryBytes);
  }

  // The window has moved down by `shift`.
  void Slide(int32_t shift) { base_ += static_cast<uint32_t>(shift); }

 private:
  static constexpr int32_t kMinHashBits = 8;

  struct DeepChains {
    HashChain<8> eights;
    HashChain<16> sixteens;
    HashChain<32> thirtyTwos;
  };

  // A search for a match of more than `best` and at most `most` bytes.
  struct Search {
    MatchQuery query;
    uint32_t place;  // of query.here
    int32_t best;
    int32_t most;
    int32_t distance = 0;  // of the candidate
    int32_t offset = 0;    // of the key whose chain is followed
    Match match = {0, 0};  // the best so far
  };

  void LinkDeep(const DeflateWindow& window, int32_t end);
  int32_t NearestLong(const MatchQuery& query, uint32_t place, int32_t offset) const;
  bool FindAny(const MatchQuery& query, uint32_t place, int32_t nearest, int32_t atLeast,
               Match& match);
  bool FindDeep(Search& search);
  bool WalkPlainly(const MatchQuery& query, uint32_t place, int32_t nearest, int32_t atLeast,
                   Match& match) const;
  bool FindShort(const MatchQuery& query, uint32_t place, Match& match) const;
  template <int32_t kKeyBytes>
  bool FindLong(const HashChain<kKeyBytes>& chain, Search& search);
  template <int32_t kKeyBytes>
  static void Hop(const HashChain<kKeyBytes>& chain, Search& search, int32_t passed);
  template <int32_t kKeyBytes>
  static int32_t PassRun(const HashChain<kKeyBytes>& chain, const Search& search, int32_t distance);
  static void Improve(Search& search, int32_t length);

  uint32_t base_ = 0;  // place of the window's first byte
  int32_t hashBits_ = 0;
  int32_t looks_ = 0;      // at candidates since the last fill
  int32_t deepFills_ = 0;  // for which the chains of deep keys are kept
  HashChain<3> threes_;
  HashChain<kLongKey> fours_;
  std::unique_ptr<DeepChains> deep_;  // null until needed, and without memory for it
};
