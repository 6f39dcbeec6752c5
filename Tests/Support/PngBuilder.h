// Builds PNG files chunk by chunk, with the right CRCs and stored image data.
#pragma once

#include <string>
#include <utility>

#include "Compression/Checksums/Adler32.h"
#include "Compression/Checksums/Crc32.h"
#include "Tests/Support/BitAssembler.h"

// Colour type and bits per sample.
constexpr std::pair<uint8_t, uint8_t> kAllPngFormats[] = {
    {0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
    {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};

class PngBuilder {
 public:
  // The data of an IHDR chunk.
  static Bytes Header(uint32_t width, uint32_t height, int depth, int colorType, int interlace) {
    return BitAssembler().Big32(width).Big32(height).Append(
        {uint8_t(depth), uint8_t(colorType), 0, 0, uint8_t(interlace)});
  }
  // A zlib stream of one stored block. Requires: at most 65,535 bytes.
  static Bytes Zlib(const Bytes& data) {
    return BitAssembler("x7801").Stored(data).Big32(
        Adler32(data.data(), data.size(), kAdler32Initial));
  }
  PngBuilder& Chunk(const std::string& type, const Bytes& data) {
    const Bytes body = BitAssembler().Append(Bytes(type.begin(), type.end())).Append(data);
    file_.Big32(static_cast<uint32_t>(data.size())).Append(body);
    file_.Big32(Crc32(body.data(), body.size(), 0));
    return *this;
  }
  operator Bytes() const { return file_; }

 private:
  BitAssembler file_{"x89504E470D0A1A0A"};
};
