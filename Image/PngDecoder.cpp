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

// What the chunks of a file say, and the rules of their order and content.
class ChunkContents {
 public:
  // Reads signature and chunks, through IEND.
  [[nodiscard]] bool Read(Core::Stream& in);

  const PngHeader& Header() const { return header_; }
  const PngColors& Colors() const { return colors_; }
  Core::ByteArray& CompressedData() { return compressedData_; }

 private:
  enum class DataRun { kNone, kOpen, kEnded };  // the IDAT chunks must stand together

  [[nodiscard]] bool ReadHeader(Core::Stream& in);
  [[nodiscard]] bool BeginDataChunk();
  [[nodiscard]] bool Interpret(const PngChunk& chunk, const Core::ByteArray& data);
  [[nodiscard]] bool InterpretPalette(const Core::ByteArray& data);
  [[nodiscard]] bool InterpretTransparency(const Core::ByteArray& data);
  [[nodiscard]] bool InterpretKey(const Core::ByteArray& data, int32_t sampleCount);

  PngHeader header_ = {};
  PngColors colors_;
  Core::ByteArray compressedData_;  // of all IDAT chunks in their order
  bool hasPalette_ = false;
  DataRun dataRun_ = DataRun::kNone;
};

// A type without the one bit that must be clear. Deliberate: types are then compared in upper case,
// so that TRNS is as good as tRNS; only whether an unknown chunk may be skipped depends on case.
bool ReadKnownGenerationHeader(Core::Stream& in, PngChunk& chunk) {
  return ReadChunkHeader(in, chunk) && (chunk.type & kChunkReservedBit) == 0;
}

bool ChunkContents::Read(Core::Stream& in) {
  std::array<uint8_t, kPngSignature.size()> signature;
  if (!Core::ReadExactly(in, signature.data(), signature.size()) || signature != kPngSignature ||
      !ReadHeader(in)) {
    return false;
  }
  Core::ByteArray data;
  while (true) {
    PngChunk chunk;
    if (!ReadKnownGenerationHeader(in, chunk)) return false;
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
  return ReadKnownGenerationHeader(in, chunk) && FoldedChunkType(chunk.type) == kChunkHeader &&
         ReadChunkData(in, chunk, data) && ParsePngHeader(data.Data(), data.Size(), header_);
}

bool ChunkContents::BeginDataChunk() {
  if (dataRun_ == DataRun::kEnded || (header_.colorType == kPngIndexed && !hasPalette_)) {
    return false;
  }
  dataRun_ = DataRun::kOpen;
  return true;
}

// Any chunk but IHDR, IDAT and IEND.
bool ChunkContents::Interpret(const PngChunk& chunk, const Core::ByteArray& data) {
  const uint32_t type = FoldedChunkType(chunk.type);
  if (type == kChunkPalette) return InterpretPalette(data);
  if (dataRun_ == DataRun::kOpen) dataRun_ = DataRun::kEnded;
  // Deliberate: tRNS may also follow the image data, and a later one overrides an earlier one; it
  // applies all the same, as pixels are made last.
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
    default:  // Deliberate: images with an alpha of their own are refused, not read without tRNS
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

// Whether so much compressed data can come to `size` bytes: a match of 258 bytes costs a bit at the
// least. What a header claims beyond that takes no memory.
bool CanInflateTo(int64_t size, const Core::ByteArray& compressedData) {
  constexpr int64_t kMostFromAByte = int64_t{8} * kMaxMatchLength;
  return size <= kMostFromAByte * compressedData.Size();
}

// Whether the image data can stand in the memory of the pixels that are made from it: rows in their
// order, of up to 8 bits a sample. (Longer samples would need, and the bitmap then keep, twice as
// much.) A picture is large, and fresh memory is slow.
//
// Let a row have r bytes of data, the filter byte among them, and p bytes of pixels. As a rule
// r <= p, and the data ends where the pixels do: then the data behind a row, no more than the
// pixels behind it, begins behind the row's pixels. Four samples a pixel make r = p + 1, and the
// data begins where the pixels do: then each row's data begins one byte further behind its pixels.
// So a row's pixels can be written as soon as the next row, which needs its data, is restored.
// Within the row, a pixel ends where the data of the next one begins or before, counted from the
// end in the first case, where data is no larger than pixels, and from the start in the second.
bool CanShareMemory(const PngHeader& header) {
  return header.interlace != kPngAdam7 && header.bitDepth <= 8 && header.ImageDataSize() > 0;
}

// The bytes to decompress `needed` into, with Inflater::kSpareSize more as far as there can be.
int32_t RoomFor(int64_t needed) {
  constexpr int64_t kMostBytes = std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(std::min(needed + Inflater::kSpareSize, kMostBytes));
}

// The place for the image data, with RoomFor it: in `bitmap`, which then has its size, or where
// that cannot be, in `separate`. Null: no memory.
uint8_t* MakeRoom(const PngHeader& header, Bitmap& bitmap, Core::ByteArray& separate) {
  const int64_t needed = header.ImageDataSize();
  const int32_t room = RoomFor(needed);
  if (!CanShareMemory(header)) return separate.SetSize(room) ? separate.Data() : nullptr;
  const int64_t pixelBytes = int64_t{header.width} * header.height * int64_t{sizeof(Pixel)};
  const int64_t start = std::max<int64_t>(pixelBytes - needed, 0);
  if (!bitmap.ResizeForOverwrite(header.width, header.height, start + room)) return nullptr;
  return reinterpret_cast<uint8_t*>(bitmap.Row(0)) + start;
}

// Decompresses the first `needed` bytes into `imageData`. The whole stream is read, and its
// checksum tested, even so. False also when it gives fewer.
bool InflateImageData(const Core::ByteArray& compressedData, int32_t needed, uint8_t* imageData) {
  Core::MemoryStream source(compressedData.Data(), static_cast<uint32_t>(compressedData.Size()));
  Inflater inflater(&source);
  int32_t obtained = 0;
  return inflater.SetFormat(kZlib) && inflater.RunInto(imageData, RoomFor(needed), obtained) &&
         obtained >= needed;
}

// The rows of a file's passes, one after the other.
class RowDecoder {
 public:
  RowDecoder(const ChunkContents& contents, uint8_t* imageData, Bitmap& bitmap)
      : header_(contents.Header()),
        pixels_(contents.Header(), contents.Colors()),
        next_(imageData),
        bitmap_(bitmap) {}

  // Decodes the rows of all passes. False: a filter is unknown.
  [[nodiscard]] bool Decode() {
    for (const PngPass& pass : header_.Passes()) {
      if (!DecodePass(pass)) return false;
    }
    return true;
  }

 private:
  // Rows are restored in place, so that each finds the restored one before it there; only then are
  // the pixels of that one written (CanShareMemory).
  [[nodiscard]] bool DecodePass(const PngPass& pass) {
    const int32_t passWidth = header_.PassWidth(pass);
    const int32_t passHeight = passWidth > 0 ? header_.PassHeight(pass) : 0;
    const int32_t rowSize = static_cast<int32_t>(header_.RowSize(passWidth));
    const auto convert = [&](const uint8_t* samples, int32_t y) {
      Pixel* row = bitmap_.Row(pass.yStart + y * pass.yStep) + pass.xStart;
      pixels_.ConvertRow(samples, passWidth, row, pass.xStep);
    };
    const uint8_t* previous = nullptr;
    for (int32_t y = 0; y < passHeight; ++y) {
      const uint8_t filter = *next_++;
      if (!UnfilterPngRow(filter, next_, previous, rowSize, header_.UnitSize())) return false;
      if (previous != nullptr) convert(previous, y - 1);
      previous = next_;
      next_ += rowSize;
    }
    if (previous != nullptr) convert(previous, passHeight - 1);
    return true;
  }

  const PngHeader header_;
  const PngPixels pixels_;
  uint8_t* next_;  // the data of the next row
  Bitmap& bitmap_;
};

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
  uint8_t* const imageData = MakeRoom(header, bitmap, separate);
  if (imageData == nullptr ||
      !InflateImageData(contents.CompressedData(), static_cast<int32_t>(needed), imageData)) {
    return false;
  }
  contents.CompressedData().Free();
  // Without pixels there is nothing to keep: the bitmap stays 0 x 0, as a table of two thousand
  // million empty rows would serve nobody. Otherwise the passes reach every pixel.
  if (needed == 0) return true;
  if (!CanShareMemory(header) && !bitmap.ResizeForOverwrite(header.width, header.height)) {
    return false;
  }
  return RowDecoder(contents, imageData, bitmap).Decode();
}

bool LoadPng(Core::Stream& in, Bitmap& bitmap) {
  if (DecodePng(in, bitmap)) return true;
  static_cast<void>(bitmap.Resize(0, 0));  // giving memory back does not fail
  return false;
}
