// The input window of the encoder: a history of up to 32 KiB before the position, and the bytes not
// yet parsed after it. Slide moves both down when the position has passed the middle.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"
#include "Core/Stream.h"

class DeflateWindow {
 public:
  static constexpr int32_t kSize = 65536;
  static constexpr int32_t kHistoryBytes = kDeflateWindowSize;

  DeflateWindow() { std::fill_n(bytes_.begin(), kMargin, uint8_t{0}); }

  // Adds bytes after the `available` ones from the position on, up to kHistoryBytes in all, with
  // one Read of `source`. Returns the count read, or -1 when the source refused or is null.
  int32_t Fill(Core::Stream* source, int32_t available);

  // Drops the history beyond kHistoryBytes when the position has passed the middle of the window.
  // `end` is the end of the data. Returns how far everything has moved down.
  int32_t Slide(int32_t end);

  int32_t Position() const { return position_; }  // of the next byte to be parsed
  void Advance(int32_t count) { position_ += count; }
  const uint8_t* Here() const { return Bytes() + position_; }

  // All kSize bytes. Bytes never written are undefined, except kMargin zeros before the first byte
  // and after the furthest end that the data ever had.
  const uint8_t* Bytes() const { return bytes_.data() + kMargin; }

 private:
  // Keys, runs and words may be read so many bytes beyond the data.
  static constexpr int32_t kMargin = 16;

  uint8_t* Data() { return bytes_.data() + kMargin; }

  int32_t position_ = 0;
  int32_t furthestEnd_ = 0;
  std::array<uint8_t, kMargin + kSize + kMargin> bytes_;
};
