// Decompresses one deflate stream (RFC 1951), bare or in a zlib or gzip container, from a stream
// into a stream.
//
// Decoding is a state machine that works in steps of bounded output. What a step decodes stands in
// the window until it is handed on, and is handed on before the next step; so a stream of any size
// is decompressed in fixed memory.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/BlockDecoder.h"
#include "Compression/Inflate/InflateContainer.h"
#include "Compression/Inflate/InflateWindow.h"
#include "Core/Stream.h"

// For one stream only. About 200 KiB in itself, most of which a short stream leaves untouched.
class Inflater {
 public:
  static constexpr int64_t kUnlimited = 0x7FFFFFFFFFFFFFFF;

  // The streams are borrowed. ReadOutput needs no output.
  explicit Inflater(Core::Stream* input = nullptr, Core::Stream* output = nullptr)
      : input_(input), output_(output), reader_(input), blocks_(reader_, window_) {}
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // Selects the container: an InflateFormat; any other value is kRawDeflate, which is also the
  // default. Always true. Requires: nothing has been decoded.
  bool SetFormat(int32_t format);

  // Decompresses the whole stream. False: a stream is missing, the input is malformed or cut short,
  // its checksum is wrong, it gives more than `limit` bytes, the output refuses bytes, or there is
  // no memory. The output then holds what the steps before the failing one decoded, also beyond the
  // limit. It ends for every input: a damaged stream that would give bytes without end is stopped
  // by a finite limit, and with kUnlimited as soon as it is recognised.
  [[nodiscard]] bool Run(int64_t limit);

  // Decompresses the whole stream, its first `size` bytes into `buffer` and the others nowhere, and
  // reports in `obtained` how many it put there. What it works on stands in the buffer itself as
  // far as that goes; where the stream gives less, the bytes behind are undefined. False: as for
  // Run without a limit; the buffer is undefined. Requires: nothing has been decoded.
  [[nodiscard]] bool RunInto(uint8_t* buffer, int32_t size, int32_t& obtained);

  // A buffer that is larger than its stream by so much is never left for memory of the inflater's
  // own, which would have to be copied from.
  static constexpr int32_t kSpareSize = InflateWindow::kStepRoom;

  // Decompresses up to `size` bytes into `buffer` and reports how many in `obtained`: fewer only at
  // the end of the stream or at a failure. False: the stream has failed. Of a damaged stream that
  // gives bytes without end this returns bytes as long as it is asked for them.
  [[nodiscard]] bool ReadOutput(void* buffer, int32_t size, int32_t& obtained);

  // Of a gzip header, once it has been read.
  const Core::String& GzipName() const { return container_.GzipName(); }
  const Core::String& GzipComment() const { return container_.GzipComment(); }
  uint32_t GzipModificationTime() const { return container_.GzipModificationTime(); }

 private:
  enum class State {
    kStart,
    kZlibHeader,
    kGzipHeader,
    kBlockHeader,
    kCompressedData,
    kStoredLength,
    kStoredCopy,
    kTrailer,
    kDone,
    kFailed,
  };

  [[nodiscard]] bool Step();
  [[nodiscard]] bool Advance(int32_t& room);
  [[nodiscard]] bool FinishPortion(BlockDecoder::Outcome outcome);
  [[nodiscard]] bool Deliver(int64_t& limit);
  bool Fail();

  [[nodiscard]] bool Enter(bool succeeded, State next);
  State FirstState() const;
  [[nodiscard]] bool ReadBlockHeader();
  void AccountPending();

  Core::Stream* input_;
  Core::Stream* output_;
  State state_ = State::kStart;
  State afterBlock_ = State::kBlockHeader;
  InflateContainer container_;

  // In this order, what a short stream leaves untouched, the end of the tables and the beginning of
  // the window, lies together, and what it touches on few pages.
  BitReader reader_;
  BlockDecoder blocks_;
  InflateWindow window_;
};
