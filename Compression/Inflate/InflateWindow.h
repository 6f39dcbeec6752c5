// The decompressed bytes that matches copy from: at least the last 32 KiB, and after them the bytes
// of the present step, which are pending until they are handed on.
//
//   begin           read             write                     end
//   |  handed on    |  pending       |  room for a step ...    |
//
// As long as a whole step fits, they stand in memory lent by the caller, where they are wanted in
// the end. After that they stand in the window's own memory, and move to its front when the room
// there is used up.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Compression/Format/DeflateFormat.h"
#include "Compression/Inflate/MatchCopy.h"

class InflateWindow {
 public:
  struct Piece {
    const uint8_t* data;
    int32_t size;
  };

  // A step ends at so many pending bytes; its last match may pass that.
  static constexpr int32_t kMaxPending = kDeflateWindowSize - kMaxMatchLength - 1;

  // The bytes after the last one put that may be overwritten.
  static constexpr int32_t kSlack = MatchCopy::kOverrun;

  // cppcheck-suppress uninitMemberVar ; bytes are put before they are read
  InflateWindow() = default;
  InflateWindow(const InflateWindow&) = delete;
  InflateWindow& operator=(const InflateWindow&) = delete;

  // Lends the window the `size` bytes at `memory` to begin in. Requires: nothing has been put.
  void Lend(uint8_t* memory, int32_t size) {
    begin_ = read_ = write_ = memory;
    end_ = memory + size;
  }

  // Makes room for one step. Requires: nothing is pending.
  void MakeRoom() {
    if (end_ - write_ >= kStepRoom) return;
    const std::ptrdiff_t kept = std::min<std::ptrdiff_t>(write_ - begin_, kDeflateWindowSize);
    if (kept > 0) std::memmove(own_, write_ - kept, static_cast<std::size_t>(kept));
    begin_ = own_;
    read_ = write_ = own_ + kept;
    end_ = own_ + sizeof own_;
  }

  // Requires, for Put, PutAll and CopyMatch: MakeRoom came first, and at most kMaxPending bytes are
  // pending.
  void Put(uint8_t byte) { *write_++ = byte; }

  void PutAll(const uint8_t* bytes, int32_t count) {
    std::memcpy(write_, bytes, static_cast<std::size_t>(count));
    write_ += count;
  }

  // Deliberate: a distance that reaches before the first byte reads zeros, where most decoders
  // fail; the stream's checksum decides.
  // Requires: 1 <= distance <= kDeflateWindowSize, 1 <= length <= kMaxMatchLength.
  void CopyMatch(int32_t distance, int32_t length) {
    for (; length > 0 && distance > write_ - begin_; --length) Put(0);
    uint8_t* const end = write_ + length;
    if (length > 0) MatchCopy::CopyWords(write_, static_cast<uint32_t>(distance), end);
    write_ = end;
  }

  // For a loop that puts bytes itself: it may copy matches from Begin() on, write at Write(), and
  // overwrite kSlack bytes after the last one.
  const uint8_t* Begin() const { return begin_; }
  uint8_t* Write() const { return write_; }
  void SetWrite(uint8_t* write) { write_ = write; }

  int32_t PendingSize() const { return static_cast<int32_t>(write_ - read_); }

  // The pending bytes in order. Two pieces where they pass a multiple of 32 KiB; one may be empty.
  std::array<Piece, 2> PendingPieces() const {
    const int32_t size = PendingSize();
    const int32_t first = std::min(size, kDeflateWindowSize - released_);
    return {{{read_, first}, {read_ + first, size - first}}};
  }

  // Copies the first `count` pending bytes to `destination`, unless they stand there already.
  void CopyPending(uint8_t* destination, int32_t count) const {
    if (count > 0 && destination != read_) {
      std::memcpy(destination, read_, static_cast<std::size_t>(count));
    }
  }

  // Marks the first `count` pending bytes as handed on.
  void Release(int32_t count) {
    read_ += count;
    released_ = (released_ + count) % kDeflateWindowSize;
  }

  // The bytes that a step may take.
  static constexpr int32_t kStepRoom = kMaxPending + kMaxMatchLength + kSlack;

 private:
  // More steps mean fewer moves to the front, but more pages to fault in.
  static constexpr int32_t kOwnSteps = 3;

  uint8_t own_[kDeflateWindowSize + kOwnSteps * kStepRoom];  // first: see Inflater
  uint8_t* begin_ = own_;
  uint8_t* read_ = own_;
  uint8_t* write_ = own_;
  uint8_t* end_ = own_ + sizeof own_;
  int32_t released_ = 0;  // bytes, modulo kDeflateWindowSize
};
