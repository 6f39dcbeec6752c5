#include "Core/StreamIo.h"

#include <algorithm>
#include <limits>

namespace Core {

namespace {

constexpr int32_t kPieceSize = 8192;
constexpr int32_t kAppendPieceSize = 4096;

// Copies to the end of the data: the first read of 0 bytes.
bool CopyRest(Stream& destination, Stream& source) {
  uint8_t piece[kPieceSize];
  for (;;) {
    uint32_t done = 0;
    if (!source.Read(piece, kPieceSize, done)) return false;
    if (done == 0) return true;
    if (!WriteExactly(destination, piece, static_cast<int32_t>(done))) return false;
  }
}

}  // namespace

bool ReadExactly(Stream& source, void* buffer, int32_t count) {
  uint32_t done = 0;
  return source.Read(buffer, count, done) && done == static_cast<uint32_t>(count);
}

bool WriteExactly(Stream& destination, const void* buffer, int32_t count) {
  uint32_t done = 0;
  return destination.Write(buffer, count, done) && done == static_cast<uint32_t>(count);
}

bool WriteInPieces(Stream& destination, const uint8_t* bytes, int32_t count, int32_t maxPiece) {
  while (count > 0) {
    const int32_t size = std::min(count, maxPiece);
    if (!WriteExactly(destination, bytes, size)) return false;
    bytes += size;
    count -= size;
  }
  return true;
}

bool CopyStream(Stream& destination, Stream& source, int64_t count) {
  if (count < 0) return CopyRest(destination, source);
  uint8_t piece[kPieceSize];
  while (count > 0) {
    const int32_t size = static_cast<int32_t>(std::min<int64_t>(count, kPieceSize));
    if (!ReadExactly(source, piece, size) || !WriteExactly(destination, piece, size)) return false;
    count -= size;
  }
  return true;
}

bool SkipBytes(Stream& source, int32_t count) {
  uint8_t piece[kPieceSize];
  while (count > 0) {
    const int32_t size = std::min(count, kPieceSize);
    if (!ReadExactly(source, piece, size)) return false;
    count -= size;
  }
  return true;
}

bool WriteZeros(Stream& destination, int32_t count) {
  const uint8_t piece[kPieceSize] = {};
  while (count > 0) {
    const int32_t size = std::min(count, kPieceSize);
    if (!WriteExactly(destination, piece, size)) return false;
    count -= size;
  }
  return true;
}

bool ReadAll(Stream& source, ByteArray& out) {
  if ((source.GetCaps() & kSeekable) != 0) {
    const int64_t size = source.GetSize();
    if (size < 0 || size > std::numeric_limits<int32_t>::max()) return false;
    return source.Seek(0, kFromStart) && out.SetSize(static_cast<int32_t>(size)) &&
           ReadExactly(source, out.Data(), static_cast<int32_t>(size));
  }
  uint8_t piece[kAppendPieceSize];
  for (;;) {
    uint32_t done = 0;
    if (!source.Read(piece, kAppendPieceSize, done)) return false;
    if (done == 0) return true;
    if (!out.AppendAll(piece, static_cast<int32_t>(done))) return false;
  }
}

}  // namespace Core
