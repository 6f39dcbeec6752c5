#include "Image/PngDecoder.h"

#include <algorithm>
#include <array>
#include <limits>

#include "Compression/Format/DeflateFormat.h"
#include "Compression/Inflate/Inflater.h"
#include "Core/Array.h"
#include "Core/Endian.h"
#include "Core/MemoryStream.h"
#include "Core/StreamIo.h"
#include "Image/PngChunkReader.h"
#include "Image/PngFormat.h"
#include "Image/PngHeader.h"
#include "Image/PngPixels.h"
#include "Image/PngUnfilter.h"

namespace {

// The content of a file's chunks, read under the rules of their order.
class ChunkContents {
 public:
  // Reads the signature and all chunks through IEND. False: a rule is broken, the file is cut short
  // or damaged, or there is no memory.
  [[nodiscard]] bool Read(Core::Stream& in);

  const PngHeader& Header() const { return header_; }
  const PngColors& Colors() const { return colors_; }
  Core::ByteArray& CompressedData() { return compressedData_; }

 private:
  enum class DataRun { kNone, kOpen, kEnded };  // the IDAT chunks must follow one another

  [[nodiscard]] bool ReadHeader(Core::Stream& in);
  [[nodiscard]] bool BeginDataChunk();
  [[nodiscard]] bool Interpret(const PngChunk& chunk, const Core::ByteArray& data);
  [[nodiscard]] bool InterpretPalette(const Core::ByteArray& data);
  [[nodiscard]] bool InterpretTransparency(const Core::ByteArray& data);
  [[nodiscard]] bool InterpretKey(const Core::ByteArray& data, int32_t sampleCount);

  PngHeader header_ = {};
  PngColors colors_;
  Core::ByteArray compressedData_;  // of all IDAT chunks, in their order
  bool hasPalette_ = false;
  DataRun dataRun_ = DataRun::kNone;
};

// Deliberate: types are compared in upper case, so TRNS is read like tRNS. Case decides only
// whether an unknown chunk may be skipped.
bool ChunkContents::Read(Core::Stream& in) {
  std::array<uint8_t, kPngSignature.size()> signature;
  if (!Core::ReadExactly(in, signature.data(), signature.size()) || signature != kPngSignature ||
      !ReadHeader(in)) {
    return false;
  }
  Core::ByteArray data;
  while (true) {
    PngChunk chunk;
    if (!ReadChunkHeader(in, chunk)) return false;
    const uint32_t type = FoldedChunkType(chunk.type);
    if (type == kChunkData) {
      if (!BeginDataChunk() || !ReadChunkData(in, chunk, compressedData_)) return false;
      continue;
    }
    data.Clear();
    if (!ReadChunkData(in, chunk, data)) return false;
    if (type == kChunkEnd) return true;
    if (!Interpret(chunk, data)) return false;
  }
}

bool ChunkContents::ReadHeader(Core::Stream& in) {
  PngChunk chunk;
  Core::ByteArray data;
  return ReadChunkHeader(in, chunk) && FoldedChunkType(chunk.type) == kChunkHeader &&
         ReadChunkData(in, chunk, data) && ParsePngHeader(data.Data(), data.Size(), header_);
}

bool ChunkContents::BeginDataChunk() {
  if (dataRun_ == DataRun::kEnded || (header_.colorType == kPngIndexed && !hasPalette_)) {
    return false;
  }
  dataRun_ = DataRun::kOpen;
  return true;
}

// Takes any chunk but IHDR, IDAT and IEND.
bool ChunkContents::Interpret(const PngChunk& chunk, const Core::ByteArray& data) {
  const uint32_t type = FoldedChunkType(chunk.type);
  if (type == kChunkPalette) return InterpretPalette(data);
  if (dataRun_ == DataRun::kOpen) dataRun_ = DataRun::kEnded;
  // Deliberate: tRNS may also follow the image data, and a later tRNS overrides an earlier one. It
  // applies in any case, since pixels are made last.
  if (type == FoldedChunkType(kChunkTransparency)) return InterpretTransparency(data);
  return (chunk.type & kChunkAncillaryBit) != 0;
}

bool ChunkContents::InterpretPalette(const Core::ByteArray& data) {
  constexpr int32_t kEntrySize = 3;
  if (hasPalette_ || dataRun_ != DataRun::kNone || header_.colorType == kPngGrey ||
      header_.colorType == kPngGreyAlpha || data.Size() % kEntrySize != 0) {
    return false;
  }
  hasPalette_ = true;
  colors_.paletteCount = data.Size() / kEntrySize;
  for (int32_t i = 0; i < std::min(colors_.paletteCount, PngColors::kPaletteSize); ++i) {
    const uint8_t* entry = data.Data() + int64_t{i} * kEntrySize;
    colors_.palette[i] = PackPixel(entry[0], entry[1], entry[2], 255);
  }
  return true;
}

bool ChunkContents::InterpretTransparency(const Core::ByteArray& data) {
  switch (header_.colorType) {
    case kPngGrey:
      return InterpretKey(data, 1);
    case kPngTruecolor:
      return InterpretKey(data, 3);
    case kPngIndexed:
      if (data.Size() > colors_.paletteCount) return false;
      for (int32_t i = 0; i < std::min(data.Size(), PngColors::kPaletteSize); ++i) {
        colors_.palette[i] = (colors_.palette[i] & kColorMask) | Pixel{data[i]} << 24;
      }
      return true;
    default:  // Deliberate: an image with its own alpha is refused, not read without the tRNS
      return false;
  }
}

bool ChunkContents::InterpretKey(const Core::ByteArray& data, int32_t sampleCount) {
  constexpr int32_t kSampleSize = 2;
  if (data.Size() < sampleCount * kSampleSize) return false;
  for (int32_t i = 0; i < sampleCount; ++i) {
    colors_.key[i] = Core::LoadBig16(data.Data() + int64_t{i} * kSampleSize);
  }
  colors_.hasKey = true;
  return true;
}

// True if so little compressed data can inflate to `size` bytes: each bit of it gives at most one
// match of 258 bytes. A header that claims more is refused before memory is taken for it.
bool CanInflateTo(int64_t size, const Core::ByteArray& compressedData) {
  constexpr int64_t kMaxFromByte = int64_t{8} * kMaxMatchLength;
  return size <= kMaxFromByte * compressedData.Size();
}

// True if the image data can share the memory of the pixels that are made from it: the image is not
// interlaced and has up to 8 bits a sample. (16 bits would need twice the memory, and the bitmap
// would keep it.) A picture is large, and fresh memory is slow.
//
// Let a row have r bytes of data, filter byte included, and p bytes of pixels.
// - Up to three samples a pixel: r <= p. The data ends where the pixels end. The data of all rows
//   after a given row is no longer than their pixels, so it begins where the pixels of the given
//   row end, or later.
// - Four samples a pixel: r = p + 1. The data begins where the pixels begin, so the data of row
//   k + 1 begins k + 1 bytes after the end of the pixels of row k.
// So a row's pixels can be written as soon as the next row, which needs its data, is restored.
// Within a row, no pixel ends after the start of the next pixel's data: in the first case count
// from the end, where data is no larger than pixels; in the second case count from the start.
bool CanShareMemory(const PngHeader& header) {
  return header.interlace != kPngAdam7 && header.bitDepth <= 8 && header.ImageDataSize() > 0;
}

// The bytes to reserve for `needed` bytes of image data: Inflater::kSpareSize more, up to 2^31 - 1.
int32_t RoomFor(int64_t needed) {
  constexpr int64_t kMaxBytes = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::min(needed + Inflater::kSpareSize, kMaxBytes));
}

// Reserves memory for the image data: in `bitmap`, which gets its final size, if they can share
// memory, and otherwise in `separate`. Returns the start of RoomFor bytes, or null without memory.
uint8_t* MakeRoom(const PngHeader& header, Bitmap& bitmap, Core::ByteArray& separate) {
  const int64_t needed = header.ImageDataSize();
  const int32_t room = RoomFor(needed);
  if (!CanShareMemory(header)) return separate.SetSize(room) ? separate.Data() : nullptr;
  const int64_t pixelBytes = int64_t{header.width} * header.height * int64_t{sizeof(Pixel)};
  const int64_t start = std::max<int64_t>(pixelBytes - needed, 0);
  if (!bitmap.ResizeForOverwrite(header.width, header.height, start + room)) return nullptr;
  return reinterpret_cast<uint8_t*>(bitmap.Row(0)) + start;
}

// Decompresses the first `needed` bytes into `imageData`, but reads the whole stream and tests its
// checksum. False: the stream is malformed or gives fewer bytes, or there is no memory.
bool InflateImageData(const Core::ByteArray& compressedData, int32_t needed, uint8_t* imageData) {
  Core::MemoryStream source(compressedData.Data(), static_cast<uint32_t>(compressedData.Size()));
  Inflater inflater(&source);
  int32_t obtained = 0;
  return inflater.SetFormat(kZlib) && inflater.RunInto(imageData, RoomFor(needed), obtained) &&
         obtained >= needed;
}

// Makes the pixels of one pass from its filtered rows at `data`, which is moved to the end of them.
// False: a filter is unknown.
//
// Rows are restored in place, so each finds the restored row before it there. The pixels of that
// row are written only then (CanShareMemory).
bool DecodePass(const PngHeader& header, const PngPixels& pixels, const PngPass& pass,
                uint8_t*& data, Bitmap& bitmap) {
  const int32_t width = header.PassWidth(pass);
  const int32_t height = width > 0 ? header.PassHeight(pass) : 0;
  const int32_t rowSize = static_cast<int32_t>(header.RowSize(width));
  const auto convert = [&](const uint8_t* samples, int32_t y) {
    Pixel* row = bitmap.Row(pass.yStart + y * pass.yStep) + pass.xStart;
    pixels.ConvertRow(samples, width, row, pass.xStep);
  };
  const uint8_t* previous = nullptr;
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t filter = *data++;
    if (!UnfilterPngRow(filter, data, previous, rowSize, header.UnitSize())) return false;
    if (previous != nullptr) convert(previous, y - 1);
    previous = data;
    data += rowSize;
  }
  if (previous != nullptr) convert(previous, height - 1);
  return true;
}

}  // namespace

bool DecodePng(Core::Stream& in, Bitmap& bitmap) {
  ChunkContents contents;
  if (!bitmap.Resize(0, 0) || !contents.Read(in)) return false;
  const PngHeader& header = contents.Header();
  const int64_t needed = header.ImageDataSize();
  if (needed > std::numeric_limits<int32_t>::max() ||
      !CanInflateTo(needed, contents.CompressedData())) {
    return false;
  }
  Core::ByteArray separate;
  uint8_t* imageData = MakeRoom(header, bitmap, separate);
  if (imageData == nullptr ||
      !InflateImageData(contents.CompressedData(), static_cast<int32_t>(needed), imageData)) {
    return false;
  }
  contents.CompressedData().Free();
  // An image without pixels stays 0 x 0: a table of up to 2^31 empty rows would be of no use.
  if (needed == 0) return true;
  // The passes reach every pixel, so none stays undefined.
  if (!CanShareMemory(header) && !bitmap.ResizeForOverwrite(header.width, header.height)) {
    return false;
  }
  const PngPixels pixels(header, contents.Colors());
  return std::ranges::all_of(header.Passes(), [&](const PngPass& pass) {
    return DecodePass(header, pixels, pass, imageData, bitmap);
  });
}

bool LoadPng(Core::Stream& in, Bitmap& bitmap) {
  if (DecodePng(in, bitmap)) return true;
  static_cast<void>(bitmap.Resize(0, 0));  // freeing memory does not fail
  return false;
}
