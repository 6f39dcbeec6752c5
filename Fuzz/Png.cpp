// Any file is decoded or refused; a decoded one needs its last byte, and its pixels survive being
// encoded and decoded again.
//
//   1, file    or    0, chunks: type, length, data
#include <algorithm>

#include "Compression/Adler32.h"
#include "Compression/Crc32.h"
#include "Core/Endian.h"
#include "Core/MemoryStream.h"
#include "Fuzz/Check.h"
#include "Image/PngDecoder.h"
#include "Image/PngEncoder.h"
#include "Image/PngFormat.h"

namespace {

constexpr int32_t kMostPixels = 1 << 16;  // to be encoded

void AppendBig32(Bytes& bytes, uint32_t value) {
  bytes.resize(bytes.size() + 4);
  StoreBig32(&*bytes.end() - 4, value);
}

// A zlib stream of one stored block. Requires: at most 65535 bytes.
Bytes Stored(const Bytes& data) {
  const uint8_t low = static_cast<uint8_t>(data.size());
  const uint8_t high = static_cast<uint8_t>(data.size() >> 8);
  Bytes stream = {0x78, 1, 1, low, high, uint8_t(~low), uint8_t(~high)};
  stream.insert(stream.end(), data.begin(), data.end());
  AppendBig32(stream, Adler32(data.data(), data.size(), kAdler32Initial));
  return stream;
}

// A file whose checksums are good, which is out of reach of a search.
Bytes Assemble(FuzzInput& input) {
  constexpr uint32_t kTypes[] = {kChunkData,        kChunkHeader, kChunkPalette, kChunkTransparency,
                                 ChunkType("tEXt"), kChunkEnd,    kChunkData,    ChunkType("ABCD")};
  Bytes file(kPngSignature.begin(), kPngSignature.end());
  while (input.Left() > 0) {
    const uint8_t selector = input.Byte();
    const std::size_t factor = selector < 0x80 ? 1 : 16;
    Bytes data = input.Take(factor * input.Byte());
    if (selector % std::size(kTypes) == 0) data = Stored(data);
    AppendBig32(file, static_cast<uint32_t>(data.size()));
    AppendBig32(file, kTypes[selector % std::size(kTypes)]);
    file.insert(file.end(), data.begin(), data.end());
    AppendBig32(file, Crc32(&*file.end() - data.size() - 4, data.size() + 4, 0));
  }
  return Bytes(file);  // without spare capacity
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzInput input = {data, data + size};
  const Bytes file = input.Byte() % 2 == 1 ? Bytes(input.next, input.end) : Assemble(input);
  Core::MemoryStream in(file.data(), static_cast<uint32_t>(file.size()));
  Bitmap bitmap;
  const bool isLoaded = LoadPng(in, bitmap);
  const int64_t pixels = int64_t{bitmap.Width()} * bitmap.Height();
  Check(isLoaded || bitmap.Width() + bitmap.Height() == 0);
  if (!isLoaded || pixels > kMostPixels) return 0;

  Bitmap again;
  Core::MemoryStream cut(file.data(), static_cast<uint32_t>(in.Tell() - 1));
  Check(!LoadPng(cut, again));
  Core::MemoryStream saved;
  Check(SavePng(saved, bitmap) && saved.Seek(0, Core::kFromStart) && LoadPng(saved, again));
  Check(saved.IsEof() && again.Width() == bitmap.Width() && again.Height() == bitmap.Height());
  Check(pixels == 0 || std::equal(bitmap.Row(0), bitmap.Row(0) + pixels, again.Row(0)));
  return 0;
}
