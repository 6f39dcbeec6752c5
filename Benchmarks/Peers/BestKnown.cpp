#include "Benchmarks/Peers/BestKnown.h"

#include <libdeflate.h>

#include <array>
#include <cstring>
#include <vector>

namespace best_known {
namespace {

constexpr uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::size_t kChunkFrame = 12;  // length, type and CRC
constexpr int kChannels[] = {1, 0, 3, 1, 2, 0, 4};
enum ColorType { kGrey = 0, kRgb = 2, kIndexed = 3, kGreyAlpha = 4, kRgba = 6 };

[[noreturn]] void Fail(const char* message) { throw std::runtime_error(message); }

uint32_t LoadBig32(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

void StoreBig32(uint8_t* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

bool Is(const uint8_t* type, const char* name) { return std::memcmp(type, name, 4) == 0; }

// Calls visit(type, data, length) for every chunk, its CRC tested.
template <typename Visit>
void VisitChunks(const Bytes& file, Visit visit) {
  if (file.size < 8 || std::memcmp(file.begin(), kSignature, 8) != 0) Fail("no PNG file");
  for (std::size_t at = 8; at + kChunkFrame <= file.size;) {
    const uint8_t* type = file.begin() + at + 4;
    const std::size_t length = LoadBig32(type - 4);
    if (length > file.size - at - kChunkFrame) Fail("file cut short");
    const uint8_t* data = type + 4;
    if (libdeflate_crc32(0, type, length + 4) != LoadBig32(data + length)) Fail("wrong CRC");
    visit(type, data, length);
    at += kChunkFrame + length;
  }
}

struct Contents {
  explicit Contents(const Bytes& file);

  int Channels() const { return kChannels[colorType]; }
  int Unit() const { return depth < 8 ? 1 : Channels() * depth / 8; }
  std::size_t RowSize() const { return (std::size_t{width} * Channels() * depth + 7) / 8; }

  uint32_t width = 0;
  uint32_t height = 0;
  int depth = 0;
  int colorType = 0;
  std::array<uint32_t, 256> palette = {};
  std::vector<uint8_t> key;  // the bytes of the one pixel value that is transparent, if any
  std::vector<std::pair<const uint8_t*, std::size_t>> data;  // of the IDAT chunks, in the file
  std::size_t dataSize = 0;
};

Contents::Contents(const Bytes& file) {
  VisitChunks(file, [&](const uint8_t* type, const uint8_t* bytes, std::size_t length) {
    if (Is(type, "IHDR") && length == 13) {
      width = LoadBig32(bytes);
      height = LoadBig32(bytes + 4);
      depth = bytes[8];
      colorType = bytes[9];
      const bool isKnown = colorType <= kRgba && Channels() > 0 && (depth == 8 || depth == 16);
      const bool isPalette = colorType == kIndexed && depth >= 1 && depth <= 8;
      if (!(isKnown || isPalette) || bytes[12] != 0) Fail("a format that this peer does not read");
    } else if (Is(type, "PLTE")) {
      for (std::size_t i = 0; i < length / 3 && i < palette.size(); ++i) {
        palette[i] = 0xFF000000u | bytes[3 * i] | bytes[3 * i + 1] << 8 | bytes[3 * i + 2] << 16;
      }
    } else if (Is(type, "tRNS") && colorType == kIndexed) {
      for (std::size_t i = 0; i < length && i < palette.size(); ++i) {
        palette[i] = (palette[i] & 0xFFFFFF) | uint32_t{bytes[i]} << 24;
      }
    } else if (Is(type, "tRNS")) {
      for (std::size_t i = 0; i < length; ++i) {
        if (depth == 16 || i % 2 == 1) key.push_back(bytes[i]);
      }
    } else if (Is(type, "IDAT")) {
      data.emplace_back(bytes, length);
      dataSize += length;
    }
  });
  if (width == 0) Fail("no header");
}

// Turns one restored row into pixels.
void ConvertRow(const Contents& contents, const uint8_t* in, uint32_t* out) {
  if (contents.colorType == kIndexed) {
    const int depth = contents.depth;
    for (uint32_t x = 0; x < contents.width; ++x) {
      const uint32_t bit = x * static_cast<uint32_t>(depth);
      out[x] = contents.palette[in[bit / 8] >> (8 - depth - bit % 8) & ((1 << depth) - 1)];
    }
    return;
  }
  const int step = contents.depth / 8;  // from sample to sample; their upper byte comes first
  const int unit = contents.Unit();
  const bool isGrey = contents.Channels() < 3;
  const bool hasAlpha = contents.colorType >= kGreyAlpha;
  const bool hasKey = contents.key.size() == static_cast<std::size_t>(unit);
  for (uint32_t x = 0; x < contents.width; ++x, in += unit) {
    const uint32_t green = isGrey ? in[0] : in[step];
    const uint32_t blue = isGrey ? in[0] : in[2 * step];
    uint32_t alpha = hasAlpha ? in[unit - step] : 0xFF;
    if (hasKey && std::memcmp(in, contents.key.data(), contents.key.size()) == 0) alpha = 0;
    out[x] = in[0] | green << 8 | blue << 16 | alpha << 24;
  }
}

// The zlib stream: in the file itself if it is one chunk, otherwise copied into `joined`.
const uint8_t* Join(const Contents& contents, Bytes& joined) {
  if (contents.data.size() == 1) return contents.data[0].first;
  joined = Bytes(contents.dataSize);
  uint8_t* out = joined.begin();
  for (const auto& [bytes, length] : contents.data) {
    std::memcpy(out, bytes, length);
    out += length;
  }
  return joined.begin();
}

Bytes Inflate(const uint8_t* stream, std::size_t streamSize, std::size_t size) {
  Bytes raw(size);
  const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>
      decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  if (libdeflate_zlib_decompress(decompressor.get(), stream, streamSize, raw.begin(), size,
                                 nullptr) != LIBDEFLATE_SUCCESS) {
    Fail("damaged image data");
  }
  return raw;
}

void WriteChunk(uint8_t* at, const char* type, std::size_t length) {
  StoreBig32(at, static_cast<uint32_t>(length));
  std::memcpy(at + 4, type, 4);
  StoreBig32(at + 8 + length, libdeflate_crc32(0, at + 4, length + 4));
}

}  // namespace

Bytes ImageStream(const Bytes& file) {
  const Contents contents(file);
  Bytes joined;
  const uint8_t* stream = Join(contents, joined);
  Bytes result(contents.dataSize);
  std::memcpy(result.begin(), stream, result.size);
  return result;
}

std::size_t ImageDataSize(const Bytes& file) {
  const Contents contents(file);
  return (1 + contents.RowSize()) * contents.height;
}

Picture Decode(const Bytes& file) {
  const Contents contents(file);
  const std::size_t rowSize = contents.RowSize();
  Bytes joined;
  Bytes raw = Inflate(Join(contents, joined), contents.dataSize, (1 + rowSize) * contents.height);
  Picture picture(contents.width, contents.height);
  // Rows of 8-bit RGBA are restored straight into the picture, others in place.
  const bool isDirect = contents.colorType == kRgba && contents.depth == 8;
  const std::vector<uint8_t> zeroRow(rowSize);
  const uint8_t* above = zeroRow.data();
  uint8_t* in = raw.begin();
  for (uint32_t y = 0; y < contents.height; ++y, in += rowSize) {
    const int filter = *in++;
    uint8_t* out = isDirect ? reinterpret_cast<uint8_t*>(picture.Row(y)) : in;
    UnfilterRow(filter, in, out, above, rowSize, contents.Unit());
    if (!isDirect) ConvertRow(contents, out, picture.Row(y));
    above = out;
  }
  return picture;
}

Bytes RawImage(const Picture& picture) {
  Bytes raw((1 + picture.RowSize()) * picture.height);
  uint8_t* out = raw.begin();
  for (uint32_t y = 0; y < picture.height; ++y, out += picture.RowSize()) {
    *out++ = 0;
    std::memcpy(out, picture.Row(y), picture.RowSize());
  }
  return raw;
}

Bytes Encode(const Picture& picture) {
  constexpr std::size_t kHeaderSize = 13;
  const Bytes raw = RawImage(picture);
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(9), libdeflate_free_compressor);
  const std::size_t bound = libdeflate_zlib_compress_bound(compressor.get(), raw.size);
  Bytes file(sizeof kSignature + kHeaderSize + bound + 3 * kChunkFrame);

  std::memcpy(file.begin(), kSignature, sizeof kSignature);
  uint8_t* at = file.begin() + sizeof kSignature;
  StoreBig32(at + 8, picture.width);
  StoreBig32(at + 12, picture.height);
  constexpr uint8_t kFormat[] = {8, kRgba, 0, 0, 0};
  std::memcpy(at + 16, kFormat, sizeof kFormat);
  WriteChunk(at, "IHDR", kHeaderSize);
  at += kChunkFrame + kHeaderSize;
  const std::size_t length =
      libdeflate_zlib_compress(compressor.get(), raw.begin(), raw.size, at + 8, bound);
  if (length == 0) Fail("cannot compress");
  WriteChunk(at, "IDAT", length);
  at += kChunkFrame + length;
  WriteChunk(at, "IEND", 0);
  file.size = static_cast<std::size_t>(at + kChunkFrame - file.begin());
  return file;
}

}  // namespace best_known
