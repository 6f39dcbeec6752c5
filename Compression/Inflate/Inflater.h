// Decompresses one deflate stream (RFC 1951), bare or in a zlib or gzip container, from a stream
// into a stream.
//
// Decoding is a state machine that works in steps of bounded output. The bytes of a step stand in
// the window and are handed on before the next step, so a stream of any size needs fixed memory.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/BlockDecoder.h"
#include "Compression/Inflate/InflateContainer.h"
#include "Compression/Inflate/InflateWindow.h"
#include "Core/Stream.h"

// Serves one stream only. About 200 KiB, most of which a short stream never touches.
class Inflater {
 public:
  static constexpr int64_t kUnlimited = 0x7FFFFFFFFFFFFFFF;

  // The streams are borrowed. ReadOutput needs no output.
  explicit Inflater(Core::Stream* input = nullptr, Core::Stream* output = nullptr)
      : input_(input), output_(output), reader_(input), blocks_(reader_, window_) {}
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // Selects the container: an InflateFormat; any other value is kRawDeflate, which is also the
  // default. The result is always true, so that the call can begin an && chain.
  // Requires: nothing has been decoded.
  bool SetFormat(int32_t format);

  // Decompresses the whole stream. False: a stream is missing, the input is malformed or cut short,
  // its checksum is wrong, it gives more than `limit` bytes, the output refuses bytes, or there is
  // no memory. The output then holds the bytes of the steps before the failing one, also those that
  // pass the limit. The call ends for every input: a finite limit stops a damaged stream that would
  // give bytes without end, and with kUnlimited it is refused as soon as it is recognised.
  [[nodiscard]] bool Run(int64_t limit);

  // Decompresses the whole stream, keeps its first `size` bytes in `buffer` and drops the others;
  // reports in `obtained` how many were kept. Uses the buffer itself as its window while a step
  // fits there; the bytes after those kept are undefined. False: as for Run without a limit; the
  // buffer is undefined. Requires: nothing has been decoded.
  [[nodiscard]] bool RunInto(uint8_t* buffer, int32_t size, int32_t& obtained);

  // With a buffer larger than the stream by this many bytes, RunInto never needs to copy from the
  // window's own memory.
  static constexpr int32_t kSpareSize = InflateWindow::kStepRoom;

  // Decompresses up to `size` bytes into `buffer` and reports how many in `obtained`: fewer only at
  // the end of the stream or at a failure. False: the stream has failed. From a damaged stream that
  // gives bytes without end, every call returns more bytes. The tool has no use for this call; it
  // completes the interface.
  // Deliberate: the bytes of the step that fails, up to 32 KiB, are dropped, as Run drops them.
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

  // In this order the memory that a short stream never touches lies together: the end of the tables
  // and the beginning of the window. The memory that it touches lies on few pages.
  BitReader reader_;
  BlockDecoder blocks_;
  InflateWindow window_;
};
