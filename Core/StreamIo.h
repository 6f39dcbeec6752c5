// Whole transfers over any stream. Streams are copied in pieces through a buffer on the stack.
//
// CopyStream, SkipBytes, WriteZeros and ReadAll complete the interface; the tool calls none of
// them.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

namespace Core {

// Reads `count` bytes in one call of Read. False: the stream refused or the read was short.
[[nodiscard]] bool ReadExactly(Stream& source, void* buffer, int32_t count);

// Writes `count` bytes in one call of Write. False: the stream refused or the write was short.
[[nodiscard]] bool WriteExactly(Stream& destination, const void* buffer, int32_t count);

// Linux writes at most a page less than 2 GiB in one call; this is a round number below.
inline constexpr int32_t kMaxPieceSize = 1 << 30;

// Writes `count` bytes like WriteExactly, but in calls of Write with at most `maxPiece` bytes each,
// so that it can write more than the system takes in one call. False: a call failed or was short;
// the pieces before it have been written.
[[nodiscard]] bool WriteInPieces(Stream& destination, const uint8_t* bytes, int32_t count,
                                 int32_t maxPiece = kMaxPieceSize);

// Copies `count` bytes, or everything up to the end of the data if `count` is negative. False: a
// read or write failed or was short; the pieces before it have been copied.
[[nodiscard]] bool CopyStream(Stream& destination, Stream& source, int64_t count);

// Reads `count` bytes and drops them; does nothing below 1. False: a read failed or was short.
[[nodiscard]] bool SkipBytes(Stream& source, int32_t count);

// Writes `count` zero bytes; does nothing below 1. False: a write failed or was short.
[[nodiscard]] bool WriteZeros(Stream& destination, int32_t count);

// Reads a whole stream. The content of a seekable one, from its start, replaces that of `out`; the
// bytes that any other one still gives are appended to `out`. False: a read failed, the stream is
// larger than an array can be, or there is no memory.
[[nodiscard]] bool ReadAll(Stream& source, ByteArray& out);

}  // namespace Core
