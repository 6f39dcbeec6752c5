// Any file is decoded or refused. A decoded file needs its last byte, and its pixels stay the same
// when they are encoded and decoded again.
//
//   input: 1, file    or    0, chunks: type, length, data
#include <algorithm>

#include "Core/MemoryStream.h"
#include "Fuzz/Check.h"
#include "Image/PngDecoder.h"
#include "Image/PngEncoder.h"
#include "Tests/Support/PngBuilder.h"

namespace {

constexpr int32_t kMaxPixels = 1 << 16;  // to be encoded

// Makes a file with right checksums, which a search does not find.
Bytes Assemble(FuzzInput& input) {
  const char* const kTypes[] = {"IDAT", "IHDR", "PLTE", "tRNS", "tEXt", "IEND", "IDAT", "ABCD"};
  PngBuilder file;
  while (input.Left() > 0) {
    const uint8_t selector = input.Byte();
    const std::size_t factor = selector < 0x80 ? 1 : 16;
    Bytes data = input.Take(factor * input.Byte());
    if (selector % std::size(kTypes) == 0) data = PngBuilder::Zlib(data);
    file.Chunk(kTypes[selector % std::size(kTypes)], data);
  }
  return file;  // a copy, without spare capacity
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
  if (!isLoaded || pixels > kMaxPixels) return 0;

  Bitmap again;
  Core::MemoryStream cut(file.data(), static_cast<uint32_t>(in.Tell() - 1));
  Check(!LoadPng(cut, again));
  Core::MemoryStream saved;
  Check(SavePng(saved, bitmap) && saved.Seek(0, Core::kFromStart) && LoadPng(saved, again));
  Check(saved.IsEof() && again.Width() == bitmap.Width() && again.Height() == bitmap.Height());
  Check(pixels == 0 || std::equal(bitmap.Row(0), bitmap.Row(0) + pixels, again.Row(0)));
  return 0;
}
