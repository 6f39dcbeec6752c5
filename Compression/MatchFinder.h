// The input window of the encoder and its search for repeated bytes: hash chains over three-byte
// keys, each chain a list of backward distances from the newest place to older ones.
//
// Positions are window indices. A history of 32 KiB stands before the position, the bytes not yet
// parsed behind it; Slide moves both down when the position has passed the middle.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/DeflateFormat.h"
#include "Core/Stream.h"

struct Match {
  int32_t distance;
  int32_t length;
};

class MatchFinder {
 public:
  static constexpr int32_t kWindowBytes = 65536;
  static constexpr int32_t kHistoryBytes = kDeflateWindowSize;

  MatchFinder();

  // Tops up the `available` bytes from the position on to kHistoryBytes with one Read of `source`.
  // The count read, or -1 when the source refused or is null.
  int32_t Fill(Core::Stream* source, int32_t available);

  // The longest match for the bytes at the position, at most `maxLength` (at most 258) long and
  // `maxDistance` back; of equal ones the nearest. Inserts the position into the chains unless
  // `maxLength` is below 3. False: no match of three bytes or more.
  // Requires: maxDistance <= position, maxLength bytes of data at the position.
  bool FindMatch(int32_t maxDistance, int32_t maxLength, Match& match);

  // Inserts a position, at most once, into the chains.
  void Insert(int32_t position);

  int32_t Position() const { return position_; }
  void Advance(int32_t count) { position_ += count; }
  uint8_t Current() const { return window_[position_]; }

  // Drops the history beyond kHistoryBytes when the position has passed the middle of the window.
  // `end` is the end of the data.
  void Slide(int32_t end);

  // All kWindowBytes of it.
  const uint8_t* Window() const { return window_.data(); }

 private:
  static constexpr int32_t kHashBuckets = 8192;
  static constexpr int32_t kEmpty = -1;
  static constexpr int32_t kPeriod = 3;  // of the runs that are skipped in one step

  // Data can end exactly at the window's end, and a key or a run is read up to this much beyond.
  static constexpr int32_t kPadding = 8;

  int32_t PeriodicRun(int32_t maxLength) const;
  int32_t CommonLength(int32_t candidate, int32_t best, int32_t maxLength) const;
  int32_t RunStart(int32_t candidate, int32_t extraRun, int32_t maxDistance) const;

  int32_t position_ = 0;  // of the next byte to be parsed
  std::array<int32_t, kHashBuckets> heads_;
  std::array<uint16_t, kWindowBytes> chain_{};  // distance to the next older place; 0 ends it
  std::array<uint8_t, kWindowBytes + kPadding> window_{};
};
