#include "Image/PngEncoder.h"

#include <memory>
#include <new>

#include "Compression/Checksums/Crc32.h"
#include "Compression/Deflate/DeflateEncoder.h"
#include "Core/Endian.h"
#include "Core/StreamIo.h"
#include "Image/PngFormat.h"
#include "Image/RawImageStream.h"
#include "Image/RgbaLimit.h"

namespace {

// CMF: deflate with a 32 KiB window. FLG: the strongest level, and the check that makes the pair a
// multiple of 31 (RFC 1950, section 2.2).
constexpr uint8_t kZlibHeader[] = {0x78, 0xDA};
static_assert((kZlibHeader[0] * 256 + kZlibHeader[1]) % 31 == 0);

// A chunk is written in three steps: length and type, the data, and the CRC of type and data.
bool WriteChunkStart(Core::Stream& out, uint32_t type, uint32_t length) {
  uint8_t bytes[kChunkHeaderSize];
  Core::StoreBig32(bytes, length);
  Core::StoreBig32(bytes + 4, type);
  return Core::WriteExactly(out, bytes, sizeof bytes);
}

bool WriteChunkEnd(Core::Stream& out, uint32_t type, const uint8_t* data, std::size_t length) {
  uint8_t bytes[kChunkCrcSize];
  Core::StoreBig32(bytes, type);
  Core::StoreBig32(bytes, Crc32(data, length, Crc32(bytes, sizeof bytes, 0)));
  return Core::WriteExactly(out, bytes, sizeof bytes);
}

bool WriteHeaderChunk(Core::Stream& out, const Bitmap& bitmap) {
  uint8_t data[kPngHeaderSize] = {};  // compression, filter and interlace methods are 0
  Core::StoreBig32(data, static_cast<uint32_t>(bitmap.Width()));
  Core::StoreBig32(data + 4, static_cast<uint32_t>(bitmap.Height()));
  data[8] = 8;
  data[9] = kPngTruecolorAlpha;
  return WriteChunkStart(out, kChunkHeader, sizeof data) &&
         Core::WriteExactly(out, data, sizeof data) &&
         WriteChunkEnd(out, kChunkHeader, data, sizeof data);
}

// Appends the image data as a zlib stream (RFC 1950). False: the picture is too large, the file
// becomes too long, or there is no memory.
bool CompressZlib(const Bitmap& bitmap, Core::MemoryStream& file) {
  if (!FitsRgbaLimit(bitmap.Width(), bitmap.Height())) return false;
  RawImageStream source(bitmap);
  if (!source.Create()) return false;
  const std::unique_ptr<DeflateEncoder> encoder(
      new (std::nothrow) DeflateEncoder(source, file, DeflateEncoder::kBestLevel));
  if (encoder == nullptr || !Core::WriteExactly(file, kZlibHeader, sizeof kZlibHeader) ||
      !encoder->Compress()) {
    return false;
  }
  // The checksum is stored most significant byte first; the bit writer writes the least first.
  return encoder->Writer().WriteBits(Core::SwapBytes32(source.Checksum()), 32) &&
         encoder->Writer().Flush();
}

// Compresses the data to its final place in the file; then goes back and writes its length.
bool AppendImageChunk(const Bitmap& bitmap, Core::MemoryStream& file) {
  const int64_t start = file.Tell();
  if (!WriteChunkStart(file, kChunkData, 0) || !CompressZlib(bitmap, file)) return false;
  const int64_t dataStart = start + kChunkHeaderSize;
  const auto length = static_cast<uint32_t>(file.Tell() - dataStart);
  return file.Seek(start, Core::kFromStart) && WriteChunkStart(file, kChunkData, length) &&
         file.Seek(length, Core::kFromCurrent) &&
         WriteChunkEnd(file, kChunkData, file.GetData() + dataStart, length);
}

}  // namespace

bool EncodePng(const Bitmap& bitmap, Core::MemoryStream& file) {
  return Core::WriteExactly(file, kPngSignature.data(),
                            static_cast<int32_t>(kPngSignature.size())) &&
         WriteHeaderChunk(file, bitmap) && AppendImageChunk(bitmap, file) &&
         WriteChunkStart(file, kChunkEnd, 0) && WriteChunkEnd(file, kChunkEnd, nullptr, 0);
}

bool SavePng(Core::Stream& out, const Bitmap& bitmap) {
  Core::MemoryStream file;
  return EncodePng(bitmap, file) &&
         Core::WriteInPieces(out, file.GetData(), static_cast<int32_t>(file.GetSize()));
}
