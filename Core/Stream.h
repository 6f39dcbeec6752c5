// The byte-stream interface through which every part of the program moves data.
#pragma once

#include <cstdint>

namespace Core {

// What GetCaps reports, as bits.
enum StreamCaps : uint32_t {
  kOpen = 1,
  kReadable = 2,
  kWritable = 4,
  kSeekable = 8,
  kAppend = 16,  // every write goes to the end; files only
};

// Where a seek counts from. Streams take any other value as kFromStart.
enum SeekOrigin : int32_t { kFromStart = 0, kFromCurrent = 1, kFromEnd = 2 };

// An abstract byte stream. The defaults are those of a stream that can do nothing.
//
// A transfer may be short: it succeeded only if the call returned true and `done` equals `count`.
// ReadExactly and WriteExactly (Core/StreamIo.h) check both.
//
// Close, Truncate and IsEof complete the interface; the tool calls none of them.
class Stream {
 public:
  Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  virtual ~Stream() = default;

  // Reads up to `count` bytes and reports how many in `done`; true with 0 bytes is the end of the
  // data. False: the stream refused, `done` is untouched.
  [[nodiscard]] virtual bool Read(void* buffer, int32_t count, uint32_t& done);

  // Writes up to `count` bytes and reports how many in `done`. False: the stream refused, `done` is
  // untouched.
  [[nodiscard]] virtual bool Write(const void* buffer, int32_t count, uint32_t& done);

  [[nodiscard]] virtual bool Close();

  // A set of StreamCaps bits.
  virtual uint32_t GetCaps();

  // Moves the position. False: the stream cannot seek there.
  [[nodiscard]] virtual bool Seek(int64_t offset, int32_t origin);

  // The position in bytes from the start, or -1.
  virtual int64_t Tell();

  // The size in bytes, or -1. The default seeks to the end and back. If it cannot seek back, the
  // size is -1 too: a caller that got it would go on reading or writing at the wrong position.
  virtual int64_t GetSize();

  // Hands over everything that the stream still buffers. False: that failed.
  [[nodiscard]] virtual bool Flush();

  // Makes the position the end of the stream. False: the stream cannot do that.
  [[nodiscard]] virtual bool Truncate();

  // Whether the position is known and is the end.
  virtual bool IsEof();
};

}  // namespace Core
