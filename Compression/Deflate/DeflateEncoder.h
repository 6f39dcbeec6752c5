// Compresses a stream into a raw deflate stream (RFC 1951): fill the window, parse it into tokens,
// write a block when the token buffer is full, slide, repeat.
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

// About 1 MB, of which small data touches little, and 0.8 MB more while data is dense; create it
// with new (std::nothrow).
class DeflateEncoder {
 public:
  static constexpr int32_t kBestLevel = 9;

  // No streams: Compress fails.
  // Its tables are left as they are until the finder is reset: clearing them costs time.
  // cppcheck-suppress uninitMemberVar
  DeflateEncoder() = default;

  // Reads `source` and writes to `destination`; both must outlive the encoder. Above level 8 the
  // parser is lazy: it takes a match only if the next position has no longer one. At 8 and below
  // it takes the first match found. Only the low byte of `level` counts.
  DeflateEncoder(Core::Stream& source, Core::Stream& destination, int32_t level);

  // Compresses everything, to be called once. False: the destination refused bytes, the source
  // could not be read at all, or there is no memory; the destination then holds a part of a stream.
  //
  // Deliberate: a source that fails after some data ends the data, less the bytes that the -1 of
  // the failed read takes off the count, and the result may be true; and so does a source whose
  // reads leave 258 bytes or fewer to parse, the last one or not.
  [[nodiscard]] bool Compress();

  // For what follows the deflate data, such as the checksum of a zlib stream.
  BitWriter& Writer() { return writer_; }

  // For statistics.
  uint64_t BytesRead() const { return bytesRead_; }
  const BlockWriter& Blocks() const { return blocks_; }

 private:
  // A match whose first byte is parsed and whose worth the next position decides.
  struct PendingMatch {
    bool isPending;
    uint8_t literal;  // the byte at its start, should a longer match displace it
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
  std::unique_ptr<MatchFinder> plainFinder_;  // of a parser that is not lazy

  // In this order, what little data touches lies on few pages.
  BitWriter writer_;
  BlockWriter blocks_{writer_};
  TokenBuffer tokens_;
  DeflateWindow window_;
  LongestMatchFinder longestFinder_;  // of a lazy parser
};
