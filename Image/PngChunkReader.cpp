#include "Image/PngChunkReader.h"

#include <algorithm>
#include <limits>

#include "Compression/Checksums/Crc32.h"
#include "Core/Endian.h"
#include "Core/StreamIo.h"
#include "Image/PngFormat.h"

bool ReadChunkHeader(Core::Stream& in, PngChunk& chunk) {
  uint8_t bytes[kChunkHeaderSize];
  if (!Core::ReadExactly(in, bytes, sizeof bytes)) return false;
  chunk.length = static_cast<int32_t>(Core::LoadBig32(bytes));
  chunk.type = Core::LoadBig32(bytes + 4);
  return chunk.length >= 0 && (chunk.type & kChunkReservedBit) == 0;
}

bool ReadChunkData(Core::Stream& in, const PngChunk& chunk, Core::ByteArray& data) {
  constexpr int32_t kPieceSize = 65536;
  constexpr int32_t kMaxReserve = 1 << 20;  // takes no pages before the bytes arrive
  if (chunk.length > std::numeric_limits<int32_t>::max() - data.Size()) return false;

  uint8_t bytes[kChunkCrcSize];
  Core::StoreBig32(bytes, chunk.type);
  uint32_t crc = Crc32(bytes, sizeof bytes, 0);
  for (int32_t left = chunk.length; left > 0;) {
    const int32_t count = std::min(left, kPieceSize);
    const int32_t start = data.Size();
    if (!data.Reserve(start + std::min(left, kMaxReserve)) || !data.SetSize(start + count) ||
        !Core::ReadExactly(in, data.Data() + start, count)) {
      return false;
    }
    crc = Crc32(data.Data() + start, static_cast<uint32_t>(count), crc);
    left -= count;
  }
  return Core::ReadExactly(in, bytes, sizeof bytes) && Core::LoadBig32(bytes) == crc;
}
