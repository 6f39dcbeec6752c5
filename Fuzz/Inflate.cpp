// The ways to decompress a stream agree with the plain slow inflater on its bytes and its validity.
//
//   input: container, limit, stream
#include "Compression/Checksums/Adler32.h"
#include "Fuzz/Check.h"
#include "Tests/Support/Deflated.h"
#include "Tests/Support/PlainInflate.h"

namespace {

bool BeginsLike(const Bytes& one, const Bytes& other) {
  return std::equal(one.begin(), one.begin() + std::min(one.size(), other.size()), other.begin());
}

// Decompresses in pieces of many sizes and stops after `maxSize` bytes, since a stream may be
// endless.
Inflated Pull(const Bytes& stream, int32_t format, int64_t maxSize, int32_t size) {
  PieceStream source(stream);
  Inflater inflater(&source);
  inflater.SetFormat(format);
  Inflated pulled = {true, {}, ""};
  for (int32_t obtained = size;
       pulled.isGood && obtained == size && std::ssize(pulled.output) <= maxSize;) {
    size = size * 7 % 65521;
    Bytes piece(static_cast<std::size_t>(size));
    pulled.isGood = inflater.ReadOutput(piece.data(), size, obtained);
    pulled.output.insert(pulled.output.end(), piece.begin(), piece.begin() + obtained);
  }
  return pulled;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzInput input = {data, data + size};
  const int32_t format = input.Byte() % 3, step = input.Byte();
  const Bytes stream(input.next, input.end);
  const Inflated whole = Inflate(stream, format);
  if (format == kRawDeflate) {
    // Close to the end of the input the tree of levels reads patterns without a code otherwise.
    const Plain::Inflater plain(stream);
    Check(plain.IsAtEnd() ||
          (whole.isGood == plain.isGood && BeginsLike(whole.output, plain.output)));
  }
  // Most inputs are bad, and the endless ones are slow: a sample of them is enough.
  if (!whole.isGood && Adler32(data, size, kAdler32Initial) % 64 != 0) return 0;
  const int64_t limit = std::max(std::ssize(whole.output) + step - 128, int64_t{0});
  const Inflated limited = Inflate(stream, format, limit);
  Check(limited.isGood == (whole.isGood && limit >= std::ssize(whole.output)));
  Check(std::ssize(limited.output) > limit || limited.output == whole.output);
  Check(BeginsLike(limited.output, whole.output));

  // Only an endless stream, which Run recognises, gives more bytes here.
  const int64_t maxSize = std::ssize(whole.output) + 0x10000;
  const Inflated pulled = Pull(stream, format, maxSize, 1 + step);
  const bool isEndless = !whole.isGood && std::ssize(pulled.output) > maxSize;
  Check(isEndless || (pulled.isGood == whole.isGood && pulled.output == whole.output));
  Check(BeginsLike(pulled.output, whole.output));
  return 0;
}
