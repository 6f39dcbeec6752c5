#include "Image/PngEncoder.h"

#include <memory>
#include <new>

#include "Compression/Crc32.h"
#include "Compression/DeflateEncoder.h"
#include "Core/Endian.h"
#include "Core/MemoryStream.h"
#include "Core/StreamIo.h"
#include "Image/PngFormat.h"
#include "Image/RawImageStream.h"

namespace {

// CMF: deflate with a 32 KiB window. FLG: the strongest level, and the check that makes the pair a
// multiple of 31 (RFC 1950, section 2.2).
constexpr uint8_t kZlibHeader[] = {0x78, 0xDA};
static_assert((kZlibHeader[0] * 256 + kZlibHeader[1]) % 31 == 0);

// The parts of a chunk around its data: length and type before it, the CRC over type and data
// behind.
bool WriteChunkStart(Core::Stream& out, uint32_t type, uint32_t length) {
  uint8_t bytes[kChunkHeaderSize];
  StoreBig32(bytes, length);
  StoreBig32(bytes + 4, type);
  return WriteExactly(out, bytes, sizeof bytes);
}

bool WriteChunkEnd(Core::Stream& out, uint32_t type, const uint8_t* data, std::size_t length) {
  uint8_t bytes[kChunkCrcSize];
  StoreBig32(bytes, type);
  StoreBig32(bytes, Crc32(data, length, Crc32(bytes, sizeof bytes, 0)));
  return WriteExactly(out, bytes, sizeof bytes);
}

bool WriteHeaderChunk(Core::Stream& out, const Bitmap& bitmap) {
  uint8_t data[kPngHeaderSize] = {};  // compression, filter and interlace methods are 0
  StoreBig32(data, static_cast<uint32_t>(bitmap.Width()));
  StoreBig32(data + 4, static_cast<uint32_t>(bitmap.Height()));
  data[8] = 8;
  data[9] = kPngTruecolorAlpha;
  return WriteChunkStart(out, kChunkHeader, sizeof data) && WriteExactly(out, data, sizeof data) &&
         WriteChunkEnd(out, kChunkHeader, data, sizeof data);
}

// Writes the image data as a zlib stream (RFC 1950). False: the picture is too large, a write
// failed, or there is no memory.
bool CompressZlib(const Bitmap& bitmap, Core::MemoryStream& zlib) {
  if (!FitsRgbaBuffer(bitmap.Width(), bitmap.Height())) return false;
  RawImageStream source(bitmap);
  if (!source.Create()) return false;
  const std::unique_ptr<DeflateEncoder> encoder(
      new (std::nothrow) DeflateEncoder(source, zlib, DeflateEncoder::kBestLevel));
  if (encoder == nullptr || !WriteExactly(zlib, kZlibHeader, sizeof kZlibHeader) ||
      !encoder->Compress()) {
    return false;
  }
  // The checksum is stored most significant byte first, the bit writer sends the least first.
  return encoder->Writer().WriteBits(SwapBytes32(source.Checksum()), 32) &&
         encoder->Writer().Flush();
}

bool WriteImageChunk(Core::Stream& out, Core::MemoryStream& zlib) {
  const int64_t size = zlib.GetSize();
  return WriteChunkStart(out, kChunkData, static_cast<uint32_t>(size)) &&
         WriteAll(out, zlib.GetData(), static_cast<int32_t>(size)) &&
         WriteChunkEnd(out, kChunkData, zlib.GetData(), static_cast<std::size_t>(size));
}

}  // namespace

bool SavePng(Core::Stream& out, const Bitmap& bitmap) {
  if (!WriteExactly(out, kPngSignature.data(), static_cast<int32_t>(kPngSignature.size())) ||
      !WriteHeaderChunk(out, bitmap)) {
    return false;
  }
  Core::MemoryStream zlib;
  return CompressZlib(bitmap, zlib) && WriteImageChunk(out, zlib) &&
         WriteChunkStart(out, kChunkEnd, 0) && WriteChunkEnd(out, kChunkEnd, nullptr, 0);
}
