// Whole transfers over any stream. What is not in memory as a whole goes in fixed-size pieces
// through a buffer on the stack.
#pragma once

#include <cstdint>

#include "Core/Array.h"
#include "Core/Stream.h"

namespace Core {

// Reads `count` bytes in one call of Read. False: the stream refused or the read was short.
[[nodiscard]] bool ReadExactly(Stream& source, void* buffer, int32_t count);

// Writes `count` bytes in one call of Write. False: the stream refused or the write was short.
[[nodiscard]] bool WriteExactly(Stream& destination, const void* buffer, int32_t count);

// Writes `count` bytes in pieces as large as one call of a system takes. False: a step failed or
// was short; what was written before it stays.
[[nodiscard]] bool WriteInPieces(Stream& destination, const uint8_t* bytes, int32_t count);

// Copies `count` bytes, or everything up to the end of the data when `count` is negative.
// False: a step failed or was short; the pieces before it have been copied.
[[nodiscard]] bool CopyStream(Stream& destination, Stream& source, int64_t count);

// Reads and drops `count` bytes; below 1 there is nothing to do. False: a short or failed read.
[[nodiscard]] bool SkipBytes(Stream& source, int32_t count);

// Writes `count` zero bytes; below 1 there is nothing to do. False: a short or failed write.
[[nodiscard]] bool WriteZeros(Stream& destination, int32_t count);

// Reads a whole stream into `out`: a seekable one from its start, wherever it stood, replacing what
// `out` held; any other one to the end of its data, appended to `out`. False: a read failed, the
// stream is larger than an array can be, or there is no memory.
[[nodiscard]] bool ReadAll(Stream& source, ByteArray& out);

}  // namespace Core
