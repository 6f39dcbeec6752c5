// Compresses a stream into a raw deflate stream (RFC 1951): fills the window, parses it into
// tokens, writes a block when the token buffer is full, slides the window, repeats.
#pragma once

#include <cstdint>
#include <memory>

#include "Compression/Deflate/BitWriter.h"
#include "Compression/Deflate/BlockWriter.h"
#include "Compression/Deflate/TokenBuffer.h"
#include "Compression/Matching/DeflateWindow.h"
#include "Compression/Matching/LongestMatchFinder.h"
#include "Compression/Matching/MatchFinder.h"
#include "Core/Stream.h"

// About 1 MB, of which small data touches little, and 0.8 MB more while data is dense
// (LongestMatchFinder). Create it with new (std::nothrow).
class DeflateEncoder {
 public:
  static constexpr int32_t kBestLevel = 9;

  // Without streams Compress fails. The tables stay uninitialised until the finder is reset.
  // cppcheck-suppress uninitMemberVar
  DeflateEncoder() = default;

  // Reads `source` and writes to `destination`; both must outlive the encoder. Above level 8 the
  // parser is lazy: it takes a match only if the next position has no longer one. At 8 and below
  // it takes the first match found. Only the low byte of `level` counts.
  DeflateEncoder(Core::Stream& source, Core::Stream& destination, int32_t level);

  // Compresses everything. False: the destination refused bytes, the source could not be read at
  // all, or there is no memory; the destination then holds a part of a stream. A second call is
  // false too and writes nothing.
  //
  // Deliberate: a source that fails after some data ends the data. The -1 of the failed read is
  // added to the count, so the last byte is lost, and the result may be true. A read that leaves
  // 258 bytes or fewer to parse also ends the data, even if more would follow.
  [[nodiscard]] bool Compress();

  // For data after the deflate stream, such as the checksum of a zlib stream.
  BitWriter& Writer() { return writer_; }

  // For statistics.
  uint64_t BytesRead() const { return bytesRead_; }
  const BlockWriter& Blocks() const { return blocks_; }

 private:
  // A match whose first byte is parsed. The search at the next position decides whether it is
  // taken.
  struct PendingMatch {
    bool isPending;
    uint8_t literal;  // its first byte, for the case that a longer match replaces it
    Match match;
  };

  [[nodiscard]] bool ResetFinder(int32_t bytesRead);
  [[nodiscard]] bool Parse(int32_t& count, int32_t reserve);
  int32_t Step(int32_t lookahead);
  bool FindMatch(int32_t lookahead, Match& match);
  int32_t TakePending();
  void AppendPending();
  bool IsLazy() const { return static_cast<uint8_t>(level_) > kBestLevel - 1; }
  [[nodiscard]] bool FlushBlock(FinalBlock final);

  Core::Stream* source_ = nullptr;
  int32_t level_ = kBestLevel;
  PendingMatch pending_{};
  uint64_t bytesRead_ = 0;
  bool isStarted_ = false;
  std::unique_ptr<MatchFinder> plainFinder_;  // for a parser that is not lazy

  // In this order the memory that small data touches lies on few pages.
  BitWriter writer_;
  BlockWriter blocks_{writer_};
  TokenBuffer tokens_;
  DeflateWindow window_;
  LongestMatchFinder longestFinder_;  // for a lazy parser
};
